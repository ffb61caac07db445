"""End-to-end tests of vxtctl and vxtdiag as their users run them, on simulated PCs.

tools_test.py FOLDER [WORD...]: FOLDER holds the built tools and the library; only cases whose name contains a WORD run.
One line for each failing case, then "N passed, N failed".
"""

import csv
import glob
import io
import itertools
import json
import os
import pathlib
import pty
import re
import select
import shlex
import shutil
import subprocess
import sys
import tempfile
import time

import json_schema

FOLDER = pathlib.Path(sys.argv[1]).resolve()
SOURCE = pathlib.Path(__file__).resolve().parents[2]
SCHEMA = json.loads((SOURCE / "docs/schema/vxt-output-1.schema.json").read_text(encoding="utf-8"))
TOOLS = ("vxtctl", "vxtdiag")


class Answer:
    def __init__(self, code, out, err):
        self.code, self.out, self.err = code, out, err


def run(line, stdin="", env=None, command=None):
    """Runs one command line from the tools' folder."""
    words = shlex.split(line)
    result = subprocess.run([FOLDER / words[0], *words[1:], *(command or [])], input=stdin.encode(), capture_output=True,
                            timeout=120, env={**os.environ, **(env or {})}, check=False)
    return Answer(result.returncode, result.stdout.decode(), result.stderr.decode())


def run_on_terminal(line, typed="", env=None):
    """The same on a terminal of its own; types once the tool asks. Returns the answer with everything in `out`."""
    words = shlex.split(line)
    child, master = pty.fork()
    if child == 0:
        try:
            os.environ.update(env or {})
            os.execv(FOLDER / words[0], words)
        finally:
            os._exit(127)
    shown, typed, status, deadline = b"", typed.encode(), None, time.monotonic() + 60
    while time.monotonic() < deadline:
        ready, _, _ = select.select([master], [], [], 0.05)
        try:
            part = os.read(master, 65536) if ready else b""
        except OSError:
            part = b""  # the other side is gone
        shown += part
        if b"[y/N]" in shown and typed:
            os.write(master, typed)
            typed = b""
        if not part and status is not None:
            break
        if status is None:
            ended, result = os.waitpid(child, os.WNOHANG)
            status = os.waitstatus_to_exitcode(result) if ended else None
    os.close(master)
    return Answer(status, shown.decode(), "")


def refuse(constant):
    raise ValueError(f"JSON has no {constant}")


def answer_json(line, codes=(0,)):
    """The command's JSON, which has to fit the published schema."""
    answer = run(line + " --json")
    check(answer.code in codes, f"{line}: exit code {answer.code}, {answer.err.strip()}")
    document = json.loads(answer.out, parse_constant=refuse)
    found = json_schema.problems(SCHEMA, document)
    check(not found, f"{line}: {found[:4]}")
    return document


def check(condition, message):
    if not condition:
        raise AssertionError(message)


def same(found, expected, message):
    check(found == expected, f"{message}: expected {expected!r}, found {found!r}")


def quantities(node):
    if isinstance(node, dict):
        if "value" in node and "status" in node:
            yield node
        for child in node.values():
            yield from quantities(child)
    elif isinstance(node, list):
        for child in node:
            yield from quantities(child)


def below(text):
    """A path without its instance numbers: /cpu/0/pstate/1/core_clock -> /cpu/*/pstate/*/core_clock."""
    return re.sub(r"/\d+", "/*", text)


def reading(document, path):
    return next(quantity for quantity in quantities(document) if quantity["id"] == path)


def machines():
    return [row["name"] for row in answer_json("vxtdiag machines")["machines"]]


def bad_machine(text):
    pathlib.Path("bad.machine").write_text(text, encoding="utf-8")


CASES = []


def case(function):
    CASES.append((function.__name__.removeprefix("test_").replace("_", " "), lambda: function()))
    return function


def table(*rows):
    """One case for each row: (name, arguments...)."""
    def decorate(function):
        name = function.__name__.removeprefix("test_").replace("_", " ")
        CASES.extend((f"{name}: {row[0]}", lambda row=row: function(*row[1:])) for row in rows)
        return function
    return decorate


# --- errors and exit codes -------------------------------------------------------------------------------------------------

@table(
    ("unknown command", "vxtctl nonsense", 2, "nonsense"),
    ("two formats", "vxtctl --json --csv", 2, "--csv"),
    ("core is no number", "vxtctl cpu first", 2, "first"),
    ("device without type", "vxtctl device", 2, "TYPE"),
    ("device index is no number", "vxtctl device cpu:x", 2, "cpu:x"),
    ("device index with rubbish behind", "vxtctl device cpu:0x", 2, "cpu:0x"),
    ("colour word", "vxtctl --color sometimes", 2, "sometimes"),
    ("option without its value", "vxtctl --output", 2, "--output"),
    ("nothing to set", "vxtctl cpu set", 2, "nothing to set"),
    ("P-state and voltage together", "vxtctl cpu set --pstate 0 --voltage 1.2", 2, "--pstate"),
    ("multiplier zero", "vxtctl cpu set --multiplier 0", 2, "--multiplier"),
    ("multiplier negative", "vxtctl cpu set --multiplier -4", 2, "--multiplier"),
    ("voltage not a number", "vxtctl cpu set --voltage nan", 2, "--voltage"),
    ("voltage infinite", "vxtctl cpu set --voltage inf", 2, "--voltage"),
    ("core word", "vxtctl cpu set --core some --pstate 0", 2, "some"),
    ("core behind the unsigned range", "vxtctl cpu set --core 4294967296 --pstate 0", 2, "4294967296"),
    ("P-state negative", "vxtctl cpu set --pstate -1", 2, "-1"),
    ("no terminal to ask on", "vxtctl cpu set --pstate 0", 2, "--yes"),
    ("completion for another shell", "vxtctl completion fish", 2, "fish"),
    ("diagnostics without a command", "vxtdiag", 2, "--help"),
    ("nothing to set in the setup", "vxtdiag cmos set", 2, "ITEM=OPTION"),
    ("unknown device type", "vxtctl device toaster", 3, "memory-controller"),
    ("device type that the machine lacks", "vxtctl device gpu", 3, "gpu"),
    ("device index that the machine lacks", "vxtctl device cpu:4", 3, "cpu:4"),
    ("core that the machine lacks", "vxtctl cpu 4", 3, "has 4"),
    ("core to set that the machine lacks", "vxtctl cpu set --core 4 --pstate 0 --yes", 3, "has 4"),
    ("P-state that the processor lacks", "vxtctl cpu set --pstate 4 --yes", 3, "0 to 3"),
    ("P-state in a dry run", "vxtctl cpu set --pstate 4 --dry-run", 3, "0 to 3"),
    ("P-state on a family without", "vxtctl --machine k8-first cpu set --pstate 0 --yes", 3, "no P-states"),
    ("PCI function that is not there", "vxtdiag pci 3f:1f.7", 3, "3f:1f.7"),
    ("PCI address that is none", "vxtdiag pci host", 3, "00:18.3"),
    ("ACPI table that is not there", "vxtdiag acpi ZZZZ", 3, "ZZZZ"),
    ("setting checked before the library is needed", "vxtctl --library ./none cpu set --voltage 0", 2, "--voltage"),
    ("selector checked before the library is needed", "vxtctl --library ./none device cpu:x", 2, "cpu:x"),
    ("library missing", "vxtctl --library ./no/such.so devices", 4, "no/such.so"),
    ("library that is no library", f"vxtctl --library {__file__} devices", 4, "tools_test.py"),
    ("machine missing", "vxtctl --machine no-such-pc devices", 4, "no-such-pc"),
    ("machine missing, diagnostics", "vxtdiag --machine no-such-pc pci", 4, "no-such-pc"),
    ("fault plan that is none", "vxtctl --fault rate=often devices", 4, "often"),
    ("driver that fails every request", "vxtctl --fault seed=1,rate=100,kinds=fail devices", 4, "--log"),
    ("output folder missing", "vxtctl devices --output ./no/such/file", 1, "no/such/file"),
    ("snapshot folder missing", "vxtdiag snapshot ./no/such/file", 1, "no/such/file"),
)
def test_an_error_has_its_exit_code_and_names_what_is_wrong(line, code, fragment):
    answer = run(line)
    same(answer.code, code, f"{line} ({answer.err.strip()})")
    same(answer.out, "", "data on stdout")
    check(fragment in answer.err, f"stderr lacks {fragment!r}: {answer.err!r}")
    check(line.split()[0] + ": " in answer.err, f"stderr does not name the tool: {answer.err!r}")


