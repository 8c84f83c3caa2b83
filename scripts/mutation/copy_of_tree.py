"""A copy of the tree, built for the tests, in which mistakes are planted one after the other."""

import atexit
import hashlib
import json
import os
import re
import select
import shlex
import shutil
import signal
import subprocess
import tempfile
import time
from dataclasses import dataclass, field
from pathlib import Path

MOST_OUTPUT = 16 << 20  # of one test; more is a program that no longer ends
MOST_MEMORY_KIB = 8 << 20
FLAGS = ["-DCMAKE_BUILD_TYPE=None", "-DKMR_BUILD_TESTS=ON", "-DKMR_BUILD_PROGRAM=ON",
         "-DCMAKE_C_FLAGS=-O0", "-DCMAKE_CXX_FLAGS=-O0",
         "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld", "-DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=lld"]


@dataclass
class Test:
    name: str
    command: list
    directory: str
    target: str
    sources: set = field(default_factory=set)  # all that its programs and modules are made of
    own: set = field(default_factory=set)      # folders of its own sources, as tests/libvfs
    cpu: float = 0.0
    wall: float = 0.0


@dataclass
class Outcome:
    state: str  # passed, failed, timed out
    detail: str = ""


def run_quietly(command, **how):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace",
                          check=False, **how)


