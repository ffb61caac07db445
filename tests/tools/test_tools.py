"""End-to-end tests of vxtctl and vxtdiag as their users run them, on simulated PCs."""

import glob
import itertools
import json
import pathlib
import re
import shlex
import signal
import subprocess

import pytest

from tools import (DEAF_WRITES, FIRMWARE, FOLDER, MACHINES, SOURCE, TOOLS, answer, driver_writes, failed_writes, parsed, quantities, read, reading, run, run_on_terminal, settings, table, write)


# --- errors and exit codes -------------------------------------------------------------------------------------------------

@pytest.mark.rows("tools_refusals.txt")
def test_a_refused_command_line_has_its_exit_code_names_what_is_wrong_and_writes_nothing(code, line, fragment):
    write("fw.machine", FIRMWARE + DEAF_WRITES)
    found = run(line + " --log" * ("fw.machine" in line and " set " in line))
    assert (found.code, found.out) == (int(code), ""), found.err
    assert fragment in found.err and line.split()[0] + ": " in found.err
    assert failed_writes() == 0


@table("text, place", [("[machine]\nname = x\n\n[toaster]\n", "bad.machine:4"), ("[machine]\nname = x\n[pci 00:00.0]\n00: 22 1\n", "bad.machine:4"), ("", "bad.machine:")])
def test_a_bad_machine_file_is_reported_with_file_and_line_by_both_tools(text, place):
    write("bad.machine", text)
    for found in (run("vxtctl --machine bad.machine devices"), run("vxtdiag --machine bad.machine pci")):
        assert found.code == 4 and place in found.err and "expected" in found.err


def test_a_library_without_the_exports_is_refused_by_the_name_of_the_export():
    other = next(path for path in re.findall(r"/\S+\.so\S*", pathlib.Path("/proc/self/maps").read_text()) if "libc" in path)
    found = run(f"vxtctl --library {other} devices")
    assert found.code == 4 and "no export InitVXTAPI" in found.err


@table("line", ["vxtctl devices", "vxtdiag pci"])
def test_a_log_that_cannot_be_written_is_said_before_anything_is_done(line):
    write("Logs", "a file")
    found = run(f"{line} --log")
    assert (found.code, found.out) == (1, "") and re.match(r"vxt\w+: cannot write the log below \./Logs: \w.*\n$", found.err)


def test_a_reader_that_has_seen_enough_is_no_error():
    found = subprocess.run(f"'{FOLDER}/vxtdiag' snapshot | head -n 1", shell=True, capture_output=True, check=False)
    assert (found.stdout, found.stderr) == (b"[begin]\n", b"")


def test_a_full_disk_is_a_failure_and_does_not_hide_what_was_changed():
    found = run("vxtctl cpu set --core 0 --multiplier 10 --yes --quiet --output /dev/full")
    assert found.code == 1 and "No space left" in found.err and re.search(r"core 0 +Multiplier +15 +10 +10 +taken", found.err)


# --- what is shown ------------------------------------------------------------------------------------------------------------

def test_every_command_fits_the_schema_with_the_same_ids_on_every_machine():
    shapes = {}
    for machine in MACHINES:
        for command in ("vxtctl", "vxtctl devices", "vxtctl device cpu", "vxtctl cpu 0", "vxtctl links", "vxtctl bios", "vxtctl sensors", "vxtctl cpu set --multiplier 8 --dry-run",
                        "vxtdiag pci", "vxtdiag acpi", "vxtdiag acpi FACP", "vxtdiag pci 00:18.3", "vxtdiag snapshot"):
            answer(f"{command} --machine {machine}", 6 if (command, machine) == ("vxtdiag acpi", "k8-first") else 0)  # a table with a wrong sum
        for core in answer(f"vxtctl cpu --machine {machine}")["cores"]:
            shape = [(re.sub(r"/\d+", "/*", row["id"]), row["label"], row["unit"]) for row in core["readings"]]
            assert shape == shapes.setdefault("cpu", shape), machine
        details = answer(f"vxtdiag cpu 0 --machine {machine}")["cores"][0]
        for key, shape in (("details", [row["id"] for row in details["features"] + details["caches"] + details["limits"]]), ("memory", list(settings(machine)))):
            assert shape == shapes.setdefault(key, shape), machine
    for command in ("vxtctl clocks", "vxtctl voltages", "vxtdiag firmware", "vxtdiag firmware 01010000", "vxtdiag cmos", "vxtctl northbridge"):
        answer(command)
    assert [row["name"] for row in answer("vxtdiag machines")["machines"]] == MACHINES


