#!/usr/bin/env python3
"""Every option that a program or command takes is described in its page, with its value, and no other one."""
import glob
import os
import re

import help_text

PAGES = os.environ["PAGES"]
complaints = help_text.Complaints()


def lines_of(page):
    with open(os.path.join(PAGES, page), encoding="utf-8") as file:
        return file.read().splitlines()


def section(lines, name):
    start = lines.index(".Sh " + name) + 1
    end = next((n for n in range(start, len(lines)) if lines[n].startswith(".Sh ")), len(lines))
    return lines[start:end]


def described(lines):
    """The options of the page's lists, as help_text.options gives them."""
    found = {}
    for line in lines:
        if not line.startswith(".It Fl "):
            continue
        words = line.split()[1:]
        names = ["-" + words[n + 1] for n, word in enumerate(words) if word == "Fl"]
        last = max(n for n, word in enumerate(words) if word == "Fl")
        value = "".join(word for word in words[last + 2:] if word not in ("Ar", "Cm", "Ns", "No", "Op", "|"))
        if "|" in words[last + 2:]:
            value = "|".join(word for word in words[last + 2:] if word not in ("Cm", "|"))
        for name in names:
            found[name] = value.replace(r"\&", "").lower()
    return found


def in_synopsis(lines):
    """The options that the synopsis shows; letters may stand together."""
    found = set()
    for name in re.findall(r"\bFl (\S+)", "\n".join(section(lines, "SYNOPSIS"))):
        found |= {"-" + name} if name.startswith("-") else {"-" + letter for letter in name}
    return found


def check_page(page, wanted):
    if not os.path.exists(os.path.join(PAGES, page)):
        complaints.say(f"{page}: the page is missing")
        return
    lines = lines_of(page)
    found = described(lines)
    complaints.same(page, "option", wanted, found)
    for name in sorted(wanted.keys() & found.keys()):
        if wanted[name] != found[name]:
            complaints.say(f"{page}: {name} takes '{wanted[name]}', not '{found[name]}'")
    for name in sorted(in_synopsis(lines) - set(wanted)):
        complaints.say(f"{page}: the synopsis shows {name}")
    if not in_synopsis(lines):
        complaints.say(f"{page}: the synopsis shows no option")


def check_kmr(kmr):
    every = help_text.kmr_commands(kmr)
    wanted = set(every) - {""}
    check_page("kmr.1", every[""])
    for command in sorted(wanted):
        check_page(f"kmr-{command}.1", every[command])
    there = {os.path.basename(path)[len("kmr-"):-len(".1")] for path in glob.glob(os.path.join(PAGES, "kmr-*.1"))}
    complaints.same("pages", "page kmr-*.1 of the command", wanted, there)
    listed = re.findall(r"^\.It Xr kmr-(\w+) 1$", "\n".join(lines_of("kmr.1")), re.MULTILINE)
    complaints.same("kmr.1", "command", wanted, listed)
    return f"{len(wanted)} commands of kmr"


def check_viewer(viewer):
    letters = help_text.viewer_letters(viewer)
    complaints.same("kmr_viewer.1", "option", letters, described(lines_of("kmr_viewer.1")))
    told = help_text.viewer_help(viewer)
    complaints.same("kmr_viewer -h", "option", told & letters, told)
    complaints.same("kmr_viewer.1", "option in the synopsis", letters, in_synopsis(lines_of("kmr_viewer.1")))
    return f"{len(letters)} letters of kmr_viewer"


def check_make(make):
    wanted = help_text.options(help_text.output(make, "--help").stdout)
    check_page("kmr_make.1", wanted)
    return f"{len(wanted)} options of kmr_make"


KMR, MAKE, VIEWER = help_text.programs()
looked_at = [check_viewer(VIEWER), check_make(MAKE)]
if KMR:
    looked_at.append(check_kmr(KMR))
complaints.end(", ".join(looked_at))
