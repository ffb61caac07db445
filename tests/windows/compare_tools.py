#!/usr/bin/python3
"""compare_tools.py BUILD32 BUILD64 NATIVE: what vxtctl and vxtdiag say on Windows is what they say natively.

The same machine, once with everything simulated in one process and once through driver service, driver, management service
and 32-bit library. One Windows for each machine; in it every command finds the machine as its file describes it. One line
per command; the last line is "N passed, N failed".
"""

import concurrent.futures
import difflib
import json
import os
import pathlib
import shlex
import shutil
import subprocess
import sys
import tempfile

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "tools"))
import by_hand  # noqa: E402

BUILD32, BUILD64, NATIVE = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
SOURCE = pathlib.Path(__file__).resolve().parents[2]

READS = [f"vxtctl {command} --json".replace("  ", " ")
         for command in ("", "cpu", "devices", "memory", "links", "northbridge", "clocks", "voltages", "sensors", "modules --raw", "disks", "devices --all")]
# Profiles: the machine's sample; what was saved natively is in force on Windows, and the other way round (see run_machine).
READS += [f"vxtctl profile {command} --json" for command in ("show sample.xml", "diff sample.xml", "save saved.xml", "verify native.xml", "diff sample.xml native.xml")]
READS += [f"vxtdiag {command} --json" for command in ("firmware", "cmos", "acpi", "pci")]
WRITES = {
    "family10h-ddr2": ["vxtctl links set frequency=6 --yes", "vxtctl links --output 'Übersicht-日本.txt'"],
    "family10h-ddr3": ["vxtctl cpu set --core 1 --pstate 2 --yes",
                       "vxtctl memory set tcl=8 slow_access=on --yes",
                       "vxtctl clocks set external=205 pcie=101 --yes",
                       "vxtctl voltages set memory_voltage=1.6 --yes",
                       "vxtdiag cmos set 'Core Trim Boost=Disabled' --yes", "vxtctl ctb set on --yes",
                       "vxtctl fan set environment/0/fan/1=50 --yes", "vxtctl fan set environment/0/fan/2=60 --yes",
                       "vxtctl watchdog start --yes", "vxtctl watchdog stop --yes"],
    "k8-revf-dual": ["vxtctl cpu set --multiplier 99 --yes"],
    "desktop-b": ["vxtctl tune --yes --json", "vxtctl tune --status --json", "vxtctl AutoTune --json"],
}
# A profile of the machine as its file has it brings everything back that was changed by hand; without a word it does not stay.
PROFILE = ["vxtctl profile apply native.xml --yes", "vxtctl profile diff native.xml --json", "vxtctl profile rollback --yes",
           "vxtctl profile apply native.xml --yes --confirm 60"]
# Behind the writes of a machine whose state is kept: what they left.
KEPT = [f"vxtctl {command} --json" for command in ("cpu", "memory", "links", "clocks", "voltages", "fan", "ctb")] + ["vxtdiag cmos --json"]
STRESS = ["vxtctl stress --seconds 2 --kind int --cores 1,2 --json"]
# A firmware whose answers have other types than they should have.
ODD = """
[firmware answer GetValue]
value = text:200000
[firmware answer GetInfo]
x = null_numbers
[firmware answer GetDValues]
DValueBuffer = bytes:00 01
[firmware answer RunCMD]
Result = numbers:1 2 3
"""

USAGE = ("usage",)                             # of real time on Windows, of virtual time natively
MEASURED = ("core_clock", "reference_clock")   # through mapped memory the timer is seen at requests only
TOLERANCE = 0.005


def differences(here, there, path="", key=""):
    """Where two documents differ, except in what depends on the time."""
    if isinstance(here, dict) and isinstance(there, dict):
        name = str(here.get("id", "")).rsplit("/", 1)[-1]
        if name in USAGE or (name in MEASURED and None in (here.get("value"), there.get("value"))):
            return []  # a measurement may fail on a busy machine
        found = [f"{path}: keys {sorted(here.keys() ^ there.keys())}"] if here.keys() != there.keys() else []
        return found + [line for word in here.keys() & there.keys()
                        for line in differences(here[word], there[word], f"{path}/{word}", name)]
    if isinstance(here, list) and isinstance(there, list) and len(here) == len(there):
        return [line for i, pair in enumerate(zip(here, there)) for line in differences(*pair, f"{path}/{i}", key)]
    if key in MEASURED and path.endswith(("/value", "/minimum")) and abs(here - there) <= TOLERANCE * abs(here):
        return []
    return [] if here == there and type(here) is type(there) else [f"{path}: natively {here!r}, on Windows {there!r}"]