def test_the_present_value_of_a_setting_is_among_its_legal_values():
    for machine in MACHINES:
        links = answer(f"vxtctl links --machine {machine}")["links"]
        assert any(row["value"] for row in links[0]["settings"]), f"{machine}: nothing is known of link 0"
        assert len(links) == (3 if machine.startswith(("k8", "desktop-a")) else 4), machine
        for row in [*settings(machine).values(), *(row for link in links for row in link["settings"])]:
            assert row["value"] is None or row["legal"] is None or row["value"] in row["legal"], (machine, row)
    assert [settings(machine)["trfc0"]["unit"] for machine in ("k8-first", "family10h-ddr3")] == ["clocks", "ns"]  # DDR's counts clocks


def test_no_stand_in_for_a_missing_reading_leaves_the_tools():
    seen = set()
    for machine in MACHINES:
        for quantity in quantities([answer(f"vxtctl --machine {machine}"), answer(f"vxtdiag cpu --machine {machine}")]):
            seen.add(quantity["status"])
            if quantity["status"] == "ok":
                assert quantity["reason"] is None
                assert quantity["value"] > 0 or quantity["id"].endswith(("pstate", "usage", "offset")), (machine, quantity)
            else:
                assert quantity["value"] is None and quantity["reason"], (machine, quantity)
        for command in ("vxtctl", "vxtctl cpu", "vxtctl devices", "vxtctl bios", "vxtctl clocks", "vxtctl voltages", "vxtdiag cpu"):
            text = run(f"{command} --machine {machine}").out
            assert not re.search(r"-9999|-1\.0|\bnan\b|\binf\b|4294967", text), (machine, command)
    assert {"ok", "unavailable"} <= seen


@table("kind", ["ones", "zero", "fail"])
def test_a_flaky_driver_never_gives_a_wrong_shape_or_a_crash(kind):
    for seed in range(1, 9):
        found = run(f"vxtctl --json --fault seed={seed},rate=4,kinds={kind}")
        assert found.code in (6, 4) and "fault: read of " in found.err, f"seed {seed}: {found}"
        if found.code == 6:
            assert parsed(found.out)["findings"], f"seed {seed}"


@table("line", ["vxtctl devices", "vxtctl device cpu", "vxtctl cpu", "vxtctl memory", "vxtctl links", "vxtctl northbridge", "vxtctl sensors", "vxtdiag pci", "vxtdiag acpi", "vxtdiag cpu"])
def test_an_answer_that_misses_something_never_looks_whole(line):
    for machine, kinds, seed in itertools.product(("k8-revf-dual", "family10h-ddr3"), ("fail", "zero"), range(1, 4)):
        found = run(f"{line} --machine {machine} --fault seed={seed},rate=2,kinds={kinds}")
        if "fault: " in found.err:
            assert found.code in (1, 4, 6) or (found.code == 3 and machine == "k8-revf-dual" and "northbridge" in line), (machine, kinds, seed, found)
            assert "that the library knows" not in found.err or found.code == 3, found.err


@table("line", ["vxtctl cpu", "vxtctl links", "vxtctl memory", "vxtctl sensors"])
def test_a_wrong_answer_to_the_last_requests_is_a_finding_too(line):
    write("few.machine", "[machine]\nbased_on = family10h-ddr3\nwithout = smbus, pci 00:14.0\n")  # modules are asked at the start, in many requests
    faults = " --machine few.machine --fault seed=462,rate=1,kinds=ones"
    assert run("vxtctl devices" + faults)[::2] == (0, ""), "the library starts well"
    assert any("went wrong" in finding for finding in answer(line + faults, 6)["findings"])


def test_missing_cores_are_counted():
    found = answer("vxtctl devices --fault seed=3,rate=3,kinds=fail", 6)
    cores = len([row for row in found["devices"] if row["id"].startswith("/cpu/")])
    assert cores < 4 and f"{4 - cores} of 4 processor cores could not be read" in found["findings"]


def test_more_cores_than_the_library_lists_are_said():
    write("many.machine", read(SOURCE / "machines/family10h-ddr3.machine").replace("cores = 4", "cores = 20"))
    found = run("vxtctl devices --machine many.machine")
    assert (found.code, found.out.count("\ncpu/")) == (0, 16) and "16 of this machine's 20 cores" in found.err


def test_the_overview_shows_inventory_cores_and_pstates():
    text, document = run("vxtctl").out, answer("vxtctl")
    for word in [*(device["id"][1:] for device in document["devices"]), *(device["name"] for device in document["devices"]),
                 document["cores"][0]["brand"], "P-states, cores 0-3", "Cores", "Voltage", "MHz"]:
        assert word in text


