"""What the shells are told to complete, the shells at work on terminals of their own, and the manual pages."""

import fcntl
import os
import pathlib
import pty
import re
import select
import shlex
import shutil
import subprocess
import termios
import time

from tools import DEAF_WRITES, FOLDER, MACHINES, TOOLS, read, run, settings, table, write

HOSTILE = '''
[firmware item]
name = "Q" it's
value = 1
options = plain| lead $HOME`x`|a\\b!c:d=e
[firmware item]
name = a=b
value = 0
options = Off|off
'''


def offered(line):
    """The whole words that fish is offered for the last one of the line, which zsh gets, too."""
    answer = run(f"{line.split()[0]} complete --shell fish -- {shlex.quote(line)}")
    assert answer.code == 0, line
    return [word.split("\t")[0] for word in answer.out.splitlines()]


@table("line, expected", [
    ("vxtctl de", {"devices", "device"}), ("vxtctl cpu s", {"set"}), ("vxtctl cpu set --mu", {"--multiplier"}), ("vxtctl cpu set -- --mu", set()),
    ("vxtctl --color al", {"always"}), ("vxtctl --color=al", {"--color=always"}), ("vxtctl completion ", {"bash", "zsh", "fish"}),
    ("vxtctl devices --js", {"--json"}), ("vxtctl --json cp", {"cpu"}), ("vxtctl devices cp", set()), ("vxtctl devices ", {"--all", "-h", "--help"}),
    ("vxtctl --machine k8", {":files", "k8-first", "k8-revf-dual"}), ("vxtctl --state x", {":files"}), ("vxtctl cpu --fault s", set()),
    ("vxtctl profile s", {"save", "show"}), ("vxtctl profile diff a.xml ", {":files"}),
    ("vxtdiag snapshot ", {":files"}), ("vxtdiag snapshot x ", {"-h", "--help"}), ("vxtdiag pci 2>x >", {":files"}), ("vxtdiag pci >x 00:18.4", {"00:18.4"}),
    ("vxtctl sensors t", {"temperature"}), ("vxtctl sensors cpu/1/", {"cpu/1/temperature/0", "cpu/1/voltage/0"}), ("vxtctl sensors fan --record ", {":files"}),
    ("vxtctl device cpu/", {"cpu/0", "cpu/1", "cpu/2", "cpu/3"}), ("vxtctl --machine 'k8-revf-dual' cpu ", {"set", "0", "1"}),
    ("vxtctl --machine ~/fw.machine clocks set pcie=100 p", set()), ("vxtctl --machine fw.machine voltages set mem", {"memvddq="}),
    ("vxtctl cpu set --core a", {"all"}), ("vxtctl cpu set --pstate ", {"0", "1", "2", "3"}), ("vxtctl cpu set --voltage 1.1", {"1.1", "1.1125", "1.125", "1.1375", "1.15", "1.1625", "1.175", "1.1875"}),
    ("vxtctl cpu set --multiplier 1 --machine k8-first --multiplier 1", {"10"}), ("vxtctl cpu set --multiplier 15 --voltage 1.3", {"1.35"}), ("vxtctl links set in_width=1", {"in_width=16"}), ("vxtctl links set --link 1 in", set()),
    ("vxtctl fan set environment/0/fan/1", {"environment/0/fan/1="}), ("vxtctl fan set environment/0/fan/1=9", {"environment/0/fan/1=90"}), ("vxtctl ctb set ", {"on", "off"}),
    ("vxtctl memory set dcc=", {"dcc=on", "dcc=off"}), ("vxtdiag acpi mc", {"MCFG"}), ("vxtdiag cpu 3", {"3"}), ("vxtdiag firmware 0107", set()),
    ("vxtctl --machine nosuch memory set t", set()), ("vxtdiag cmos set 5=p", {"5=plain"}), ("vxtdiag cmos set \"Burst Length=", {f"Burst Length={n}" for n in (0, 1, 2)}),
    ("vxtdiag cmos set 6", {"6="}), ("vxtdiag cmos set 6=", {"6=0", "6=1"}),
])
def test_completion_knows_commands_options_and_what_the_machine_has(line, expected, monkeypatch):
    monkeypatch.setenv("HOME", os.getcwd())
    write("items.machine", read("fw.machine") + HOSTILE)
    if line.startswith("vxtdiag cmos"):
        monkeypatch.setenv("VXT_MACHINE", "items.machine")
    found = offered(line)
    assert (set(found), len(found)) == (expected - {""}, len(expected))


@table("machine", MACHINES)
def test_every_setting_and_value_that_is_offered_can_be_set(machine):
    found = settings(machine)
    line = f"vxtctl --machine {machine} memory set "
    assert sorted(offered(line)) == sorted(name + "=" for name, setting in found.items() if setting["writable"])
    words = [word for name in offered(line) if (values := offered(line + name)) for word in (values[0], values[-1])]
    assert len(words) > 10 and {word: code for word in words if (code := run(f"{line}{word} --dry-run").code)} == {}


