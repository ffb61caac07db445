"""What the tools print and how they fail, whatever the command: formats, files, widths."""

import csv
import io
import json
import os
import re
import resource
import stat
import subprocess

import pytest

from tools import FIRMWARE, FOLDER, SOURCE, TOOLS, answer, parsed, read, run, run_on_terminal, table, write

MACHINE_OPTIONS = ("--machine family10h-ddr3", "--machine k8-revf-dual", "--machine fw.machine")
COMMANDS = ("vxtctl", "vxtctl devices", "vxtctl device cpu", "vxtctl cpu", "vxtctl memory", "vxtctl links", "vxtctl northbridge", "vxtctl bios", "vxtctl clocks", "vxtctl voltages", "vxtctl sensors",
            "vxtctl memory set tcl=5 --force --dry-run", "vxtctl cpu set --core 0 --multiplier 7.2 --yes", "vxtdiag pci", "vxtdiag pci 00:18.3", "vxtdiag acpi", "vxtdiag cpu", "vxtdiag machines",
            "vxtdiag firmware", "vxtdiag cmos")


def full_disk(line):
    """Runs the line where no file can grow beyond 100 bytes."""
    words = line.split()
    limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100))
    return subprocess.run([FOLDER / words[0], *words[1:]], capture_output=True, text=True, preexec_fn=limit, restore_signals=False, check=False)


# --- failures --------------------------------------------------------------------------------------------------------------

@table("line, code", [("vxtctl devices --output no/such/file", 1), ("vxtctl devcies", 2), ("vxtctl cpu set --pstate 0", 2), ("vxtctl man", 2), ("vxtctl device gpu", 3),
                      ("vxtctl cpu --machine no-such-pc", 4), ("vxtdiag acpi ZZZZ", 3), ("vxtdiag", 2)])
def test_with_json_a_failure_is_an_object_and_still_a_line(line, code):
    found = run(line + " --json")
    document = parsed(found.out)
    assert (found.code, document["error"]["code"]) == (code, code)
    assert f"{line.split()[0]}: {document['error']['message']}\n" in found.err


@table("line", ["vxtctl --help", "vxtctl cpu --help", "vxtctl --version", "vxtctl man", "vxtctl completion bash", "vxtctl devices --json"])
def test_what_cannot_be_written_is_a_failure_with_its_reason(line):
    with open("/dev/full", "wb") as full:
        words = line.split()
        found = subprocess.run([FOLDER / words[0], *words[1:]], stdout=full, stderr=subprocess.PIPE, text=True, check=False)
    assert (found.returncode, found.stderr) == (1, "vxtctl: cannot write to standard output: No space left on device\n")


def test_the_version_is_text_or_json():
    assert run("vxtctl --version").out == f"vxtctl {answer('vxtctl --version')['tool_version']}\n"


@table("tool", TOOLS)
def test_help_and_the_guide_tell_the_same_exit_codes(tool):
    told = re.findall(r"^  (\d+) +(.*)", run(f"{tool} --help").out.split("Exit codes:")[1], re.M)
    assert told and told == re.findall(r"^\| (\d+) \| (.*) \|$", read(SOURCE / "docs/command_line.md"), re.M)


# --- files -----------------------------------------------------------------------------------------------------------------

@table("line", ["vxtctl memory --json --output", "vxtdiag snapshot"])
def test_a_full_disk_leaves_the_old_file_and_nothing_else(line):
    write("old", "precious")
    before = os.listdir()
    found = full_disk(f"{line} old")
    assert found.returncode == 1 and "cannot write old: File too large" in found.stderr
    assert (read("old"), os.listdir()) == ("precious", before)


def test_a_file_is_replaced_with_its_permissions_and_behind_its_link():
    write("target", "x" * 100_000)
    os.chmod("target", 0o640)
    os.symlink("target", "link")
    inode = os.stat("target").st_ino
    assert run("vxtctl devices --output link").code == 0
    assert os.path.islink("link") and read("target") == run("vxtctl devices").out
    assert (stat.S_IMODE(os.stat("target").st_mode), os.stat("target").st_ino != inode) == (0o640, True)


def test_what_is_no_plain_file_is_written_as_it_is():
    shown = run("vxtctl devices").out
    os.mkfifo("fifo")
    with subprocess.Popen(["cat", "fifo"], stdout=subprocess.PIPE, text=True) as reader:
        assert run("vxtctl devices --output fifo").code == 0 and reader.communicate()[0] == shown
    assert stat.S_ISFIFO(os.stat("fifo").st_mode)
    assert run("vxtctl devices --output -").out == run("vxtctl devices --output /dev/stdout").out == shown
    write("log", "first\n")
    with open("log", "a", encoding="utf-8") as log:
        subprocess.run([FOLDER / "vxtctl", "devices", "--output", "/dev/stdout"], stdout=log, check=True)
    assert read("log") == "first\n" + shown


# --- CSV --------------------------------------------------------------------------------------------------------------------

def rows_of(node, below=()):
    """Every object with an id, in the order of the document."""
    for value in node.values() if isinstance(node, dict) else node:
        if isinstance(value, dict) and "id" in value:
            yield value
        if isinstance(value, (dict, list)):
            yield from rows_of(value)


