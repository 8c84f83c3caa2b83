"""Plants single mistakes in the product, one at a time, and tells which the tests notice. scripts/mutate starts it."""

import argparse
import json
import queue
import random
import subprocess
import sys
import threading
import time
from pathlib import Path

from copy_of_tree import Copy
from report import counts_as_place, print_report
from sites import mutants_of

FOLDERS = ["base", "analyse", "file_op", "libvfs", "modules", "UserDataOpt", "vfslist16a", "main", "scan", "tools",
           "mend", "kmr"]
LAST = ("tests/campaign", "tests/board")
BEFORE_LAST = ("tests/program",)
NOTICED_AT_LEAST = 97.0
LONG_TEST_SECONDS = 4


def own_tests(file):
    """The folders of tests that are there for a file's folder."""
    folder = Path(file).parent
    folders = {f"tests/{folder}", f"tests/{folder.parts[0]}"}
    if str(folder) == "analyse/format":
        folders.add("tests/format")
    if str(folder) == "analyse/vca":
        folders.add("tests/UserDataOpt")
    return folders


class Campaign:
    def __init__(self, root, arguments):
        self.root, self.arguments = Path(root), arguments
        self.folder = self.root / "build" / "mutate"
        self.lock = threading.Lock()
        self.results = {}  # by key
        self.known = {}  # of a run that was ended before its end
        self.started = time.monotonic()

    # -- which mistakes

    def sources(self):
        listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "--", *FOLDERS], cwd=self.root,
                                capture_output=True, text=True, check=True).stdout.split("\n")
        wanted = self.arguments.folders or FOLDERS
        return sorted(name for name in listed if name.endswith((".c", ".h", ".cpp", ".hpp"))
                      and any(name == each or name.startswith(each.rstrip("/") + "/") for each in wanted))

    def candidates(self):
        """For every folder its places in the order in which they are tried, each with the mistake that is planted there."""
        places = {}
        for name in self.sources():
            for place in mutants_of(name, (self.root / name).read_text()):
                places.setdefault(name.split("/")[0], []).append(place)
        drawn = {}
        for folder, found in sorted(places.items()):
            chance = random.Random(f"{self.arguments.seed} {folder}")
            chance.shuffle(found)
            drawn[folder] = [chance.choice(place) for place in found]
        return drawn

    def shares(self, drawn):
        """How many places of each folder, by its size; every folder has some."""
        total = sum(len(places) for places in drawn.values())
        least = min(10, max(1, self.arguments.count // len(drawn)))
        return {folder: min(len(places), max(least, round(self.arguments.count * len(places) / total)))
                for folder, places in drawn.items()}

    # -- one mistake

    def ordered_tests(self, copy, file):
        sources = set(copy.compiled(file))
        stem, own = Path(file).stem, own_tests(file)

        def rank(test):
            if test.own & own:
                return 0 if stem in test.name else 1
            if test.cpu > LONG_TEST_SECONDS or any(folder.startswith(LAST) for folder in test.own):
                return 4
            return 3 if any(folder.startswith(BEFORE_LAST) for folder in test.own) else 2
        affected = [test for test in copy.tests if test.sources & sources]
        return [(rank(test), test) for test in sorted(affected, key=lambda test: (rank(test), test.cpu, test.name))]

    def judge(self, copy, mutant):
        """What becomes of one mistake: a state and by what."""
        copy.plant(mutant.file, mutant.text)
        judged = False
        for rank, test in self.ordered_tests(copy, mutant.file):
            if rank > 1 and not judged:
                judged = True
                if copy.same_code(mutant.file):
                    return "same code", ""
            failed = copy.make(test.target)
            if failed and not (failed.startswith("tests/") and failed.endswith(".o")):
                return "does not compile", failed
            if failed:
                return "noticed", f"compiling {failed}"
            outcome = copy.run(test)
            if outcome.state != "passed":
                return ("noticed" if outcome.state == "failed" else "timed out"), outcome.detail
        if not judged and copy.same_code(mutant.file):
            return "same code", ""
        return "survived", ""

    # -- all of them

    def run(self, drawn, shares, listed):
        """Tries the places of each folder in their order until it has its share of those that count."""
        self.position = {folder: 0 for folder in drawn}
        self.counted = {folder: 0 for folder in drawn}
        self.in_work = {folder: 0 for folder in drawn}
        self.waiting = []

        def worker(copy):
            if copy is not self.copies[0]:
                copy.prepare()
                self.take_times(copy)
            while True:
                mutant = self._next(drawn, shares)
                if mutant is None:
                    break
                began = time.monotonic()
                if mutant.key() in listed:
                    state, by = "equivalent", listed[mutant.key()]["why"]
                elif mutant.key() in self.known:
                    state, by = self.known[mutant.key()]["state"], self.known[mutant.key()]["by"]
                else:
                    state, by = self.judge(copy, mutant)
                self._note(mutant, state, by, time.monotonic() - began)
            copy.restore()

        threads = [threading.Thread(target=worker, args=(copy,)) for copy in self.copies]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()

    def _next(self, drawn, shares):
        while True:
            with self.lock:
                if not self.waiting:
                    for folder, places in drawn.items():
                        open_ones = shares[folder] - self.counted[folder] - self.in_work[folder]
                        chosen = places[self.position[folder]:self.position[folder] + max(0, open_ones)]
                        self.position[folder] += len(chosen)
                        self.in_work[folder] += len(chosen)
                        self.waiting += chosen
                    # Mistakes of one file in a row: the file before is compiled anew only once.
                    # Those of headers come last: they take long.
                    self.waiting.sort(key=lambda mutant: (".h" in mutant.file, mutant.file, mutant.line))
                    if not self.waiting and not any(self.in_work.values()):
                        return None
                if self.waiting:
                    return self.waiting.pop(0)
            time.sleep(0.5)

    def _note(self, mutant, state, by, seconds):
        folder = "again" if "again" in self.in_work else mutant.file.split("/")[0]
        result = {"file": mutant.file, "line": mutant.line, "kind": mutant.kind, "function": mutant.function,
                  "before": mutant.before, "after": mutant.after, "nth": mutant.nth, "state": state, "by": by}
        with self.lock:
            self.results[mutant.key()] = result
            self.in_work[folder] -= 1
            self.counted[folder] += counts_as_place(state)
            with open(self.log, "a") as log:
                log.write(json.dumps(result) + "\n")
            print(f"{time.monotonic() - self.started:6.0f} s {seconds:5.1f} s {state:16} "
                  f"{mutant.file}:{mutant.line} {mutant.kind} | {by}", flush=True)

    def prepare(self):
        self.folder.mkdir(parents=True, exist_ok=True)
        jobs = max(1, self.arguments.jobs)
        self.copies = [Copy(self.root, self.folder / str(number + 1), 2 if jobs == 1 else 1)
                       for number in range(jobs)]
        first = self.copies[0]  # the others are built while this one works
        first.prepare()
        measured = self.folder / "measured.json"
        known = json.loads(measured.read_text()) if measured.exists() else {}
        for test in first.tests:
            if test.name not in known:
                known[test.name] = self.measure(first, test)
        measured.write_text(json.dumps(known))
        self.times = known
        self.take_times(first)
        print(f"{len(first.tests)} test programs, {sum(test.cpu for test in first.tests):.0f} s, "
              f"ready after {time.monotonic() - self.started:.0f} s", flush=True)

    def take_times(self, copy):
        for test in copy.tests:
            test.cpu, test.wall = self.times.get(test.name, (5.0, 10.0))

    @staticmethod
    def measure(copy, test):
        outcome = copy.run(test, measure=True)
        if outcome.state != "passed":
            raise SystemExit(f"without any mistake: {outcome.detail} {outcome.state}")
        return test.cpu, test.wall

    def check_copies(self):
        """What failed must have failed for the mistake: without one everything passes again."""
        for copy in self.copies[:1]:
            copy.restore()
            failed = copy.make("all")
            noticed_by = {each["by"].split(":")[0] for each in self.results.values()}
            bad = [failed] if failed else [test.name for test in copy.tests
                                           if test.name in noticed_by and copy.run(test).state != "passed"]
            if bad:
                raise SystemExit(f"not to be trusted: without a mistake these fail too: {' '.join(bad)}")
        print("without a mistake all that noticed one pass again")


def read_listed(path):
    """The mistakes that are known to change nothing, by what stands there, with the reason."""
    listed = {}
    if path.exists():
        for block in path.read_text().split("\n\n"):
            entry = dict(line.split(": ", 1) for line in block.splitlines() if ": " in line and line[0] != "#")
            if entry:
                key = (entry["file"], entry.get("in", ""), entry["is"], entry["would be"], int(entry.get("nth", 1)))
                listed[key] = entry
    return listed


def main():
    parser = argparse.ArgumentParser(prog="scripts/mutate", description=__doc__)
    parser.add_argument("--count", type=int, default=500, help="places to be planted that change the code (500)")
    parser.add_argument("--seed", default="1", help="chooses the places (1)")
    parser.add_argument("-j", "--jobs", type=int, default=2, help="copies of the tree that work at once (2)")
    parser.add_argument("--again", action="store_true", help="only what survived in the last run")
    parser.add_argument("--resume", action="store_true", help="go on with a run of the same seed that was ended")
    parser.add_argument("--list", action="store_true", help="only say what would be planted")
    parser.add_argument("folders", nargs="*", metavar="FOLDER", help="folders or files; all of the product's")
    campaign = Campaign(Path(__file__).resolve().parents[2], parser.parse_args())
    arguments = campaign.arguments
    listed = read_listed(campaign.root / "tests" / "mutants" / "equivalent")
    campaign.log = campaign.folder / "results"

    drawn = campaign.candidates()
    if not drawn:
        raise SystemExit("no place in these folders")
    shares = campaign.shares(drawn)
    if arguments.list:
        for folder, places in drawn.items():
            for mutant in places[:shares[folder]]:
                print(f"{mutant.file}:{mutant.line} {mutant.kind}\n  - {mutant.before}\n  + {mutant.after}")
        return 0

    earlier = {}
    if arguments.again or arguments.resume:
        for line in campaign.log.read_text().splitlines():
            result = json.loads(line)
            earlier[(result["file"], result["function"], result["before"], result["after"], result["nth"])] = result
    if arguments.resume:
        campaign.known, earlier = earlier, {}
    if arguments.again:
        wanted = {key for key, result in earlier.items() if result["state"] == "survived"}
        every = [mutant for name in campaign.sources()
                 for place in mutants_of(name, (campaign.root / name).read_text()) for mutant in place]
        drawn = {"again": [mutant for mutant in every if mutant.key() in wanted]}
        shares = {"again": len(drawn["again"])}
    campaign.prepare()
    if not arguments.again:
        campaign.log.write_text("")
    campaign.run(drawn, shares, listed)
    campaign.check_copies()
    earlier.update(campaign.results)
    share = print_report(list(earlier.values()), time.monotonic() - campaign.started)
    return 0 if share >= NOTICED_AT_LEAST else 1


if __name__ == "__main__":
    sys.exit(main())
