"""A PC that keeps its state from one command to the next: what comes back, who may have the file, what a death leaves."""

import fcntl
import os
import pathlib
import random
import resource
import signal
import subprocess
import sys
import time

from tools import FOLDER, answer, read, reading, run, table, write

SET = "vxtctl cpu set --core 1 --multiplier {} --yes --state pc.state"


def identity():
    found = os.stat("pc.state")
    return found.st_ino, found.st_mtime_ns


@table("change, look, path, value", [
    ("vxtctl cpu set --core 1 --multiplier 10", "vxtctl cpu", "/cpu/1/multiplier", 10),
    ("vxtctl cpu set --core 1 --pstate 2", "vxtctl cpu", "/cpu/1/current_pstate", 2),
    ("vxtctl memory set tcl=8 ", "vxtctl memory", "/memory-controller/0/tcl", 8),
    ("vxtctl clocks set external=210", "vxtctl cpu", "/cpu/1/reference_clock", 210),
    ("vxtctl cpu set --multiplier 8 --machine k8-revf-dual", "vxtctl cpu", "/cpu/1/multiplier", 8),
])
def test_what_was_set_is_there_in_the_next_command_and_looking_changes_nothing(change, look, path, value):
    assert run(change + " --yes --state pc.state").code == 0
    before, text = identity(), read("pc.state")
    assert text.startswith("[begin]\n") and text.endswith("[end]\n")
    for line in (look + " --state pc.state", look + " --machine pc.state"):
        assert abs(reading(answer(line), path)["value"] - value) <= value / 100, line
    for line in ("vxtctl", "vxtctl memory", "vxtdiag snapshot --json", "vxtdiag cmos", "vxtctl cpu set --multiplier 5 --dry-run"):
        assert run(line + " --state pc.state").code in (0, 3), line
    if "k8-revf" not in change:  # there looking at a temperature selects its sensor, in a register
        assert (identity(), read("pc.state")) == (before, text)


def test_the_firmwares_items_need_no_driver_to_be_kept():
    assert run("vxtdiag cmos set 1=0 --yes --state pc.state").code == 0
    assert [row["value"] for row in answer("vxtdiag cmos --state pc.state")["items"]][0] == 0
    assert run("vxtdiag snapshot copy.machine --state pc.state").code == 0
    assert answer("vxtdiag cmos --machine copy.machine") == answer("vxtdiag cmos --state pc.state")


@table("tool", ["vxtctl cpu", "vxtdiag cpu", "vxtdiag cmos"])
def test_what_is_wrong_with_the_state_is_one_line_with_its_name(tool):
    run("vxtctl --state pc.state")
    write("plain.machine", "[machine]\n")
    with open("pc.state", "rb") as held:
        fcntl.flock(held, fcntl.LOCK_EX)
        found = {"pc.state": run(f"{tool} --state pc.state")}
    for line in ("pc.state --machine k8-first", "plain.machine", "/proc/none", "no/folder"):
        found[line] = run(f"{tool} --state {line}")
    fragments = ("another process uses it", "the state of family10h-ddr3, not of k8-first", "a machine file and no state of a PC", "No such file", "No such file")
    for (line, one), fragment in zip(found.items(), fragments):
        told = [row for row in one.err.splitlines() if fragment in row and line.split()[0] in row]
        assert (one.code, one.out, len(told)) == (4, "", 1), one
    assert read("plain.machine") == "[machine]\n"


HOST = """
import _ctypes, ctypes
for turn in range(2):
    library = ctypes.CDLL({library!r})
    library.VXTSimulatedError.restype = ctypes.c_char_p
    error = library.VXTSimulatedError() if {asks} else None
    print(library.InitVXTAPI(0), error and error.decode(), library.VXTSimulatedFailures() > 0)
    library.UnInitVXTAPI()
    _ctypes.dlclose(library._handle)
"""


@table("variable, value, asks, line, told", [
    ("VXT_STATE", "pc.state", True, "1 None False", ""),
    ("VXT_STATE", "fw.machine", True, "0 fw.machine: a machine file and no state of a PC: it is not written to False", ""),
    ("VXT_FAULT", "rate=often", True, "0 --fault: expected rate=0 to rate=100, found rate=often False", ""),
    ("VXT_FAULT", "rate=often", False, "0 None False", "--fault: expected rate=0 to rate=100, found rate=often\n"),
    ("VXT_FAULT", "rate=100,kinds=fail", True, "0 None True", None),
    ("VXT_FAULT", "rate=100,kinds=delay", True, "1 None False", None),
])
def test_a_host_can_ask_what_is_wrong_or_is_told_on_stderr(variable, value, asks, line, told):
    code = HOST.format(library=str(FOLDER / "libVXTAPI.so"), asks=asks)
    found = subprocess.run([sys.executable, "-c", code], env={**os.environ, variable: value}, capture_output=True, text=True, check=False)
    assert found.stdout == f"{line}\n" * 2, "the library was loaded twice"
    assert told is None or found.stderr == told * 2


def limited(line, size):
    """Runs it where no file grows beyond `size` bytes, as on a disk that is full."""
    def limit():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))
    return subprocess.run([FOLDER / line.split()[0], *line.split()[1:]], stdin=subprocess.DEVNULL, capture_output=True, text=True, preexec_fn=limit, check=False)


def test_a_full_disk_is_told_before_the_first_write_or_fails_the_change():
    found = limited(SET.format(10), 1000)
    assert found.returncode == 4 and "pc.state: the PC's state cannot be kept there: File too large" in found.stderr
    assert not pathlib.Path("pc.state").exists()
    run("vxtctl --state pc.state")
    text = read("pc.state")
    found = limited(SET.format(10), len(text) + 10)  # a core's own registers take more
    assert found.returncode not in (0, 4) and "pc.state: the PC's state could not be kept: File too large" in found.stderr
    assert read("pc.state") == text and sorted(os.listdir()) == ["fw.machine", "pc.state"]


def test_a_killed_command_leaves_a_whole_file_and_what_it_was_told_was_taken():
    run(SET.format(15))
    chance, seen, taken = random.Random(7), set(), 15
    for turn in range(60):
        wanted = 10 if turn % 2 else 5
        child = subprocess.Popen([FOLDER / "vxtctl", *SET.format(wanted).split()[1:]], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        time.sleep(chance.random() * 0.04)
        child.kill()
        told = b"taken" in child.communicate()[0]
        now = reading(answer("vxtctl cpu --machine pc.state"), "/cpu/1/multiplier")["value"]
        assert now in ((wanted,) if told else (wanted, taken)), f"turn {turn}: {now}"
        seen.add(now == wanted)
        taken = now
    assert seen == {True, False}, "the kills came all too early or all too late"