class Copy:
    def __init__(self, root, folder, jobs):
        self.root, self.folder, self.jobs = Path(root), Path(folder), jobs
        self.tree, self.build = self.folder / "tree", self.folder / "build"
        # Short: the tests work with paths of at most 63 characters.
        self.temporary = Path(tempfile.mkdtemp(prefix="m", dir="/tmp"))
        self.temporary.chmod(0o755)  # some tests work as another user
        atexit.register(shutil.rmtree, self.temporary, ignore_errors=True)
        self.planted = None  # file that differs from the original
        self.originals = {}
        self.references = set()  # sources whose code without a mistake is at hand
        self.tests = []
        self.entries = {}  # of the directories that tests run in

    # -- the tree and its build

    def refresh(self):
        """Makes the copy equal to the working tree; what is equal already keeps its date."""
        listed = subprocess.run(["git", "ls-files", "-z", "-co", "--exclude-standard"], cwd=self.root,
                                capture_output=True, check=True).stdout.decode().split("\0")
        wanted = {name for name in listed if name and (self.root / name).is_file()}
        self.tree.mkdir(parents=True, exist_ok=True)
        for path in [each for each in self.tree.rglob("*") if each.is_file() or each.is_symlink()]:
            if str(path.relative_to(self.tree)) not in wanted:
                path.unlink()
        for name in wanted:
            source, target = self.root / name, self.tree / name
            content = source.read_bytes()
            if not target.exists() or target.read_bytes() != content:
                target.parent.mkdir(parents=True, exist_ok=True)
                target.write_bytes(content)
            shutil.copymode(source, target)

    def prepare(self):
        self.refresh()
        for command in (["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", *FLAGS],
                        ["ninja", "-C", self.build, "-j", str(self.jobs)]):
            done = run_quietly(command)
            if done.returncode != 0:
                raise SystemExit(f"the copy does not build:\n{done.stdout[-4000:]}")
        self.commands = {}
        for entry in json.loads((self.build / "compile_commands.json").read_text()):
            self.commands.setdefault(self._name(entry["file"]), entry)
        self.includers = self._includers()
        self.tests = self._tests()
        for test in self.tests:
            self.entries[test.directory] = set(os.listdir(test.directory))

    def _name(self, path):
        path = os.path.normpath(os.path.join(self.build, path))
        return os.path.relpath(path, self.tree) if path.startswith(f"{self.tree}/") else path

    def _includers(self):
        """For every header the sources that include it, by what the compiler noted."""
        includers, source_of = {}, {}
        for name, entry in self.commands.items():
            words = shlex.split(entry["command"])
            source_of[words[words.index("-o") + 1]] = name
        current = None
        for line in run_quietly(["ninja", "-C", self.build, "-t", "deps"]).stdout.splitlines():
            if not line.startswith(" "):
                current = source_of.get(line.split(":")[0])
            elif current and line.strip():
                includers.setdefault(self._name(line.strip()), set()).add(current)
        return includers

    def _tests(self):
        listed = json.loads(subprocess.run(["ctest", "--test-dir", self.build, "--show-only=json-v1"],
                                           capture_output=True, check=True).stdout)
        tests = []
        for each in listed["tests"]:
            program = each["command"][0]
            if not program.startswith(f"{self.build}/"):
                continue  # looks at the text of sources or at what is installed, not at what programs do
            properties = {one["name"]: one["value"] for one in each.get("properties", [])}
            test = Test(each["name"], each["command"], properties.get("WORKING_DIRECTORY", str(self.build)),
                        os.path.relpath(program, self.build))
            inputs = run_quietly(["ninja", "-C", self.build, "-t", "inputs", test.target]).stdout
            test.sources = {self._name(line) for line in inputs.splitlines()}
            test.own = {os.path.dirname(source) for source in self._own_sources(test)}
            tests.append(test)
        return tests

    def _own_sources(self, test):
        mark = f"/{os.path.basename(test.target)}.dir/"
        return [name for name, entry in self.commands.items() if mark in entry["command"]]

    # -- mistakes

    def plant(self, file, text):
        self.restore(except_for=file)
        if file not in self.originals:
            self.originals[file] = (self.tree / file).read_text()
        (self.tree / file).write_text(text)
        self.planted = file

    def restore(self, except_for=None):
        if self.planted is not None and self.planted != except_for:
            (self.tree / self.planted).write_text(self.originals[self.planted])
            self.planted = None

    def compiled(self, file):
        """The sources that are compiled anew when `file` changes, those of the product first."""
        names = {file} if file in self.commands else self.includers.get(file, set())
        return sorted(names, key=lambda name: (name.startswith("tests/"), name))

    def same_code(self, file):
        """Whether what is planted in `file` makes no difference at all to what the optimiser emits."""
        text = (self.tree / file).read_text()
        (self.tree / file).write_text(self.originals[file])
        names = self.compiled(file)
        references = {}
        for name in names:
            reference = self.folder / "reference" / (hashlib.sha256(name.encode()).hexdigest()[:16] + ".o")
            reference.parent.mkdir(exist_ok=True)
            if not (name in self.references and reference.exists()):
                if not self._optimised(name, reference):
                    break
                self.references.add(name)
            references[name] = reference
            # One source after the other: most mistakes show in the first.
            (self.tree / file).write_text(text)
            changed = self.folder / "changed.o"
            if not self._optimised(name, changed) or changed.read_bytes() != reference.read_bytes():
                return False
            (self.tree / file).write_text(self.originals[file])
        (self.tree / file).write_text(text)
        return bool(names) and len(references) == len(names)

    def _optimised(self, name, target):
        entry = self.commands[name]
        words = shlex.split(entry["command"])
        at = words.index("-o")
        words[at + 1] = str(target)
        return run_quietly(words + ["-O2", "-g0", "-w"], cwd=entry["directory"]).returncode == 0

    # -- tests

    def make(self, target):
        """None when the target was built, else the first output that failed."""
        done = run_quietly(["ninja", "-C", str(self.build), "-j", str(self.jobs), target])
        if done.returncode == 0:
            return None
        failed = re.findall(r"^FAILED: (\S+)", done.stdout, re.MULTILINE)
        return failed[0] if failed else "?"

    def run(self, test, measure=False):
        for left in os.listdir(self.temporary):
            shutil.rmtree(self.temporary / left, ignore_errors=True)
        limits = f"ulimit -c 0; ulimit -v {MOST_MEMORY_KIB}; "
        if not measure:
            limits += f"ulimit -t {int(4 + 4 * test.cpu)}; "
        wall = 900 if measure else 40 + 15 * test.wall
        environment = dict(os.environ, TMPDIR=str(self.temporary), GTEST_FAIL_FAST="1", GTEST_COLOR="no")
        started = time.monotonic()
        process = subprocess.Popen(["bash", "-c", limits + 'exec "$@"', "test", *test.command], cwd=test.directory,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                   env=environment, start_new_session=True)
        output, status, usage = self._watch(process, started + wall)
        if measure:
            test.cpu, test.wall = usage.ru_utime + usage.ru_stime, time.monotonic() - started
        if status == 0:
            return Outcome("passed")
        self._clean(test.directory)
        if status in (None, -signal.SIGXCPU, 128 + signal.SIGXCPU) or -status == signal.SIGKILL:
            return Outcome("timed out", test.name)
        text = output.decode(errors="replace")
        failed = re.search(r"^\[  FAILED  \] (\w+[./]\S+)", text, re.MULTILINE)
        return Outcome("failed", f"{test.name}: {failed.group(1).rstrip(',')}" if failed
                       else f"{test.name}: status {status}")

    @staticmethod
    def _watch(process, deadline):
        """Output, exit status (None: ended because it took too long or said too much) and what it used."""
        output, ended = bytearray(), None
        pipe = process.stdout.fileno()
        while ended is None:
            ready, _, _ = select.select([pipe], [], [], 0.05)
            if ready:
                piece = os.read(pipe, 1 << 16)
                output += piece
                if not piece:
                    time.sleep(0.002)
            pid, status, usage = os.wait4(process.pid, os.WNOHANG)
            if pid:
                ended = (os.waitstatus_to_exitcode(status), usage)
            elif time.monotonic() > deadline or len(output) > MOST_OUTPUT:
                os.killpg(process.pid, signal.SIGKILL)
                _, _, usage = os.wait4(process.pid, 0)
                ended = (None, usage)
        try:
            os.killpg(process.pid, signal.SIGKILL)  # what it left running
        except ProcessLookupError:
            pass
        while select.select([pipe], [], [], 0)[0]:
            piece = os.read(pipe, 1 << 16)
            if not piece:
                break
            output += piece
        process.stdout.close()
        process.returncode = 0  # waited for above
        return bytes(output), ended[0], ended[1]

    def _clean(self, directory):
        """Takes away what a test that failed has left in its directory."""
        if "/tests/run/" not in directory:
            return
        for name in set(os.listdir(directory)) - self.entries.get(directory, set()):
            path = os.path.join(directory, name)
            if os.path.isdir(path) and not os.path.islink(path):
                shutil.rmtree(path, ignore_errors=True)
            else:
                os.unlink(path)
