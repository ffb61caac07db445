"""The closing line that `./test` counts, and the table form of the cases in tests/cases/."""

import inspect
import pathlib

import pytest

from tools import FIRMWARE, write

CASES = pathlib.Path(__file__).resolve().parents[1] / "cases"


def pytest_generate_tests(metafunc):
    """@pytest.mark.rows("FILE"): one test for each line `case | cell | cell ...` of tests/cases/FILE."""
    marker = metafunc.definition.get_closest_marker("rows")
    if marker:
        lines = (CASES / marker.args[0]).read_text(encoding="utf-8").splitlines()
        rows = [[cell.strip() for cell in line.split(" | ")] for line in lines if line and not line.startswith("#")]
        metafunc.parametrize(list(inspect.signature(metafunc.function).parameters), [row[1:] for row in rows], ids=[row[0] for row in rows])


def pytest_configure(config):
    config.addinivalue_line("markers", "rows(file): one test for each line of tests/cases/FILE")


@pytest.hookimpl(trylast=True)
def pytest_unconfigure(config):
    if hasattr(config, "workerinput"):
        return  # one process of several: the first one counts
    stats = config.pluginmanager.get_plugin("terminalreporter").stats
    count = lambda *kinds: sum(len(stats.get(kind, [])) for kind in kinds)
    print(f"{count('passed')} passed, {count('failed', 'error')} failed")


@pytest.fixture(autouse=True)
def folder(tmp_path, monkeypatch):
    """Each test has a folder of its own, with a machine whose firmware can be tuned, and no terminal's settings."""
    monkeypatch.chdir(tmp_path)
    monkeypatch.delenv("COLUMNS", raising=False)
    monkeypatch.setenv("TERM", "xterm")
    write("fw.machine", FIRMWARE)
