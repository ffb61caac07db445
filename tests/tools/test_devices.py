"""What devices tell of themselves: memory modules, drives, monitors, controllers."""

import re

from tools import SOURCE, answer, read, run, table, write

SPD = "[machine]\nbased_on = family10h-ddr3\n\n[smbus 50]\n"


def dump(data):
    return "".join(f"{at:02x}: {data[at:at + 16].hex(' ')}\n" for at in range(0, len(data), 16))


def spd(machine=""):
    """The first module's bytes."""
    return bytearray.fromhex(answer(f"vxtctl modules --raw {machine}")["modules"][0]["spd"])


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
    assert run("vxtctl modules --raw --output dump.txt").code == 0
    sections = read("dump.txt")
    assert "#   Part number" in sections
    write("copy.machine", "[machine]\nbased_on = k8-first\nwithout = smbus\n\n" + sections)
    assert sections.count("[smbus 5") == 2
    assert answer("vxtctl modules --raw --machine copy.machine")["modules"] == answer("vxtctl modules --raw")["modules"]


@table("change, verdict, reason", [(lambda data: b"\xff" * 256, "erased", "its data are erased"), (lambda data: bytes(256), "erased", "its data are erased"),
                                   (lambda data: data[:3] + b"\x55" + data[4:], "wrong_checksum", None), (lambda data: data[:80], "too_short", None),
                                   (lambda data: data[:2] + b"\x55" + data[3:], "unknown_type", "its data are of no type that is decoded")])
def test_a_module_that_is_not_to_be_trusted_is_a_finding(change, verdict, reason):
    write("bad.machine", SPD + dump(change(bytes(spd()))))
    document = answer("vxtctl modules --machine bad.machine", 6)
    bad, good = document["modules"]
    assert (bad["verdict"], good["verdict"]) == (verdict, "right") and [text.split(":")[0] for text in document["findings"]] == ["/memory/0"]
    assert (bad["size"]["reason"], bad["size"]["value"]) == (reason, None if reason else 2048)
    assert "bad" not in run("vxtctl modules --machine bad.machine").out and run("vxtctl devices --all --machine bad.machine").code == 6


def test_what_may_not_be_so_is_said():
    data = spd("--machine k8-revf-dual")
    data[31] = 0x02  # a rank of 8 GiB
    data[63] = sum(data[:63]) & 0xFF
    data[64:72] = b"ABCDEFGH"  # the maker's number
    write("odd.machine", SPD.replace("family10h-ddr3", "k8-revf-dual") + dump(data))
    document = answer("vxtctl modules --machine odd.machine", 6)
    doubts = document["modules"][0]["doubts"]
    assert document["findings"] == ["/memory/0: doubtful is " + text for text in doubts]
    assert [text.split(":")[0] for text in doubts] == ["the size", "the maker"]
    assert re.findall("^  Doubtful +(.*)", run("vxtctl modules --machine odd.machine").out, re.M) == doubts


def test_a_pc_without_modules_or_drives_says_so():
    write("bare.machine", "[machine]\nbased_on = k8-first\nwithout = smbus, device\n")
    assert (run("vxtctl modules --machine bare.machine").code, run("vxtctl disks --machine bare.machine").code) == (3, 3)
    assert answer("vxtctl devices --all --machine bare.machine")["modules"] == []


# --- the others, as the built-in machines have them ----------------------------------------------------------------------------------

def facts(device):
    return {key: fact["value"] for key, fact in device.items() if isinstance(fact, dict) and fact.get("value") is not None}


def test_a_drive_tells_what_it_is_and_what_it_can():
    drive, optical = answer("vxtctl disks --machine desktop-b")["drives"]
    known = facts(drive)
    assert (drive["id"], optical["id"], drive["verdict"]) == ("/hard-disk/0", "/cd-rom/0", "right")
    assert (known["model"], known["bytes"], round(known["capacity"], 3), known["bus"], known["solid_state"]) == ("Samsung SSD 870 QVO 4TB", 4000787030016, 4000.787, "SATA", True)
    assert (known["sata_generations"], known["sata_generation"], known["ultra_dma_mode"], known["form_factor"]) == ([1, 2, 3], 3, 6, "2.5 inch")
    features = {row["name"]: (row["supported"], row["enabled"]) for row in drive["features"]}
    assert features["SMART"] == (True, True) and features["Security"] == (True, False)
    assert optical["bytes"] == {"value": None, "unit": "bytes", "reason": "it does not say"}
    assert re.search(r"^  Capacity +4000\.8 GB$", run("vxtctl disks --machine desktop-b").out, re.M)


