#!/usr/bin/env python3
"""Each completion offers every command and option that the program's help names, and nothing else. bash is asked
itself, fish too where it is installed; the files of zsh are read. Lines are typed into each shell that is there."""
import os
import pty
import re
import select
import shutil
import subprocess
import tempfile

import help_text

FILES = os.environ["COMPLETIONS"]
complaints = help_text.Complaints()


def path_of(*names):
    return os.path.join(FILES, *names)


def read(*names):
    with open(path_of(*names), encoding="utf-8") as file:
        return file.read().replace("\\\n", " ")


def run(*arguments, **options):
    return subprocess.run(arguments, capture_output=True, text=True, check=True, timeout=600, **options).stdout


def long_ones(options):
    return {name for name in options if name.startswith("--")}


class Bash:
    """The completion in a shell without any other setting: the function that is registered, asked about some words."""
    name = "bash"
    ask = """
        source "$1" && shift
        COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
        words=($(complete -p "$1"))
        for ((n = 0; n < ${#words[@]}; n++)); do [ "${words[n]}" != -F ] || "${words[n + 1]}"; done
        [ "${#COMPREPLY[@]}" = 0 ] || printf '%s\\n' "${COMPREPLY[@]}"
    """

    def __init__(self, folder):
        self.folder = folder

    def offered(self, *words):
        """What may stand in the place of the last word."""
        answer = run("bash", "--norc", "--noprofile", "-c", self.ask, "bash", path_of("bash", words[0]), *words,
                     cwd=self.folder)
        return set(answer.splitlines())


class Fish:
    name = "fish"

    def __init__(self, folder):
        self.folder = folder

    def offered(self, *words):
        at_home = dict(os.environ, HOME=self.folder, XDG_DATA_HOME=self.folder)
        answer = run("fish", "--no-config", "-c", "source $argv[1]; complete -C $argv[2]",
                     path_of("fish", words[0] + ".fish"), " ".join(words), cwd=self.folder, env=at_home)
        return {line.split("\t")[0] for line in answer.splitlines()}


def check_shell(shell, every, make, letters):
    """Asks for every option, and for the values of those that have a list of them."""
    commands = set()
    if every:
        commands = shell.offered("kmr", "")
        complaints.same(f"{shell.name}: kmr", "option", long_ones(every[""]), long_ones(shell.offered("kmr", "--")))
        complaints.same(f"{shell.name}: kmr", "command", set(every) - {""}, commands)
    for command in sorted(commands & set(every)):
        where = f"{shell.name}: kmr {command}"
        complaints.same(where, "option", long_ones(every[command]), long_ones(shell.offered("kmr", command, "--")))
        check_values(shell, ["kmr", command], every[command])
    complaints.same(f"{shell.name}: kmr_make", "option", make, long_ones(shell.offered("kmr_make", "--")))
    check_values(shell, ["kmr_make"], make)
    # A single letter is offered alone, or with what may stand behind it in the same word.
    found = {word for word in shell.offered("kmr_viewer", "-") if re.fullmatch(r"-\w", word)}
    complaints.same(f"{shell.name}: kmr_viewer", "option", letters, found)


def check_values(shell, words, options):
    for name, value in sorted(options.items()):
        if "|" in value and name.startswith("--"):
            found = {word.lower() for word in shell.offered(*words, name, "")}
            complaints.same(f"{shell.name}: {' '.join(words)} {name}", "value", value.split("|"), found)


def suffixes_made(command):
    """What the program says that it can make, of a name that has no suffix it knows. Containers are offered whether or
    not it was built with them; a page has the suffix of its help text."""
    said = help_text.output(KMR, command, "no-recording", "-o", "no-suffix").stderr
    found = set(re.findall(r"\.\w+", said)) or {"." + every_command[command]["-o"].partition(".")[2]}
    return found | ({".mp4", ".mkv"} if command == "extract" else set())


