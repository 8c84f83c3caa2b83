"""coverage_table.py ROOT FOLDER FLOORS: the table of scripts/coverage from lines.lcov and branches.json of FOLDER.

Prints lines and branches by folder and file, what is missed, and the floors that are not reached; status 1 when there
are any.
"""
import collections
import fnmatch
import json
import os
import re
import subprocess
import sys

NOT_THE_PRODUCT = ("../", "build", "tests/", "bench/", "fuzz/")
FUNCTION = re.compile(r"\w.*{\s*$")
MARK = re.compile(r"//\s*uncovered:\s*(.*)")


class Counts:
    """What was passed of a file: how often each line, and each condition (by its place) true and false."""

    def __init__(self):
        self.lines = collections.Counter()
        self.branches = {}

    def add_branch(self, place, true, false):
        before = self.branches.get(place, (0, 0))
        self.branches[place] = (before[0] + true, before[1] + false)

    def missed(self):
        """Line number -> what is missed there."""
        places = collections.defaultdict(list)
        for line, count in self.lines.items():
            if count == 0:
                places[line].append("line")
        for (line, column), (true, false) in self.branches.items():
            if true == 0 or false == 0:
                which = "never reached" if true == false == 0 else "never true" if true == 0 else "never false"
                places[line].append(f"column {column} {which}")
        return places

    def sums(self, left_out=()):
        """Lines passed, lines; branches passed, branches; those of the lines left out count only where passed."""
        lines = [count > 0 for line, count in self.lines.items() if count > 0 or line not in left_out]
        outcomes = [(place[0], count > 0) for place, both in self.branches.items() for count in both]
        outcomes = [passed for line, passed in outcomes if passed or line not in left_out]
        return [sum(lines), len(lines), sum(outcomes), len(outcomes)]


def read_counts(root, folder):
    """Of the product's files; one may be named in several ways, by those that include it."""
    files = collections.defaultdict(Counts)

    def named(path):
        return files[os.path.relpath(os.path.realpath(path), root)]

    with open(f"{folder}/lines.lcov") as lcov:
        for entry in lcov:
            kind, _, rest = entry.strip().partition(":")
            if kind == "SF":
                counts = named(rest)
            elif kind == "DA":
                line, count = rest.split(",")[:2]
                counts.lines[int(line)] += int(count)
    with open(f"{folder}/branches.json") as export:
        exported = json.load(export)["data"][0]
    for entry in exported["files"]:
        for line, column, _, _, true, false, *_ in entry["branches"]:
            named(entry["filename"]).add_branch((line, column), true, false)
    return {name: files[name] for name in sorted(files) if not name.startswith(NOT_THE_PRODUCT)}


class Mark:
    """A reason, and the lines that it is for: its own, or all of the function that begins there."""

    def __init__(self, line, reason):
        self.line = line
        self.reason = reason
        self.lines = {line}


def read_marks(root, name):
    found = []
    closing = None
    with open(f"{root}/{name}") as source:
        for number, text in enumerate(source, 1):
            if closing is not None:
                found[-1].lines.add(number)
                if text.startswith(closing):
                    closing = None
            mark = MARK.search(text)
            if mark:
                found.append(Mark(number, mark.group(1).strip()))
                if FUNCTION.match(text[:mark.start()]):
                    closing = "}"
    return found


def percent(passed, whole):
    return 100.0 * passed / whole if whole else 100.0


def row(name, sums):
    lines, all_lines, branches, all_branches = sums
    return (f"{name:<40} {lines:>6} of {all_lines:<6}{percent(lines, all_lines):7.2f} "
            f"{branches:>6} of {all_branches:<6}{percent(branches, all_branches):7.2f}")


def added(all_sums):
    return [sum(column) for column in zip([0, 0, 0, 0], *all_sums)]


def floor_of(name, floors):
    for percentage, patterns in floors:
        if any(fnmatch.fnmatchcase(name, pattern) and
               (pattern.count("/") == name.count("/") or "*" not in pattern) for pattern in patterns):
            return percentage
    return None


def main():
    root, folder, floor_file = sys.argv[1:]
    with open(floor_file) as table:
        rows = [entry.split() for entry in table if entry.strip()]
    floors = [(float(words[0]), words[1:]) for words in rows if words[1:] != ["other"]]
    other = next(float(words[0]) for words in rows if words[1:] == ["other"])

    files = read_counts(root, folder)
    folders = collections.defaultdict(dict)
    faults, places, left_out = [], [], []
    for name, counts in files.items():
        marks = read_marks(root, name)
        missed = counts.missed()
        for mark in marks:
            if not mark.reason:
                faults.append(f"{name}:{mark.line}: left out without a reason")
            if mark.lines.isdisjoint(missed):
                faults.append(f"{name}:{mark.line}: left out, but nothing is missed there")
            left_out.append(f"{name}:{mark.line}: {mark.reason}")
        excused = set().union(*(mark.lines for mark in marks))
        places += [f"{name}:{line}: {', '.join(missed[line])}" for line in sorted(missed.keys() - excused)]
        folders[os.path.dirname(name)][name] = counts.sums(excused)

    heading = f"{'':<40} {'lines':>16} {'%':>6} {'branches':>16} {'%':>6}"
    print(heading)
    for folder_name, members in sorted(folders.items()):
        rest = []
        print(row(folder_name + "/", added(members.values())))
        for name, sums in members.items():
            floor = floor_of(name, floors)
            print(row(f"  {os.path.basename(name)}{'' if floor is None else f'  >= {floor:g}'}", sums))
            if floor is None:
                rest.append(sums)
            elif min(percent(*sums[:2]), percent(*sums[2:])) < floor:
                faults.append(f"{name}: below {floor:g} percent")
        sums = added(rest)
        if min(percent(*sums[:2]), percent(*sums[2:])) < other:
            faults.append(f"{folder_name}/: below {other:g} percent")
    total = added(sums for members in folders.values() for sums in members.values())
    print(row("all", total))

    sources = subprocess.run(["git", "-C", root, "ls-files", "*.cpp", "*.c", ":!cmake"],
                             capture_output=True, text=True, check=True).stdout.split()
    sources = [name for name in sources if not name.startswith(NOT_THE_PRODUCT)]
    print("\nwithout code that runs: " + (" ".join(name for name in sources if name not in files) or "none"))
    print(f"\nleft out, with the reason beside it ({len(left_out)}):")
    print("\n".join(left_out))
    print(f"\nmissed ({len(places)}):")
    print("\n".join(places))
    print()
    if faults:
        print("FAILED:\n" + "\n".join(faults))
        return 1
    print(f"PASSED: {percent(*total[:2]):.2f} percent of lines, {percent(*total[2:]):.2f} of branches")
    return 0


sys.exit(main())
