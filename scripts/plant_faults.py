#!/usr/bin/env python3
"""Plants one-line faults in the sources, one after the other, and notes which tests see each of them.

scripts/faults.txt holds the faults. For each one the text as it stands is replaced, everything is built, the tests run,
and the file is restored, also when this program is interrupted. A fault that no test sees is a gap in the tests.

The table on stdout says how many tests see a fault, and the first of them. The same goes to a file of JSON lines, which
a later run compares with its own (--against): before tests are cut or moved, keep the file; afterwards every fault that
was seen has to be seen again.

The unit tests run for faults in the library and the simulator, quick ones first, and the tools' tests for faults in the
tools and for those that nothing else sees: the names are those of the first tests that see a fault (--all: of all).
"""

import argparse
import dataclasses
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
ROOMS = ("src", "sim", "tools")  # where faults are planted; never in the tests
UNIT_TESTS = ("vxt_tests", "vxt_thread_tests")
TOOLS = ("VXTAPI", "vxtctl", "vxtdiag")
# Plain and without optimisation: every fault costs a build, and nothing here runs for long.
OPTIONS = ("-G", "Ninja", "-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O0 -g0",
           "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache", "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=gold",
           "-DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=gold")
BUILD_SECONDS = 1800
PATIENCE, LEAST_SECONDS = 4, 60  # a test program that takes so many times as long as without a fault hangs
SLOW_MILLISECONDS = 100
KEYS = {"fault": "name", "in": "file", "old": "old", "new": "new"}  # of a block, in this order; fields of CFault


class FaultError(Exception):
    """What is wrong with the list of faults, the build or the tests as they stand."""


@dataclasses.dataclass(frozen=True)
class CFault:
    name: str
    file: str  # its name without folders: decides when the text stands in several files
    old: str   # blanks and line breaks in it match any
    new: str


@dataclasses.dataclass(frozen=True)
class CPlace:
    path: pathlib.Path
    begin: int
    end: int


def read_faults(path):
    """The blocks of "key text" lines, in order. Blank lines stand between blocks, # begins a line of comment."""
    faults, block = [], {}
    for number, line in enumerate([*path.read_text(encoding="utf-8").splitlines(), ""], 1):
        key, _, text = line.strip().partition(" ")
        where = f"{path}:{number}: "
        if key == "" and block:
            if missing := [key for key in KEYS if KEYS[key] not in block]:
                raise FaultError(f"{where}the block above lacks '{missing[0]}'")
            faults.append(CFault(**block))
            if faults[-1].name in [fault.name for fault in faults[:-1]]:
                raise FaultError(f"{where}the name {faults[-1].name} is used twice")
            block = {}
        elif key and not key.startswith("#"):
            if key not in KEYS or KEYS[key] in block:
                raise FaultError(f"{where}expected one of {', '.join(KEYS)}, each once in a block; found '{key}'")
            block[KEYS[key]] = text.strip()
    return faults


def locate(fault):
    """The one place of the fault's text: in the file of that name, else in all of them."""
    pattern = re.compile(r"\s+".join(re.escape(word) for word in fault.old.split()))
    places = [CPlace(path, match.start(), match.end())
              for room in ROOMS for path in sorted((ROOT / room).rglob("*")) if path.suffix in (".cpp", ".h")
              for match in pattern.finditer(path.read_text(encoding="utf-8"))]
    named = [place for place in places if place.path.name == fault.file]
    chosen = named or places
    if len(chosen) != 1:
        found = ", ".join(str(place.path.relative_to(ROOT)) for place in chosen) or "nowhere"
        raise FaultError(f"{fault.name}: '{fault.old}' has to stand in one place, found: {found}")
    return chosen[0]


def run(*command, seconds):
    """Exit code and output of a command. The code is None when the time was up; nothing of it is left running."""
    with tempfile.TemporaryFile() as output:
        process = subprocess.Popen(command, cwd=ROOT, stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                                   start_new_session=True)
        try:
            code = process.wait(seconds)
        except subprocess.TimeoutExpired:
            code = None
        finally:
            if process.poll() is None:
                os.killpg(process.pid, signal.SIGKILL)
                process.wait()
        output.seek(0)
        return code, output.read().decode(errors="replace")