@table(
    ("unknown section", "[machine]\nname = x\n\n[toaster]\n", "bad.machine:4"),
    ("broken dump line", "[machine]\nname = x\n[pci 00:00.0]\n00: 22 1\n", "bad.machine:4"),
    ("empty file", "", "bad.machine:"),
)
def test_a_bad_machine_file_is_reported_with_file_and_line_by_both_tools(text, place):
    for line in ("vxtctl --machine bad.machine devices", "vxtdiag --machine bad.machine pci"):
        bad_machine(text)
        answer = run(line)
        same(answer.code, 4, line)
        check(place in answer.err and "expected" in answer.err, f"{line}: {answer.err!r}")


@case
def test_a_library_without_the_exports_is_refused_by_the_name_of_the_export():
    other = next(path for path in re.findall(r"/\S+\.so\S*", pathlib.Path("/proc/self/maps").read_text()) if "libc" in path)
    answer = run(f"vxtctl --library {other} devices")
    same(answer.code, 4, answer.err)
    check("no export InitVXTAPI" in answer.err, answer.err)


@case
def test_a_full_disk_is_a_failure():
    with open("/dev/full", "wb") as full:
        result = subprocess.run([FOLDER / "vxtctl", "devices"], stdout=full, stderr=subprocess.PIPE, check=False)
    same(result.returncode, 1, "to stdout")
    same(run("vxtctl devices --output /dev/full").code, 1, "to a file")


# --- what is shown ------------------------------------------------------------------------------------------------------------

@case
def test_every_command_of_every_machine_fits_the_schema():
    for machine in machines():
        for command in ("vxtctl", "vxtctl devices", "vxtctl device cpu", "vxtctl cpu", "vxtctl cpu 0",
                        "vxtctl cpu set --multiplier 8 --voltage 1.2 --dry-run", "vxtdiag pci", "vxtdiag acpi",
                        "vxtdiag acpi FACP", "vxtdiag pci 00:18.3", "vxtdiag snapshot", "vxtctl bios"):
            answer_json(f"{command} --machine {machine}")
    for command in ("vxtctl clocks", "vxtctl voltages", "vxtdiag firmware", "vxtdiag firmware 01010000", "vxtdiag cmos"):
        answer_json(command)


@case
def test_readings_have_the_same_ids_labels_and_units_on_every_machine():
    shapes = {}
    for machine in machines():
        for core in answer_json(f"vxtctl cpu --machine {machine}")["cores"]:
            shapes[machine] = [(below(row["id"]), row["label"], row["unit"]) for row in core["readings"]]
    check(len(shapes) >= 5, f"only {len(shapes)} machines")
    for machine, shape in shapes.items():
        same(shape, next(iter(shapes.values())), machine)


@case
def test_no_stand_in_for_a_missing_reading_leaves_the_tools():
    seen = set()
    for machine in machines():
        document = answer_json(f"vxtctl --machine {machine}")
        for quantity in quantities(document):
            name = f"{machine} {quantity['id']}"
            seen.add(quantity["status"])
            if quantity["status"] == "ok":
                check(quantity["value"] is not None and quantity["reason"] is None, name)
                check(quantity["value"] > 0 or quantity["id"].endswith(("pstate", "usage", "offset")), f"{name}: {quantity}")
            else:
                check(quantity["value"] is None and quantity["reason"], name)
        for command in ("", "cpu", "devices", "device cpu", "bios", "clocks", "voltages"):
            text = run(f"vxtctl {command} --machine {machine}").out
            check(not re.search(r"-9999|-1\.0|\bnan\b|\binf\b|4294967", text), f"{machine} {command}: {text}")
    check({"ok", "unavailable"} <= seen, f"only {seen}")


@table(
    ("north bridge reads all ones", "ones"),
    ("requests answer nothing", "zero"),
    ("requests fail", "fail"),
)
def test_a_flaky_driver_never_gives_a_wrong_shape_or_a_crash(kind):
    codes = set()
    for seed in range(1, 9):
        answer = run(f"vxtctl --json --fault seed={seed},rate=4,kinds={kind}")
        codes.add(answer.code)
        check(answer.code in (0, 4), f"seed {seed}: exit code {answer.code}, {answer.err}")
        check("fault: request" in answer.err, f"seed {seed}: nothing injected is reported")
        if answer.code == 0:
            found = json_schema.problems(SCHEMA, json.loads(answer.out, parse_constant=refuse))
            check(not found, f"seed {seed}: {found[:4]}")


@case
def test_the_overview_shows_inventory_cores_and_pstates():
    answer = run("vxtctl")
    document = answer_json("vxtctl")
    same(answer.code, 0, answer.err)
    for device in document["devices"]:
        check(device["id"][1:] in answer.out and device["name"] in answer.out, f"{device['id']} is missing:\n{answer.out}")
    for word in (document["cores"][0]["brand"], "P-states, cores 0-3", "Cores", "Voltage", "MHz"):
        check(word in answer.out, f"{word!r} is missing:\n{answer.out}")


@table(
    ("family 10h", "family10h-ddr3", {"multiplier": 15, "core_voltage": 1.35, "current_pstate": 0, "max_pstate": 3, "nb_voltage": 1.175,
                                      "temperature": 35, "max_ramp_voltage": None, "thermal_trip_offset": None}, 4),
    ("family 11h", "family11h-mobile", {"multiplier": 10.5, "core_voltage": 1.2, "current_pstate": 0, "max_pstate": 2, "temperature": 49, "thermal_trip_offset": None}, 3),
    ("K8 revision F", "k8-revf-dual", {"multiplier": 10.5, "core_voltage": 1.25, "start_voltage": 1.1, "max_ramp_voltage": 1.3, "current_pstate": None, "max_pstate": None}, 0),
    ("K8 first generation", "k8-first", {"multiplier": 10, "core_voltage": 1.35, "temperature": None, "nb_multiplier": None}, 0),
)
def test_a_core_shows_what_its_registers_say(machine, expected, pstates):
    core = answer_json(f"vxtctl cpu 0 --machine {machine}")["cores"][0]
    for key, value in expected.items():
        found = reading(core, f"/cpu/0/{key}")["value"]
        check(found is None if value is None else found is not None and abs(found - value) < 1e-4, f"{key}: expected {value}, found {found}")
    same(len(core["pstates"]), pstates, "P-states")
    clock, reference, multiplier = (reading(core, f"/cpu/0/{key}")["value"] for key in ("core_clock", "reference_clock", "multiplier"))
    check(abs(clock - reference * multiplier) < 1e-3, f"{clock} is not {reference} * {multiplier}")
    check(195 < reference < 205, f"reference clock {reference}")


