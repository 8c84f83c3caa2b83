#!/usr/bin/env python3
"""exports_test.py SOURCES NM LIBRARY: what the installed headers declare, what the version script names and what the
library defines are the same."""
import glob
import os
import re
import subprocess
import sys

SOURCES, NM, LIBRARY = sys.argv[1:]
failed = False


def read(*path):
    with open(os.path.join(SOURCES, *path), encoding="utf-8") as file:
        return file.read()


def without_comments(text):
    return re.sub(r"/\*.*?\*/", " ", text, flags=re.DOTALL)


def declared(header):
    """Functions and variables of a C header, by name: what is declared outside of all braces."""
    code = re.sub(r"^#(?:.*\\\n)*.*", "", without_comments(read(header)), flags=re.MULTILINE)
    code = re.sub(r'extern "C" \{', "", code)
    code = re.sub(r"static_assert\(.*?\);", "", code, flags=re.DOTALL)
    code = re.sub(r"^static inline [^{]*\{.*?^\}", "", code, flags=re.DOTALL | re.MULTILINE)
    names = set()
    for statement in re.sub(r"\{[^{}]*\}", "{}", code).split(";"):
        statement = " ".join(statement.split())
        if statement.startswith("extern "):
            names.add(re.search(r"(\w+)(?:\[.*)?$", statement).group(1))
        elif statement.endswith(")") and not statement.startswith("typedef "):
            names.add(re.search(r"(\w+)\(", statement).group(1))
    return names


def declared_by_all():
    folders = re.search(r"kmr_install_headers\(([^)]*)\)", read("CMakeLists.txt")).group(1).split()
    headers = [os.path.relpath(path, SOURCES) for folder in folders
               for path in glob.glob(os.path.join(SOURCES, folder, "**", "*.h"), recursive=True)]
    return set().union(*map(declared, headers))


def named_by_script():
    script = without_comments(read("libkmr", "exports.map"))
    return set(re.findall(r"\w+", script.partition("global:")[2].partition("local:")[0]))


def same(what, expected, found):
    global failed
    for text, names in (("missing", expected - found), ("too many", found - expected)):
        if names:
            print(f"{what}: {text}: {' '.join(sorted(names))}")
            failed = True


def symbols(*how):
    """Name and kind of what is seen outside of the library."""
    lines = subprocess.run([NM, "--defined-only", *how, LIBRARY], check=True, capture_output=True,
                           text=True).stdout.splitlines()
    found = [line.split() for line in lines]
    return [(words[2], words[1]) for words in found if len(words) == 3 and words[1] != "A"]


def check_library(published):
    if LIBRARY.endswith(".a"):  # whose inner names are seen too: they are those of C++
        found = {name for name, _ in symbols("--extern-only") if not name.startswith("_Z")}
    else:
        names = {name for name, _ in symbols("--dynamic")}
        same("names without a version", set(), {name for name in names if not name.endswith("@@KMR_1")})
        found = {name.partition("@")[0] for name in names}
    same(f"{os.path.basename(LIBRARY)} against the headers", published, found)


names_of_headers = declared_by_all()
if len(names_of_headers) < 100:
    sys.exit(f"only {len(names_of_headers)} names were found in the headers")
same("libkmr/exports.map against the headers", names_of_headers, named_by_script())
check_library(names_of_headers)
print(f"{len(names_of_headers)} names")
sys.exit(failed)