class CTestProgram:
    """A program that runs tests: what is built for it, its command, and how its output tells which of them fail."""

    def __init__(self, label, targets, folder, *command):
        self.label, self.targets, self.folder, self.command = label, targets, folder, command
        self.seconds = LEAST_SECONDS * PATIENCE

    def build(self):
        """The compiler's first error, or nothing."""
        target = [word for name in self.targets for word in ("--target", name)]
        code, output = run("cmake", "--build", str(self.folder), *target, seconds=BUILD_SECONDS)
        return "" if code == 0 else next((line for line in output.splitlines() if "error" in line), output)

    def failed(self, *arguments):
        """Names of the tests that fail."""
        names, code, output = self.outcome(*arguments)
        if code is None:
            names.append(f"{self.label} hangs in {self.running(output)}")
        elif code < 0 or (code != 0 and not names):
            names.append(f"{self.label} ends with {code} in {self.running(output)}")
        return list(dict.fromkeys(names))

    def outcome(self, *arguments):
        code, output = run(*self.command, *arguments, seconds=max(LEAST_SECONDS, self.seconds * PATIENCE))
        return self.failures(output), code, output

    def seen_by(self, _everything):
        """Names of tests that fail; where tests can be chosen not all of them unless everything is asked for."""
        return self.failed()

    def measure(self):
        """The tests without a fault: all of them pass, and the time they take is the measure for the others."""
        if error := self.build():
            raise FaultError(f"does not build without any fault: {error}")
        begin = time.monotonic()
        if failed := self.failed():
            raise FaultError(f"without any fault {len(failed)} tests fail already: {', '.join(failed[:3])}")
        self.seconds = time.monotonic() - begin


class CGoogleTests(CTestProgram):
    """Slow tests run only where the quick ones see nothing."""

    slow = ""

    @staticmethod
    def failures(output):
        return re.findall(r"^\[  FAILED  \] (\w[\w/]*\.[\w/]+)", output, re.MULTILINE)

    @staticmethod
    def running(output):
        return (re.findall(r"^\[ RUN      \] (\S+)", output, re.MULTILINE) or ["no test"])[-1]

    def outcome(self, *arguments):
        names, code, output = super().outcome(*arguments)
        if not arguments and not names:
            times = re.findall(r"^\[       OK \] (\S+) \((\d+) ms\)", output, re.MULTILINE)
            self.slow = ":".join(name for name, milliseconds in times if int(milliseconds) > SLOW_MILLISECONDS)
        return names, code, output

    def seen_by(self, everything):
        if everything or not self.slow:
            return self.failed()
        return self.failed(f"--gtest_filter=-{self.slow}") or self.failed(f"--gtest_filter={self.slow}")


class CToolsTests(CTestProgram):
    @staticmethod
    def failures(output):
        return re.findall(r"^FAILED (.+?)(?: - .*|:  .*|: \w+(?:Error|Expired|Exception)\b.*)?$", output, re.MULTILINE)

    @staticmethod
    def running(_output):
        return "some case"


def try_fault(fault, place, unit, tools, everything):
    """Plants the fault, names the tests that see it and restores the file."""
    original = place.path.read_bytes()
    text = original.decode()
    begin, seen_by = time.monotonic(), []
    in_tools = place.path.is_relative_to(ROOT / "tools")
    try:
        place.path.write_bytes((text[:place.begin] + fault.new + text[place.end:]).encode())
        for program in [tools] if in_tools and not everything else [*unit, tools]:
            if seen_by and not everything:
                break
            if error := program.build():
                raise FaultError(f"{fault.name} does not compile: {error}")
            seen_by += program.seen_by(everything)
    finally:
        place.path.write_bytes(original)
    return {"fault": fault.name, "file": str(place.path.relative_to(ROOT)), "seen_by": seen_by,
            "seconds": round(time.monotonic() - begin, 1)}


