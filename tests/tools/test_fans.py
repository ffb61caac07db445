"""Fans, watchdog and clock calibration: what is set for a while comes back, however the hold ends."""

import glob
import os
import signal
import subprocess
import time

import pytest

from tools import FOLDER, SOURCE, answer, parsed, read, run, table, write

HOLD = "vxtctl fan set environment/0/fan/0=40 --for 60 --yes --state pc.state"
WATCHDOG = "vxtctl watchdog run --for 60 --every 1 --yes --state pc.state"
RECORD = "state/vxt/held-fans.json"


@pytest.fixture(autouse=True)
def state_folder(folder, monkeypatch):
    monkeypatch.setenv("XDG_STATE_HOME", os.path.abspath("state"))


def fan(line, path):
    return next(row for row in answer(line)["fans"] if row["id"] == path)


def duty(path="/environment/0/fan/0"):
    return fan("vxtctl fan --state pc.state", path)["duty"]["value"]


def interrupted(line, number):
    """Begins a hold on a PC that is kept, sends the signal once the PC shows what was written. Its code, answer, remarks,
    and whether the PC is then as it was."""
    run("vxtctl --state pc.state")
    before = read("pc.state")
    child = subprocess.Popen([FOLDER / "vxtctl", *line.split()[1:], "--json"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, text=True)
    end = time.monotonic() + 30
    while read("pc.state") == before and time.monotonic() < end:
        time.sleep(0.01)
    child.send_signal(number)
    out, err = child.communicate(timeout=30)
    return child.returncode, out, err, read("pc.state") == before


@table("machine, path, expected, settable", [
    ("desktop-a", "/environment/0/fan/0", (3391, 100, "manual", 50), True),
    ("desktop-a", "/south-bridge/0/fan/0", (1128.762542, None, None, None), False),
    ("family10h-ddr3", "/environment/0/fan/0", (None, 67, None, None), True),
    ("family10h-ddr3", "/south-bridge/0/fan/1", (1548.165138, 70, "manual", None), True),
    ("family10h-ddr3", "/south-bridge/0/fan/2", (None, None, "automatic", None), True),
])
def test_a_fan_shows_what_its_chip_tells(machine, path, expected, settable):
    found = fan(f"vxtctl fan --machine {machine}", path)
    assert ((found["speed"]["value"], found["duty"]["value"], found["mode"], found["start_temperature"]["value"]), found["settable"]) == (expected, settable)


def test_a_fan_of_the_south_bridge_leaves_the_others_their_control():
    machine = read(SOURCE / "machines/family10h-ddr3.machine")
    write("both.machine", machine.replace("\n00: 05 00 00 99", "\n00: 15 00 00 99"))
    answer("vxtctl fan set south-bridge/fan/0=80 --yes --machine both.machine --state pc.state")
    assert "\n00: 15 00 00 CC" in read("pc.state").upper(), "fan 2 stays under manual control"


@table("machine", ["desktop-a", "automatic.machine", "family10h-ddr3"])
def test_mode_and_duty_are_back_when_the_time_is_over(machine):
    # On and off by a switch, by the chip's own curve, by hand.
    write("automatic.machine", read(SOURCE / "machines/family10h-ddr2.machine").replace("10: ff ff ff 77 d7 60 50 7f", "10: ff ff ff 77 d7 60 50 ff"))
    known = fan(f"vxtctl fan --machine {machine} --state pc.state", "/environment/0/fan/2")
    before = read("pc.state")
    found = answer("vxtctl fan set environment/fan/2=60 --for 1 --yes --state pc.state")
    assert [(row["before"], row["after"], row["outcome"]) for row in found["changes"]] == [(known["duty"]["value"], 59 if known["chip"].startswith("IT") else 60, "taken")]
    assert (found["hold"]["ended"], found["hold"]["put_back"], found["hold"]["lasted"] >= 1) == ("done", True, True)
    assert (known["mode"] == "automatic") == (machine == "automatic.machine") == (found["changes"][0]["before"] is None)
    assert read("pc.state") == before and not glob.glob("state/vxt/*.json")


@table("line, number", [(HOLD, signal.SIGINT), (HOLD, signal.SIGTERM), (WATCHDOG, signal.SIGHUP)])
def test_a_signal_ends_a_hold_with_everything_put_back(line, number):
    code, out, _, as_before = interrupted(line, number)
    hold = parsed(out)["hold"]
    assert (code, hold["ended"], hold["put_back"]) == (130, "interrupted", True) and hold["lasted"] < 30
    # A watchdog timer that is off is not one that was never readied: its count, its resolution.
    assert as_before if line is HOLD else "[memory 0FEC000F0]\n00: 00 00 00 00 B8 0B" in read("pc.state")


def test_what_a_killed_hold_leaves_is_told_and_can_be_put_back():
    code, _, _, as_before = interrupted(HOLD, signal.SIGKILL)
    before = duty()
    assert (code, as_before, before) == (-signal.SIGKILL, False, 40)
    assert "'vxtctl fan restore'" in run("vxtctl fan --state pc.state").err
    assert fan("vxtctl fan --state pc.state", "/environment/0/fan/0")["hold"] == "left_behind"
    assert fan("vxtctl fan --state other.state", "/environment/0/fan/0")["hold"] is None, "another PC's"
    found = run(HOLD)
    assert found.code == 1 and "nothing was written" in found.err
    assert answer("vxtctl fan restore --dry-run --state pc.state")["changes"][0]["outcome"] == "planned" and duty() == 40
    assert [row["outcome"] for row in answer("vxtctl fan restore --yes --state pc.state")["changes"]] == ["taken"]
    assert duty() == 67 and answer("vxtctl fan restore --yes --state pc.state")["changes"] == []


@table("text", ["", "[" * 100_000, '{"version": 1, "holds": [{"fan": "/environment/0/fan/0"}]}',
                '{"version": 1, "holds": [{"fan": "", "chip": "", "pc": "", "begun": "", "control": 1e300, "duty": null}]}'])
def test_a_spoiled_record_is_an_error_with_its_name_and_stays(text):
    os.makedirs("state/vxt")
    write(RECORD, text)
    for line in ("vxtctl fan --state pc.state", "vxtctl fan restore --yes --state pc.state", HOLD):
        found = run(line)
        assert (found.code, found.out) == (1, "") and RECORD in found.err, line
    assert read(RECORD) == text


def test_a_hold_that_cannot_be_noted_writes_nothing():
    write("state", "a file")
    found = run(HOLD)
    assert found.code == 1 and "held-fans.json" in found.err and duty() == 67


def test_without_a_home_there_is_a_remark(monkeypatch):
    monkeypatch.delenv("XDG_STATE_HOME")
    monkeypatch.delenv("HOME")
    assert "no folder to remember" in run("vxtctl fan set environment/0/fan/0=50 --for 1 --dry-run --state pc.state").err


def test_a_temperature_that_rises_above_its_limit_gives_full_duty_which_stays():
    line = "vxtctl fan set environment/0/fan/0=40 south-bridge/fan/0=30 --for 60 --yes --state pc.state --limit "
    found = run(line + "39")
    assert found.code == 1 and "above 39 °C already; nothing was written" in found.err and duty() == 67
    found = answer(line + "42.1", 1)
    assert (found["hold"]["ended"], found["hold"]["put_back"]) == ("too_hot", False) and "above 42.1 °C" in found["hold"]["reason"]
    assert (duty(), duty("/south-bridge/0/fan/0")) == (100, 100)
    answer("vxtctl fan set environment/0/fan/0=50 --yes --state pc.state")  # takes the place of what was noted
    assert run("vxtctl fan restore --yes --state pc.state").code == 0 and (duty(), duty("/south-bridge/0/fan/0")) == (49, 60)


def test_fans_at_full_duty_are_held_whatever_the_temperature():
    assert answer("vxtctl fan set environment/0/fan/0=100 --for 1 --limit 1 --yes --state pc.state")["hold"]["ended"] == "done"
    assert duty() == 67


def test_a_fan_that_stands_still_gets_back_what_was_in_force():
    # It starts at 30 %, of which the chip's eight bits are a little less.
    line = "vxtctl fan set south-bridge/fan/1={} --yes --state pc.state"
    found = answer(line.format("30 --force"), 5)["changes"][0]
    assert (found["outcome"], found["after"]) == ("not_taken", 70) and "the fan stands still; put back to 70 %" in found["reason"]
    assert duty("/south-bridge/0/fan/1") == 70
    assert answer(line.format("0 --force"))["changes"][0]["outcome"] == "taken", "it is to stand still"


def test_a_dry_run_of_a_hold_writes_nothing_anywhere():
    run("vxtctl --state pc.state")
    before = read("pc.state")
    found = answer(HOLD.replace("--yes", "--dry-run"))
    assert (found["changes"][0]["outcome"], found["hold"]["ended"]) == ("planned", "planned")
    assert answer(WATCHDOG.replace("--yes", "--dry-run"))["hold"]["ended"] == "planned"
    assert read("pc.state") == before and not os.path.exists("state")


def test_the_watchdog_runs_until_it_is_stopped_and_nobody_tells_whether_it_does():
    control = "[memory 0FEC000F0]\n00: {} 00 00 00 B8 0B"
    for line, code in (("start", "01"), ("start", "01"), ("stop", "00"), ("run --for 1", "00")):
        found = answer(f"vxtctl watchdog {line} --yes --state pc.state")
        assert (found["changes"][0]["before"], found["changes"][0]["after"], found["changes"][0]["outcome"]) == (None, None, "taken")
        assert control.format(code) in read("pc.state"), line
    assert answer("vxtctl watchdog --state pc.state")["watchdog"][0]["runs"] is None


def test_clock_calibration_is_kept_and_being_off_is_no_finding():
    states = []
    for state in ("off", "on"):
        assert "next start" in run(f"vxtctl ctb set {state} --yes --state pc.state").out
        states.append(answer("vxtctl ctb --state pc.state")["ctb"][0]["enabled"])
    assert states == [False, True]
    assert [answer("vxtctl ctb --machine k8-revf-dual")["ctb"][0][key] for key in ("supported", "enabled")] == [False, None]


@table("kind", ["fail", "zero", "drop", "ones"])
def test_with_faults_a_duty_that_is_said_to_be_taken_is_there_and_any_other_is_as_before(kind):
    seen = set()
    for seed in range(1, 13):
        run("vxtctl --state pc.state")
        found = run(f"vxtctl fan set environment/0/fan/0=50 --yes --json --state pc.state --fault seed={seed},rate=3,kinds={kind}")
        outcome = parsed(found.out)["changes"][0]["outcome"] if found.code in (0, 5) else None
        assert duty() == (49 if outcome == "taken" else 67), (seed, found)
        seen.add(outcome)
        os.remove("pc.state")
    assert {"taken"} < seen, "the faults hit all, or nothing"
