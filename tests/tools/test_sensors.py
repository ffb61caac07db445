"""vxtctl sensors: readings, the live screen, streams and recordings."""

import csv
import fcntl
import io
import json
import os
import pty
import re
import resource
import select
import signal
import struct
import subprocess
import termios
import time
from datetime import datetime

import pytest

from tools import FOLDER, MACHINES, SOURCE, answer, parsed, read, run, table, write

SENSORS = [f"/south-bridge/0/{kind}/{n}" for kind, count in (("temperature", 4), ("fan", 3), ("voltage", 8)) for n in range(count)]


CHILDREN = []


@pytest.fixture(autouse=True)
def nobody_stays():
    yield
    for child in CHILDREN:
        child.kill()
        child.wait()
    CHILDREN.clear()


def start(line, prepare=lambda: None, **options):
    """Starts it with Ctrl-C at work, also where the tests run in the background."""
    words = line.split()
    CHILDREN.append(subprocess.Popen([FOLDER / words[0], *words[1:]], preexec_fn=lambda: (signal.signal(signal.SIGINT, signal.SIG_DFL), prepare()), **options))
    return CHILDREN[-1]


def start_piped(line, **options):
    return start(line, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **options)


def wait_for(condition):
    for _ in range(500):
        if condition():
            return
        time.sleep(0.01)
    raise AssertionError("it does not come")


# --- readings ---------------------------------------------------------------------------------------------------------------

