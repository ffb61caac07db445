"""The search for the highest clock: what it finds, what is on disk at every moment, how it ends and goes on."""

import fcntl
import json
import os
import re
import select
import shutil
import signal
import subprocess
import time
import xml.etree.ElementTree as xml

import pytest

from tools import FOLDER, answer, parsed, read, run, run_on_terminal, table, write

RECORD = "state/vxt/clock-searches.json"
TUNE = "vxtctl tune --machine low.machine --state pc.state"  # steps of 5 MHz, 15 * 205 MHz are good
FINE = "vxtctl tune --machine fine.machine --state pc.state --json"  # steps of 1 MHz, 15 * 208 MHz are good
BEFORE = {"reference_clock": 200, "multipliers": [15, 15, 15, 15]}
clock = lambda row: (row["reference_clock"], row["multiplier"])


@pytest.fixture(autouse=True)
def low(folder, monkeypatch):
    monkeypatch.setenv("XDG_STATE_HOME", os.path.abspath("state"))
    write("low.machine", "[machine]\nbased_on = family10h-ddr3\nmax_core_clock = 3100\n")
    write("fine.machine", "[machine]\nbased_on = desktop-b\nmax_core_clock = 3125\n")


def state_clock():
    """MHz, as the simulated PC has it at this moment."""
    return int(re.search(r"object 01010000\](?:\n.+)*?\nvalue = (\d+)", read("pc.state")).group(1)) / 1000


def points():
    return json.loads(read(RECORD))["searches"][-1]["points"]


def write_record(rows, status="at_limit", found=None, **members):
    """The record of a search of the PC in pc.state, of (MHz, multiplier, seconds, result, error)."""
    os.makedirs("state/vxt", exist_ok=True)
    keys = ("reference_clock", "multiplier", "seconds", "result", "error")
    tested = [{"begun": "2026-11-22T03:00:00.000Z", "duration": 120, **dict(zip(keys, row))} for row in rows]
    search = {"begun": "2026-11-22T03:00:00.000Z", "ended": "", "status": status, "reason": "", **BEFORE, "points": tested,
              "found": found and dict(zip(keys, found)), "pc": os.path.abspath("pc.state"), **members}
    write(RECORD, json.dumps({"version": 1, "searches": [search]}))


