"""Profiles on the hardware: written as one; put back when something goes wrong, nobody confirms, or somebody was killed."""

import fcntl
import json
import os
import pathlib
import pty
import random
import re
import signal
import struct
import subprocess
import termios
import time

import pytest

import by_hand
from tools import FOLDER, MACHINES, SOURCE, answer, parsed, read, run, run_on_terminal, table, write

APPLY = "vxtctl profile apply new.xml --yes --state pc.state"
CONFIRM = APPLY + " --confirm 30"
RECORD = pathlib.Path("state/vxt/applied-profiles.json")


@pytest.fixture(autouse=True)
def pc(folder, monkeypatch):
    """A PC with two profiles: the one in force, and one that changes a bit of everything."""
    monkeypatch.setenv("XDG_STATE_HOME", os.path.abspath("state"))
    assert run("vxtctl profile save old.xml --state pc.state").code == 0
    write("new.xml", read(SOURCE / "examples/family10h-ddr3.xml"))


def is_in_force(name, state="pc.state"):
    found = run(f"vxtctl profile verify {name} --state {state}")
    assert found.code in (0, 6), found.err
    return found.code == 0


def left_behind():
    return "'vxtctl profile rollback'" in run("vxtctl profile verify old.xml --state pc.state").err


def read_terminal(master):
    try:
        return os.read(master, 4096)
    except OSError:
        return b""  # the other side is gone


def profile(name, **values):
    """The profile in force with other values, by key."""
    text = read("old.xml")
    for key, value in values.items():
        text, count = re.subn(rf"(<{key}>)[^<]*(</{key}>)", rf"\g<1>{value}\g<2>", text)
        assert count, key
    write(name, text)


@table("machine", MACHINES)
def test_a_saved_profile_comes_back_whatever_was_changed_meanwhile(machine):
    state = "--state all.state"
    lines, ids = by_hand.changes(answer(f"vxtctl profile --machine {machine} {state}")["settings"])
    assert run(f"vxtctl profile save all.xml {state}").code == 0
    for line in lines:
        assert run(f"{line} {state}").code == 0, line
    differences = {row["id"] for row in answer(f"vxtctl profile diff all.xml {state}", 6)["differences"]}
    assert set(ids) <= differences and len(ids) > 20
    found = answer(f"vxtctl profile apply all.xml --yes {state}")
    assert {row["id"] for row in found["changes"]} == differences and {row["outcome"] for row in found["changes"]} == {"taken"}
    assert answer(f"vxtctl profile diff all.xml {state}")["differences"] == []


def test_a_rollback_brings_back_the_state_before_the_last_profile():
    before = read("pc.state")
    for line in (APPLY.replace("--yes", "--dry-run"), APPLY.replace("--yes", "")):
        assert run(line).code == (0 if "dry" in line else 2) and read("pc.state") == before and not RECORD.exists()
    found = run(APPLY + " --json")
    assert {row["outcome"] for row in parsed(found.out)["changes"]} == {"taken"} and is_in_force("new.xml") and not left_behind()
    assert "voltage controller: Memory voltage: changed along, from 1.5 to 1.55 V" in found.err, "two names for one voltage"
    assert answer(APPLY)["changes"] == [], "it is in force"
    assert answer("vxtctl profile rollback --dry-run --state pc.state")["changes"][0]["outcome"] == "planned" and is_in_force("new.xml")
    found = answer("vxtctl profile rollback --yes --state pc.state")
    assert (found["profile"], {row["outcome"] for row in found["changes"]}) == (os.path.abspath("new.xml"), {"taken"})
    assert is_in_force("old.xml") and not RECORD.exists()
    assert answer("vxtctl profile rollback --yes --state pc.state")["changes"] == []


