#!/usr/bin/env python3
"""check_rooms.py: every #include of the project against the order of its rooms (cmake/rooms.txt).

Inside src/ an include may point at its own room or at one further down, never upwards or at a neighbour. Outside it:
the SDK depends on nothing, the simulated PC not on the library, vxtctl on the SDK alone, and only platform/windows and
the programs made for Windows know <windows.h>. Prints one line a fault; the last line counts."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]')
# Folder: the only places that its quoted and its angle-bracketed project includes may point at, beside itself.
OUTSIDE = {
    "include/vxtapi": ["include"],
    "sim": ["sim"],
    "tools/common": ["tools/common"],
    "tools/vxtctl": ["tools/common", "include"],
}
KNOWS_WINDOWS = ("src/platform/windows/", "tests/windows/", "tests/abi/", "tools/common/windows/", "driver/")


def read_rooms():
    """Line number in the order by room."""
    lines = (ROOT / "cmake/rooms.txt").read_text().splitlines()
    order = [line.split() for line in lines if line and not line.startswith("#")]
    return {room: level for level, rooms in enumerate(order) for room in rooms}


def room_of(path, rooms):
    """The innermost room that holds the file or folder `path`, relative to src/."""
    parts = path.split("/")
    for length in range(len(parts), 0, -1):
        if "/".join(parts[:length]) in rooms:
            return "/".join(parts[:length])
    return None


def resolve(file, name):
    """The project's file that an include means, relative to the root; None for the system's."""
    for folder in (file.parent, ROOT / "src", ROOT, ROOT / "include", ROOT / "tools", ROOT / "tests"):
        target = (folder / name).resolve()
        if target.is_file() and target.is_relative_to(ROOT):
            return target.relative_to(ROOT).as_posix()
    return None


def faults_of(file, rooms):
    here = file.relative_to(ROOT).as_posix()
    for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
        match = INCLUDE.match(line)
        if not match:
            continue
        name = match[2]
        where = f"{here}:{number}: includes {name}"
        if name == "windows.h" and not here.startswith(KNOWS_WINDOWS):
            yield f"{where}, which only platform/windows may know"
        target = resolve(file, name)
        if not target:
            continue
        if here.startswith("src/") and target.startswith("src/"):
            mine, other = room_of(here[4:], rooms), room_of(target[4:], rooms)
            if not mine or not other:
                yield f"{where}, but one of the two is in no room of cmake/rooms.txt"
            elif mine != other and rooms[other] >= rooms[mine]:
                way = "upwards" if rooms[other] > rooms[mine] else "sideways"
                yield f"{where}, {way}: from room {mine} to {other}"
        elif here.startswith("src/") and not target.startswith(("include/", "sim/")):
            yield f"{where}, outside the library"
        elif here.startswith("src/") and target.startswith("sim/") and not here.startswith("src/platform/simulated/"):
            yield f"{where}: only platform/simulated knows the simulated PC"
        for folder, allowed in OUTSIDE.items():
            if here.startswith(folder + "/") and not target.startswith(tuple(f"{place}/" for place in [folder, *allowed])):
                yield f"{where}, outside {' and '.join([folder, *allowed])}"


def main():
    rooms = read_rooms()
    files = [file for folder in ("include", "src", "sim", "tools", "driver", "benchmarks")
             for file in sorted((ROOT / folder).rglob("*")) if file.suffix in (".h", ".cpp")]
    found = [fault for file in files for fault in faults_of(file, rooms)]
    print(*found, sep="\n", end="\n" if found else "")
    print(f"{len(files)} files, {len(rooms)} rooms")
    print(f"{0 if found else 1} passed, {len(found)} failed")
    return 1 if found or not files else 0


if __name__ == "__main__":
    sys.exit(main())