def read_results(path):
    lines = path.read_text(encoding="utf-8").splitlines() if path.exists() else []
    return {result["fault"]: result for result in map(json.loads, lines)}


def show(result):
    names = result["seen_by"]
    shown = "; ".join(names[:2]) + (" ..." if len(names) > 2 else "")
    print(f"{result['fault']:36} {len(names):4}  {shown or 'NO TEST SEES IT'}", flush=True)


def configure(folder):
    if not (folder / "build.ninja").exists():
        code, output = run("cmake", "-S", str(ROOT), "-B", str(folder), *OPTIONS, seconds=BUILD_SECONDS)
        if code != 0:
            raise FaultError(f"cannot configure {folder}:\n{output}")


def plant_all(places, options):
    """Tries every fault; the results so far are in the file at any time. Answers them and what could not be tried."""
    folder, results, broken = options.build, read_results(options.output), []
    configure(folder)
    unit = [CGoogleTests(name, [name], folder, str(folder / "bin" / name)) for name in UNIT_TESTS]
    tools = CToolsTests("tools", TOOLS, folder, str(ROOT / "tests/tools/run.sh"), str(folder / "bin"))
    for program in (*unit, tools):
        program.measure()
    for fault, place in places.items():
        try:
            results[fault.name] = try_fault(fault, place, unit, tools, options.all)
        except FaultError as error:
            broken.append(str(error))
            print(error, flush=True)
            continue
        show(results[fault.name])
        options.output.write_text("".join(json.dumps(result) + "\n" for result in results.values()), encoding="utf-8")
    for program in (*unit, tools):
        program.build()  # as it was
    return results, broken


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--faults", type=pathlib.Path, default=ROOT / "scripts/faults.txt", help="the list of faults")
    parser.add_argument("--only", action="append", metavar="NAME", help="this fault alone; may be given several times")
    parser.add_argument("--list", action="store_true", help="show where each fault would be planted, plant none")
    parser.add_argument("--all", action="store_true", help="run all tests for every fault")
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/faults", help="build folder")
    parser.add_argument("--output", type=pathlib.Path, help="JSON lines; results of faults not tried now are kept "
                                                            "(default: results.jsonl in the build folder)")
    parser.add_argument("--against", type=pathlib.Path, metavar="FILE", help="list what was seen there and is not now")
    options = parser.parse_args()
    options.build = options.build.resolve()
    options.output = options.output or options.build / "results.jsonl"

    faults = read_faults(options.faults)
    if unknown := set(options.only or ()) - {fault.name for fault in faults}:
        raise FaultError(f"no fault is called {', '.join(sorted(unknown))}")
    before = read_results(options.against) if options.against else {}
    places, broken = {}, []
    for fault in faults:
        if options.only and fault.name not in options.only:
            continue
        try:
            places[fault] = locate(fault)
        except FaultError as error:
            broken.append(str(error))
    if options.list:
        for fault, place in places.items():
            print(f"{fault.name:36} {place.path.relative_to(ROOT)}")
        results, tried = {}, []
    else:
        results, not_compiled = plant_all(places, options)
        broken += not_compiled
        tried = [results[fault.name] for fault in places if fault.name in results]
        unseen = [result["fault"] for result in tried if not result["seen_by"]]
        print(f"{len(tried)} faults tried, {len(tried) - len(unseen)} seen; not seen: {', '.join(unseen) or 'none'}")
    seen = {result["fault"] for result in tried if result["seen_by"]}
    expected = options.only or (() if options.list else before)
    lost = [name for name in expected if name not in seen and before.get(name, {}).get("seen_by")]
    for line in broken:
        print(f"not tried: {line}", file=sys.stderr)
    for name in lost:
        print(f"no longer seen: {name} (was by {before[name]['seen_by'][0]})", file=sys.stderr)
    return 1 if broken or lost else 0


if __name__ == "__main__":
    os.nice(10)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))  # as Ctrl-C: what was planted is taken out again
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit("interrupted; the sources are as they were")
    except FaultError as problem:
        sys.exit(f"plant_faults.py: {problem}")
