"""Sensor chips in snapshots: the registers behind their ports, and that reading them leaves the PC as it was."""

import re

from test_tools import machine_sections, sections
from tools import MACHINES, answer, read, run, table


def chips(found):
    """Their dumps, without the zeros that a file leaves out."""
    return {re.sub("memory 0*", "memory ", name): [row for row in rows if set(row.split()[1:]) != {"00"}]
            for name, rows in found.items() if re.match(r"\[(index_ports|superio|memory 0?fec)", name)}


@table("machine", MACHINES)
def test_a_snapshot_has_the_sensor_chips_and_their_fans(machine):
    original = machine_sections(machine)
    before = run(f"vxtctl --state pc.state --machine {machine}").code, read("pc.state")
    assert run("vxtdiag snapshot copy.machine --state pc.state").code == before[0] == 0
    assert read("pc.state") == before[1]
    copied = sections(read("copy.machine"))
    assert chips(copied) == chips(original)
    fans = {name: int(rows[0].split()[-1]) for name, rows in original.items() if name.startswith("[fan")}
    assert fans
    for name, speed in fans.items():
        assert abs(int(copied[name][0].split()[-1]) - speed) <= speed / 100, name
    assert answer("vxtctl devices --machine copy.machine") == answer(f"vxtctl devices --machine {machine}")
