"""Profiles: saving a machine, looking into files, comparing them with machines and with each other."""

import os
import pathlib

from tools import MACHINES, SOURCE, answer, parsed, read, run, run_on_terminal, table, write

ROOT = "VXT_Configuration_File"
K10, K8 = "QOR_Family_10h_Processor", "QOR64_Family_Processor"


def profile(*entries, name="p.xml"):
    """A file of "section/element/key=text" entries, each in elements of its own unless they follow each other."""
    text = ""
    for entry in entries:
        place, value = entry.split("=")
        section, element, key = place.split("/")
        text += f"<{section}><{element}><{key}>{value}</{key}></{element}></{section}>"
        text = text.replace(f"</{element}></{section}><{section}><{element}>", "").replace(f"</{section}><{section}>", "")
    write(name, f"<{ROOT}>{text}</{ROOT}>")


def differing(line, code=6):
    """Ids of what differs, with both values; the place in the file where the machine has no such setting."""
    return {row["id"] or f"{row['section']}/{row['key']}": (row["profile"], row["other"]) for row in answer(f"vxtctl profile diff {line}", code)["differences"]}


# By hand, and what it leaves: what the profile has, and what the machine.
CHANGES = {
    "desktop-a": (("cpu set --core 1 --multiplier 8", "links set frequency=4"),
                  {"/cpu/1/multiplier": (10.5, 8), "/cpu/1/core_voltage": (1.25, 1.3), "/ht-link/0/link/0/frequency": (5, 4)}),
    "desktop-b": (("clocks set external=217", "cpu set --core 3 --multiplier 11"), {"/clock-gen/0/external": (200, 217), "/cpu/3/multiplier": (15, 11)}),
    "family10h-ddr2": (("cpu set --core 2 --pstate 1", "memory set trcd=5 slow_access=off"),
                       {"/cpu/2/multiplier": (11, 5.5), "/cpu/2/core_voltage": (1.25, 1.05), "/memory-controller/0/trcd": (4, 5), "/memory-controller/0/slow_access": (1, 0)}),
    "family10h-ddr3": (("clocks set external=205 pcie=101 third=500", "voltages set memory_voltage=1.6", "cpu set --core 0 --multiplier 11"),
                       {"/clock-gen/0/external": (200, 205), "/clock-gen/0/pcie": (100, 101), "/custom-pwm/0/memory_voltage": (1.5, 1.6), "/pwm/0/memvddq": (1.5, 1.6), "/cpu/0/multiplier": (15, 11)}),
    "family11h-mobile": (("memory set max_async_latency=61 tcl=4", "links set frequency=5"),
                         {"/memory-controller/0/max_async_latency": (60, 61), "/memory-controller/0/tcl": (5, 4), "/ht-link/0/link/0/frequency": (8, 5)}),
    "k8-first": (("memory set trwt=5", "memory set twtr=1"), {"/memory-controller/0/trwt": (4, 5), "/memory-controller/0/twtr": (2, 1)}),
    "k8-revf-dual": (("cpu set --core 1 --multiplier 9 --voltage 1.2", "memory set dqs_delay_b4=2.6"),
                     {"/cpu/1/multiplier": (10.5, 9), "/cpu/1/core_voltage": (1.25, 1.2), "/memory-controller/0/dqs_delay_b4": (2.55, 2.6)}),
}


@table("machine", MACHINES)
def test_what_was_saved_is_in_force_until_something_changes_by_hand(machine):
    on = f"--machine {machine} --state pc.state"
    saved = answer(f"vxtctl profile save 'Größe 1.xml' {on}")
    assert saved["left_out"] == [] or machine in ("desktop-b", "family10h-ddr3")
    same = run(f"vxtctl profile diff 'Größe 1.xml' {on}")
    assert (same.code, same.err) == (0, "") and same.out.startswith("no difference in ")
    assert answer(f"vxtctl profile verify 'Größe 1.xml' {on}")["in_force"]
    commands, expected = CHANGES[machine]
    for command in commands:
        assert run(f"vxtctl {command} --yes {on}").code == 0, command
    assert differing(f"'Größe 1.xml' {on}") == expected
    verdict = answer(f"vxtctl profile verify 'Größe 1.xml' {on}", 6)
    assert (verdict["in_force"], verdict["differing"]) == (False, len(expected))
    # The file by its keys: another host would find them there.
    answer(f"vxtctl profile save after.xml {on}", 0)
    assert differing(f"'Größe 1.xml' after.xml {on}") == {path: pair for path, pair in expected.items() if not path.endswith("core_voltage")}