def check_suffixes(shell):
    """A name that is begun goes on with each suffix, in the place of the one that it has begun."""
    for command in sorted({"extract", "report", "plot"} & set(every_command)):
        for typed in ("video", "video.", "folder/video"):
            wanted = {typed.rstrip(".") + suffix for suffix in suffixes_made(command)}
            found = shell.offered("kmr", command, "recording.kmr", "-o", typed)
            complaints.same(f"{shell.name}: kmr {command} -o {typed}", "name", wanted, found)


def without_descriptions(text):
    return re.sub(r"\[(?:\\.|[^]\\])*\]", "", text)


def in_text(text):
    return set(re.findall(r"(?<![\w-])--[a-z][\w-]*", without_descriptions(text)))


def check_zsh(every, make, letters):
    text = read("zsh", "_kmr")
    common = re.search(r"common=\((.*?)^    \)", text, re.DOTALL | re.MULTILINE).group(1)
    listed = re.search(r"commands=\((.*?)^    \)", text, re.DOTALL | re.MULTILINE).group(1)
    rest = text.partition("case $words[1] in")[2]
    cases = dict(re.findall(r"^    (\w+)\)\n(.*?)^        ;;", rest, re.DOTALL | re.MULTILINE))
    if every:
        commands = set(every) - {""}
        own = re.search(r"_arguments -C (.*)", text).group(1)
        complaints.same("zsh: kmr", "option", long_ones(every[""]), in_text(own))
        complaints.same("zsh: kmr", "command", commands, re.findall(r"^\s*'(\w+):", listed, re.MULTILINE))
        complaints.same("zsh: kmr", "case of the command", commands, cases)
        for command in sorted(commands & set(cases)):
            found = in_text(cases[command]) | (in_text(common) if "$common" in cases[command] else set())
            complaints.same(f"zsh: kmr {command}", "option", long_ones(every[command]), found)
            if named := re.search(r" _kmr_named ([^']*)'", cases[command]):
                complaints.same(f"zsh: kmr {command}", "suffix", suffixes_made(command), named.group(1).split())
    complaints.same("zsh: kmr_make", "option", make, in_text(read("zsh", "_kmr_make")))
    viewer = without_descriptions(read("zsh", "_kmr_viewer"))
    complaints.same("zsh: kmr_viewer", "option", letters, re.findall(r"'(?:\(- \*\))?(-\w)", viewer))


def check_fish_text(every, make, letters):
    """What can be seen without the shell."""
    text = read("fish", "kmr.fish")
    found = {command: set() for command in every}
    listed = re.search(r"set -l commands (.*)", text).group(1).split() + [""]
    for condition, name in re.findall(r"^complete -c kmr -n (\$\w+|'[^']*').*? -l ([\w-]+)", text, re.MULTILINE):
        named = {"$none": [""], "$any": set(every) - {""}}.get(condition) or condition.strip("'").split()[1:]
        for command in named:
            found.setdefault(command, set()).add("--" + name)
    if every:
        complaints.same("fish: kmr", "command", every, found)
        complaints.same("fish: kmr", "listed command", every, listed)
        described = re.findall(r"^complete -c kmr -n \$none -a (\w+)", text, re.MULTILINE)
        complaints.same("fish: kmr", "described command", set(every) - {""}, described)
    for command in sorted(set(every) & set(listed)):
        complaints.same(f"fish: kmr {command}", "option", long_ones(every[command]), found[command])
    lines = read("fish", "kmr_make.fish")
    complaints.same("fish: kmr_make", "option", make, {"--" + name for name in re.findall(r" -l ([\w-]+)", lines)})
    lines = read("fish", "kmr_viewer.fish")
    complaints.same("fish: kmr_viewer", "option", letters, {"-" + name for name in re.findall(r" -s (\w)\b", lines)})