@table("machine, expected, pstates", [
    ("family10h-ddr3", {"multiplier": 15, "core_voltage": 1.35, "current_pstate": 0, "max_pstate": 3, "nb_voltage": 1.175, "temperature": 35, "max_ramp_voltage": None, "thermal_trip_offset": None}, 4),
    ("family11h-mobile", {"multiplier": 10.5, "core_voltage": 1.2, "current_pstate": 0, "max_pstate": 2, "temperature": 49, "thermal_trip_offset": None}, 3),
    ("k8-revf-dual", {"multiplier": 10.5, "core_voltage": 1.25, "start_voltage": 1.1, "max_ramp_voltage": 1.3, "current_pstate": None, "max_pstate": None}, 0),
    ("k8-first", {"multiplier": 10, "core_voltage": 1.35, "temperature": None, "thermal_trip_offset": 12, "nb_multiplier": None}, 0),
])
def test_a_core_shows_what_its_registers_say_in_json_and_text(machine, expected, pstates):
    core = answer(f"vxtctl cpu 0 --machine {machine}")["cores"][0]
    assert {key: reading(core, f"/cpu/0/{key}")["value"] for key in expected} == expected
    clock, reference, multiplier = (reading(core, f"/cpu/0/{key}")["value"] for key in ("core_clock", "reference_clock", "multiplier"))
    assert 195 < reference < 205 and clock == pytest.approx(reference * multiplier, abs=1e-3)
    text = run(f"vxtctl cpu 0 --machine {machine}").out
    for row in core["readings"]:
        line = next(line for line in text.splitlines() if line.strip().startswith(row["label"] + " "))
        assert (row["value"] is None) == line.endswith("-"), line
        assert row["value"] is not None or re.search(f"{row['label']} +{re.escape(row['reason'])}$", text, re.M), row["id"]
    assert (len(core["pstates"]), "P-states," in text) == (pstates, pstates > 0)


@table("raw, value, status", [("50", 31, "ok"), ("10", None, "out_of_range"), ("31", None, "unavailable")])
def test_a_temperature_is_shown_only_when_there_can_be_one(raw, value, status):
    # Revision F before model 60h: bits 23:16 of the thermal register, less 49 degrees; read unsigned; 0 without a sensor.
    machine = run("vxtdiag snapshot --machine k8-revf-dual").out.replace("= 00060FB1", "= 00040FB1")
    write("cold.machine", machine.replace("E0: 00 00 00 00 3E A0 41 00", f"E0: 00 00 00 00 3E A0 {raw} 00"))
    found = reading(answer("vxtctl cpu 1 --machine cold.machine"), "/cpu/1/temperature")
    assert (found["value"], found["status"]) == (value, status)


def test_a_processor_that_states_no_maximum_multiplier_has_no_limit():
    core = answer("vxtctl cpu 0 --machine family11h-mobile")["cores"][0]
    maximum = reading(core, "/cpu/0/max_multiplier")
    assert (core["multiplier_limited"], maximum["value"], maximum["reason"]) == (False, None, "this processor states no limit")
    assert reading(core, "/cpu/0/multiplier")["limits"]["max"] is None
    assert re.search(r"multiplier limit +none", run("vxtctl cpu 0 --machine family11h-mobile").out)


@table("machine, texts, expected, lacks", [
    ("family10h-ddr3", ("0x00100f42", "RB-C2", None), {"l1_data_size": 64, "l2_size": 512, "l2_ways": 16, "nominal_clock": 3000, "pstate0_multiplier": 15, "start_multiplier": 4, "max_ramp_voltage": None}, ["frequency_id_control", "voltage_id_control"]),
    ("family11h-mobile", ("0x00200f30", None, None), {"l1_code_tlb_ways": None, "start_voltage": 1.55, "min_voltage": 0.75, "max_voltage": 1.2}, None),
    ("k8-first", ("0x00020ff0", "DH-E3", "939"), {"l1_data_tlb_entries": 8, "l1_data_line_size": 64, "min_voltage": 1.1, "max_voltage": 1.4, "pstate0_multiplier": None}, ["threads", "rdtscp", "several_cores"]),
])
def test_a_cores_details_are_what_its_cpuid_and_registers_say(machine, texts, expected, lacks):
    core = answer(f"vxtdiag cpu 0 --machine {machine}")["cores"][0]
    assert (core["signature"], core["revision"], core["socket"]) == texts
    assert {key: reading(core, f"/cpu/0/{key}")["value"] for key in expected} == expected
    missing = [row["label"] for row in core["features"] if not row["supported"]]
    assert lacks is None or [row["id"].rsplit("/", 1)[1] for row in core["features"] if not row["supported"]] == lacks
    assert re.search(rf"Features it lacks +{', '.join(missing) or '-'}$", run(f"vxtdiag cpu 0 --machine {machine}").out, re.M)