def test_keys_are_those_that_other_hosts_know():
    run("vxtctl profile save p.xml")
    found = {row["section"] + "/" + row["key"]: row["text"] for row in answer("vxtctl profile show p.xml")["entries"]}
    expected = {"CPU/Multiplier": "15", "CPU/Multiplier4": "15", "CPU/CPUVID": "1.35", "CPU/NBVID": "1.175", "CPU/TLBCaching": "1", "HTLink/Multiplier": "10",
                "ClockGen/HTRefClock": "200", "ClockGen/PCIeClock": "100", "PWMController/Memory_termination": "0.75", "PWMController/CNBHTVol": "1.2",
                "Memory_Controller/Row_Refresh_Cycle_Time_1": "160", "Memory_Controller/Slow_Access_Mode": "0", "Memory_Controller/R-to-W_DQS_Cont.": "5"}
    assert expected.items() <= found.items()


@table("machine", MACHINES)
def test_samples_are_for_their_machines(machine):
    file = SOURCE / f"examples/{machine}.xml"
    shown = answer(f"vxtctl profile show {file} --machine {machine}")
    assert shown["entries"] and shown["machine_known"]
    assert "<!--" in read(file) and differing(f"{file} --machine {machine}")


@table("entry, status, reason", [
    (f"CPU/{K10}/Multiplier=14.5", "ok", None), (f"CPU/{K10}/Multiplier=99", "not_legal", "not a legal value"), (f"CPU/{K10}/CPUVID=0", "ok", None),
    (f"CPU/{K10}/Multiplier=1,5", "no_number", "no number"), (f"CPU/{K10}/Multiplier=", "no_number", "empty"), (f"CPU/{K10}/Multiplier9=1", "unknown_key", "unknown"),
    (f"CPU/{K10}/CAS_Latency=9", "unknown_key", "unknown"), (f"CPU/{K8}/Multiplier=10", "no_such_setting", "no such device"),
    ("Memory_Controller/Internal_DDR2_DDR3_Memory_Controller/Read_Preamble=5", "no_such_setting", "no such setting"),
    ("Clocks/QOR_Default_Clock_Generator/PCIeClock=101", "no_such_setting", "below the section ClockGen"),
])
def test_show_tells_what_is_wrong_with_an_entry(entry, status, reason):
    profile(entry)
    shown = answer("vxtctl profile show p.xml", 0 if status == "ok" else 6)
    row = shown["entries"][0]
    assert row["status"] == status and (row["reason"] is None if reason is None else reason in row["reason"])
    assert len(shown["findings"]) == (status != "ok") and (row["label"] is None) == (status == "unknown_key")


def test_only_the_first_element_of_a_name_counts():
    profile(f"CPU/{K10}/Multiplier=14", f"CPU/{K10}/Multiplier=13", "HTLink/x/Multiplier=1", f"CPU/{K10}/Multiplier2=12")
    assert [row["status"] for row in answer("vxtctl profile show p.xml", 6)["entries"]] == ["ok", "repeated", "no_such_setting", "repeated"]
    assert differing("p.xml") == {"/cpu/0/multiplier": (14, 15), "HTLink/Multiplier": (1, None)}


CORES = lambda key, pair, cores=range(4): {f"/cpu/{core}/{key}": pair for core in cores}


@table("entries, machine, expected", [
    ([f"CPU/{K10}/ClockDivisor=1"], "family10h-ddr3", CORES("tlb_caching", (0, 1))),  # it stands alone: the other one goes off
    ([f"CPU/{K10}/ClockDivisor=2", f"CPU/{K10}/TLBCaching=1"], "family10h-ddr3", CORES("clock_divisor", (0, 1))),  # only 1 is on
    ([f"CPU/{K10}/CPUVID=1.25"], "family10h-ddr3", CORES("core_voltage", (1.25, 1.35))),
    ([f"CPU/{K10}/CPUVID=0", f"CPU/{K10}/Multiplier3=14"], "family10h-ddr3", CORES("multiplier", (14, 15), [2])),  # no voltage
    (["Memory_Controller/Internal_DDR_Memory_Controller/Write-to-Read_Delay=2"], "k8-first", {"/memory-controller/0/trwt": (2, 4)}),
    (["Memory_Controller/Internal_DDR_Memory_Controller/Write-to-Read_Delay=1", "Memory_Controller/Internal_DDR_Memory_Controller/Read-to-Write_Delay=4"],
     "k8-first", {"/memory-controller/0/twtr": (1, 2)}),
    (["Memory_Controller/Internal_DDR_Memory_Controller/Slow_Access_Mode=7"], "k8-first", {}),
])
def test_diff_tells_what_applying_would_change(entries, machine, expected):
    profile(*entries)
    found = answer(f"vxtctl profile diff p.xml --machine {machine}", 6 if expected else 0)
    assert {row["id"]: (row["profile"], row["other"]) for row in found["differences"]} == expected
    assert found["not_held"] and not set(found["not_held"]) & set(expected)