# How a shell is started without any other setting, what it runs before something is typed, and a command of this name
# that tells its words.
TELLING = "kmr() { printf 'GOT'; printf '<%s>' \"$@\"; echo; }"
PROMPTS = {
    "bash": (("--norc", "--noprofile", "-i"), f"source {path_of('bash', 'kmr')}; {TELLING}"),
    "zsh": (("-f", "-i"), f"fpath=({path_of('zsh')} $fpath); autoload -U compinit; compinit -u -D; {TELLING}"),
    "fish": (("--no-config", "-i"), f"source {path_of('fish', 'kmr.fish')}; "
             "function kmr; printf GOT; printf '<%s>' $argv; echo; end"),
}

TYPED = (
    ("kmr che\t--al\t", ["check", "--all-findings"]),
    ("kmr frames --format=c\t--ty\t I", ["frames", "--format=csv", "--type", "I"]),
    ("kmr extract x --audio a\t-o v.h\t4\t", ["extract", "x", "--audio", "alaw", "-o", "v.h264"]),
    ("kmr report x -o pa\t", ["report", "x", "-o", "pa.html"]),
    ("kmr report x --output=pa\t", ["report", "x", "--output=pa.html"]),
    ("kmr plot x -o pa\tp\t", ["plot", "x", "-o", "pa.png"]),
)


def typed_at_a_prompt(name, line, wanted, folder):
    """Whether a line, tabs and all, makes kmr start with these words in a shell that somebody types into."""
    options, setting = PROMPTS[name]
    shell, terminal = pty.fork()
    if shell == 0:
        os.chdir(folder)
        os.execvpe(name, [name, *options], dict(os.environ, TERM="dumb", PS1="READY> ", HOME=folder, XDG_DATA_HOME=folder))
    seen = b""

    def send_and_wait(text, mark):
        nonlocal seen
        os.write(terminal, text.encode())
        seen = b""
        while mark.encode() not in seen and select.select([terminal], [], [], 120)[0]:
            try:
                seen += os.read(terminal, 4096)
            except OSError:  # the shell is gone
                break
        return mark.encode() in seen

    done = send_and_wait(f"{setting}; echo SET''UP\n", "SETUP")
    done = done and send_and_wait(line + "\n", "GOT" + "".join(f"<{word}>" for word in wanted) + "\r")
    if not done:
        complaints.say(f"{name}: typed {line!r}, seen {seen!r}")
    os.close(terminal)
    os.waitpid(shell, 0)


def check_typing(folder):
    for name in sorted(PROMPTS):
        if shutil.which(name) is None:
            continue
        for line, wanted in TYPED:
            typed_at_a_prompt(name, line, wanted, folder)


def check_syntax():
    """Each shell reads its files without running them; those that are not installed are named."""
    for shell in ("bash", "zsh", "fish"):
        if shutil.which(shell) is None:
            print(f"{shell} is not installed: its files were read, not run")
            continue
        for name in sorted(os.listdir(path_of(shell))):
            read_it = subprocess.run([shell, "-n", path_of(shell, name)], capture_output=True, text=True, check=False)
            if read_it.returncode != 0 or read_it.stderr:
                complaints.say(f"{shell}/{name}: {read_it.stderr.strip()}")


KMR, MAKE, VIEWER = help_text.programs()
every_command = help_text.kmr_commands(KMR) if KMR else {}
make_options = help_text.options(help_text.output(MAKE, "--help").stdout)
viewer_options = help_text.viewer_letters(VIEWER)
check_syntax()
check_zsh(every_command, make_options, viewer_options)
check_fish_text(every_command, make_options, viewer_options)
with tempfile.TemporaryDirectory() as empty:
    shells = [Bash(empty)] + ([Fish(empty)] if shutil.which("fish") else [])
    for each in shells:
        check_shell(each, every_command, make_options, viewer_options)
        check_suffixes(each)
    check_typing(empty)
complaints.end(f"{len(every_command)} helps of kmr, {len(make_options)} options of kmr_make")