def test_completing_leaves_neither_files_nor_writes_behind():
    write("deaf.machine", read("fw.machine") + DEAF_WRITES)
    for line in ("clocks set external=", "cpu set --pstate ", "memory set t", "device "):
        assert offered(f"vxtctl --log --state new.state --output out --machine deaf.machine {line}")
    assert sorted(os.listdir()) == ["deaf.machine", "fw.machine"]


# --- the shells -----------------------------------------------------------------------------------------------------------------

SHELLS = {"bash": ("bash --norc --noprofile -i", ""), "fish": ("fish --no-config -i", ""),
          "zsh": ("zsh -f -i", "bindkey -e; autoload -U compinit; compinit -D -u\n")}


class Shell:
    """An interactive shell on a terminal, with the scripts loaded."""

    def __init__(self, shell):
        command, setup = SHELLS[shell]
        write("show", '#!/bin/sh\nprintf "%s\\n" "$@" >shown.new\nmv shown.new shown\n')
        os.chmod("show", 0o755)
        for tool in TOOLS:
            write(f"{tool}.{shell}", run(f"{tool} completion {shell}").out)
        self.master, slave = pty.openpty()
        env = {"PATH": f"{FOLDER}:{os.getcwd()}:{os.environ['PATH']}", "HOME": os.getcwd(), "TERM": "xterm", "LC_ALL": "C.UTF-8", "VXT_MACHINE": "items.machine"}
        self.child = subprocess.Popen(command.split(), stdin=slave, stdout=slave, stderr=slave, env=env, start_new_session=True,
                                      preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
        os.close(slave)
        self.shown(f"{setup}source vxtctl.{shell}; source vxtdiag.{shell}; show\n")

    def shown(self, typed):
        """What `show` was called with."""
        os.write(self.master, typed.encode())
        for _ in range(200):
            if select.select([self.master], [], [], 0.05)[0]:
                os.read(self.master, 65536)
            elif os.path.exists("shown"):
                words = read("shown").splitlines()
                os.remove("shown")
                return words
        return None

    def completed(self, typed):
        """The words of the line that comes of the keys, as a command would get them."""
        return self.shown(f"{typed}\x01show \n")

    def end(self):
        self.child.kill()
        self.child.wait()
        os.close(self.master)


@table("shell", SHELLS)
def test_the_shells_insert_what_the_tool_offers_in_their_own_quotes(shell):
    write("items.machine", read("fw.machine") + HOSTILE)
    write("file one.txt", "")
    terminal = Shell(shell)
    quote, name = '\\"', """"Q" it's="""
    rows = [  # keys, and the last word that comes of them
        ("vxtctl memory set trc\t=1\t0\t", "trc=10"), ("vxtctl cpu --output fi\t", "file one.txt"), ("vxtctl --output=fi\t", "--output=file one.txt"),
        ("vxtctl --machine it\t", "items.machine"), ("vxtctl --machine=k8-f\t", "--machine=k8-first"), ("vxtdiag pci 00:18.4\t", "00:18.4"),
        ("vxtctl device cpu/3\t", "cpu/3"), ("vxtdiag cmos set cor\tdis\t", "Core Trim Boost=Disabled"), ("vxtdiag cmos set 'core tr\tau\t", "Core Trim Boost=Auto"),
        (f"vxtdiag cmos set {quote}q\tp\t", name + "plain"), (f"vxtdiag cmos set \"{quote}q\ta\t", name + "a\\b!c:d=e"),
        (f"vxtdiag cmos set {quote}q\ta\t", name + "a\\b!c:d=e"), (f"vxtdiag cmos set {quote}q\t\\ \t", name + " lead $HOME`x`"),
    ]
    found = [(terminal.completed(keys) or [None])[-1] for keys, _ in rows]
    terminal.end()
    assert found == [word for _, word in rows]


# --- manual pages ---------------------------------------------------------------------------------------------------------------

@table("tool", TOOLS)
def test_the_manual_page_tells_every_command_and_option_of_the_help(tool):
    written = (FOLDER.parent / f"share/man/man1/{tool}.1").read_text(encoding="utf-8")
    rendered = subprocess.run(["groff", "-ww", "-man", "-Tutf8", "-Kutf8"], input=written, capture_output=True, text=True, check=False)
    assert (run(f"{tool} man").out, rendered.stderr) == (written, "")
    page = written.replace("\\-", "-")
    words = set(re.findall(r"^  (?:-\w,)?(--?[\w-]+|[a-z]+)", run(f"{tool} --help").out, re.M)) - {tool}
    assert len(words) > 10 and {word for word in words if word not in page} == set()
    assert set(re.findall(r"(?m)^\.SH (.*)", page)) >= {"EXIT STATUS", "ENVIRONMENT", "FILES"} and all(f"\\fB{code}\\fR" in page for code in (0, 1, 2, 3, 4, 5, 6, 130))
