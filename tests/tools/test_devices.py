"""What devices tell of themselves: memory modules, drives, monitors, controllers."""

import re

from tools import answer, read, run, table, write

SPD = "[machine]\nbased_on = family10h-ddr3\n\n[smbus 50]\n"


def dump(data):
    return "".join(f"{at:02x}: {data[at:at + 16].hex(' ')}\n" for at in range(0, len(data), 16))


def spd():
    """The first module's bytes."""
    return bytearray.fromhex(answer("vxtctl modules --raw")["modules"][0]["spd"])


def test_a_module_tells_its_grades_in_clocks_and_nanoseconds():
    module = answer("vxtctl modules")["modules"][0]
    assert (module["verdict"], module["size"], module["ecc_width"]["value"]) == ("right", {"value": 2048, "unit": "MiB", "reason": None}, 0)
    assert module["serial_number"] == {"value": None, "unit": "", "reason": "it does not say"} and module["spd"] is None
    fastest = module["grades"][0]
    assert (fastest["data_rate"], fastest["cas_latency"], fastest["tcl"], fastest["tras"]) == (1333, 9, {"clocks": 9, "ns": 13.125}, {"clocks": 24, "ns": 36})
    shown = run("vxtctl modules").out
    assert re.search(r"^1333 +666\.67 +9 +9 \(13\.125\)", shown, re.M) and shown.count("Grades of") == 1
    assert "tFAW" not in run("vxtctl modules --machine k8-revf-dual").out  # DDR2 tells none


def test_the_raw_bytes_are_what_a_machine_file_takes():
    sections = run("vxtctl modules --raw").out.split("\n\n")[0]
    write("copy.machine", "[machine]\nbased_on = k8-first\nwithout = smbus\n\n" + sections)
    assert sections.count("[smbus 5") == 2
    assert answer("vxtctl modules --raw --machine copy.machine")["modules"] == answer("vxtctl modules --raw")["modules"]


@table("change, verdict, reason", [(lambda data: b"\xff" * 256, "erased", "its data are erased"), (lambda data: bytes(256), "erased", "its data are erased"),
                                   (lambda data: data[:3] + b"\x55" + data[4:], "wrong_checksum", None), (lambda data: data[:80], "too_short", None)])
def test_a_module_that_is_not_to_be_trusted_is_a_finding(change, verdict, reason):
    write("bad.machine", SPD + dump(change(bytes(spd()))))
    document = answer("vxtctl modules --machine bad.machine", 6)
    bad, good = document["modules"]
    assert (bad["verdict"], good["verdict"]) == (verdict, "right") and [text.split(":")[0] for text in document["findings"]] == ["/memory/0"]
    assert (bad["size"]["reason"], bad["size"]["value"]) == (reason, None if reason else 2048)
    assert "bad" not in run("vxtctl modules --machine bad.machine").out and run("vxtctl devices --all --machine bad.machine").code == 6


def test_what_may_not_be_so_is_said():
    data = spd()
    data[117:119] = b"AB"  # the maker's number
    write("odd.machine", SPD + dump(data))
    doubts = answer("vxtctl modules --machine odd.machine")["modules"][0]["doubts"]
    assert len(doubts) == 1 and doubts[0].startswith("the maker: ") and f"  Doubtful              {doubts[0]}" in run("vxtctl modules --machine odd.machine").out


def test_a_pc_without_modules_or_drives_says_so():
    write("bare.machine", "[machine]\nbased_on = k8-first\nwithout = smbus, wmi\n")
    assert (run("vxtctl modules --machine bare.machine").code, run("vxtctl disks --machine bare.machine").code) == (3, 3)
    assert answer("vxtctl devices --all --machine bare.machine")["modules"] == []
