#!/usr/bin/env python3
"""Every example of a program's page, typed as it stands, does what it is there for: its status is right, and the files
that it names are there afterwards."""
import glob
import os
import re
import shutil
import subprocess
import tempfile

import help_text

KMR, MAKE, VIEWER = help_text.programs()
PAGES = os.environ["PAGES"]
SOURCES = os.environ["SOURCES"]
SHORT_NAME = "H0000120150102030405C000001"  # the recorder's own, of the first disk
A_FILE = re.compile(r"(?:-o)?([\w./]+\.(?:kmr|mp4|mkv|h264|raw|html|svgz?|png|csv|db|dat))\b")
STATUSES = {  # all others are 0
    "kmr tag remove --dry-run recording.kmr 2": 1,
    "kmr show --json *.kmr | jq '.bit_rate'": 1,  # two of them are damaged
    "kmr check -j 4 /media/disk": 1,  # on which one recording lacks frames
    "kmr check --db results.db /media/disk": 1,
    "kmr check --json /media/disk | jq -r 'select(.frames.lost > 0) | .path'": 1,
}
WITHOUT = re.compile(r"without libavformat|without librsvg|without Dygraphs")  # said by programs that were built so
complaints = help_text.Complaints()


def examples(page):
    """The lines of the displays below EXAMPLES, as they are shown."""
    with open(os.path.join(PAGES, page), encoding="utf-8") as file:
        text = file.read().partition("\n.Sh EXAMPLES\n")[2].partition("\n.Sh ")[0]
    displays = re.findall(r"^\.Bd -literal.*\n((?:(?!\.Ed).*\n)+)\.Ed", text + "\n", re.MULTILINE)
    lines = "".join(displays).replace("|\n", "| ").splitlines()  # a pipe may go on in the next line
    return [re.sub(" +", " ", line).replace("\\-", "-").replace("\\(aq", "'").replace("\\e", "\\") for line in lines]


def typed(line, folder):
    """In this folder, which has everything that the pages speak of, also what would be elsewhere on the disk."""
    line = line.replace(" /media/", " media/").replace("/tmp/", "tmp/")
    programs = os.pathsep.join([os.path.join(folder, "programs"), os.environ["PATH"]])
    done = subprocess.run(["bash", "-o", "pipefail", "-c", line], cwd=folder, capture_output=True, text=True,
                          errors="replace", check=False, env=dict(os.environ, PATH=programs, TZ="UTC"))
    return done, {name for name in A_FILE.findall(line) if not os.path.exists(os.path.join(folder, name))}


def prepare(folder):
    """Two minutes of real video with sound and a tag, the same damaged, an index file, two databases and a disk."""
    def at(*path):
        return os.path.join(folder, *path)

    def run(*words):
        subprocess.run(words, cwd=folder, check=True, capture_output=True)

    for name in ("programs", "media/disk", "tmp", "disks/host00/part1"):
        os.makedirs(at(name))
    for program in filter(None, (KMR, MAKE, VIEWER)):
        os.symlink(program, at("programs", os.path.basename(program)))
    os.symlink(os.path.join(os.path.dirname(VIEWER), "lib"), at("lib"))
    for player in {"ffplay"} | ({"jq"} if shutil.which("jq") is None else set()):
        with open(at("programs", player), "w", encoding="utf-8") as stub:
            stub.write("#!/bin/sh\ncat\n")
        os.chmod(at("programs", player), 0o755)

    recording = ["--video", os.path.join(SOURCES, "tools/clips/demo.h264"), "--size", "320x240", "--frames", "3200",
                 "--audio", "2x160", "--header", "AudioSample=8000", "--header", "AChannels=1", "--tag", "2=Door"]
    run(MAKE, *recording, "--output", "recording.kmr")
    run(MAKE, *recording, "--zero", "frame20:32", "--output", "hit.kmr")
    shutil.copy(at("hit.kmr"), at("damaged.kmr"))
    shutil.copy(at("recording.kmr"), at("media/disk/recording.kmr"))
    run(MAKE, "--frames", "100", "--stamp-step", "60000", "--lose", "40:3", "--output", "media/disk/long.kmr")
    shutil.copy(at("recording.kmr"), at("disks/host00/part1", SHORT_NAME))
    run(MAKE, "--index-dat", "Index.dat", "--made-up-records", "1000:1420167845:60")
    if KMR:
        for database in ("north.db", "south.db"):
            run(KMR, "check", "--db", database, "recording.kmr")
        run(KMR, "tag", "add", "recording.kmr", "0", "something to take back")


def check(page, line, ready, folder):
    shutil.copytree(ready, folder, symlinks=True)
    done, missing = typed(line, folder)
    if done.returncode != STATUSES.get(line, 0) and not WITHOUT.search(done.stderr):
        complaints.say(f"{page}: {line}: status {done.returncode}: {done.stderr.strip()}")
    elif missing and not WITHOUT.search(done.stderr):
        complaints.say(f"{page}: {line}: {', '.join(sorted(missing))} is not there")
    elif not done.stdout and not A_FILE.search(line):
        complaints.say(f"{page}: {line}: nothing is printed")
    if line.startswith("kmr_viewer -f recording") and "\nWell done :)\n" not in done.stdout:
        complaints.say(f"{page}: {line}: the recording is not opened")
    shutil.rmtree(folder)


number = 0
with tempfile.TemporaryDirectory() as scratch:
    prepare(os.path.join(scratch, "ready"))
    for path in sorted(glob.glob(os.path.join(PAGES, "*.1"))):
        name = os.path.basename(path)
        if not KMR and re.match(r"kmr[-.]", name):
            continue
        lines = examples(name)
        if not lines:
            complaints.say(f"{name}: there is no example")
        for each in lines:
            check(name, each, os.path.join(scratch, "ready"), os.path.join(scratch, "here"))
        number += len(lines)
complaints.end(f"{number} examples")