def test_what_the_machine_cannot_have_is_told():
    write("new.xml", read("old.xml").replace("<Multiplier>15", "<Unheard_of>1</Unheard_of><Multiplier2>1,5</Multiplier2><Multiplier>14.5", 1))
    found = answer(APPLY, 6)
    assert [row["id"] for row in found["changes"]] == ["/cpu/0/multiplier"]
    assert [(row["key"], row["text"]) for row in found["ignored"]] == [("Unheard_of", "1"), ("Multiplier2", "1,5"), ("Multiplier2", "15")]
    assert run(f"vxtctl profile apply {SOURCE}/examples/k8-first.xml --yes --state pc.state").code == 3
    write("new.xml", "no profile")
    assert run(APPLY).code == 1 and read("new.xml") == "no profile", "the library would have deleted it"


@table("values, code, reason", [
    ({"CPUVID": 1.7}, 2, "core 0: core_voltage=1.7: not a legal value"),
    ({"CPUVID": 1.0}, 2, "core 0: multiplier 15 needs 1.3500 V at least"),
    ({"CAS_Latency": 99, "MemVDDQ": 1.6}, 2, "memory: tcl=99: not a legal value"),
])
def test_what_is_not_harmless_is_refused_before_the_first_write(values, code, reason):
    profile("new.xml", **values)
    before = read("pc.state")
    found = run(APPLY)
    assert found.code == code and reason in found.err and read("pc.state") == before and not RECORD.exists()


@table("machine, values", [
    ("family10h-ddr3", {"CAS_Latency": 99, "Multiplier": 14, "MemVDDQ": 1.6, "Memory_voltage": 1.6}),
    ("family10h-ddr2", {"CAS_Latency": 99, "Multiplier": 5}),
    ("k8-revf-dual", {"CPUVID": 3, "Multiplier": 5}),  # the voltage has to rise first
    ("k8-first", {"CAS_Latency": 99, "Multiplier": 5}),
    ("family11h-mobile", {"CAS_Latency": 99, "Multiplier": 4}),
])
def test_a_value_that_is_not_taken_takes_all_others_back(machine, values):
    run(f"vxtctl profile save old.xml --yes --machine {machine} --state {machine}.state")
    profile("new.xml", **values)
    found = answer(APPLY.replace("pc.state", machine + ".state") + " --force", 5)
    outcomes = {row["outcome"] for row in found["changes"]}
    assert {"not_taken", "undone"} <= outcomes <= {"not_taken", "undone", "skipped"}
    assert run(f"vxtctl profile verify old.xml --state {machine}.state").code == 0 and not RECORD.exists()


def test_entries_that_contradict_each_other_are_told_and_undone():
    profile("new.xml", MemVDDQ=1.6)  # of one voltage; "Memory voltage" of the other controller stays in the profile
    found = run(APPLY)
    assert found.code == 5 and "Memory voltage: the profile wants 1.5 V, and another of its entries changes that" in found.err
    assert is_in_force("old.xml") and not RECORD.exists()


@table("typed, kept", [("y\ny\n", False), ("y\nn\n", True)])
def test_on_a_terminal_the_user_says_whether_what_was_taken_goes_back(typed, kept):
    profile("new.xml", CAS_Latency=99, Multiplier=14)
    assert run_on_terminal(APPLY.replace("--yes", "--force"), typed).code == 5
    assert is_in_force("old.xml") != kept and not left_behind()
    assert run("vxtctl profile rollback --yes --state pc.state").code == 0 and is_in_force("old.xml")


def test_a_rising_clock_gets_its_voltage_first():
    answer("vxtctl cpu set --core 0 --multiplier 4 --yes --state pc.state")
    answer("vxtctl cpu set --voltage 1.0 --force --yes --state pc.state")
    log = run("vxtctl profile apply old.xml --yes --state pc.state --fault seed=1,rate=100,kinds=delay").err
    words = [int(word, 16) for word in re.findall(r"write of MSR C0010070 on core 0, [0-9A-F]+ ([0-9A-F]+)", log)]
    points = [(word >> 9 & 0x7F, word & 0x1FF) for word in words]  # voltage, clock
    assert points.index((0x10, 0x040)) < next(i for i, (_, clock) in enumerate(points) if clock == 0x00E), "1.35 V at multiplier 4"