def standing():
    """A search on the fine PC that stands still (SIGSTOP) while its second clock or a later one is being tested, and their number."""
    child = subprocess.Popen([FOLDER / "vxtctl", *FINE.split()[1:]], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    for _ in range(2000):
        time.sleep(0.005)
        child.send_signal(signal.SIGSTOP)
        if not os.WIFSTOPPED(os.waitpid(child.pid, os.WUNTRACED)[1]):
            break
        if os.path.exists(RECORD) and len(tested := points()) > 1 and tested[-1]["result"] == "in_progress":
            return child, len(tested)
        child.send_signal(signal.SIGCONT)
    raise AssertionError("it was never seen at work")


def to_the_end(first):
    """What a search on the fine PC makes of the clocks from that one on."""
    return [((mhz, 15), "passed") for mhz in range(first, 209)] + [((209, 15), "failed"), ((208, 15), "passed")]


def test_the_last_clock_at_which_the_cores_compute_correctly_is_found_and_stays_set():
    found = answer("vxtctl tune --state pc.state")  # the multiplier of this PC is free; its cores are good up to 3500 MHz
    *good, bad = found["points"]
    assert {row["result"] for row in good} == {"passed"} and bad["result"] == "failed" and "round-off" in bad["error"] + "round-off"
    assert max(row["core_clock"] for row in good) <= 3500 < bad["core_clock"] and all(row["seconds"] >= 120 > bad["seconds"] for row in good)
    assert found["found"]["core_clock"] == max(row["core_clock"] for row in good) and clock(bad) == (clock(good[-1])[0] + 5, clock(good[-1])[1])
    # A whole step of the multiplier is taken where the reference clock has gained more than it: 200 MHz < 15 * 15 MHz.
    assert [clock(row) for row in good[:4]] == [(205, 15), (210, 15), (215, 15), (205, 16)]
    assert (found["status"], found["last_status"], found["put_back"], found["before"]) == ("at_limit", "failed", None, BEFORE)
    in_force = {"reference_clock": good[-1]["reference_clock"], "multipliers": [good[-1]["multiplier"]] * 4}
    again = answer("vxtctl tune --status --state pc.state")
    assert found["in_force"] == again["in_force"] == in_force and again["points"] == found["points"] and state_clock() == in_force["reference_clock"]
    lines = run("vxtctl tune --status --state pc.state --csv").out.splitlines()
    assert len(lines) == 1 + len(found["points"]) and lines[-1].startswith(f"/tune/{len(good) + 1},")


def next_write():
    """What is written into the FIFO that stands in the record's place, once; the next write waits in another one. Nothing: none came."""
    os.link(RECORD, "taken")
    os.mkfifo("next")
    os.rename("next", RECORD)
    pipe = os.open("taken", os.O_RDONLY | os.O_NONBLOCK)
    data = b""
    while select.select([pipe], [], [], 0.5)[0] and (part := os.read(pipe, 65536)):
        data += part
    os.close(pipe)
    os.remove("taken")
    return json.loads(data)["searches"][-1]["points"] if data else None


def test_every_clock_is_on_disk_before_it_is_set():
    child, number = standing()
    os.remove(RECORD)
    os.mkfifo(RECORD)
    child.send_signal(signal.SIGCONT)
    told = [{"reference_clock": 200 + number}]
    while child.poll() is None and told[-1]["reference_clock"] <= 200 + number:
        time.sleep(0.1)  # now it waits for its next write
        assert state_clock() <= told[-1]["reference_clock"], "it is set already, and nobody knows of it"
        told = next_write() or told
    assert told[-1]["reference_clock"] == 201 + number and told[-1]["result"] == "in_progress"
    child.kill()
    child.communicate()


def test_a_pc_that_dies_starts_the_search_again_which_stays_below_the_clock_that_killed_it():
    write("dying.machine", "[machine]\nbased_on = family10h-ddr3\nmax_core_clock = 3100\nhang_core_clock = 3140\n")
    assert run("vxtctl tune --machine dying.machine --state pc.state").code == 137 and "RunOnce!VXT = sz:" in read("pc.state")
    seen = answer("vxtctl tune --status --state pc.state")
    assert (seen["status"], [(clock(row), row["result"]) for row in seen["points"]]) == ("died", [((205, 15), "passed"), ((210, 15), "died")])
    assert seen["in_force"] == BEFORE
    refused = run("vxtctl tune --state pc.state")
    assert refused.code == 1 and all(text in refused.err for text in ("210 MHz x 15 = 3150 MHz", "--resume", "--fresh")) and state_clock() == 200
    found = answer("vxtctl AutoTune --state pc.state")
    assert (found["status"], clock(found["found"]), found["in_force"]["reference_clock"], len(found["points"])) == ("below_death", (205, 15), 205, 2)
    assert "210 MHz" in found["message"] and "--retry" in found["message"] and "RunOnce" not in read("pc.state")
    assert run("vxtctl tune --resume --state pc.state").code == 1 and answer("vxtctl AutoTune --state pc.state")["points"] == found["points"]
    assert run("vxtctl tune --resume --retry --state pc.state").code == 137 and [clock(row) for row in points()] == [(205, 15), (210, 15), (210, 15)]


def test_vxtctl_that_was_killed_leaves_the_clock_which_a_search_does_not_build_on():
    child, number = standing()
    child.kill()
    child.communicate()
    found = answer("vxtctl tune --resume --retry --state pc.state")
    assert found["before"] == BEFORE and [(clock(row), row["result"]) for row in found["points"][number - 1:]] == \
        [((200 + number, 15), "died")] + to_the_end(200 + number) and found["in_force"]["reference_clock"] == 208


def test_a_fresh_search_forgets_the_one_that_died_and_can_put_back_what_was_before():
    write_record([(205, 15, 10, "in_progress", "")], "in_progress")
    found = answer(TUNE + " --fresh --put-back")
    assert [(clock(row), row["result"]) for row in found["points"]] == [((205, 15), "passed"), ((210, 15), "failed")]
    assert (clock(found["found"]), found["in_force"], found["put_back"]) == ((205, 15), BEFORE, True) and state_clock() == 200


@table("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_a_request_to_end_sets_what_was_before_and_the_search_can_go_on(number):
    child, reached = standing()
    child.send_signal(number)
    child.send_signal(signal.SIGCONT)
    out, err = child.communicate(timeout=60)
    found = parsed(out)
    assert (child.returncode, found["status"], found["put_back"], found["points"][-1]["result"]) == (130, "interrupted", True, "stopped")
    assert "200 MHz x 15 = 3000 MHz" in err and found["in_force"] == BEFORE and state_clock() == 200 and "RunOnce" not in read("pc.state")
    found = answer("vxtctl tune --resume --state pc.state")
    assert [(clock(row), row["result"]) for row in found["points"][reached:]] == to_the_end(200 + reached)


def test_where_a_clock_cannot_be_noted_the_search_ends_with_what_was_before():
    child, _ = standing()
    os.remove(RECORD)
    os.mkdir(RECORD)
    child.send_signal(signal.SIGCONT)
    out, err = child.communicate(timeout=60)
    assert child.returncode == 1 and "clock-searches.json: cannot be written" in err and parsed(out)["in_force"] == BEFORE and state_clock() == 200
    shutil.rmtree("state")
    write("state", "a file")
    assert run(FINE).code == 1 and state_clock() == 200


def test_a_temperature_that_rises_above_its_limit_ends_the_search_with_what_was_before():
    write("warming.machine", "[machine]\nbased_on = family10h-ddr3\nload = 100 100 100 100\nload_period = 6\n")  # from 42 degrees on
    found = answer("vxtctl tune --limit 42.1 --machine warming.machine", 1)
    assert (found["status"], found["in_force"], found["put_back"]) == ("too_hot", BEFORE, True) and "above 42.1 °C" in found["reason"]
    found = run("vxtctl tune --limit 41 --machine warming.machine")
    assert found.code == 1 and "nothing was done" in found.err


@table("limit, found", [(3230, (215, 15)), (3100, (205, 15)), (3010, None)])
def test_what_is_found_has_passed_and_is_in_force_whatever_the_library_goes_back_to(limit, found):
    write("weak.machine", f"[machine]\nbased_on = family10h-ddr3\nmax_core_clock = {limit}\nhang_core_clock = 4000\n")
    answered = answer("vxtctl tune --machine weak.machine --state weak.state", 0 if found else 1)
    assert (answered["found"] and clock(answered["found"])) == found
    mhz, multiplier = found or (200, 15)
    assert answered["in_force"] == {"reference_clock": mhz, "multipliers": [multiplier] * 4}
    assert found or answered["message"].startswith("no clock passed; 205 MHz")


def test_nothing_begins_with_cores_that_could_not_be_read():
    refused = run("vxtctl tune --state pc.state --fault seed=3,rate=5,kinds=fail")
    assert refused.code == 1 and "cores could be read" in refused.err and not os.path.exists(RECORD)


def test_a_core_that_is_not_at_the_clock_that_was_found_is_a_finding():
    run("vxtctl cpu set --core 3 --pstate 3 --yes --machine low.machine --state pc.state")
    found = answer("vxtctl tune --state pc.state", 6)
    assert found["in_force"]["multipliers"] == [15, 15, 15, 4] and "205 MHz x 15 15 15 4" in found["findings"][0]


def test_a_dry_run_tells_the_plan_and_leaves_everything():
    found = answer("vxtctl tune --put-back --dry-run --state pc.state")
    assert (found["status"], found["plan"]["clocks"], found["plan"]["put_back"], found["plan"]["record"]) == ("planned", 10, True, os.path.abspath(RECORD))
    assert not os.path.exists("state") and state_clock() == 200 and not os.path.exists("VXTConfig.xml")


def test_one_process_searches_at_a_time():
    write_record([(205, 15, 30, "in_progress", "")], "in_progress")
    with open(RECORD.replace(".json", ".lock"), "w", encoding="utf-8") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        assert answer(TUNE + " --status")["status"] == "running"
        for line in (TUNE, TUNE + " --resume", TUNE + " --fresh"):
            assert "another vxtctl searches" in run(line).err and state_clock() == 200


@table("text", ["[]", '{"version": 1, "searches": [{"pc": ""}]}'])
def test_a_spoiled_record_is_an_error_with_its_name_and_stays(text):
    write_record([])
    write(RECORD, text)
    for line in (TUNE, TUNE + " --status", TUNE + " --resume", TUNE + " --fresh"):
        found = run(line)
        assert found.code == 1 and RECORD in found.err and "Traceback" not in found.err
    assert read(RECORD) == text


def test_a_record_that_would_grow_too_long_to_be_read_again_is_not_written():
    write_record([(205, 15, 120, "passed", "")] * 4700, pc="another")
    before = read(RECORD)
    found = run(TUNE)
    assert len(before) < 1 << 20 and found.code == 1 and "too many" in found.err and read(RECORD) == before and state_clock() == 200


@table("options, code", [("--retry", 2), ("--resume --fresh", 2), ("--status --put-back", 2), ("--machine desktop-a", 3), ("--resume", 1), ("--chart low.machine", 1)])
def test_what_cannot_be_done_is_refused_before_anything_is(options, code):
    machine = read("low.machine")
    assert run("vxtctl tune " + options).code == code and read("low.machine") == machine


def test_a_terminal_shows_how_far_it_is_and_nobody_is_asked_on_a_simulated_pc():
    shown = run_on_terminal("vxtctl tune --machine low.machine", columns=100)
    assert shown.code == 0 and "[y/N]" not in shown.out and re.search(r"205 MHz x 15 = 3075 MHz, clock 1, 1:23 left, no errors", shown.out)
    assert "passed after" not in shown.out and "205 MHz x 15 = 3075 MHz: passed after 120 s" in run("vxtctl tune --machine low.machine").err


FAILED = [(205, 15, 120, "passed", ""), (205, 16, 40, "failed", 'core 2, floating point <&">\u0001'), (205, 15, 12, "in_progress", ""), (205, 15, 5, "stopped", "")]


@table("rows, marks", [(FAILED, 3), (FAILED[2:3], 1), ([(100 + n, 15, 120, "passed", "") for n in range(399)] + [(499, 15, 3, "failed", "e")], 1)])
def test_the_picture_shows_every_clock_and_names_what_did_not_pass(rows, marks):
    write_record(rows, "in_progress")
    assert answer("vxtctl tune --status --chart tune.svg --state pc.state")["chart"] == "tune.svg"
    picture = xml.parse("tune.svg").getroot()
    name = "{http://www.w3.org/2000/svg}"
    titles = [node.text for node in picture.iter(name + "title")]
    texts = [node.text for node in picture.iter(name + "text")]
    for mhz, multiplier, seconds, result, error in rows:
        found = next(text for text in titles if text.startswith(f"{mhz} MHz x {multiplier} = ") and f" {seconds} s" in text)
        assert error.replace("\u0001", " ") in found and (result == "passed") == (" passed " in found)
        assert result == "passed" or any(found[:60] in text for text in texts)
    assert len(titles) == 1 + len(rows) and sum(text.isdigit() and int(text) <= marks for text in texts) >= marks
    places = [float(node.get(key)) for node in picture.iter(name + "text") for key in "xy"]
    width, height = map(float, picture.get("viewBox").split()[2:])
    assert min(places) >= 0 and max(places) <= max(width, height) and len(texts) < 60
    assert "prefers-color-scheme: dark" in read("tune.svg") and not re.search(r"href|url\(|@import|<script", read("tune.svg"))