@table(
    ("in range", "50", 31, "ok"),
    ("below zero, which the library reads unsigned", "10", None, "out_of_range"),
    ("no sensor", "31", None, "unavailable"),
)
def test_a_temperature_is_shown_only_when_there_can_be_one(raw, value, status):
    # Revision F before model 60h: bits 23:16 of the thermal register, less 49 degrees.
    machine = run("vxtdiag snapshot --machine k8-revf-dual").out.replace("= 00060FB1", "= 00040FB1")
    pathlib.Path("cold.machine").write_text(machine.replace("E0: 00 00 00 00 3E A0 41 00", f"E0: 00 00 00 00 3E A0 {raw} 00"), encoding="utf-8")
    found = reading(answer_json("vxtctl cpu 1 --machine cold.machine"), "/cpu/1/temperature")
    same((found["value"], found["status"]), (value, status), found)


@case
def test_text_lists_what_json_lists():
    for machine in machines():
        cores = answer_json(f"vxtctl cpu --machine {machine}")["cores"]
        text = run(f"vxtctl cpu --machine {machine}").out
        for row in cores[0]["readings"]:
            line = next((line for line in text.splitlines() if line.strip().startswith(row["label"] + " ")), None)
            check(line is not None, f"{machine}: no line {row['label']}")
            check((row["value"] is None) == line.rstrip().endswith("-"), f"{machine}: {line!r} for {row}")
        same(text.count("P-states,") > 0, bool(cores[0]["pstates"]), f"{machine}: P-state table")


@case
def test_csv_holds_the_rows_of_the_json():
    devices = answer_json("vxtctl devices")["devices"]
    rows = list(csv.DictReader(io.StringIO(run("vxtctl devices --csv").out)))
    same([{key: str(value) for key, value in device.items()} for device in devices], rows, "devices")
    rows = list(csv.DictReader(io.StringIO(run("vxtctl cpu --csv").out)))
    expected = list(quantities(answer_json("vxtctl cpu")))
    same([row["id"] for row in rows], [quantity["id"] for quantity in expected], "quantities")
    same(list(rows[0]), ["id", "label", "value", "unit", "limits_min", "limits_max", "status", "reason"], "columns")
    for row, quantity in zip(rows, expected):
        same((row["value"] == ""), quantity["value"] is None, row["id"])


# --- where it goes -----------------------------------------------------------------------------------------------------------

@case
def test_output_to_a_file_is_what_stdout_would_show():
    for command in ("vxtctl devices", "vxtctl devices --json", "vxtctl devices --csv", "vxtdiag snapshot", "vxtdiag pci 00:18.3"):
        answer = run(command + " --output answer.txt")
        same((answer.code, answer.out), (0, ""), command)
        same(pathlib.Path("answer.txt").read_text(encoding="utf-8"), run(command).out, command)


@case
def test_a_failing_command_neither_leaves_an_empty_file_nor_spoils_an_old_one():
    run("vxtctl device gpu --output new.txt")
    check(not pathlib.Path("new.txt").exists(), "an empty file stays behind")
    pathlib.Path("old.txt").write_text("precious", encoding="utf-8")
    run("vxtctl device gpu --output old.txt")
    same(pathlib.Path("old.txt").read_text(encoding="utf-8"), "precious", "old file")


@table(
    ("terminal", True, "vxtctl devices", {}, True),
    ("terminal with NO_COLOR", True, "vxtctl devices", {"NO_COLOR": "1"}, False),
    ("terminal with an empty NO_COLOR", True, "vxtctl devices", {"NO_COLOR": ""}, True),
    ("terminal, never", True, "vxtctl devices --color never", {}, False),
    ("terminal, JSON", True, "vxtctl devices --json", {}, False),
    ("pipe", False, "vxtctl devices", {}, False),
    ("pipe, always", False, "vxtctl devices --color always", {"NO_COLOR": "1"}, True),
)
def test_colour_is_for_terminals_unless_asked_otherwise(terminal, line, env, coloured):
    env = {"NO_COLOR": "", **env}
    answer = run_on_terminal(line, env=env) if terminal else run(line, env=env)
    same(answer.code, 0, line)
    same("\033[" in answer.out, coloured, "colour")


@case
def test_quiet_silences_remarks_and_keeps_errors():
    check("Planned" in run("vxtctl cpu set --pstate 1 --yes").err, "the plan is a remark")
    same(run("vxtctl cpu set --pstate 1 --yes --quiet").err, "", "quiet")
    check(run("vxtctl device gpu --quiet").err, "an error has to be told")


@case
def test_only_log_writes_the_log_folder():
    for tool, command in zip(TOOLS, ("devices", "pci")):
        run(f"{tool} {command}")
        check(not pathlib.Path("Logs").exists(), f"{tool} writes a log that nobody asked for")
    run("vxtctl devices --log")
    check(glob.glob("Logs/VXTAPI/*/VXTAPI_*.log"), "vxtctl writes no log")
    run("vxtdiag pci --log")
    check(glob.glob("Logs/VXTDIAG/*/VXTDIAG_*.log"), "vxtdiag writes no log")


# --- writing to the hardware --------------------------------------------------------------------------------------------------

def changes(line, codes):
    return answer_json(line, codes)["changes"]