# --- where it goes -----------------------------------------------------------------------------------------------------------

@table("line", ["vxtctl devices", "vxtctl devices --json", "vxtctl devices --csv", "vxtdiag snapshot", "vxtdiag pci 00:18.3"])
def test_output_to_a_file_is_what_stdout_would_show(line):
    assert run(line + " --output answer.txt")[:2] == (0, "")
    assert read("answer.txt") == run(line).out


def test_a_failing_command_neither_leaves_an_empty_file_nor_spoils_an_old_one():
    write("old.txt", "precious")
    for name in ("new.txt", "old.txt"):
        run(f"vxtctl device gpu --output {name}")
    assert not pathlib.Path("new.txt").exists() and read("old.txt") == "precious"


@table("terminal, line, no_color, coloured", [
    (True, "vxtctl devices", "", True), (True, "vxtctl devices", "1", False), (True, "vxtctl devices --color never", "", False),
    (True, "vxtctl devices --json", "", False), (False, "vxtctl devices", "", False), (False, "vxtctl devices --color always", "1", True),
])
def test_colour_is_for_terminals_unless_asked_otherwise(terminal, line, no_color, coloured):
    found = (run_on_terminal if terminal else run)(line, env={"NO_COLOR": no_color})
    assert (found.code, "\033[" in found.out) == (0, coloured)


def test_quiet_silences_remarks_and_keeps_errors():
    assert "Planned" in run("vxtctl cpu set --pstate 1 --yes").err and run("vxtctl device gpu --quiet").err
    assert run("vxtctl cpu set --pstate 1 --yes --quiet").err == ""


@table("line, name", [("vxtctl devices", "VXTAPI"), ("vxtdiag pci", "VXTDIAG")])
def test_only_log_writes_the_log_folder(line, name):
    assert run(line).code == 0 and not pathlib.Path("Logs").exists()
    assert run(line + " --log").code == 0 and glob.glob(f"Logs/{name}/*/{name}_*.log")


# --- writing to the hardware --------------------------------------------------------------------------------------------------

@pytest.mark.rows("tools_changes.txt")
def test_set_reports_what_was_asked_and_what_the_hardware_took(code, line, expected):
    found = answer(line, int(code))["changes"]
    told = [f"{row['id']} {row['outcome']} {'-' if row['after'] is None else f'''{row['after']:g}'''}" for row in found]
    assert ", ".join(told) == expected
    for row in found:
        assert (row["reason"] is None) == (row["outcome"] in ("taken", "planned")), row


def test_all_cores_are_set_unless_one_is_named():
    for option, cores in (("", range(4)), ("--core 2", (2,))):
        assert [row["id"] for row in answer(f"vxtctl cpu set --pstate 1 --yes {option}")["changes"]] == [f"/cpu/{core}/current_pstate" for core in cores]


@table("line, look, asked", [
    ("vxtctl cpu set --core 1 --multiplier 8", "vxtctl device cpu:1", 8),
    ("vxtctl memory set tcl=2 --machine k8-first", "vxtctl memory --machine k8-first", 2),
])
def test_a_dry_run_plans_the_same_and_writes_nothing_to_the_driver(line, look, asked):
    assert driver_writes(line + " --dry-run") == driver_writes(look)
    assert len(driver_writes(line + " --yes")) > len(driver_writes(look))
    row = answer(line + " --dry-run")["changes"][0]
    assert (row["outcome"], row["asked"], row["after"]) == ("planned", asked, None) and row["before"] is not None


def test_a_timing_change_writes_no_bit_that_was_not_named():
    # Registers 88h and 8Ch of function 2. Several codes of the refresh interval (bits 12:8 of the second) mean 7.8 us.
    assert "35 33 72 13 31 0b 00 00" in read(SOURCE / "machines/k8-first.machine")
    assert driver_writes("vxtctl memory set tcl=2 --yes --machine k8-first") == [("PCI 00:18.2 offset 88h", "31337213310B0000")]


@table("machine, setting", [("k8-first", "trfc1=12"), ("k8-first", "power_down=on"), ("k8-first", "trtp=3"), ("k8-first", "ganged=off"),
                            ("family11h-mobile", "data_drive_b=1.5"), ("family11h-mobile", "trfc2=105"), ("family10h-ddr3", "trfc3=110"), ("family10h-ddr3", "twcl=1")])