# Of the dumps: RPM = 675000 / count; the bridge's temperatures in 300.626 / 1792 K above 1.5 K, voltages ten bits of 2.933 mV.
@table("sensor, value, text", [
    ("environment/0/fan/0", 675000 // 0xC7, "3391"), ("environment/0/fan/1", None, "-"), ("environment/0/duty/0", 100, "100"),
    ("south-bridge/0/fan/0", 675000 / 0x256, "1129"), ("south-bridge/0/fan/2", None, "-"), ("south-bridge/0/voltage/0", (0x6640 >> 6) * 0.002933, "1.1996"),
    ("south-bridge/0/temperature/0", (0xE3C - 1792) * 300.626 / 1792 + 1.5 - 273.16, "39.0"), ("cpu/1/voltage/0", 1.25, "1.2500"),
])
def test_a_sensor_reads_what_its_registers_say(sensor, value, text):
    row, = answer(f"vxtctl sensors {sensor} --machine desktop-a")["sensors"]
    assert row["value"] == (None if value is None else pytest.approx(value, abs=1e-4)) and row["id"] == "/" + sensor
    assert re.search(rf"{row['label']} +{re.escape(text)}  {row['unit']}(  |$)", run(f"vxtctl sensors {sensor} --machine desktop-a").out, re.M)
    cells, = csv.DictReader(io.StringIO(run(f"vxtctl sensors {sensor} --machine desktop-a --csv").out))
    assert (cells["value"], cells["device"]) == ("" if value is None else json.dumps(row["value"]), "/" + sensor.rsplit("/", 2)[0])


@table("words, expected", [
    ("fan", {"/south-bridge/0/fan", "/environment/0/fan"}), ("/cpu/1 south-bridge/0/Voltage", {"/cpu/1/temperature", "/cpu/1/voltage", "/south-bridge/0/voltage"}),
    ("environment", {"/environment/0/fan", "/environment/0/duty"}),
    ("fan/1", {"/south-bridge/0/fan", "/environment/0/fan"}),
])
def test_words_choose_kinds_devices_and_ids(words, expected):
    assert {row["id"].rsplit("/", 1)[0] for row in answer(f"vxtctl sensors {words} --machine desktop-a")["sensors"]} == expected


def test_where_there_are_no_sensors_that_is_said():
    write("DeviceList.cfg", "[on]\nBoard\n")
    assert run("vxtctl sensors").code == 3
    os.remove("DeviceList.cfg")
    found = run("vxtctl sensors temprature")
    assert found.code == 3 and "did you mean 'temperature'?" in found.err


def test_no_stand_in_for_a_reading_leaves_the_tool():
    write("open.machine", "[machine]\nbased_on = family10h-ddr3\nwithout = index_ports, superio\n")
    for machine in [*MACHINES, "open.machine"]:
        rows = answer(f"vxtctl sensors --machine {machine}")["sensors"]
        assert all((row["value"] is None) == bool(row["reason"]) and (row["kind"] == "duty" or row["value"] != 0) for row in rows), machine
    measured = [row for row in rows if row["device"] == "/south-bridge/0" and row["kind"] != "duty"]
    assert [row["id"] for row in measured] == SENSORS and {row["value"] for row in measured} == {None}
    assert not re.search(r"-9999|65535|4294957|\binf\b|\bnan\b", run("vxtctl sensors --machine open.machine").out)


@pytest.fixture
def hot():
    """The default machine with its first temperature at (E149h - 43613) / 148 = 95 degrees."""
    text = read(SOURCE / "machines/family10h-ddr3.machine")
    row = re.search(r"(?m)^\[index_ports CD0\]\n(?:.*\n)*?(40: .*)$", text).group(1)
    write("hot.machine", text.replace(row, row[:4 + 3 * 6] + "49 e1" + row[4 + 3 * 8 - 1:]))


def test_a_temperature_above_its_limit_is_marked_and_a_finding(hot):
    text, document = run("vxtctl sensors --machine hot.machine"), answer("vxtctl sensors --machine hot.machine", 6)
    row = next(row for row in document["sensors"] if row["id"] == "/south-bridge/0/temperature/0")
    assert (row["value"], row["status"], row["limits"]["max"]) == (95, "ok", 92)
    assert document["findings"] == ["south-bridge/0/temperature/0: 95.0 °C is above its limit of 92.0 °C"] == text.err.splitlines()
    assert re.findall(r"(\w+ \d) +[\d.]+  °C +92.0 exceeded$", text.out, re.M) == ["Temperature 0"] and text.code == 6


def test_a_core_voltage_that_cannot_be_read_is_a_finding():
    seen = [found for seed in range(1, 40) if "cpu/0/voltage/0 could not be read" in (found := run(f"vxtctl sensors cpu --json --fault seed={seed},rate=2,kinds=fail")).out]
    assert seen and {(found.code, "cpu/0/voltage/0 could not be read" in parsed(found.out)["findings"]) for found in seen} == {(6, True)}


# --- streams -----------------------------------------------------------------------------------------------------------------

def test_each_line_of_json_is_a_sample_on_a_grid_and_the_last_one_sums_up():
    found = run("vxtctl sensors --watch --json --interval 0.1 --count 6 --fault seed=3,rate=4,kinds=ones")
    events = [parsed(line) for line in found.out.splitlines()]
    assert [(event["event"], event["samples"]) for event in events] == [("sample", n) for n in range(1, 7)] + [("summary", 6)] and found.code == 6
    times = [datetime.fromisoformat(event["ts"][:-1]).timestamp() for event in events[:-1]]
    assert [when - times[0] for when in times] == [pytest.approx(n * 0.1, abs=0.06) for n in range(6)]
    varied = 0
    for place, last in enumerate(events[-1]["sensors"]):
        values = [value for event in events[:-1] if (value := event["sensors"][place]["value"]) is not None]
        varied += len(set(values)) > 1 or 0 < len(values) < 6
        expected = (len(values), min(values, default=None), max(values, default=None), pytest.approx(sum(values) / len(values), abs=1e-5) if values else None)
        assert (last["readings"], last["minimum"], last["maximum"], last["average"]) == expected, last["id"]
    assert varied > 2 and any("went wrong" in finding for finding in events[-1]["findings"])


def test_elsewhere_a_sample_is_a_line_of_pairs_or_of_cells():
    line = "vxtctl sensors environment/0/fan cpu/0/voltage --machine desktop-a --watch --interval 0.1 --count 2"
    stamp = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z"
    assert re.fullmatch(rf"({stamp} cpu/0/voltage/0=1\.2500 environment/0/fan/0=3391 environment/0/fan/1=- environment/0/fan/2=-\n){{2}}", run(line).out)
    assert re.fullmatch(rf"ts,/cpu/0/voltage/0,/environment/0/fan/0,/environment/0/fan/1,/environment/0/fan/2\n({stamp},1\.25,3391,,\n){{2}}", run(line + " --csv").out)


@table("how, code", [(signal.SIGINT, 130), (signal.SIGTERM, 130), ("close", 1)])
def test_a_stream_ends_quietly_when_it_is_asked_to_or_its_reader_goes(how, code):
    child = start_piped("vxtctl sensors cpu/0 --watch --json --interval 0.1")
    assert parsed(child.stdout.readline())["event"] == "sample"  # at once
    if how == "close":
        child.stdout.close()
        assert (child.wait(10), child.stderr.read()) == (code, "")
    else:
        child.send_signal(how)
        out, err = child.communicate(timeout=10)
        assert (child.returncode, err, parsed(out.splitlines()[-1])["event"]) == (code, "", "summary")


# --- the live screen -----------------------------------------------------------------------------------------------------------

class Terminal:
    """A terminal with a command on it, and what a person would see there."""

    def __init__(self, line, rows, columns):
        self.master, slave = pty.openpty()
        self.shown, self.screen, self.row, self.column, self.visible, self.second = "", [], 0, 0, True, False
        self.resize(rows, columns)
        self.end_of_patience = time.monotonic() + 20
        self.child = start(line, lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0), stdin=slave, stdout=slave, stderr=slave, start_new_session=True,
                           env={**os.environ, "NO_COLOR": "1"})
        os.close(slave)

    def resize(self, rows, columns):
        self.rows, self.columns, self.screen = rows, columns, [""] * rows
        fcntl.ioctl(self.master, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))

    def next(self):
        """Takes what was written last; false at the end."""
        assert select.select([self.master], [], [], max(0, self.end_of_patience - time.monotonic()))[0], f"it does not come: {self.shown}"
        try:
            piece = os.read(self.master, 1 << 16).decode()
        except OSError:
            return False
        self.shown += piece
        for token in re.findall(r"\033\[[?\d]*[A-Za-z]|\r|\n|[^\033\r\n]+", piece):
            self.take(token)
        return True

    def take(self, token):
        line = self.screen[self.row]
        if token in ("\033[?25l", "\033[?25h"):
            self.visible = token.endswith("h")
        elif token in ("\033[?1049h", "\033[?1049l"):
            self.second, self.screen, self.row, self.column = token.endswith("h"), [""] * self.rows, 0, 0
        elif token == "\033[H":
            self.row = self.column = 0
        elif token == "\033[K":
            self.screen[self.row] = line[:self.column]
        elif token == "\033[J":
            self.screen[self.row:] = [line[:self.column]] + [""] * (self.rows - self.row - 1)
        elif token == "\r":
            self.column = 0
        elif token == "\n":
            assert not self.second or self.row + 1 < self.rows, "the screen scrolls"
            self.row = min(self.row + 1, self.rows - 1)
        elif not token.startswith("\033"):
            self.screen[self.row] = line[:self.column].ljust(self.column) + token + line[self.column + len(token):]
            self.column += len(token)
            assert not self.second or self.column <= self.columns, token

    def until(self, condition):
        while not condition():
            assert self.next(), f"it ended: {self.shown}"

    def end(self):
        while self.next():
            pass
        os.close(self.master)
        return self.child.wait()