@table(
    ("10h multiplier", "family10h-ddr3", "--multiplier 8", 0, [("multiplier", "taken", 8)]),
    ("10h P-state", "family10h-ddr3", "--pstate 2", 0, [("current_pstate", "taken", 2)]),
    ("10h voltage", "family10h-ddr3", "--voltage 1.2", 0, [("core_voltage", "taken", 1.2)]),
    ("10h falling: multiplier first", "family10h-ddr3", "--multiplier 8 --voltage 1.2", 0, [("multiplier", "taken", 8), ("core_voltage", "taken", 1.2)]),
    ("10h multiplier between two codes", "family10h-ddr3", "--multiplier 7.3", 5, [("multiplier", "not_taken", 7.25)]),
    ("10h multiplier out of reach", "family10h-ddr3", "--multiplier 60", 5, [("multiplier", "not_taken", 15)]),
    ("10h voltage not in the table", "family10h-ddr3", "--voltage 2.5", 5, [("core_voltage", "not_taken", 1.35)]),
    ("11h multiplier", "family11h-mobile", "--multiplier 7", 0, [("multiplier", "taken", 7)]),
    ("11h P-state", "family11h-mobile", "--pstate 2", 0, [("current_pstate", "taken", 2)]),
    ("10h rising: voltage first", "family10h-ddr3", "--multiplier 16 --voltage 1.4", 0, [("core_voltage", "taken", 1.4), ("multiplier", "taken", 16)]),
    ("10h failed voltage holds the multiplier back", "family10h-ddr3", "--multiplier 16 --voltage 2.5", 5, [("core_voltage", "not_taken", 1.35), ("multiplier", "skipped", None)]),
    ("K8 revision F falling: multiplier first", "k8-revf-dual", "--multiplier 9 --voltage 1.2", 0, [("multiplier", "taken", 9), ("core_voltage", "taken", 1.2)]),
    ("K8 revision F multiplier not in the table", "k8-revf-dual", "--multiplier 5.25", 5, [("multiplier", "not_taken", 10.5)]),
    ("K8 voltage near two entries", "k8-revf-dual", "--voltage 1.2125", 5, [("core_voltage", "not_taken", 1.225)]),
    ("K8 first generation multiplier", "k8-first", "--multiplier 8", 0, [("multiplier", "taken", 8)]),
)
def test_set_reports_what_was_asked_and_what_the_hardware_took(machine, options, code, expected):
    found = changes(f"vxtctl cpu set --core 0 {options} --yes --machine {machine}", (code,))
    same([(row["id"], row["outcome"], row["after"]) for row in found], [(f"/cpu/0/{key}", outcome, after) for key, outcome, after in expected], "changes")
    for row in found:
        same(row["reason"] is None, row["outcome"] == "taken", f"reason of {row['id']}")


@case
def test_a_value_that_is_not_in_the_table_is_named_as_such():
    answer = run("vxtctl cpu set --core 0 --multiplier 5.25 --yes --machine k8-revf-dual")
    same(answer.code, 5, answer.err)
    check("5.25 is not in this processor's table" in answer.err and "still 10.5" in answer.err, answer.err)
    answer = run("vxtctl cpu set --core 0 --voltage 1.2125 --yes --machine k8-revf-dual")
    check("1.2125 V is not in this processor's table" in answer.err and "took 1.2250 V" in answer.err, answer.err)


@case
def test_all_cores_are_set_unless_one_is_named():
    same([row["id"] for row in changes("vxtctl cpu set --pstate 1 --yes", (0,))], [f"/cpu/{core}/current_pstate" for core in range(4)], "all")
    same([row["id"] for row in changes("vxtctl cpu set --pstate 1 --yes --core 2", (0,))], ["/cpu/2/current_pstate"], "one")


@case
def test_memory_and_links_of_every_machine_fit_the_schema_and_mark_a_legal_value():
    shapes = {}
    for machine in machines():
        memory = answer_json(f"vxtctl memory --machine {machine}")
        links = answer_json(f"vxtctl links --machine {machine}")["links"]
        shapes[machine] = [row["id"] for row in memory["timings"] + memory["configuration"]]
        check(any(row["value"] for row in links[0]["settings"]), f"{machine}: nothing is known of link 0")
        for row in memory["timings"] + memory["configuration"] + [row for link in links for row in link["settings"]]:
            if row["value"] is not None and row["legal"] is not None:
                check(row["value"] in row["legal"], f"{machine} {row['id']}: {row['value']} is not among {row['legal']}")
        if any(row["id"] == "/north-bridge/0" for row in answer_json(f"vxtctl devices --machine {machine}")["devices"]):
            answer_json(f"vxtctl northbridge --machine {machine}")
    for machine, shape in shapes.items():
        same(shape, next(iter(shapes.values())), machine)


@table(
    ("one timing", "memory set tcl=8 --yes", 0, [("tcl", "taken", 8)]),
    ("timings and a switch together", "memory set trcd=7 tref=3.9 slow_access=on --yes", 0, [("trcd", "taken", 7), ("tref", "taken", 3.9), ("slow_access", "taken", 1)]),
    ("a drive strength", "memory set data_drive_b=1.5 --yes", 0, [("data_drive_b", "taken", 1.5)]),
    ("dry run", "memory set tcl=8 --dry-run", 0, [("tcl", "planned", None)]),
    ("forced past the list", "memory set tcl=7.5 --force --yes", 5, [("tcl", "not_taken", 6)]),
    ("first K8 generation", "memory set tcl=2 --yes --machine k8-first", 0, [("tcl", "taken", 2)]),
    ("DDR2", "memory set trp=6 --yes --machine family10h-ddr2", 0, [("trp", "taken", 6)]),
    ("link clock", "links set frequency=6 --yes", 0, [("link/0/frequency", "taken", 6)]),
    ("link width", "links set --link 0 in_width=8 out_width=8 --yes --machine k8-revf-dual", 0, [("link/0/in_width", "taken", 8), ("link/0/out_width", "taken", 8)]),
)
def test_memory_and_link_settings_are_written_and_read_back(line, code, expected):
    found = changes(f"vxtctl {line}", (code,))
    same([(re.sub(r"^/[a-z-]+/0/", "", row["id"]), row["outcome"], row["after"]) for row in found], expected, line)


@table(
    ("value outside the list", "memory set tcl=99 --yes", 2, "not a legal value"),
    ("no such name", "memory set tlc=5 --yes", 3, "no setting 'tlc'"),
    ("not an assignment", "memory set tcl --yes", 2, "expected NAME=VALUE"),
    ("named twice", "memory set tcl=5 tcl=6 --yes", 2, "named twice"),
    ("a field the family lacks", "memory set trtp=3 --yes --machine k8-first", 3, "cannot be set"),
    ("only reported", "links set max_frequency=4 --yes", 3, "only reports it"),
    ("no such link", "links set --link 7 frequency=5 --yes", 3, "no link 7"),
    ("no north bridge", "northbridge --machine k8-first", 3, "no north bridge"),
)
def test_a_setting_that_cannot_be_made_is_refused_before_any_write(line, code, fragment):
    answer = run(f"vxtctl {line}")
    same(answer.code, code, answer.err)
    check(fragment in answer.err, answer.err)


@case
def test_a_dry_run_plans_the_same_and_writes_nothing():
    # With every write dropped and reported, those of a dry run are those of a look. Codes: MSR, port, PCI, memory writes.
    def dropped(command):
        return len(re.findall(r"code 81112(?:EE4|EEC|EFC|F04|F0C)", run(f"vxtctl {command} --fault seed=1,rate=100,kinds=drop").err))
    planned = "cpu set --core 1 --multiplier 8"
    same(dropped(planned + " --dry-run"), dropped("device cpu:1"), "writes")
    check(dropped(planned + " --yes") > dropped("device cpu:1"), "the write without --dry-run goes uncounted")
    row = changes(f"vxtctl {planned} --dry-run", (0,))[0]
    same((row["outcome"], row["before"], row["asked"], row["after"]), ("planned", 15, 8, None), "plan")


@case
def test_a_write_that_never_arrives_is_not_taken():
    row = changes("vxtctl cpu set --core 0 --pstate 1 --yes --fault seed=1,rate=100,kinds=drop", (5,))[0]
    same((row["outcome"], row["after"]), ("not_taken", 0), "change")


