#!/usr/bin/env python3
"""Every header that is installed has its page, which has each of its functions as it is declared, its variables, types
and constants; and no page tells of anything else."""
import glob
import os
import re
import shlex

import help_text

SOURCES = os.environ["SOURCES"]
PAGES = os.environ["PAGES"]
complaints = help_text.Complaints()


def read(*path):
    with open(os.path.join(*path), encoding="utf-8") as file:
        return file.read()


def installed_headers():
    folders = re.search(r"kmr_install_headers\(([^)]*)\)", read(SOURCES, "CMakeLists.txt")).group(1).split()
    return sorted(os.path.relpath(path, SOURCES) for folder in folders
                  for path in glob.glob(os.path.join(SOURCES, folder, "**", "*.h"), recursive=True))


def code_of(header):
    text = re.sub(r"/\*.*?\*/", " ", read(SOURCES, header), flags=re.DOTALL)
    text = re.sub(r"^#(?:.*\\\n)*.*", "", text, flags=re.MULTILINE)
    text = re.sub(r'extern "C" \{', "", text)
    text = re.sub(r"static_assert\(.*?\);", "", text, flags=re.DOTALL)
    return re.sub(r"^static inline ([^{]*?) \{.*?^\}", r"\1;", text, flags=re.DOTALL | re.MULTILINE)


def squeezed(text):
    """Blanks that mean nothing are left out: "const char* x" and "const char *x" are one."""
    return re.sub(r"\s*\*\s*", "*", " ".join(text.split()))


def declared(code):
    """The statements of a header outside of all braces: functions, and variables."""
    flat = re.sub(r"\{[^{}]*\}", "{}", code)
    statements = [squeezed(each) for each in flat.split(";")]
    variables = {each for each in statements if each.startswith("extern ")}
    functions = {each for each in statements if each.endswith(")") and not each.startswith("typedef ")}
    return functions, variables


def names_of(code):
    """Types and constants."""
    types = set(re.findall(r"^\} (\w+);", code, re.MULTILINE)) | set(re.findall(r"typedef [^;{]*\(\*(\w+)\)\(", code))
    types |= set(re.findall(r"\benum (\w+) \{", code))
    constants = set()
    for body in re.findall(r"\benum\s*\w*\s*\{([^}]*)\}", code):
        constants |= set(re.findall(r"(?:^|,)\s*([A-Za-z_]\w*)", body))
    return types | constants


def synopsis(page):
    """Functions and variables of the synopsis in the form that `declared` gives, and the header."""
    functions, variables, headers = set(), set(), []
    result, name, arguments = "", "", []
    for line in page.partition("\n.Sh SYNOPSIS\n")[2].partition("\n.Sh ")[0].splitlines():
        macro, *words = shlex.split(line)
        if macro == ".In":
            headers += words
        elif macro == ".Vt":
            variables.add(squeezed(" ".join(words).rstrip(";")))
        elif macro == ".Ft":
            result = " ".join(words)
        elif macro == ".Fo":
            name, arguments = words[0], []
        elif macro == ".Fa":
            arguments += words
        if macro == ".Fn":
            name, arguments = words[0], words[1:]
        if macro in (".Fn", ".Fc"):
            functions.add(squeezed(f"{result} {name}({', '.join(arguments)})"))
    return functions, variables, headers


def check(header):
    name = "kmr_" + os.path.basename(header)[:-len(".h")] + ".3"
    if not os.path.exists(os.path.join(PAGES, name)):
        complaints.say(f"{header}: the page {name} is missing")
        return name
    page = read(PAGES, name)
    code = code_of(header)
    functions, variables = declared(code)
    shown_functions, shown_variables, headers = synopsis(page)
    complaints.same(name, "header", [header], headers)
    complaints.same(name, "function", functions, shown_functions)
    complaints.same(name, "variable", variables, shown_variables)
    short = [re.search(r"(\w+)\(", each).group(1) for each in functions]
    listed = re.findall(r"^\.Nm (\w+)", page.partition(".Sh SYNOPSIS")[0], re.MULTILINE)
    own = name[:-len(".3")]  # a page may have its own name beside those of its functions
    complaints.same(name, "name", short or [own], [each for each in listed if not short or each != own])
    description = page.partition("\n.Sh DESCRIPTION\n")[2]
    wanted = names_of(code) | set(short) | {re.search(r"(\w+)(?:\[.*)?$", each).group(1) for each in variables}
    for each in sorted(wanted):
        if not re.search(rf"\b{each}\b", description):
            complaints.say(f"{name}: {each} is not described")
    return name


def check_references():
    pages = {os.path.basename(path) for path in glob.glob(os.path.join(PAGES, "*.[1-9]"))}
    for page in sorted(pages):
        for name, number in re.findall(r"\bXr (kmr\S*) (\d)", read(PAGES, page)):
            if f"{name}.{number}" not in pages:
                complaints.say(f"{page}: there is no page {name}({number})")
    return pages


HEADERS = installed_headers()
wanted_pages = [check(header) for header in HEADERS]
there = check_references()
if len(set(wanted_pages)) != len(wanted_pages):
    complaints.say("two headers have the same name, and so the same page")
complaints.same("pages", "page", set(wanted_pages) | {"kmr.3"}, {page for page in there if page.endswith(".3")})
overview = set(re.findall(r"^\.It Xr (kmr_\w+) 3$", read(PAGES, "kmr.3"), re.MULTILINE))
complaints.same("kmr.3", "page", {page[:-len(".3")] for page in wanted_pages}, overview)
complaints.end(f"{len(HEADERS)} headers")
