"""Benchmarks: what is measured, and what is said of a change."""

import json
import os
import re
import signal
import statistics

import pytest

from test_sensors import nobody_stays, start_piped  # noqa: F401
from tools import answer, read, run, table, write

CACHE = "vxtctl bench cache --runs 5"


def saved(runs, **members):
    """A file with these runs of the cache's score."""
    write("saved.json", json.dumps({"format": "vxtctl bench", "version": 1, "tool_version": "0", "ts": "2026-01-01T00:00:00.000Z", "processor": "Another",
                                    "scores": [{"name": "cache_read", "unit": "MB/s", "runs": runs}], **members}))


def test_a_score_is_the_median_of_its_runs_with_their_spread():
    row, = answer(CACHE + "")["scores"]
    runs = row["measured"]["runs"]
    assert (row["id"], row["unit"], len(runs), row["saved"], row["verdict"]) == ("/bench/cache_read", "MB/s", 5, None, None)
    assert row["measured"]["median"] == statistics.median(runs)
    assert row["measured"]["spread"] == pytest.approx((max(runs) - min(runs)) / statistics.median(runs) * 100, abs=1e-3)


def test_all_benchmarks_have_their_units_and_the_processor_is_the_host_s():
    found = answer("vxtctl bench --runs 1")
    assert [(row["id"][7:], row["unit"]) for row in found["scores"]] == \
        [("integer", "D/s"), ("integer_time", "s"), ("whetstone", "MI/s"), ("cache_read", "MB/s"), ("memory_read", "MB/s"), ("memory_write", "MB/s")]
    name = re.search(r"(?m)^model name\s*: (.*)$", read("/proc/cpuinfo"))
    assert not name or found["processor"] == name.group(1).strip()


@table("runs, verdict, code", [
    ([1e9, 1e9, 1.1e9, 1.2e9, 1.2e9], "worse", 6), ([1, 1, 2, 3, 3], "better", 0), ([1, 1, 2, 1e9, 1e9], "within_spread", 0),
    ([1e9, 2e9, 3e9, 4e9, 5e9], "within_spread", 0),  # they lie apart, but not further than they are wide
])
def test_a_change_is_one_that_is_larger_than_what_runs_differ_by(runs, verdict, code):
    saved(runs)
    found = answer(CACHE + " --compare saved.json", code)
    row, = found["scores"]
    assert (row["verdict"], row["saved"]["median"], found["compared_with"]["processor"]) == (verdict, runs[2], "Another")
    assert row["change"] == pytest.approx((row["measured"]["median"] / runs[2] - 1) * 100, rel=1e-3)
    assert [text.split(":")[0] for text in found["findings"]] == ["cache_read"] * (code == 6)


def test_what_was_saved_can_be_compared_with_and_a_score_it_lacks_is_told():
    before = answer(CACHE + " --save a.json")["scores"][0]["measured"]["runs"]
    assert json.loads(read("a.json"))["scores"][0]["runs"] == before
    found = json.loads(run("vxtctl bench cache memory --runs 5 --compare a.json --json").out)["scores"]
    assert [row["saved"] and row["saved"]["runs"] for row in found] == [before, None, None]


@table("text, where", [
    ("", "no JSON object"), ('{"format": "vxtctl bench", "ver', "no JSON object"), ('[1, 2]', "no JSON object"), ('{"version": 1}', "format is missing"),
    (dict(format="else"), "format is not"), (dict(version=2), "version is not 1"), (dict(processor=None), "processor is no text"), (dict(scores={}), "scores is no list"),
    (dict(scores=[7]), "scores/0/name is missing"), ([1, 2, float("nan")], "no JSON object"), ([1, 2, 3, 4], "scores/0/runs has less than 5"),
    ([1, 2, -3], "scores/0/runs/2 is no number that"), ([1, 2, "3"], "scores/0/runs/2"), ([1e300], "scores/0/runs/0"), ("1e400", "no JSON object"),
    (dict(scores=[dict(name="cache_read", unit="GB/s", runs=[1, 2, 3])]), "scores/0/unit is not MB/s"),
    (dict(scores=[dict(name="memory_read", unit="MB/s", runs=[1, 2, 3, 4, 5])]), "none of these benchmarks"),
    (dict(scores=[dict(name="cache_read", unit="MB/s", runs=[1, 2, 3, 4, 5])] * 2), "scores/1/name is there twice"),
])
def test_a_file_that_holds_no_scores_is_refused_by_name_and_member(text, where):
    if isinstance(text, str):
        write("saved.json", text)
    else:
        saved(*([[1, 2, 3, 4, 5]] if isinstance(text, dict) else [text]), **(text if isinstance(text, dict) else {}))
    found = run(CACHE + " --compare saved.json")
    assert found.code == 1 and "saved.json holds no scores" in found.err and where in found.err


def test_a_wrong_result_has_no_score_and_is_a_finding():
    write("fast.machine", "[machine]\nbased_on = family10h-ddr3\nreference_clock = 260\nhang_core_clock = 4000\n")
    found = answer("vxtctl bench integer --runs 5 --machine fast.machine --save nothing.json", 6)
    assert [(row["measured"], "wrong" in row["reason"]) for row in found["scores"]] == [(None, True)] * 2 and len(found["findings"]) == 2
    assert found["saved_to"] is None and not os.path.exists("nothing.json")


@table("options, code, fragment", [
    ("--runs 0", 2, "1 to 100"), ("--runs 4 --save s.json", 2, "at least 5"), ("memry", 2, "did you mean 'memory'"), ("--compare none.json", 1, "none.json cannot be read: No such"),
    ("--save no/s.json", 1, "cannot write no/s.json"), ("--save DeviceList.cfg", 1, "it is not replaced"),
])
def test_a_request_that_cannot_be_met_is_refused_before_anything_is_measured(options, code, fragment):
    write("DeviceList.cfg", "[off]\nBIOS\n")
    found = run("vxtctl bench " + options)
    assert found.code == code and fragment in found.err and "measured on" not in found.err


def test_ctrl_c_ends_it_without_scores():
    child = start_piped("vxtctl bench --runs 100")
    child.stderr.readline()  # the processor's name: it begins
    child.send_signal(signal.SIGINT)
    assert "interrupted" in child.communicate(timeout=60)[1] and child.returncode == 130