def test_the_live_screen_follows_the_window_and_gives_the_terminal_back():
    terminal = Terminal("vxtctl sensors --watch --interval 5", 50, 100)
    terminal.until(lambda: "F71889" in terminal.screen and terminal.shown.endswith("\033[H"))
    assert (terminal.second, terminal.visible) == (True, False) and terminal.screen[0].startswith("Sample 1, ")
    assert re.search(r"Temperature 0 +42\.0  °C +42\.0 +42\.0 +42\.0 +92\.0$", "\n".join(terminal.screen), re.M)
    lines = terminal.screen.index("")
    for rows, last in ((lines, "  Voltage 7"), (lines - 1, "... 2 more lines")):  # the next sample is far away
        terminal.resize(rows, 100)
        terminal.until(lambda: terminal.screen[-1].startswith(last))
    terminal.resize(12, 44)
    terminal.until(lambda: "more lines" in terminal.screen[-1])
    assert "Average" not in terminal.screen[1] and terminal.screen[0].startswith("Sample 1, ")
    os.write(terminal.master, b"\x03")
    assert (terminal.end(), terminal.visible, terminal.second) == (130, True, False)
    kept = terminal.shown.rsplit("\033[?1049l", 1)[1]
    assert kept.startswith("Sensors, samples: 1\r\n") and "Voltage 7" in kept


def test_a_picture_is_one_write_and_clears_nothing_that_it_draws_again():
    terminal = Terminal("vxtctl sensors cpu --watch --interval 0.1 --count 3", 30, 80)
    assert terminal.end() == 0
    pictures = re.findall(r"\033\[H(Sample \d.*?)\033\[J\033\[H", terminal.shown, re.S)
    assert [picture[:8] for picture in pictures] == ["Sample 1", "Sample 2", "Sample 3"]
    assert {re.sub(r"\033\[K", "", picture).count("\033") for picture in pictures} == {0} and "\033[2J" not in terminal.shown