@case
def test_a_flaky_driver_never_makes_a_failed_change_look_taken():
    seen = set()
    for seed in range(1, 31):
        answer = run(f"vxtctl cpu set --core 1 --multiplier 8 --yes --json --fault seed={seed},rate=3,kinds=fail+zero")
        if answer.code in (3, 4):
            continue  # the fault hit the start
        row = json.loads(answer.out)["changes"][0]
        seen.add(row["outcome"])
        same(answer.code, {"taken": 0, "failed": 1, "not_taken": 5}[row["outcome"]], f"seed {seed}")
        same(row["reason"] is None, row["outcome"] == "taken", f"seed {seed}: {row}")
        check(row["outcome"] != "taken" or row["after"] == 8, f"seed {seed}: {row}")
    check({"taken", "failed"} <= seen, f"outcomes seen: {seen}")


@table(
    ("yes", "y\n", 0, "taken"),
    ("the word", "yes\n", 0, "taken"),
    ("no", "n\n", 1, "nothing was written"),
    ("just return", "\n", 1, "nothing was written"),
    ("end of input", "\x04", 1, "nothing was written"),
    ("Ctrl-C", "\x03", 130, "nothing was written"),
)
def test_on_a_terminal_the_plan_is_shown_and_asked_about(typed, code, fragment):
    answer = run_on_terminal("vxtctl cpu set --core 0 --pstate 1", typed)
    same(answer.code, code, answer.out)
    check(fragment in answer.out and "Planned changes" in answer.out and "0 to 3" in answer.out, answer.out)


# --- the firmware ---------------------------------------------------------------------------------------------------------------

NUMBERS = " ".join(str(khz) for khz in range(150000, 400001, 5000))
FIRMWARE = f"""
[firmware]
version = 3
vendor = Test Boards
graphics = 5A 1
[firmware object 01010000]
name = Reference
property = 0
value = 200000
values = {NUMBERS}
info = 150000 400000 200000 5000
[firmware object 01020000]
name = PCIe
property = 0
value = 100000
values = 100000 101000 102000
[firmware object 01030000]
name = Third
property = 1
value = 33333
info = 30000 40000 33333 1
[firmware object 02010000]
name = MemVDDQ
value = 1500
info = 1300 2000 1500 25
[firmware object 02070000]
name = NB (1.8 V)
value = 1800
[firmware object 02080000]
name = NB 1.8-V
value = 1200
info = 2000 1000 0 50
[firmware object 02090000]
name = Deaf
value = 1100
info = 1000 1400 1100 100
stuck = 1
[firmware object 020A0000]
name = Silent
value = 1000
info = 900 1100 1000 10
status = 3
[firmware item]
name = Core Trim Boost
value = 0
options = Disabled|Auto
[firmware item]
name = Boot Delay
value = 7
[firmware item]
name = Burst Length
value = 1
options = 2|4|8
[firmware item]
name = BOOT DELAY
value = 5
options = A|a
"""


def firmware_machine(extra=""):
    """A machine with the firmware above and more sections behind it."""
    text = (SOURCE / "machines/family10h-ddr2.machine").read_text(encoding="utf-8")
    pathlib.Path("fw.machine").write_text(text + FIRMWARE + extra, encoding="utf-8")
    return "--machine fw.machine"


def bios_machine(*instances):
    """A machine with these BIOS identities alone."""
    text = (SOURCE / "machines/family10h-ddr2.machine").read_text(encoding="utf-8")
    text = re.sub(r"(?ms)^\[wmi .*?(?=^\[|\Z)", "", text)
    heading = "[wmi root\\cimv2 Win32_BIOS]\n"
    pathlib.Path("bios.machine").write_text(text + "\n" + "".join(heading + rows for rows in instances), encoding="utf-8")
    return "--machine bios.machine"


def identity(serial="text:S1", maker="text:QOR Boards", date="text:20091204000000.000000+000"):
    return (f"Manufacturer = {maker}\nSerialNumber = {serial}\nDescription = text:BIOS Date: 12/04/09\n"
            f"SMBIOSBIOSVersion = text:F3a\nReleaseDate = {date}\n")


@table(
    ("a date and time", "text:20091204000000.000000+000", "2009-12-04"),
    ("time and zone not told", "text:20091204******.******+***", "2009-12-04"),
    ("no such month", "text:20091304000000.000000+000", None),
    ("no such day", "text:20090229000000.000000+000", None),
    ("another form", "text:12/04/2009", None),
    ("too short", "text:20091204", None),
    ("none", "null", None),
)
def test_a_release_date_is_iso_where_it_is_a_date(date, expected):
    machine = bios_machine(identity(date=date))
    row = answer_json(f"vxtctl bios {machine}")["bios"][0]
    same((row["release_date_iso"], row["release_date"]), (expected, date[5:] if date != "null" else None), date)


@case
def test_every_bios_is_shown_and_what_it_lacks_is_null():
    machine = bios_machine(identity(), identity(serial="null", maker="text:Sly \033[31m Boards"))
    rows = answer_json(f"vxtctl bios {machine}")["bios"]
    same([(row["id"], row["serial_number"], row["version"]) for row in rows], [("/bios/0", "S1", "F3a"), ("/bios/1", None, "F3a")], "rows")
    text = run(f"vxtctl bios {machine}").out
    check(re.search(r"Serial number +-$", text, re.M), text)
    check("\033" not in text and "Sly" in text, f"a terminal would obey {text!r}")
    same(run(f"vxtctl bios {bios_machine()}").code, 3, "no identity at all")


@table(
    ("clocks", "vxtctl clocks", "no clock generator"),
    ("a clock to set", "vxtctl clocks set external=200 --yes", "no clock generator"),
    ("voltages", "vxtctl voltages", "no voltage controller"),
    ("objects", "vxtdiag firmware", "nothing to tune"),
    ("setup items", "vxtdiag cmos", "nothing to tune"),
    ("a setup item to set", "vxtdiag cmos set 1=0 --yes", "nothing to tune"),
)
def test_a_machine_without_such_firmware_says_so(line, fragment):
    answer = run(f"{line} --machine family10h-ddr2")
    same((answer.code, answer.out), (3, ""), answer.err)
    check(fragment in answer.err, answer.err)


@case
def test_clocks_and_voltages_show_value_limits_and_list_in_their_units():
    machine = firmware_machine()
    document = answer_json(f"vxtctl clocks {machine}")
    external, pcie, third = document["clocks"]
    same((external["value"], external["default"], external["step"], external["limits"]), (200, 200, 5, {"min": 150, "max": 400}), "external")
    same(external["legal"], list(range(150, 401, 5)), "external list")
    same((pcie["value"], pcie["legal"], pcie["limits"]), (100, [100, 101, 102], {"min": 100, "max": 102}), "PCIe")
    same((third["value"], third["legal"], third["limits"], third["step"]), (33.333, None, {"min": 30, "max": 40}, 0.001), "third")
    text = run(f"vxtctl clocks {machine}").out
    check("150 155 160 ... 190 195 [200] 205 210 ... 390 395 400\n" in text, text)
    check("30 to 40, step 0.001" in text and "[100] 101 102" in text, text)

    document = answer_json(f"vxtctl voltages {machine}")
    same(document["device"], "/custom-pwm/0", "the device with the board's own voltages")
    same([(row["id"].rsplit("/", 1)[1], row["label"], row["value"], row["default"]) for row in document["voltages"]],
         [("memvddq", "MemVDDQ", 1.5, 1.5), ("nb_1_8_v", "NB (1.8 V)", 1.8, 1.8), ("nb_1_8_v_2", "NB 1.8-V", 1.2, 1.2),
          ("deaf", "Deaf", 1.1, 1.1), ("silent", "Silent", None, 1)], "voltages")
    same(document["voltages"][2]["limits"], {"min": None, "max": None}, "limits that rule out every value")


