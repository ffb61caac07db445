"""The stability test: what it finds, what it says of a core that showed nothing, how it ends."""

import re
import signal
import time

import pytest

from test_sensors import hot, nobody_stays, start_piped  # noqa: F401
from tools import answer, parsed, run, table, write

FAST = "vxtctl stress --seconds 1 --machine fast.machine"


@pytest.fixture(autouse=True)
def fast(folder):
    """Its cores compute correctly up to 3500 MHz, run at 15 * 260 MHz and do not hang there."""
    write("fast.machine", "[machine]\nbased_on = family10h-ddr3\nreference_clock = 260\nhang_core_clock = 4000\n")


def test_cores_that_compute_correctly_have_passes_and_no_errors_and_the_others_are_left_out():
    begin = time.monotonic()
    found = answer("vxtctl stress --seconds 1 --cores cpu/3,1,1 --kind int")
    assert time.monotonic() - begin >= 1
    assert [(row["id"], row["integer_passes"] > 0, row["floating_point_passes"], row["error_count"]) for row in found["cores"]] == \
        [("/cpu/1", True, None, 0), ("/cpu/3", True, None, 0)]
    assert (found["verdict"], found["errors"], found["run"]["ended"], found["samples"]) == ("no_errors", [], "done", 2)
    assert found["cores"][0]["core_clock"]["value"] == pytest.approx(3000, rel=0.01)


def test_too_high_a_clock_is_found_and_the_errors_say_where_and_which_bits():
    found = answer(FAST + " --cores 0,2 --kind int", 6)
    assert found["verdict"] == "errors" and found["total_errors"] == len(found["errors"]) == sum(row["error_count"] for row in found["cores"])
    for error in found["errors"]:
        assert int(error["bits"], 16) == int(error["expected"], 16) ^ int(error["found"], 16) != 0
        assert error["core"] in ("/cpu/0", "/cpu/2") and (error["size"], error["round_off"], error["seen_before"]) == (None, None, 0)
    sums = {"squares": sum(range(1, 10_000_000)), "alternating": 5_000_000}
    assert {error["check"]: int(error["expected"], 16) for error in found["errors"]} == sums
    assert "2 of 2 cores erred" in found["message"] and [text.split(":")[0] for text in found["findings"]] == ["core 0", "core 2"]


def test_a_large_number_that_comes_out_wrong_names_its_size_and_step():
    found = answer(FAST + " --cores 1 --kind fp", 6)
    assert {(error["core"], error["test"], error["check"] in ("round_off", "checksum")) for error in found["errors"]} == {("/cpu/1", "floating_point", True)}
    assert all(error["size"] >= 1024 and error["iteration"] >= 1 and 0 < error["round_off_limit"] < 0.5 for error in found["errors"])


def test_the_one_core_that_errs_is_named_and_the_list_is_cut():
    for core in (0, 1, 3):
        assert run(f"vxtctl cpu set --core {core} --pstate 3 --yes --machine fast.machine --state pc.state").code == 0
    found = run("vxtctl stress --seconds 1 --kind int --state pc.state")
    named = re.search(r"^core 2: (\d+) errors; the others none: its own clock", found.out, re.M)
    rows = re.findall(r"^ +(\d)  integer +\d+ +[\d.]+ s  ", found.out, re.M)
    assert found.code == 6 and rows == ["2"] * min(20, int(named.group(1))) and ("the first 20 of" in found.out) == (int(named.group(1)) > 20)


def test_errors_and_samples_are_lines_as_they_happen():
    *events, last = [parsed(line) for line in run(FAST + " --cores 1 --kind int --watch --json").out.splitlines()]
    assert [event["error"] for event in events if event["event"] == "error"] == last["errors"] != []
    assert [event["cores"][0]["id"] for event in events if event["event"] == "sample"] == ["/cpu/1"]
    assert re.search(r"Z ERROR core 1, integer, pass 1, after [\d.]+ s: sum of", run(FAST + " --cores 1 --kind int --watch").out)


@table("number", [signal.SIGINT, signal.SIGTERM])
def test_a_request_to_end_is_obeyed_at_once_and_shows_what_was_found(number):
    child = start_piped(FAST.replace("--seconds 1", "--seconds 600") + " --kind int --watch --json")
    first = child.stdout.readline()  # it runs
    child.send_signal(number)
    out, _ = child.communicate(timeout=30)
    assert child.returncode == 130 and '"event":"error"' in first
    assert parsed(out.splitlines()[-1])["run"]["ended"] == "interrupted"


def test_a_machine_that_is_too_hot_is_not_heated(hot):  # noqa: F811
    found = run("vxtctl stress --seconds 600 --machine hot.machine")
    assert found.code == 1 and "95 °C, above 92 °C already; the test was not started" in found.err


def test_a_temperature_that_rises_above_the_limit_ends_the_test():
    write("warming.machine", "[machine]\nbased_on = family10h-ddr3\nload = 100 100 100 100\nload_period = 6\n")  # from 42 degrees on
    found = answer("vxtctl stress --seconds 600 --kind int --limit 42.1 --machine warming.machine", 1)
    assert found["run"]["ended"] == "too_hot" and "above 42.1 °C" in found["run"]["reason"] and found["message"].startswith("it ended after ") and found["run"]["lasted"] < 60


@table("options, code, fragment", [
    ("--seconds 0", 2, "1 to 86400"), ("--cores 0,", 2, "expected a core"), ("--cores 3-1", 2, "cores like 0,2-3"), ("--cores 0-4", 3, "no core 4"),
    ("--watch --csv", 2, "no table"), ("--watch -o lines", 2, "not in a file"),
])
def test_a_request_that_makes_no_sense_is_refused_before_anything_runs(options, code, fragment):
    found = run("vxtctl stress " + options)
    assert found.code == code and fragment in found.err