@table("spoil", [lambda patch: write("state", ""), lambda patch: (RECORD.parent.mkdir(parents=True), RECORD.symlink_to("/none/there")),
                 lambda patch: (patch.delenv("XDG_STATE_HOME"), patch.delenv("HOME"))], ids=["no folder", "no file", "no home"])
def test_without_a_place_for_the_old_state_nothing_is_written(spoil, monkeypatch):
    before = read("pc.state")
    spoil(monkeypatch)
    found = run(APPLY)
    assert found.code == 1 and read("pc.state") == before, found.err


class Confirming:
    """An apply with --confirm that has written everything and waits."""

    def __init__(self, line=CONFIRM):
        self.visible = subprocess.Popen([FOLDER / "vxtctl", *line.split()[1:], "--json"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, text=True, start_new_session=True)
        while "Type 'keep'" not in self.visible.stderr.readline():
            assert self.visible.poll() is None
        (self.child,) = map(int, read(f"/proc/{self.visible.pid}/task/{self.visible.pid}/children").split())

    def say(self, text):
        self.visible.stdin.write(text)
        self.visible.stdin.flush()

    def signal_all(self, number):
        os.killpg(self.visible.pid, number)

    def ended(self):
        """Once both processes have: the code and the answer."""
        code = self.visible.wait(timeout=20)
        end = time.monotonic() + 20
        while os.path.exists(f"/proc/{self.child}") and time.monotonic() < end:
            time.sleep(0.01)
        return code, json.loads(self.visible.stdout.read() or "null")


@table("line, act, code, ended", [
    (CONFIRM, lambda apply: apply.say("keep\n"), 0, "kept"),
    (CONFIRM, lambda apply: apply.say("Keep\r\n"), 0, "kept"),
    (CONFIRM, lambda apply: apply.say("no\n"), 130, "declined"),
    (CONFIRM, lambda apply: apply.say("\nkeep\n"), 130, "declined"),
    (CONFIRM, lambda apply: apply.visible.stdin.close(), 130, "interrupted"),
    (CONFIRM.replace("30", "1"), lambda apply: None, 130, "timed_out"),
    (CONFIRM, lambda apply: apply.signal_all(signal.SIGINT), 130, "interrupted"),
    (CONFIRM, lambda apply: apply.signal_all(signal.SIGHUP), 130, "interrupted"),
    (CONFIRM, lambda apply: apply.visible.kill(), -signal.SIGKILL, None),
    (CONFIRM, lambda apply: os.kill(apply.child, signal.SIGTERM), 130, "interrupted"),
], ids=["keep", "Keep", "no", "empty", "end of input", "time", "Ctrl-C", "hang-up", "killed", "shutdown"])
def test_only_the_word_in_time_keeps_a_profile(line, act, code, ended):
    apply = Confirming(line)
    act(apply)
    found, out = apply.ended()
    assert (found, out and parsed(json.dumps(out))["confirmation"]["ended"]) == (code, ended)
    assert is_in_force("new.xml" if ended == "kept" else "old.xml") and RECORD.exists() == (ended == "kept") and not left_behind()


def test_a_guarded_process_that_is_killed_leaves_the_way_back():
    apply = Confirming()
    assert "another vxtctl applies a profile" in run(APPLY.replace("pc.state", "other.state")).err
    os.kill(apply.child, signal.SIGKILL)
    code, out = apply.ended()
    assert (code, out["error"]["code"]) == (1, 1) and "'vxtctl profile rollback'" in out["error"]["message"]
    assert is_in_force("new.xml") and left_behind()
    profile("new.xml", Multiplier=5)
    found = run(APPLY)
    assert found.code == 1 and "nothing was written" in found.err
    assert run("vxtctl profile rollback --yes --state pc.state").code == 0 and is_in_force("old.xml") and not left_behind()


@table("number", [signal.SIGKILL, signal.SIGINT])
def test_an_apply_that_is_ended_at_any_moment_leaves_the_old_state_or_the_way_back(number):
    chance, seen, begun = random.Random(5), set(), time.monotonic()
    assert run(APPLY).code == run("vxtctl profile rollback --yes --state pc.state").code == 0
    whole = (time.monotonic() - begun) / 2
    for _ in range(20):
        child = subprocess.Popen([FOLDER / "vxtctl", *APPLY.split()[1:]], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        while number == signal.SIGINT and not RECORD.exists() and child.poll() is None:
            pass  # it has begun
        time.sleep(chance.random() * (whole if number == signal.SIGKILL else 0.001))
        child.send_signal(number)
        code, changed = child.wait(), not is_in_force("old.xml")
        seen.add((code, changed))
        assert RECORD.exists() if changed else code != 0
        assert code != 130 or not (changed or RECORD.exists())
        assert run("vxtctl profile rollback --yes --state pc.state").code == 0 and is_in_force("old.xml") and not RECORD.exists()
    assert seen >= ({(130, False)} if number == signal.SIGINT else {(-9, False), (-9, True)}), "no such moment was hit"


@table("typed, kept", [(b"keep\n", True), (b"\x03", False), (b"", False)], ids=["keep", "Ctrl-C", "closed"])
def test_a_terminal_shows_the_countdown_and_decides(typed, kept):
    pid, master = pty.fork()
    if pid == 0:
        time.sleep(0.1)  # for its size
        os.execv(FOLDER / "vxtctl", CONFIRM.replace("--yes ", "").split())
    fcntl.ioctl(master, termios.TIOCSWINSZ, struct.pack("HHHH", 50, 100, 0, 0))
    shown = b""
    while b"30 s left" not in shown:
        shown += os.read(master, 4096)
        if shown.endswith(b"[y/N] "):
            os.write(master, b"y\n")
    os.write(master, typed)
    if not typed:
        os.close(master)
    while typed and (more := read_terminal(master)):
        shown += more
    assert os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]) == (0 if kept else 130)
    assert is_in_force("new.xml" if kept else "old.xml") and RECORD.exists() == kept