@table(
    ("a listed clock", "clocks set external=205", 0, [("external", "taken", 205)]),
    ("two clocks", "clocks set pcie=101 third=33.4", 0, [("pcie", "taken", 101), ("third", "taken", 33.4)]),
    ("the end of a clock's limits", "clocks set third=40", 0, [("third", "taken", 40)]),
    ("a voltage on its step", "voltages set memvddq=1.525", 0, [("memvddq", "taken", 1.525)]),
    ("a voltage that is no binary number", "voltages set memvddq=1.325", 0, [("memvddq", "taken", 1.325)]),
    ("forced where nothing is known", "voltages set nb_1_8_v=1.83 --force", 0, [("nb_1_8_v", "taken", 1.83)]),
    ("forced past the limits, refused", "voltages set memvddq=2.1 --force", 5, [("memvddq", "not_taken", 1.5)]),
    ("forced past the list, refused", "clocks set pcie=110 --force", 5, [("pcie", "not_taken", 100)]),
    ("a firmware that agrees and does nothing", "voltages set deaf=1.2", 5, [("deaf", "not_taken", 1.1)]),
    ("nothing after a change that went wrong", "voltages set deaf=1.2 memvddq=1.6", 5, [("deaf", "not_taken", 1.1), ("memvddq", "skipped", None)]),
    ("a voltage that cannot be read back", "voltages set silent=1.01", 1, [("silent", "failed", None)]),
    ("dry run", "clocks set external=205 --dry-run", 0, [("external", "planned", None)]),
)
def test_clocks_and_voltages_are_written_and_read_back(line, code, expected):
    found = changes(f"vxtctl {line} {'' if 'dry-run' in line else '--yes'} {firmware_machine()}", (code,))
    same([(row["id"].rsplit("/", 1)[1], row["outcome"], row["after"]) for row in found], expected, line)


@table(
    ("beside the list", "clocks set external=206", 2, "390 395 400"),
    ("above the limits", "clocks set third=40.5", 2, "30 to 40"),
    ("below the limits", "voltages set memvddq=1.2", 2, "1.3 to 2"),
    ("off the step", "voltages set memvddq=1.51", 2, "step 0.025"),
    ("neither list nor limits", "voltages set nb_1_8_v=1.8", 2, "neither a list nor limits"),
    ("limits that rule out every value", "voltages set nb_1_8_v_2=1.2", 2, "neither a list nor limits"),
    ("a word for a number", "clocks set third=on", 2, "takes a number"),
    ("a word for a number, forced", "clocks set third=on --force", 2, "takes a number"),
    ("one wrong of two", "clocks set pcie=101 external=1", 2, "external=1"),
    ("no such clock", "clocks set extern=200", 3, "no setting 'extern'"),
    ("no such voltage", "voltages set MemVDDQ=1.5", 3, "no setting 'MemVDDQ'"),
    ("no terminal to ask on", "clocks set external=205", 2, "--yes"),
)
def test_a_firmware_setting_that_is_not_known_to_be_legal_is_refused(line, code, fragment):
    yes = "" if fragment == "--yes" else "--yes"
    answer = run(f"vxtctl {line} {yes} --log {firmware_machine(DEAF_WRITES)}")
    same((answer.code, answer.out), (code, ""), answer.err)
    check(fragment in answer.err, answer.err)
    same(failed_writes(), 0, "writes")


DEAF_WRITES = """
[firmware answer SetValue]
fails = 1
[firmware command 00030004]
result = 05 00 00 00
"""


def failed_writes():
    """Takes the log and counts its lines about firmware writes that went wrong; DEAF_WRITES leaves one for each."""
    text = "".join(pathlib.Path(name).read_text(encoding="utf-8", errors="replace") for name in glob.glob("Logs/*/*/*.log"))
    shutil.rmtree("Logs", ignore_errors=True)
    return len(re.findall(r"in (?:CQORBIOSHandler::SetValue|CCMOSItemList::SetItemValue)\b", text))


@case
def test_a_dry_run_writes_nothing_to_the_firmware():
    machine = firmware_machine(DEAF_WRITES)
    for line in ("vxtctl clocks set external=205", "vxtctl voltages set memvddq=1.6", "vxtdiag cmos set 1=1"):
        for option, code, count in (("--dry-run", 0, 0), ("--yes", 5, 1)):
            same((run(f"{line} {option} --log {machine}").code, failed_writes()), (code, count), f"{line} {option}: code, writes")


@case
def test_firmware_shows_every_object_with_what_can_be_asked_of_it():
    document = answer_json(f"vxtdiag firmware {firmware_machine()} --fault seed=1,rate=100,kinds=fail")  # needs no driver
    same((document["interface_version"], document["vendor"], document["integrated_graphics"]), (3, "Test Boards", {"present": True, "information": 0x5A}), "board")
    check("0x00030004" in document["commands"] and document["findings"] == [], document)
    objects = {row["object_id"]: row for row in document["objects"]}
    same(list(objects), ["01010000", "01020000", "01030000", "02010000", "02070000", "02080000", "02090000", "020a0000"], "order")
    same([objects["01030000"][key] for key in ("name", "property", "value", "unit", "values", "info")],
         ["Third", 1, 33333, "kHz", [], [30000, 40000, 33333, 1]], "third clock")
    same((objects["01010000"]["values"][-1], objects["02010000"]["unit"]), (400000, "mV"), "list and unit")
    silent = objects["020a0000"]
    check(silent["value"] is None and "status 3" in silent["reason"], silent)
    one = answer_json("vxtdiag firmware 020A0000 --machine fw.machine")["objects"]
    same(one, [silent], "one object")
    sly = pathlib.Path("fw.machine").read_text(encoding="utf-8").replace("name = Deaf", "name = \033[31mDeaf").replace("name = Boot", "name = \033[31mBoot")
    pathlib.Path("sly.machine").write_text(sly, encoding="utf-8")
    for line in ("vxtctl voltages", "vxtdiag firmware", "vxtdiag cmos", "vxtdiag snapshot"):
        text = run(f"{line} --machine sly.machine").out
        check("[31m" in text and "\033" not in text, f"{line}: a terminal would obey {text!r}")
    for wanted in ("02990000", "voltage"):
        answer = run(f"vxtdiag firmware {wanted} --machine fw.machine")
        same(answer.code, 3, wanted)
        check(wanted in answer.err and "01010000" in answer.err, answer.err)