def test_a_memory_setting_that_the_machine_lacks_is_not_writable_and_refused_before_any_write(machine, setting):
    key = setting.split("=")[0]
    row = settings(machine)[key]
    assert not row["writable"] and (row["value"] is None) == bool(row["reason"])
    line = f"vxtctl memory set tcl=2 {setting} --force --yes --machine {machine}"
    found = run(line)
    assert found.code == 3 and f"'{key}' cannot be set" in found.err
    assert machine != "k8-first" or driver_writes(line) == []  # the others' devices do not start without any write


@table("line", ["vxtctl clocks set external=205", "vxtctl voltages set memvddq=1.6", "vxtdiag cmos set 1=1"])
def test_a_dry_run_writes_nothing_to_the_firmware(line):
    write("fw.machine", FIRMWARE + DEAF_WRITES)
    for option, expected in (("--dry-run", (0, 0)), ("--yes", (5, 1))):
        assert (run(f"{line} {option} --log --machine fw.machine").code, failed_writes()) == expected


def test_a_flaky_driver_never_makes_a_failed_change_look_taken():
    row = answer("vxtctl cpu set --core 0 --pstate 1 --yes --fault seed=1,rate=100,kinds=drop", 5)["changes"][0]
    assert (row["outcome"], row["after"]) == ("not_taken", 0)
    seen = set()
    for seed in range(1, 31):
        found = run(f"vxtctl cpu set --core 1 --multiplier 8 --yes --json --fault seed={seed},rate=3,kinds=fail+zero")
        if not found.out or "changes" not in found.out:
            continue  # the fault hit the start
        row = json.loads(found.out)["changes"][0]
        seen.add(row["outcome"])
        assert found.code == {"taken": 0, "failed": 1, "not_taken": 5}[row["outcome"]], f"seed {seed}"
        assert (row["reason"] is None) == (row["outcome"] == "taken") and (row["outcome"] != "taken" or row["after"] == 8), f"seed {seed}: {row}"
    assert {"taken", "failed"} <= seen