def test_the_guarded_process_is_nobodys_command():
    for typed in ("", "\n", "vxt-terminal\n"):
        found = subprocess.run([FOLDER / "vxtctl", "--guarded", "profile"], input=typed, capture_output=True, text=True, check=False)
        assert (found.returncode, found.stdout) == (2, "") and "unknown option '--guarded'" in found.stderr
    assert "guarded" not in run("vxtctl --help").out + run("vxtctl man").out


def test_what_the_library_writes_along_keeps_its_own_value():
    state = "k8.state"
    run(f"vxtctl profile save old.xml --yes --machine k8-first --state {state}")
    profile("new.xml", **{"Write-to-Read_Delay": 1})  # the library puts it into the other turnaround, too
    assert [row["id"] for row in answer(APPLY.replace("pc.state", state))["changes"]] == ["/memory-controller/0/twtr"]
    assert is_in_force("new.xml", state)
    write("new.xml", re.sub("<Read-to-Write_Delay>.*?</Read-to-Write_Delay>", "", read("old.xml")))
    assert [row["id"] for row in answer(APPLY.replace("pc.state", state))["changes"]] == ["/memory-controller/0/twtr", "/memory-controller/0/trwt"]


def test_a_switch_without_its_other_half_switches_that_off():
    write("new.xml", re.sub("<(?!ClockDivisor|/ClockDivisor|CPU|/CPU|QOR_Fam|/QOR_Fam|VXT|/VXT|[?])[^>]*>[^<]*", "", read("old.xml")))
    found = answer(APPLY)
    assert {(row["id"], row["after"]) for row in found["changes"]} == {(f"/cpu/{core}/tlb_caching", 0) for core in range(4)}


@table("kind", ["fail", "zero", "drop", "ones"])
def test_with_faults_what_is_said_is_so_and_there_is_a_way_back(kind):
    for seed in range(1, 5):
        code = run(f"{APPLY} --fault seed={seed},rate=2,kinds={kind}").code
        assert code not in (0, 5) or is_in_force("old.xml" if code else "new.xml"), f"seed {seed}"
        assert is_in_force("old.xml") or RECORD.exists(), f"seed {seed}: code {code}"
        assert run("vxtctl profile rollback --yes --state pc.state").code == 0 and is_in_force("old.xml")