@table(
    ("the object list's length is a lie", "GetObjectID", "length = number:2147483647", "firmware", lambda d: d["objects"] == []),
    ("the object list's length is negative", "GetObjectID", "length = number:-1", "firmware", lambda d: d["objects"] == []),
    ("a value is text", "GetValue", "value = text:12", "firmware", lambda d: all(row["value"] is None for row in d["objects"])),
    ("a list's length is negative", "GetDValues", "length = number:-4", "firmware", lambda d: all(row["values"] is None for row in d["objects"])),
    ("a list is shorter than its length", "GetDValues", "length = number:60000", "firmware", lambda d: all(row["values"] is None for row in d["objects"])),
    ("the description is no array", "GetInfo", "x = null_numbers", "firmware", lambda d: all(row["info"] is None for row in d["objects"])),
    ("the version is text", "QueryVersion", "Version = text:1", "firmware", lambda d: d["interface_version"] is None),
    ("no command gives a result", "RunCMD", "Result = bytes:00", "firmware", lambda d: d["vendor"] is None and d["integrated_graphics"]["present"] is None),
    ("setup commands give no result", "RunCMD", "Result = null_bytes", "cmos", lambda d: d["items"] == []),
)
def test_a_garbled_answer_is_null_and_a_finding(method, answer, command, holds):
    machine = firmware_machine(f"[firmware answer {method}]\n{answer}\n")
    document = answer_json(f"vxtdiag {command} {machine}", (6,))
    check(document["findings"] and holds(document), document)
    for line in ("vxtctl clocks", "vxtctl voltages", "vxtctl bios", "vxtctl devices"):
        check(run(f"{line} {machine}").code in (0, 3), f"{line}: {run(f'{line} {machine}').err}")


@case
def test_setup_items_show_number_value_and_options():
    items = answer_json(f"vxtdiag cmos {firmware_machine()}")["items"]
    same([(row["number"], row["name"], row["value"], row["option"], row["options"]) for row in items],
         [(1, "Core Trim Boost", 0, "Disabled", ["Disabled", "Auto"]), (2, "Boot Delay", 7, None, []),
          (3, "Burst Length", 1, "4", ["2", "4", "8"]), (4, "BOOT DELAY", 5, None, ["A", "a"])], "items")
    check("0 Disabled, 1 Auto" in run("vxtdiag cmos --machine fw.machine").out, "options in the text")


@case
def test_a_hostile_item_description_stays_within_its_fields():
    described = "00 00 00 00 " + "1B " * 64 + "01 00 FF FF " + "41 " * 440
    machine = firmware_machine(f"[firmware command 00030002]\nresult = {described}\n")
    document = answer_json(f"vxtdiag cmos {machine}", (6,))
    for row in document["items"]:
        same((row["name"], row["options"]), ("?" * 64, ["A" * 22] * 20), "texts without terminators")
    machine = firmware_machine("[firmware command 00030001]\nresult = 00 00 00 00 FF FF FF FF\n")
    same(answer_json(f"vxtdiag cmos {machine}", (6,))["items"], [], "more items than can be")


@table(
    ("by name and option, any case", "'core trim boost=AUTO'", 0, [(1, "taken", 1)]),
    ("by numbers", "1=1", 0, [(1, "taken", 1)]),
    ("several", "1=Auto 2=255", 0, [(1, "taken", 1), (2, "taken", 255)]),
    ("an option that is called like a number", "3=8", 0, [(3, "taken", 2)]),
    ("a number where no option is called so", "3=0", 0, [(3, "taken", 0)]),
    ("forced past the options, refused", "1=5 --force", 5, [(1, "not_taken", 0)]),
    ("one item's failure is not another's", "1=5 2=9 --force", 5, [(1, "not_taken", 0), (2, "taken", 9)]),
    ("dry run", "1=1 --dry-run", 0, [(1, "planned", None)]),
)
def test_setup_items_are_written_and_read_back(words, code, expected):
    line = f"vxtdiag cmos set {words} {'' if 'dry-run' in words else '--yes'} {firmware_machine()}"
    found = changes(line, (code,))
    same([(int(row["id"].split("/")[2]), row["outcome"], row["after"]) for row in found], expected, words)
    if words.startswith("1=1"):
        check("0 (Disabled)" in run(line).out and "1 (Auto)" in run(line).out, "the options' texts beside the numbers")


@table(
    ("no such item", "Trim=1", 3, "no setup item 'Trim'"),
    ("item number zero", "0=1", 3, "no setup item '0'"),
    ("item number behind the last", "5=1", 3, "no setup item '5'"),
    ("two items of that name", "'boot delay=1'", 3, "exists twice"),
    ("two options of that name", "4=a", 3, "exists twice"),
    ("no such option", "1=On", 2, "0 Disabled, 1 Auto"),
    ("no option of that number", "1=2", 2, "--force"),
    ("number above a byte", "2=256", 2, "0 to 255"),
    ("number above a byte, forced", "2=256 --force", 2, "0 to 255"),
    ("negative number", "2=-1", 2, "'-1'"),
    ("empty option", "1=", 2, "no option ''"),
    ("not an assignment", "1", 2, "ITEM=OPTION"),
    ("one item by two names", "1=1 'core trim boost=0'", 2, "named twice"),
    ("no terminal to ask on", "1=1", 2, "--yes"),
)
def test_a_setup_change_that_makes_no_sense_is_refused(words, code, fragment):
    answer = run(f"vxtdiag cmos set {words} {'' if fragment == '--yes' else '--yes'} --log {firmware_machine(DEAF_WRITES)}")
    same((answer.code, answer.out), (code, ""), answer.err)
    check(fragment in answer.err, answer.err)
    same(failed_writes(), 0, "writes")


@case
def test_a_snapshot_keeps_the_firmware_and_the_identity():
    for machine in ("fw.machine", "bios.machine", "family10h-ddr3"):
        firmware_machine()
        bios_machine(identity(), identity(serial="null"))
        lines = ["vxtctl bios"]
        if machine != "bios.machine":
            lines += ["vxtctl clocks", "vxtctl voltages", "vxtdiag firmware", "vxtdiag cmos"]
        counts = answer_json(f"vxtdiag snapshot copy.machine --machine {machine}")
        same((counts["firmware_objects"] > 0, counts["setup_items"] > 0), (machine != "bios.machine",) * 2, f"{machine}: what was found")
        for line in lines:
            same(answer_json(f"{line} --machine copy.machine"), answer_json(f"{line} --machine {machine}"), f"{machine}: {line}")
        if machine == "fw.machine":
            check(answer_json("vxtdiag firmware --machine copy.machine")["objects"][-1]["value"] is None, "a refused value")


# --- diagnostics --------------------------------------------------------------------------------------------------------------

@case
def test_a_snapshot_of_every_machine_shows_the_same_devices_again():
    clocks = {"core_clock", "reference_clock"}
    for machine in machines():
        same(run(f"vxtdiag snapshot copy.machine --machine {machine}").code, 0, machine)
        for command in ("devices", "cpu"):
            first, second = (answer_json(f"vxtctl {command} --machine {name}") for name in (machine, "copy.machine"))
            for one, other in zip(quantities(first), quantities(second)):
                if one["id"].rsplit("/", 1)[-1] in clocks:
                    check(abs(one["value"] / other["value"] - 1) < 1e-3, f"{machine}: {one} and {other}")
                    one["value"] = other["value"]
            same(second, first, f"{machine} {command}")
        same(answer_json("vxtdiag pci --machine copy.machine")["functions"], answer_json(f"vxtdiag pci --machine {machine}")["functions"], machine)


