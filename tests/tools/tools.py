"""What the tests of the tools share: running a command line, its answer held against the schema, machines and readings."""

import fcntl
import glob
import json
import os
import pathlib
import pty
import re
import select
import shlex
import shutil
import struct
import subprocess
import termios
from collections import namedtuple

import jsonschema
import pytest

FOLDER = pathlib.Path(os.environ["VXT_TOOLS"])
SOURCE = pathlib.Path(__file__).resolve().parents[2]
SCHEMA = jsonschema.Draft202012Validator(json.loads((SOURCE / "docs/schema/vxt-output-1.schema.json").read_text(encoding="utf-8")))
TOOLS = ("vxtctl", "vxtdiag")
MACHINES = sorted(path.stem for path in (SOURCE / "machines").glob("*.machine"))
FIRMWARE = "[machine]\nbased_on = family10h-ddr2\n" + (SOURCE / "tests/tools/firmware_sections.txt").read_text(encoding="utf-8")

Answer = namedtuple("Answer", "code out err")
table = pytest.mark.parametrize


def write(name, text):
    pathlib.Path(name).write_text(text, encoding="utf-8")


def read(name):
    return pathlib.Path(name).read_text(encoding="utf-8", errors="replace")


def run(line, env=None):
    """Runs one command line from the tools' folder."""
    words = shlex.split(line)
    result = subprocess.run([FOLDER / words[0], *words[1:]], stdin=subprocess.DEVNULL, capture_output=True, timeout=120,
                            env={**os.environ, **(env or {})}, check=False)
    return Answer(result.returncode, result.stdout.decode(), result.stderr.decode())


def run_on_terminal(line, typed="", env=None, columns=0):
    """The same on a terminal of its own, which does not tell its width when `columns` is 0; types once the tool asks.
    Everything is in `out`."""
    words = shlex.split(line)
    master, slave = pty.openpty()
    fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 50, columns, 0, 0))
    child = subprocess.Popen([FOLDER / words[0], *words[1:]], stdin=slave, stdout=slave, stderr=slave, env={**os.environ, **(env or {})},
                             start_new_session=True, preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
    os.close(slave)
    shown = b""
    try:
        while select.select([master], [], [], 60)[0]:
            shown += os.read(master, 65536)
            if typed and b"[y/N]" in shown:
                os.write(master, typed.encode())
                typed = ""
        child.kill()  # it hangs
    except OSError:
        pass  # the other side is gone
    os.close(master)
    return Answer(child.wait(), shown.decode(), "")


def refuse(constant):
    raise ValueError(f"JSON has no {constant}")


def parsed(text):
    """JSON, which has to fit the published schema."""
    document = json.loads(text, parse_constant=refuse)
    error = jsonschema.exceptions.best_match(SCHEMA.iter_errors(document))
    assert error is None, f"{error.json_path}: {error.message[:400]}"
    return document


def answer(line, code=0):
    found = run(line + " --json")
    assert found.code == code, f"{line}: {found.err}"
    return parsed(found.out)


def quantities(node):
    if isinstance(node, dict):
        if "value" in node and "status" in node:
            yield node
        node = node.values()
    if not isinstance(node, str):
        for child in node if hasattr(node, "__iter__") else ():
            yield from quantities(child)


def reading(document, path):
    return next(quantity for quantity in quantities(document) if quantity["id"] == path)


def settings(machine):
    memory = answer(f"vxtctl memory --machine {machine}")
    return {row["id"].rsplit("/", 1)[1]: row for row in memory["timings"] + memory["configuration"]}


def driver_writes(line):
    """The driver's write requests (MSR, PCI, memory) of a command, where to and what, none of them carried out. Ports are left
    out: to look at a Super I/O chip is to write its index port."""
    return re.findall(r"fault: write of ((?!port).+), ([0-9A-F ]+), was dropped", run(f"{line} --fault seed=1,rate=100,kinds=drop").err)


DEAF_WRITES = "\n[firmware answer SetValue]\nfails = 1\n[firmware command 00030004]\nresult = 05 00 00 00\n"


def failed_writes():
    """Takes the log and counts its lines about firmware writes that went wrong; DEAF_WRITES leaves one for each."""
    text = "".join(read(name) for name in glob.glob("Logs/*/*/*.log"))
    shutil.rmtree("Logs", ignore_errors=True)
    return len(re.findall(r"in (?:CQORBIOSHandler::SetValue|CCMOSItemList::SetItemValue)\b", text))
