#!/usr/bin/env python3
"""spd.py PROGRAM: SPD images made here; what PROGRAM says of them against decode-dimms, which decodes them on its own."""

import pathlib
import random
import re
import subprocess
import sys
import tempfile

SOURCE = pathlib.Path(__file__).resolve().parents[2]
IMAGES = {row[0]: bytes.fromhex(row[1]).ljust(256, b"\0") for row in
          (line.split(" | ") for line in (SOURCE / "tests/cases/spd_images.txt").read_text(encoding="utf-8").splitlines() if line[0] != "#")}
TEXT, ANY = range(0x21, 0x7F), range(256)
# By image: bytes and what may stand there. Byte 31 is 0, so that rows and columns make the size, as they do there.
IDENTITY = {64: (0x2C, 0xCE, 0xAD, 0x98), 73: TEXT, 80: TEXT, 91: ANY, 92: ANY, 93: (0x04, 0x99, 0x0B), 94: (0x29, 0x31, 0x01), 95: ANY, 98: ANY}
DDR = {3: range(11, 16), 4: range(9, 12), 8: (3, 4, 5), 17: (4, 8), 27: range(20, 100), 28: range(20, 100), 29: range(20, 100), 30: range(30, 60),
       31: (0,), 41: range(40, 90), 42: range(60, 200), 62: (0x10, 0x11), **IDENTITY}
BYTES = {
    "ddr-400": {5: (1, 2), 9: (0x50, 0x60), 25: (0x75, 0xA0), 18: (0x10, 0x14, 0x1C, 0x70), **DDR},
    "ddr2-800": {5: range(0x60, 0x64), 9: (0x25, 0x30, 0x3D), 18: (0x10, 0x30, 0x38, 0x70), 20: (1, 2, 4), 36: range(40, 80), 37: range(20, 60),
                 38: range(20, 60), 40: [tRC << 4 | tRFC << 1 | high for tRC in range(6) for tRFC in range(6) for high in range(2)], **DDR},
    "ddr3-1066": {0: (0x12, 0x92), 1: (0x10, 0x13), 3: (1, 2, 3), 4: range(2, 5), 5: range(0x08, 0x24, 8), 6: (0, 2, 6), 7: (0, 1, 9, 0x19), 8: (3, 0xB),
                  9: (0x11, 0x52), 17: range(60, 200), 18: range(96, 120), 19: range(30, 90), 20: range(96, 120), 22: ANY, 23: ANY, 24: ANY,
                  26: range(40, 90), 27: range(40, 90), 29: range(1, 256), 36: ANY, 37: ANY, 38: ANY, 117: (0x80, 1), 118: (0xCE, 0x98, 0x2C),
                  120: (0x12, 0x0D), 121: (0x29, 0x20), 122: ANY, 125: ANY, 128: TEXT, 140: TEXT, 146: ANY, 148: (0x80,), 149: (0xCE, 0x2C)},
}
TIMES = ("CAS Latency Time (tAA)", "(tRCD)", "(tRP)", "(tRAS)", "(tRC)", "(tRRD)", "(tWR)", "(tWTR)", "(tRTP)", "(tRFC)", "(tFAW)")


def decoded(image, folder):
    """What decode-dimms prints, by label."""
    dump = folder / "image.hex"
    dump.write_text("".join(f"{i:04x}  {image[i:i + 16].hex(' ')}\n" for i in range(0, 256, 16)), encoding="ascii")
    lines = subprocess.run(["decode-dimms", "-c", "-x", dump], capture_output=True, text=True, check=True, timeout=60).stdout.splitlines()
    return {match[1]: match[2].strip() for line in lines if (match := re.match(r"(\S.*?)\s{2,}(.+)", line))}


def in_our_words(found):
    """Parts of the library's line, as far as decode-dimms says so much."""
    banks, rows, columns, bits = found["Banks x Rows x Columns x Bits"].split(" x ")
    voltages = found.get("Operable voltages") or re.search(r"[\d.]+V", found["Voltage Interface Level"])[0]
    yield f"size={found['Size'].split()[0]} ranks={found['Ranks']} "
    yield f"x{banks}x{rows}x{columns} volts=" + "".join(f"{volts}," for volts in re.findall(r"(\d\.\d+)V", voltages.replace("2X", "25V"))) + " "
    yield "cas=" + "".join(f"{cas}," for cas in sorted(re.findall(r"([\d.]+)T", found.get("Supported CAS Latencies (tCL)") or
                                                                found["Supported CAS Latencies"]), key=float)) + " "
    yield f"width={int(bits) - int(bits) % 64}+"
    yield f"maker={found.get('Manufacturer') or found['Module Manufacturer']} dram={found.get('DRAM Manufacturer', '-')} part=[{found['Part Number']}] "
    yield f"serial={int(found['Assembly Serial Number'], 16):X} " if "Assembly Serial Number" in found else "serial=- "
    year, week = found["Manufacturing Date"].split("-W")
    yield f"made={int(found['Revision Code'], 16):X}/{year}/{int(week)} " if "Revision Code" in found else f"made=-/{year}/{int(week)} "
    if "Module Type" in found:
        yield f"module={found['Module Type'].split()[0]} "
        yield f"chips={found['SDRAM Device Width'].split()[0]}x"


def differences(said, found):
    for part in in_our_words(found):
        if part not in said:
            yield f"{part!r} is missing"
    ours = said.rsplit("ns=", 1)[1].split(",")
    for place, label in enumerate(TIMES):
        for printed in (float(value.split()[0]) for key, value in found.items() if key.endswith(label)):
            if ours[place] == "x" or abs(float(ours[place]) - printed) > 0.011:
                yield f"{label} is {printed}"
    grades = re.findall(r" (\d+)/[\d.]+=([\d.]+-\d+-\d+-\d+)-", said)
    rate, timings = re.search(r"(\d+) MT/s", found["Maximum module speed"])[1], found["tCL-tRCD-tRP-tRAS"].split()[0]
    if not any(abs(int(clock) - int(rate)) < 2 and grade == timings for clock, grade in grades):
        yield f"{timings} at {rate} MT/s is missing"


def main(program, images_of_a_kind=16):
    """More images meet a known difference: decode-dimms rounds up what is less than the hundredth of a clock over that DDR3's standard takes off."""
    failed = 0
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        for kind, seed in ((kind, seed) for kind in BYTES for seed in range(images_of_a_kind)):
            dice = random.Random(f"{kind} {seed}")
            image = bytearray(IMAGES[kind])
            for place, values in BYTES[kind].items():
                image[place] = dice.choice(values)
            (folder / "image").write_bytes(image)
            said = subprocess.run([program, folder / "image"], capture_output=True, text=True, check=True, timeout=60).stdout
            found = list(differences(said, decoded(image, folder)))
            failed += bool(found)
            for difference in found:
                print(f"{kind} {seed}: {difference}\n    {image[:150].hex()}\n    {said}")
    print(f"{len(BYTES) * images_of_a_kind - failed} passed, {failed} failed")
    return failed != 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], *map(int, sys.argv[2:])))