@case
def test_a_snapshot_has_the_contents_of_the_machine_it_was_taken_of():
    def sections(text):
        found = {}
        for line in text.splitlines():
            line = line.split("#")[0].strip().lower()
            if line.startswith("["):
                rows = found.setdefault(line, [])
            elif line:
                rows.append(" ".join(line.split()))
        return found
    for machine in machines():
        original = sections((SOURCE / f"machines/{machine}.machine").read_text(encoding="utf-8"))
        copied = sections(run(f"vxtdiag snapshot --machine {machine}").out)
        for name, rows in original.items():
            if name == "[cpuid]":
                missing = [row for row in copied[name] if row not in rows and not row.endswith("= " + " ".join(["00000000"] * 4))]
                same(([row for row in rows if row not in copied[name]], missing), ([], []), f"{machine} {name}")
            elif name.startswith("[pci"):
                whole = [row for row in rows if len(row.split()) == 17 and set(row.split()[1:]) != {"00"}]
                same([row for row in whole if row not in copied.get(name, [])], [], f"{machine} {name}")
                check(name in copied, f"{machine}: {name} is missing")
            elif name.startswith(("[smbus", "[dram_data")):
                same(copied.get(name), rows, f"{machine} {name}")
        for core in range(int(next(row for row in original["[machine]"] if row.startswith("cores")).split()[2])):
            def registers(found):
                rows = found["[msr]"] + found.get(f"[msr core {core}]", [])  # the core's own wins
                return {row.split()[0]: int(row.split()[2], 16) for row in rows}
            copy = registers(copied)
            same({index: copy.get(index) for index in registers(original)}, registers(original), f"{machine} MSRs of core {core}")


@case
def test_a_snapshot_that_misses_something_says_so_by_its_exit_code():
    codes = set()
    for seed in range(1, 12):
        answer = run(f"vxtdiag snapshot copy.machine --json --fault seed={seed},rate=1,kinds=fail")
        codes.add(answer.code)
        if answer.code in (0, 6):
            document = json.loads(answer.out)
            same(answer.code == 6, bool(document["findings"]), f"seed {seed}")
            same(run("vxtdiag --machine copy.machine acpi").code, 0, "the incomplete file loads")
    check(6 in codes, f"no seed gave a finding: {codes}")


@case
def test_dumps_are_the_bytes_of_the_json_in_lines_of_sixteen():
    def dumped(text):
        rows = [line.split(": ") for line in text.splitlines() if re.match(r"^[0-9a-f]{2,}: ", line)]
        same([int(offset, 16) for offset, _ in rows], list(range(0, 16 * len(rows), 16)), "offsets")
        return "".join(data.replace(" ", "") for _, data in rows)
    for row in answer_json("vxtdiag acpi")["tables"]:
        data = answer_json(f"vxtdiag acpi {row['signature'].lower()}")["tables"][0]["data"]
        same(len(data), 2 * row["length"], row["id"])
        same(sum(bytes.fromhex(data)) % 256, 0, f"sum of {row['id']}")
        same(dumped(run(f"vxtdiag acpi {row['signature']}").out), data, row["id"])
    for address, size in (("00:18.2", 4096), ("00:14.0", 256)):  # with and without an extended part
        data = answer_json(f"vxtdiag pci {address}")["functions"][0]["data"]
        same(len(data), 2 * size, address)
        same(dumped(run(f"vxtdiag pci {address.upper()}").out), data, address)


# --- help, completion, manual page ----------------------------------------------------------------------------------------------

@case
def test_help_begins_with_examples_and_every_example_works():
    helps = ["vxtctl", "vxtctl devices", "vxtctl device", "vxtctl cpu", "vxtctl cpu set", "vxtctl memory", "vxtctl memory set", "vxtctl links",
             "vxtctl links set", "vxtctl northbridge", "vxtctl bios", "vxtctl clocks", "vxtctl clocks set", "vxtctl voltages", "vxtctl voltages set",
             "vxtdiag", "vxtdiag snapshot", "vxtdiag acpi", "vxtdiag pci", "vxtdiag firmware", "vxtdiag cmos", "vxtdiag cmos set", "vxtdiag machines"]
    same(run("vxtdiag snapshot my-pc.machine").code, 0, "the file that an example replays")
    for command in helps:
        answer = run(command + " --help")
        same((answer.code, answer.err), (0, ""), command)
        check(answer.out.startswith("Examples:\n"), f"{command} --help begins with {answer.out[:40]!r}")
        for line in itertools.takewhile(lambda line: line.startswith("  "), answer.out.splitlines()[1:]):
            example = re.split(r"\s{2,}|\s>", line.strip())[0]
            if "cpu set" in example and "--yes" not in example:
                example += " --dry-run"
            if example.count("--dry-run") > 1:
                example = example.replace("--dry-run", "", 1)
            answer = run(example)
            check(answer.code in (0, 5), f"{example}: exit code {answer.code}, {answer.err}")


@case
def test_completion_knows_commands_options_and_choices():
    script = run("vxtctl completion bash").out
    for words, expected in ((["de"], {"devices", "device"}), (["cpu", "s"], {"set"}), (["cpu", "set", "--mu"], {"--multiplier"}),
                            (["--color", "al"], {"always"}), (["completion", ""], {"bash", "-h", "--help"}), (["devices", "--js"], {"--json"}),
                            (["--json", "cp"], {"cpu"})):
        line = " ".join(shlex.quote(word) for word in ["vxtctl", *words])
        result = subprocess.run(["bash", "-c", f"{script}\nCOMP_WORDS=({line}); COMP_CWORD={len(words)}; _vxtctl; printf '%s\\n' \"${{COMPREPLY[@]}}\""],
                                capture_output=True, text=True, check=False)
        same((set(result.stdout.split()), result.stderr), (expected, ""), str(words))


@case
def test_the_manual_page_tells_every_command_and_option_of_the_help():
    for tool in TOOLS:
        page = run(f"{tool} man").out.replace("\\-", "-")
        words = set(re.findall(r"^  (?:-\w,)?(--?[\w-]+|[a-z]+)", run(f"{tool} --help").out, re.M)) - {tool}
        check(len(words) > 10, str(words))
        for word in words:
            check(word in page, f"{tool} man lacks {word}")
        check("EXIT STATUS" in page and all(f"\\fB{code}\\fR" in page for code in (0, 1, 2, 3, 4, 5, 6, 130)), "exit codes")


def main():
    words = sys.argv[2:]
    passed = failed = 0
    start = os.getcwd()
    for tool in TOOLS:
        if not os.access(FOLDER / tool, os.X_OK):
            print(f"FAILED: {FOLDER / tool} is not built\n0 passed, 1 failed")
            return 1
    for name, function in CASES:
        if not all(word in name for word in words):
            continue
        with tempfile.TemporaryDirectory() as folder:
            os.chdir(folder)
            try:
                function()
                passed += 1
            except Exception as error:  # whatever goes wrong in a case is that case's failure
                failed += 1
                print(f"FAILED {name}: {type(error).__name__ if not isinstance(error, AssertionError) else ''} {error}")
            os.chdir(start)
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