@table("signals, codes", [((signal.SIGTERM,), {130}), ((signal.SIGHUP,), {130}), ((signal.SIGINT, signal.SIGTERM), {-signal.SIGINT, -signal.SIGTERM})])
def test_on_every_way_out_the_cursor_is_back(signals, codes):
    terminal = Terminal("vxtctl sensors cpu --watch", 30, 80)
    terminal.until(lambda: terminal.shown.endswith("\033[H"))
    os.kill(terminal.child.pid, signal.SIGSTOP)  # a second one ends it before it can do anything about the first
    for each in (*signals, signal.SIGCONT):
        os.kill(terminal.child.pid, each)
    assert terminal.end() in codes and (terminal.visible, terminal.second) == (True, False)


def test_a_process_that_the_shell_stops_leaves_the_screen_and_draws_it_again():
    terminal = Terminal("vxtctl sensors cpu --watch --interval 9", 30, 80)
    terminal.until(lambda: terminal.shown.endswith("\033[H"))
    os.kill(terminal.child.pid, signal.SIGTSTP)
    wait_for(lambda: read(f"/proc/{terminal.child.pid}/stat").split()[2] == "T")
    terminal.until(lambda: not terminal.second and terminal.visible)
    os.kill(terminal.child.pid, signal.SIGCONT)
    terminal.until(lambda: terminal.second and not terminal.visible and terminal.screen[0].startswith("Sample 1, "))
    os.close(terminal.master)  # and a terminal that goes away ends it
    assert terminal.child.wait(10) == 130


# --- recordings -----------------------------------------------------------------------------------------------------------------

RECORD = "vxtctl sensors cpu/0 fan --machine desktop-a --record log.csv"


def rows():
    """The recording's lines, which have to be whole ones."""
    lines = list(csv.reader(io.StringIO(read("log.csv"))))
    assert read("log.csv").endswith("\n") and {len(line) for line in lines} == {9} and lines[0][:3] == ["ts", "/cpu/0/temperature/0", "/cpu/0/voltage/0"]
    assert [line[0] for line in lines[1:]] == sorted(line[0] for line in lines[1:])
    return lines[1:]


def test_a_recording_grows_and_a_torn_line_is_taken_away():
    summary = parsed(run(f"{RECORD} --interval 0.1 --count 2 --json").out)
    assert (summary["event"], summary["samples"], len(rows())) == ("summary", 2, 2) and rows()[0][3:] == [f"{675000 / 0x256:.6f}", f"{675000 / 0x274:.6f}", "", "3391", "", ""]
    write("log.csv", read("log.csv") + "2009-12-04T08:30:00.250Z,35,1.")
    again = run(f"{RECORD} --count 1")
    assert (again.code, again.err, len(rows())) == (0, "log.csv: its last line was incomplete and is gone\n", 3)
    write("log.csv", read("log.csv")[:20])  # the heading, torn
    assert run(f"{RECORD} --count 1").code == 0 and len(rows()) == 1


@table("text", ["precious", "ts,/cpu/0/temperature/0\n", "t" * 5000])
def test_a_file_of_something_else_is_left_as_it_is(text):
    write("log.csv", text)
    found = run(f"{RECORD} --count 1")
    assert (found.code, read("log.csv")) == (1, text) and "its first line is not the heading" in found.err


def test_who_is_killed_leaves_whole_lines_and_nobody_else_writes_meanwhile():
    child = start_piped(f"{RECORD} --interval 0.1")
    wait_for(lambda: os.path.exists("log.csv") and read("log.csv").count("\n") > 2)
    second = run(f"{RECORD} --count 1")
    assert (second.code, second.err) == (1, "vxtctl: cannot write log.csv: another process is writing to it\n")
    child.kill()
    child.communicate()
    assert len(rows()) >= 2 and run(f"{RECORD} --count 1").code == 0


def test_a_full_disk_ends_a_recording_with_whole_lines():
    limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (250, 250))
    out, err = (child := start_piped(f"{RECORD} --interval 0.1 --watch", prepare=limit, restore_signals=False)).communicate(timeout=10)
    assert (child.returncode, err) == (1, "vxtctl: cannot write log.csv: File too large\n") and out.count("\n") == len(rows()) == 1
    assert run(RECORD.replace("log.csv", "/dev/full")).err == "vxtctl: cannot write /dev/full: No space left on device\n"


def test_a_recording_can_be_watched_on_the_screen():
    terminal = Terminal(f"{RECORD} --watch --interval 0.1 --count 2", 30, 80)
    assert (terminal.end(), len(rows())) == (0, 2) and "Sample 2, " in terminal.shown