def test_drives_tell_what_is_on_and_what_is_off():
    shown = {label: names.split("; ") for label, names in re.findall(r"^  (Features, enabled|Not enabled|On or off not told) +(.*)", run("vxtctl disks --machine desktop-b").out.split("\n\n")[0], re.M)}
    states = [(row["name"], row["enabled"]) for row in answer("vxtctl disks --machine desktop-b")["drives"][0]["features"] if row["supported"]]
    assert shown == {label: [name for name, state in states if state is word] for label, word in [("Features, enabled", True), ("Not enabled", False), ("On or off not told", None)]}


def test_equal_modules_share_their_grades_wherever_they_are():
    slow = spd()
    slow[12] += 1  # the shortest clock
    write("four.machine", SPD + dump(spd()) + "\n[smbus 51]\n" + dump(slow) + "\n[smbus 52]\n" + dump(spd()) + "\n[smbus 53]\n" + dump(b"\x80\x08\x55" + bytes(253)))
    shown = run("vxtctl modules --machine four.machine").out
    assert re.findall("^Grades of (.*?):", shown, re.M) == ["memory/0,2", "memory/1"] and shown.count("  Grades  ") == 1


def test_all_that_is_attached_is_a_tree():
    document = answer("vxtctl devices --all --machine desktop-a")
    ide = next(row for row in document["controllers"] if row["id"] == "/ide/0")
    assert [(row["depth"], row["name"]) for row in ide["attached"]] == [(0, "ATA Channel 0"), (1, "WDC AC22100H ATA Device"), (0, "ATA Channel 1"), (1, "QOR DVD-RW 20X ATA Device")]
    shown = run("vxtctl devices --all --machine desktop-a").out
    assert "\nATA Channel 0 " in shown and "\n  WDC AC22100H ATA Device " in shown
    assert [facts(row)["connection"] for row in document["input_devices"]] == ["PS/2", "PS/2"] and facts(document["boards"][0])["product"] == "SB-2A"
    monitor = document["monitors"][0]
    assert (facts(monitor)["width"], facts(monitor)["diagonal"]) == (433, 20.1) and [(row["width"], row["height"], round(row["refresh"], 2), row["preferred"]) for row in monitor["modes"]] == [(1680, 1050, 59.95, True)]


def test_a_broken_edid_is_a_finding():
    assert answer("vxtctl devices --all --machine k8-first", 6)["findings"] == ["/monitor/0: its EDID: the checksum is WRONG"]


@table("old, new, verdict, finding", [("00 00 00 00 a5 32", "00 00 00 00 a5 33", "wrong_checksum", "the checksum is WRONG"), ("00 00 00 00 a5 32", "00 00 00 00 00 00", "unsigned", None)])
def test_identify_data_that_are_not_to_be_trusted_are_a_finding(old, new, verdict, finding):
    text = read(SOURCE / "machines/desktop-b.machine")
    end = text.index(old, text.index("[device IDE\\DISKSAMSUNG"))
    write("bad.machine", text[:end] + new + text[end + len(old):])
    document = answer("vxtctl disks --machine bad.machine", 6 if finding else 0)
    assert (document["drives"][0]["verdict"], document["findings"]) == (verdict, [f"/hard-disk/0: its IDENTIFY data: {finding}"] if finding else [])
    model = facts(document["drives"][0])["model"]  # the system's word for it where the drive's is not certain
    assert model == "Samsung SSD 870 QVO 4TB" + (" ATA Device" if finding else "")


def test_identify_data_without_checksum_have_to_make_sense():
    text = read(SOURCE / "machines/desktop-b.machine")
    write("chance.machine", text.replace("00 00 00 00 a5 32", "00 00 00 00 00 00", 1).replace("20 44 37 38 20 30", "20 f4 37 08 20 30", 1))
    document = answer("vxtctl disks --machine chance.machine", 6)
    assert document["findings"] == ["/hard-disk/0: its IDENTIFY data: doubtful are " + text for text in document["drives"][0]["doubts"]] and "Doubtful" in run("vxtctl disks --machine chance.machine").out