@table("line", ["vxtctl", "vxtctl cpu", "vxtctl cpu --machine k8-revf-dual", "vxtdiag cpu", "vxtctl memory", "vxtctl links", "vxtctl clocks --machine fw.machine", "vxtctl northbridge", "vxtctl sensors", "vxtctl modules --raw", "vxtctl devices --all", "vxtctl memory set tcl=5 --dry-run", "vxtdiag firmware --machine fw.machine",
                "vxtdiag cmos --machine fw.machine", "vxtdiag snapshot copy.machine"])
def test_csv_has_a_row_of_equal_width_for_every_object_and_a_cell_for_every_value(line):
    document = answer(line)
    lines = list(csv.reader(io.StringIO(run(line + " --csv").out)))
    assert {len(cells) for cells in lines} == {len(lines[0])}
    found = [dict(zip(lines[0], cells)) for cells in lines[1:]]
    last = {row["id"]: row for row in rows_of(document)}
    expected = [row for row in rows_of(document) if "--all" not in line or row is last[row["id"]]]  # there a device of the list that tells more has that row alone
    assert [row["id"] for row in found] == [row["id"] for row in expected]
    for key in set(document) - {"schema_version", "tool", "tool_version", "command", "findings"}:
        if isinstance(document[key], (str, int)):
            assert {row[key] for row in found} == {json.dumps(document[key]).strip('"')}
    for row, told in zip(found, expected):
        for key, value in told.items():
            if isinstance(value, list) and not any(isinstance(item, dict) for item in value):
                assert row[key] == ("; " if value and isinstance(value[0], str) else " ").join(item if isinstance(item, str) else json.dumps(item) for item in value), key
            elif isinstance(value, str):
                assert row[key] == value


def test_a_spreadsheet_does_not_run_the_text_of_a_device():
    write("sly.machine", FIRMWARE.replace("name = Deaf", 'name = =1+"A1"').replace("name = Silent", "name = -5"))
    rows = csv.DictReader(io.StringIO(run("vxtctl voltages --csv --machine sly.machine").out))
    assert [row["label"] for row in rows][-2:] == ["'=1+\"A1\"", "-5"]


# --- text that fits ------------------------------------------------------------------------------------------------------------

@table("columns", [60, 80, 120])
def test_no_line_is_wider_than_the_terminal(columns):
    for option in MACHINE_OPTIONS:
        for line in [f"{command} {option}" for command in COMMANDS] + ["vxtctl --help", "vxtdiag cmos set --help", f"vxtctl devices {option} --machnie"]:
            found = run_on_terminal(line, columns=columns, env={"NO_COLOR": "1"})
            assert found.out and [text for text in found.out.splitlines() if len(text) > columns] == [], line


def test_wrapping_loses_no_word_and_keeps_them_in_their_column():
    whole, narrow = run("vxtdiag cpu 0").out, run("vxtdiag cpu 0", env={"COLUMNS": "60"}).out
    assert sorted(whole.split()) == sorted(narrow.split()) and max(map(len, whole.splitlines())) > 60
    lines = narrow.splitlines()
    first = next(i for i, text in enumerate(lines) if text.startswith("  Features "))
    start = lines[first].index("FPU")
    assert all(text[:start].isspace() and text[start] != " " for text in lines[first + 1:first + 4])


def test_columns_that_find_no_room_are_named_and_only_those_go():
    whole, narrow, wide = (run("vxtctl devices", env={"COLUMNS": columns}) for columns in ("", "80", "200"))
    assert narrow.err == "columns not shown: Description, Vendor, Version (--json has all, a wider terminal too)\n"
    assert (whole.err, wide) == ("", whole) and "Version" in whole.out
    assert narrow.out.splitlines()[1].split() == ["Device", "Name", "Model"]
    assert run("vxtctl devices --quiet", env={"COLUMNS": "80"}).err == ""


def test_a_dumb_terminal_gets_no_escapes():
    assert "\033" not in run_on_terminal("vxtctl devices", env={"TERM": "dumb", "NO_COLOR": ""}).out


def test_labels_wrap_and_what_has_no_room_for_a_table_is_told_one_cell_a_line():
    found = run("vxtctl links", env={"COLUMNS": "25"}).out
    assert "Name: in_width\n  Value: 16\n  Unit: bits\n  Legal values, [now]:\n    2 4 8 [16]\n" in found
    narrow = run("vxtdiag cpu 0", env={"COLUMNS": "40"}).out
    assert re.search(r"\n  Nominal clock +3000.0 MHz\n  at a 200 MHz\n  reference\n", narrow)


@table("key", ["\x04", "\x03"])
def test_a_question_that_gets_no_answer_ends_its_line(key):
    assert re.search(r"\[y/N\] \S*\r\nvxtctl: nothing was written\r\n", run_on_terminal("vxtctl cpu set --core 0 --pstate 1", key).out)


def test_more_cores_than_fit_beside_each_other_stand_in_a_second_table():
    write("eight.machine", "[machine]\nbased_on = family10h-ddr3\ncores = 8\n")
    found = run("vxtctl cpu --machine eight.machine", env={"COLUMNS": "80"}).out
    assert re.findall(r"^ +((?:Core \d *)+)$", found, re.M) == ["Core 0  Core 1  Core 2  Core 3", "Core 4  Core 5  Core 6  Core 7"]
    assert len(re.findall(r"^  Core voltage +V(?: +1\.3500){4}$", found, re.M)) == 2 and found.count("Readings\n") == 1