@table("signal", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_a_signal_amid_a_set_lets_the_core_at_hand_finish_and_names_the_others(signal):
    # A value that the hardware rounds is waited for: time enough for the signal to come while core 0 is at it.
    child = subprocess.Popen([FOLDER / "vxtctl", *"cpu set --multiplier 7.3 --force --yes --json".split()], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    assert "Planned changes" in child.stderr.readline()
    child.send_signal(signal)
    out, err = child.communicate(timeout=60)
    rows = parsed(out)["changes"]
    assert child.returncode == 130 and [row["outcome"] for row in rows][-1] == "skipped"
    for row in rows:
        assert (row["reason"], row["after"]) == ("interrupted", None) if row["outcome"] == "skipped" else row["after"] == 15, row
    assert re.search(r"interrupted; .*not written: .*core 3", err)


@table("typed, code, fragment", [("y\n", 0, "taken"), ("yes\n", 0, "taken"), ("n\n", 1, "nothing was written"), ("\n", 1, "nothing was written"),
                                 ("\x04", 1, "nothing was written"), ("\x03", 130, "nothing was written")])
def test_on_a_terminal_the_plan_is_shown_and_asked_about(typed, code, fragment):
    found = run_on_terminal("vxtctl cpu set --core 0 --pstate 1", typed)
    assert found.code == code
    assert fragment in found.out and "Planned changes" in found.out and "[0] 1 2 3" in found.out


# --- the firmware ---------------------------------------------------------------------------------------------------------------

def bios_machine(*instances):
    """A machine with these BIOS identities alone."""
    write("bios.machine", "[machine]\nbased_on = family10h-ddr2\nwithout = wmi\n" + "".join("[wmi root\\cimv2 Win32_BIOS]\n" + rows for rows in instances))
    return "--machine bios.machine"


def identity(serial="text:S1", maker="text:QOR Boards", date="text:20091204000000.000000+000"):
    return (f"Manufacturer = {maker}\nSerialNumber = {serial}\nDescription = text:BIOS Date: 12/04/09\n"
            f"SMBIOSBIOSVersion = text:F3a\nReleaseDate = {date}\n")


@table("date, expected", [("20091204000000.000000+000", "2009-12-04"), ("20091204******.******+***", "2009-12-04"), ("20091304000000.000000+000", None),
                          ("20090229000000.000000+000", None), ("12/04/2009", None), ("20091204", None), (None, None)])
def test_a_release_date_is_iso_where_it_is_a_date(date, expected):
    row = answer("vxtctl bios " + bios_machine(identity(date=f"text:{date}" if date else "null")))["bios"][0]
    assert (row["release_date_iso"], row["release_date"]) == (expected, date)


def test_every_bios_is_shown_and_what_it_lacks_is_null():
    line = "vxtctl bios " + bios_machine(identity(), identity(serial="null", maker="text:Sly \033[31m Boards"))
    assert [(row["id"], row["serial_number"], row["version"]) for row in answer(line)["bios"]] == [("/bios/0", "S1", "F3a"), ("/bios/1", None, "F3a")]
    text = run(line).out
    assert re.search(r"Serial number +not told$", text, re.M) and "Sly" in text and "\033" not in text
    assert run("vxtctl bios " + bios_machine()).code == 3


def test_clocks_and_voltages_show_value_limits_and_list_in_their_units():
    external, pcie, third = answer("vxtctl clocks --machine fw.machine")["clocks"]
    assert (external["value"], external["default"], external["step"], external["limits"], external["legal"]) == (200, 200, 5, {"min": 150, "max": 400}, list(range(150, 401, 5)))
    assert (pcie["value"], pcie["legal"], pcie["limits"]) == (100, [100, 101, 102], {"min": 100, "max": 102})
    assert (third["value"], third["legal"], third["limits"], third["step"]) == (33.333, None, {"min": 30, "max": 40}, 0.001)
    text = run("vxtctl clocks --machine fw.machine").out
    assert "150 155 160 ... 190 195 [200] 205 210 ... 390 395 400\n" in text and "30 to 40, step 0.001" in text and "[100] 101 102" in text
    document = answer("vxtctl voltages --machine fw.machine", 6)
    assert document["findings"] == ["/custom-pwm/0/silent: the firmware gives no value"]
    assert document["device"] == "/custom-pwm/0"
    assert ([(row["id"].rsplit("/", 1)[1], row["label"], row["value"], row["default"]) for row in document["voltages"]] ==
            [("memvddq", "MemVDDQ", 1.5, 1.5), ("nb_1_8_v", "NB (1.8 V)", 1.8, 1.8), ("nb_1_8_v_2", "NB 1.8-V", 1.2, 1.2), ("deaf", "Deaf", 1.1, 1.1), ("silent", "Silent", None, 1)])
    assert document["voltages"][2]["limits"] == {"min": None, "max": None}  # those told rule out every value


def test_firmware_shows_every_object_with_what_can_be_asked_of_it():
    document = answer("vxtdiag firmware --machine fw.machine --fault seed=1,rate=100,kinds=fail")  # needs no driver
    assert (document["interface_version"], document["vendor"], document["integrated_graphics"], document["findings"]) == (3, "Test Boards", {"present": True, "information": 0x5A}, [])
    assert "0x00030004" in document["commands"]
    objects = {row["object_id"]: row for row in document["objects"]}
    assert list(objects) == ["01010000", "01020000", "01030000", "02010000", "02070000", "02080000", "02090000", "020a0000"]
    assert [objects["01030000"][key] for key in ("name", "property", "value", "unit", "values", "info")] == ["Third", 1, 33333, "kHz", [], [30000, 40000, 33333, 1]]
    assert (objects["01010000"]["values"][-1], objects["02010000"]["unit"]) == (400000, "mV")
    silent = objects["020a0000"]
    assert silent["value"] is None and "status 3" in silent["reason"]
    assert answer("vxtdiag firmware 020A0000 --machine fw.machine")["objects"] == [silent]


@table("line", ["vxtctl voltages", "vxtdiag firmware", "vxtdiag cmos", "vxtdiag snapshot"])
def test_texts_of_the_firmware_cannot_steer_a_terminal(line):
    write("sly.machine", FIRMWARE.replace("name = Deaf", "name = \033[31mDeaf").replace("name = Boot", "name = \033[31mBoot"))
    text = run(f"{line} --machine sly.machine").out
    assert "[31m" in text and "\033" not in text


@table("method, reply, command, holds", [
    ("GetObjectID", "length = number:2147483647", "firmware", lambda d: d["objects"] == []),
    ("GetObjectID", "length = number:-1", "firmware", lambda d: d["objects"] == []),
    ("GetValue", "value = text:12", "firmware", lambda d: all(row["value"] is None for row in d["objects"])),
    ("GetDValues", "length = number:-4", "firmware", lambda d: all(row["values"] is None for row in d["objects"])),
    ("GetDValues", "length = number:60000", "firmware", lambda d: all(row["values"] is None for row in d["objects"])),
    ("GetInfo", "x = null_numbers", "firmware", lambda d: all(row["info"] is None for row in d["objects"])),
    ("QueryVersion", "Version = text:1", "firmware", lambda d: d["interface_version"] is None),
    ("RunCMD", "Result = bytes:00", "firmware", lambda d: d["vendor"] is None and d["integrated_graphics"]["present"] is None),
    ("RunCMD", "Result = null_bytes", "cmos", lambda d: d["items"] == []),
])
def test_a_garbled_answer_is_null_and_a_finding(method, reply, command, holds):
    write("fw.machine", FIRMWARE + f"[firmware answer {method}]\n{reply}\n")
    document = answer(f"vxtdiag {command} --machine fw.machine", 6)
    assert document["findings"] and holds(document)
    for line in ("clocks", "voltages", "bios", "devices"):
        assert run(f"vxtctl {line} --machine fw.machine").code in (0, 3, 6), line


def test_setup_items_show_number_value_and_options():
    assert ([(row["number"], row["name"], row["value"], row["option"], row["options"]) for row in answer("vxtdiag cmos --machine fw.machine")["items"]] ==
            [(1, "Core Trim Boost", 0, "Disabled", ["Disabled", "Auto"]), (2, "Boot Delay", 7, None, []), (3, "Burst Length", 1, "4", ["2", "4", "8"]), (4, "BOOT DELAY", 5, None, ["A", "a"])])
    assert "0 Disabled, 1 Auto" in run("vxtdiag cmos --machine fw.machine").out
    plan = run("vxtdiag cmos set 1=1 --yes --machine fw.machine").out
    assert "0 (Disabled)" in plan and "1 (Auto)" in plan


def test_a_hostile_item_description_stays_within_its_fields():
    write("fw.machine", FIRMWARE + "[firmware command 00030002]\nresult = 00 00 00 00 " + "1B " * 64 + "01 00 FF FF " + "41 " * 440 + "\n")
    for row in answer("vxtdiag cmos --machine fw.machine", 6)["items"]:
        assert (row["name"], row["options"]) == ("?" * 64, ["A" * 22] * 20)
    write("fw.machine", FIRMWARE + "[firmware command 00030001]\nresult = 00 00 00 00 FF FF FF FF\n")
    assert answer("vxtdiag cmos --machine fw.machine", 6)["items"] == []


# --- diagnostics --------------------------------------------------------------------------------------------------------------

@table("machine, tunable", [("fw.machine", True), ("bios.machine", False), ("family10h-ddr3", True)])
def test_a_snapshot_keeps_the_firmware_and_the_identity(machine, tunable):
    bios_machine(identity(), identity(serial="null"))
    counts = answer(f"vxtdiag snapshot copy.machine --machine {machine}")
    assert (counts["firmware_objects"] > 0, counts["setup_items"] > 0) == (tunable, tunable)
    for line in ["vxtctl bios"] + ["vxtctl clocks", "vxtctl voltages", "vxtdiag firmware", "vxtdiag cmos"] * tunable:
        code = 6 if line == "vxtctl voltages" and machine == "fw.machine" else 0  # one of them is silent
        assert answer(f"{line} --machine copy.machine", code) == answer(f"{line} --machine {machine}", code), line


@table("machine", MACHINES)
def test_a_snapshot_shows_the_same_devices_again(machine):
    assert run(f"vxtdiag snapshot copy.machine --machine {machine}").code == 0
    for command in ("vxtctl devices", "vxtctl cpu", "vxtctl sensors", "vxtdiag cpu", "vxtdiag pci"):
        first, second = (answer(f"{command} --machine {name}") for name in (machine, "copy.machine"))
        for one, other in zip(quantities(first), quantities(second)):
            if one["id"].endswith(("/core_clock", "/reference_clock")):
                assert one["value"] == pytest.approx(other["value"], rel=1e-3)
                one["value"] = other["value"]
            if one["id"].endswith("/usage"):  # by whole ticks of a few: where between two the reading begins decides
                assert abs(one["value"] - other["value"]) < 10
                one["value"] = other["value"]
        assert second == first, command


def sections(text):
    found = {}
    for line in text.splitlines():
        line = line.split("#")[0].strip().lower()
        if line.startswith("["):
            rows = found.setdefault(line, [])
        elif line:
            rows.append(" ".join(line.split()))
    return found


def machine_sections(name):
    """A built-in machine as its file says it, with what it takes over from its base."""
    own = sections(read(SOURCE / f"machines/{name}.machine"))
    head = dict(row.split(" = ", 1) for row in own["[machine]"])
    if "based_on" not in head:
        return own
    gone = tuple(f"[{part}{end}" for part in head.get("without", "-").split(", ") for end in ("]", " "))
    whole = {section: rows for section, rows in machine_sections(head["based_on"]).items() if not section.startswith(gone)}
    for section, rows in own.items():
        keys = {row.split(" = ")[0] for row in rows if " = " in row}  # dumps have none: they replace the base's
        whole[section] = [row for row in whole.get(section, []) if keys and row.split(" = ")[0] not in keys] + rows
    return whole


@table("machine", MACHINES)
def test_a_snapshot_has_the_contents_of_the_machine_it_was_taken_of(machine):
    original = machine_sections(machine)
    copied = sections(run(f"vxtdiag snapshot --machine {machine}").out)
    for name, rows in original.items():
        if name == "[cpuid]":
            assert [row for row in rows if row not in copied[name]] == []
            assert [row for row in copied[name] if row not in rows and not row.endswith("= " + " ".join(["00000000"] * 4))] == []
        elif name.startswith("[pci"):
            whole = [row for row in rows if len(row.split()) == 17 and set(row.split()[1:]) != {"00"}]
            assert [row for row in whole if row not in copied[name]] == [], name
        elif name.startswith(("[smbus", "[dram_data")):
            assert copied.get(name) == rows, name
    for core in range(int(next(row for row in original["[machine]"] if row.startswith("cores")).split()[2])):
        def registers(found):
            rows = found["[msr]"] + found.get(f"[msr core {core}]", [])  # the core's own wins
            return {row.split()[0]: int(row.split()[2], 16) for row in rows}
        copy = registers(copied)
        assert {index: copy.get(index) for index in registers(original)} == registers(original), f"MSRs of core {core}"


def test_a_snapshot_that_misses_something_says_so_by_its_exit_code():
    codes = set()
    for seed in range(1, 12):
        found = run(f"vxtdiag snapshot copy.machine --json --fault seed={seed},rate=1,kinds=fail")
        codes.add(found.code)
        if found.code in (0, 6):
            assert (found.code == 6) == bool(json.loads(found.out)["findings"]), f"seed {seed}"
            assert run("vxtdiag --machine copy.machine acpi").code == 0, "the incomplete file loads"
    assert 6 in codes


def test_dumps_are_the_bytes_of_the_json_in_lines_of_sixteen():
    def dumped(line):
        rows = [row.split(": ") for row in run(line).out.splitlines() if re.match(r"^[0-9a-f]{2,}: ", row)]
        assert [int(offset, 16) for offset, _ in rows] == list(range(0, 16 * len(rows), 16))
        return "".join(data.replace(" ", "") for _, data in rows)
    for row in answer("vxtdiag acpi")["tables"]:
        data = answer(f"vxtdiag acpi {row['signature'].lower()}")["tables"][0]["data"]
        assert (len(data), sum(bytes.fromhex(data)) % 256) == (2 * row["length"], 0), row["id"]
        assert dumped(f"vxtdiag acpi {row['signature']}") == data
    for address, size in (("00:18.2", 4096), ("00:14.0", 256)):  # with and without an extended part
        data = answer(f"vxtdiag pci {address}")["functions"][0]["data"]
        assert len(data) == 2 * size and dumped(f"vxtdiag pci {address.upper()}") == data


# --- help ----------------------------------------------------------------------------------------------

def commands(tool):
    """Every command's path, as the manual page has them."""
    return [tool] + [path.replace("\\-", "-") for path in re.findall(r"(?m)^\.SS \\fB(.*?)\\fR", run(f"{tool} man").out)]


@table("tool", TOOLS)
def test_help_begins_with_examples_and_every_example_works(tool):
    assert run("vxtdiag snapshot my-pc.machine").code == run("vxtctl sensors --record night.csv --count 1").code == 0  # files that examples read
    assert len(commands(tool)) > 10
    for command in commands(tool):
        found = run(command + " --help")
        assert (found.code, found.err) == (0, ""), command
        if command.split()[-1] in ("completion", "man"):
            continue
        assert found.out.startswith("Examples:\n"), command
        for line in itertools.takewhile(lambda line: line.startswith("  "), found.out.splitlines()[1:]):
            example = re.split(r"\s{2,}|\s>", line.strip())[0]
            example += " --dry-run" * ("cpu set" in example and "--yes" not in example and "--dry-run" not in example)
            assert run(example).code in (0, 5), example
