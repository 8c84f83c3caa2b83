"""What the programs say of their own options: a dictionary from each ("-v", "--db") to its value, "" without one."""
import os
import re
import string
import subprocess
import tempfile

# Two blanks, the option with or without a letter, at one blank its value, at two or more what it does. A value that may
# be left out stands in brackets, with its sign: --video[=MIB].
OPTION = re.compile(r"  (?:(-\w),)?(--[\w-]+|-\w)(?:\[(=\S+)\]| (?!Needs:|Excludes:)(\S+))?(?: .*)?$")


def output(*arguments):
    """What a program prints, started where it can leave files behind."""
    with tempfile.TemporaryDirectory() as folder:
        return subprocess.run(arguments, cwd=folder, capture_output=True, text=True, errors="replace", check=False)


def options(text):
    found = {}
    for match in filter(None, map(OPTION.match, text.splitlines())):
        letter, name, optional, value = match.groups("")
        if value.startswith('"'):  # what an option stands for, not what it takes
            continue
        for each in filter(None, (letter, name)):
            found.setdefault(each, (optional or value).lower())
    return found


def commands(text):
    """The commands in the order of the help text."""
    return re.findall(r"^  (\w+)  ", text.partition("\nSubcommands:\n")[2], re.MULTILINE)


def kmr_commands(kmr):
    """The options of each command; those of the program itself under ""."""
    text = output(kmr, "--help").stdout
    every = {"": options(text)}
    for command in commands(text):
        every[command] = options(output(kmr, command, "--help").stdout)
    return every


def viewer_letters(viewer):
    """The letters that the viewer takes: more than its help text, which stays as it is, tells of."""
    return {"-" + letter for letter in string.ascii_letters + string.digits
            if f"invalid option -- '{letter}'" not in output(viewer, "-" + letter).stderr}


def viewer_help(viewer):
    return set(re.findall(r"^(-\w) ", output(viewer, "-h").stdout, re.MULTILINE))


def programs():
    """The programs under test, by the environment; kmr is not built everywhere."""
    return os.environ.get("KMR"), os.environ["KMR_MAKE"], os.environ["KMR_VIEWER"]


class Complaints:
    """Collects what is wrong, so that one run names all of it."""

    def __init__(self):
        self.count = 0

    def say(self, text):
        self.count += 1
        print(text)

    def same(self, where, what, wanted, found):
        for each in sorted(set(wanted) - set(found)):
            self.say(f"{where}: {what} {each} is missing")
        for each in sorted(set(found) - set(wanted)):
            self.say(f"{where}: there is no {what} {each}")

    def end(self, looked_at):
        print(f"{looked_at}; {self.count} complaints")
        raise SystemExit(1 if self.count or not looked_at else 0)