def test_two_profiles_differ_also_in_what_one_of_them_lacks():
    memory = "Memory_Controller/Internal_DDR_Memory_Controller"
    profile(f"CPU/{K10}/Multiplier=14", "HTLink/a/Multiplier=5", f"{memory}/Row_Refresh_Cycle_Time_0=12", name="a.xml")
    profile(f"CPU/{K10}/Multiplier=14.5", f"CPU/{K10}/CPUVID=1.2", "HTLink/a/Multiplier=5", f"CPU/{K10}/NBVID=1.175", name="b.xml")
    found = answer("vxtctl profile diff a.xml b.xml", 6)
    assert [(row["key"], row["profile"], row["other"], row["difference"], row["unit"]) for row in found["differences"]] == [
        ("Multiplier", 14, 14.5, 0.5, ""), ("Row_Refresh_Cycle_Time_0", 12, None, None, ""),  # ns or clocks: that machine's
        ("CPUVID", None, 1.2, None, "V")]  # the second CPU section of b.xml does not count
    assert answer("vxtctl profile diff a.xml a.xml --fault seed=1,rate=100,kinds=fail", 6)["differences"] == []  # without a machine


@table("name, text, words", [
    ("p.xml", "<a/>", "its element is not VXT_Configuration_File"), ("p.xml", "<a", "line 1"), ("p.xml", f'<!DOCTYPE x [<!ENTITY e "e">]><{ROOT}>&e;</{ROOT}>', "document type"),
    ("p.xml", f"<{ROOT}><CPU><x>...</x></CPU></{ROOT}>", "more than 5000"), ("p.xml", "PNG\0\1", "XML"), ("folder", None, "cannot be"), ("p.xml", "", "it is no XML"),
])
def test_what_is_no_profile_is_told_and_left_as_it_is(name, text, words):
    os.mkdir("folder")
    if text is not None:
        text = text.replace("...", "<a>1</a>" * 5001)
        write("p.xml", text)
    for command in ("save", "show", "diff", "verify"):
        found = run(f"vxtctl profile {command} {name} --yes")
        assert (found.code, found.out) == (1, "") and words in found.err, command
    assert text is None or read(name) == text
    assert sorted(os.listdir()) == sorted({"fw.machine", "folder", name})


def test_a_profile_is_replaced_after_a_question():
    profile(f"CPU/{K10}/Multiplier=14")
    before = read("p.xml")
    for found, code in ((run("vxtctl profile save p.xml"), 2), (run_on_terminal("vxtctl profile save p.xml", "n\n"), 1),
                        (run("vxtctl profile save p.xml --dry-run"), 0), (run("vxtctl profile save nowhere/p.xml"), 1)):
        assert found.code == code and read("p.xml") == before
    assert run_on_terminal("vxtctl profile save p.xml", "y\n").code == 0
    assert "CPUVID" in read("p.xml") and ">14<" not in read("p.xml")
    os.chmod("p.xml", 0o600), os.symlink("p.xml", "link.xml")
    assert answer("vxtctl profile save link.xml --yes --machine k8-first")["replaced"] and not answer("vxtctl profile save q.xml")["replaced"]
    assert os.path.islink("link.xml") and "Internal_DDR_" in read("p.xml") and os.stat("p.xml").st_mode & 0o777 == 0o600
    for command in ("show", "diff", "verify"):
        assert "no such file" in run(f"vxtctl profile {command} nosuch.xml").err
    assert not pathlib.Path("nosuch.xml").exists()


def test_save_tells_what_profiles_cannot_hold():
    write("odd.machine", read("fw.machine") + "\n[firmware object 020B0000]\nname = 12V\nvalue = 12000\n[firmware object 020C0000]\nname = 12V\nvalue = 11000\n"
          "[firmware object 020D0000]\nname = NB +1.8 V)\nvalue = 1700\n")
    write("six.machine", "[machine]\nbased_on = family10h-ddr2\ncores = 6\n")
    found = {row["id"]: row["reason"] for row in answer("vxtctl profile save p.xml --machine odd.machine", 6)["left_out"]}
    assert set(found) == {"/custom-pwm/0/silent", "/custom-pwm/0/12v", "/custom-pwm/0/12v_2", "/custom-pwm/0/nb_1_8_v_3", "/clock-gen/0/third"} and "1.7" in found["/custom-pwm/0/nb_1_8_v_3"]
    assert [row["id"] for row in answer("vxtctl profile save q.xml --machine six.machine")["left_out"]] == ["/cpu/4/multiplier", "/cpu/5/multiplier"]
    assert run("vxtctl cpu set --core 1 --pstate 1 --yes --machine six.machine --state pc.state").code == 0
    assert "/cpu/1/core_voltage" in {row["id"] for row in answer("vxtctl profile save q.xml --yes --machine six.machine --state pc.state")["left_out"]}


def test_what_cannot_be_read_is_a_finding():
    run("vxtctl profile save p.xml")
    for command in ("save q.xml", "diff p.xml", "verify p.xml"):
        found = parsed(run(f"vxtctl profile {command} --fault seed=5,rate=3,kinds=fail --json").out)
        assert found["findings"], command
    assert not found["in_force"]
    shown = answer("vxtctl profile show p.xml --fault seed=1,rate=100,kinds=fail", 6)  # the library does not start
    assert not shown["machine_known"] and {row["status"] for row in shown["entries"]} == {"ok"}