def steady(document):
    """Without what goes by how fast either system computes."""
    if document["command"] == "stress" and "run" in document:
        del document["message"], document["ts"], document["samples"], document["run"]["lasted"]
        for row in document["cores"]:
            row["integer_passes"] = row["integer_passes"] > 0
        for row in document["sensors"]:
            del row["readings"]
    if document["command"] in ("tune", "AutoTune"):
        del document["begun"], document["ended"], document["message"]
        if document["plan"]:
            del document["plan"]["record"]
        for row in document["points"]:
            del row["begun"]
            row["error"] = bool(row["error"])
    return document


def compare(native, windows, status_native, status_windows):
    if status_native != status_windows:
        return [f"status {status_windows}, natively {status_native}"]
    try:
        return differences(steady(json.loads(native)), steady(json.loads(windows)))
    except ValueError:  # a change tells what it did as text; what is not there says nothing
        return [] if native == windows else [f"natively:\n{native}\non Windows:\n{windows}"]


def natively(machine, folder, *words):
    return subprocess.run([NATIVE / "bin/vxtctl", "--machine", machine, *words], cwd=folder, text=True, capture_output=True, check=False)


def changes_by_hand(machine):
    with tempfile.TemporaryDirectory() as folder:
        return by_hand.changes(json.loads(natively(machine, folder, "profile", "--json").stdout)["settings"])[0]


def run_machine(machine, commands, keeps=False):
    """Runs all commands on one machine, on both systems; yields (command, differences, status). Each finds the machine as its
    file describes it or, where the state is kept, as the command before left it."""
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        # Windows has a BIOS of its own.
        (work / "DeviceList.cfg").write_text("[off]\nBIOS\n", encoding="utf-8")
        (work / "commands").write_text("".join(command + "\n" for command in commands), encoding="utf-8")
        there, here = (["--state", work / name] * keeps for name in ("windows.state", "native.state"))
        kept = {**os.environ, "XDG_STATE_HOME": str(work / "notes")}  # this machine's alone
        sample = SOURCE / f"examples/{pathlib.Path(machine).stem}.xml"
        if commands == READS:
            shutil.copy(sample, work / "sample.xml")
        if commands == READS or keeps:
            natively(machine, work, "profile", "save", "native.xml")
        subprocess.run([SOURCE / "scripts/wine_host.sh", "--machine", machine, *there, "--in", work, "--each", "commands",
                        BUILD32, BUILD64, BUILD32 / "bin/vxtctl.exe", BUILD32 / "bin/vxtdiag.exe"],
                       stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=kept, check=False)
        if commands == READS:
            if (work / "saved.xml").exists():
                (work / "saved.xml").rename(work / "windows.xml")
            verdict = natively(machine, work, "profile", "diff", "windows.xml")
            yield "what Windows saved", [] if verdict.returncode == 0 else [verdict.stdout + verdict.stderr], verdict.returncode
        for number, command in enumerate(commands):
            words = shlex.split(command)
            native = subprocess.run([NATIVE / "bin" / words[0], "--machine", machine, *here, *words[1:]], cwd=work, text=True,
                                    stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, env=kept, check=False)
            answer, status = work / f"{number}.out", work / f"{number}.status"
            if not status.exists():
                yield command, ["did not run on Windows"], native.returncode
                continue
            yield command, compare(native.stdout, answer.read_text(encoding="utf-8").replace("\r", ""),
                                   native.returncode, int(status.read_text())), native.returncode
        if keeps:
            texts = [(work / name).read_text(encoding="utf-8").splitlines() for name in ("native.state", "windows.state")]
            yield "the state file", [line for line in difflib.unified_diff(*texts, lineterm="", n=0)], 0


def main():
    passed = failed = 0
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(2 * os.cpu_count()) as pool:
        odd = pathlib.Path(folder) / "odd-answers.machine"
        odd.write_text((SOURCE / "machines/family10h-ddr3.machine").read_text(encoding="utf-8") + ODD, encoding="utf-8")
        machines = sorted(path.stem for path in (SOURCE / "machines").glob("*.machine"))
        rows = [(machine, READS) for machine in machines]
        rows += [(machine, WRITES.get(machine, []) + changes_by_hand(machine) + PROFILE + KEPT, True) for machine in machines]
        rows.append(("family10h-ddr3", STRESS))
        rows.append((str(odd), [line for line in READS if line.split()[1] in ("clocks", "voltages", "firmware", "cmos")]))
        for (machine, *_), results in zip(rows, pool.map(lambda row: list(run_machine(*row)), rows)):
            for command, found, status in results:
                print("FAIL" if found else "ok  ", f"{command} on {pathlib.Path(machine).name} answers as natively, status {status}")
                for line in found[:20]:
                    print("     " + line)
                passed, failed = passed + (not found), failed + bool(found)
    print(f"{passed} passed, {failed} failed")
    return failed != 0


sys.exit(main())
