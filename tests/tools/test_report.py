"""The report: one page that anybody's browser shows, whatever the hardware calls itself."""

import html.parser
import pathlib
import re
import subprocess

import pytest

from test_devices import SPD, dump, spd
from tools import SOURCE, answer, quantities, read, run, table, write

SECTIONS = ["findings", "inventory", "processor", "sensors", "clocks", "voltages", "memory", "links", "north-bridge", "modules", "drives", "graphics", "monitors", "controllers", "input_devices",
            "boards", "bios"]
VOID = {"meta", "link", "br", "rect"}
HEADING = "ts,/south-bridge/0/temperature/0,/elsewhere/0/fan/1\n"
SAMPLES = "".join(f"2026-01-31T10:00:0{n}.000Z,{20 + n},{'' if n in (3, 4) else 1000 * (n + 1)}\n" for n in range(8))


class Page(html.parser.HTMLParser):
    """The elements of a page, which have to be closed in the order in which they were opened."""

    def __init__(self, text):
        super().__init__()
        self.tags, self.ids, self.open, self.text = [], [], [], ""
        self.feed(text)
        assert self.open == []

    def handle_starttag(self, tag, attrs):
        self.tags.append((tag, dict(attrs)))
        self.ids += [value for key, value in attrs if key == "id"]
        if tag not in VOID:
            self.open.append(tag)

    def handle_endtag(self, tag):
        if tag not in VOID:
            assert self.open.pop() == tag

    def handle_startendtag(self, tag, attrs):
        self.tags.append((tag, dict(attrs)))

    def handle_data(self, data):
        self.text += data


def shown(name="pc.html"):
    """What a browser makes of the page, and what it complains about."""
    found = subprocess.run(["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-background-networking", "--enable-logging=stderr",
                            f"--user-data-dir={pathlib.Path('profile').resolve()}", "--dump-dom", pathlib.Path(name).resolve().as_uri()], capture_output=True, timeout=120, check=True)
    return Page(found.stdout.decode()), re.findall(r"CONSOLE.*", found.stderr.decode(errors="replace"))


def test_a_browser_shows_all_of_it_and_loads_nothing():
    assert run("vxtctl report pc.html").code == 0
    page, complaints = shown()
    assert complaints == [] and page.ids == SECTIONS and page.tags.count(("section", {"aria-labelledby": "modules"})) == 1
    assert [attrs for tag, attrs in Page(read("pc.html")).tags if tag != "tbody"] == [attrs for tag, attrs in page.tags if tag != "tbody"]  # nothing had to be mended
    assert not re.search(r"<(script|link|img|iframe)|url\(|@import|\b(src|href)=\"[^#]", read("pc.html")) and "default-src 'none'" in read("pc.html")
    captions = sum(tag == "caption" for tag, _ in page.tags)
    assert captions == sum(tag == "table" for tag, _ in page.tags) > 15 and all("scope" in attrs for tag, attrs in page.tags if tag == "th")
    for quantity in quantities(answer("vxtctl memory")):
        assert quantity["label"] in page.text


def test_what_looks_wrong_stands_on_top_and_what_is_absent_is_no_finding():
    write("bad.machine", SPD + dump(b"\xff" * 256))
    document = answer("vxtctl report pc.html --machine bad.machine", 6)
    assert document["findings"] == ["/memory/0: its data are erased"]
    text = Page(read("pc.html")).text
    assert text.index("/memory/0: its data are erased") < text.index("cpu/0") and "bad.machine" in text
    assert run("vxtctl report pc.html --machine desktop-a").code == 0 and "firmware offers no clock generator" in read("pc.html")


@table("kinds", ["fail", "ones", "zero"])
def test_a_machine_that_is_hard_to_read_still_gets_its_page(kinds):
    document = answer(f"vxtctl report pc.html --fault seed=7,rate=8,kinds={kinds}", 6)
    page = Page(read("pc.html"))
    assert page.ids == SECTIONS and document["findings"] and all(finding in page.text for finding in document["findings"])


def test_text_of_a_device_or_a_file_does_not_break_out():
    data = spd()
    data[128:146] = b'"><script>&x\x1b</t>'
    brand = b"'\"><script>alert(1)</script><h2>".ljust(48, b"\0")
    words = [int.from_bytes(brand[at:at + 4], "little") for at in range(0, 48, 4)]
    leaves = "".join(f"8000000{2 + n} = " + " ".join(f"{word:08x}" for word in words[4 * n:4 * n + 4]) + "\n" for n in range(3))
    write('<b>"&.machine', SPD + dump(data) + "\n[cpuid]\n" + leaves)
    write("<i>&'.csv", HEADING + SAMPLES)
    assert run("""vxtctl report pc.html --machine '<b>"&.machine' --recording "<i>&'.csv" """).code == 0
    page, complaints = shown()
    assert complaints == [] and {"script", "b", "i"}.isdisjoint(tag for tag, _ in page.tags) and not re.search(r"[\0-\x08\x0b-\x1f\x7f]", read("pc.html"))
    for text in ('<b>"&.machine', "<i>&'.csv", brand.rstrip(b"\0").decode(), '"><script>&x'):
        assert text in page.text


def test_serial_numbers_are_left_out_unless_they_are_asked_for():
    data = spd()
    data[122:126] = bytes.fromhex("a1b2c3d4")
    write("sn.machine", SPD + dump(data))
    serials = {"a1b2c3d4"} | {row["serial_number"] for row in answer("vxtctl bios --machine sn.machine")["bios"]}
    for device in sum((group for key, group in answer("vxtctl devices --all --machine sn.machine").items() if key in ("drives", "monitors", "boards")), []):
        serials |= {str(device[key]["value"]) for key in ("serial_number", "serial_text", "world_wide_name") if key in device and device[key]["value"]}
    assert run("vxtctl report pc.html --machine sn.machine").code == run("vxtctl report all.html --serials --machine sn.machine").code == 0
    assert [serial for serial in serials if serial in read("pc.html")] == [] and "left out" in read("pc.html")
    assert [serial for serial in serials if serial not in read("all.html")] == [] and len(serials) > 1


def test_what_is_known_as_a_serial_number_stands_nowhere_else():
    board = SOURCE.joinpath("machines/family10h-ddr3.machine").read_text(encoding="utf-8")
    hub = re.search(r"\[device (PCI\\\S+)\]\nclass = usb", board).group(1)
    drive = "[device USBSTOR\\DISK&VEN_X\\{0}&0]\nclass = diskdrive\nfriendly_name = Stick {3}\nserial = {0}\ndrive = PHYSICALDRIVE{1}\nbus = 7\nbytes = 8000000000\nparent = {2}\n\n"
    mouse = "[device {}]\nclass = mouse\nfriendly_name = Mouse\nparent = {}\n\n"
    write("leak.machine", "[machine]\nbased_on = family10h-ddr3\n\n" + drive.format("qx71zz", 5, hub, "QX71ZZ") + drive.format("80000", 6, hub, "0.8")
          + mouse.format("BTHENUM\\DEV_E1E2E3E4E5E6\\7&1", hub) + mouse.format("HID\\{00001812-0000-1000-8000-00805F9B34FB}_REV&0001_F1F2F3F4F5F6&COL01\\8", hub))
    run("vxtctl report pc.html --machine leak.machine")
    run("vxtctl report all.html --serials --machine leak.machine")
    text, whole = Page(read("pc.html")).text, Page(read("all.html")).text
    for secret in ("qx71zz", "e1e2e3e4e5e6", "f1f2f3f4f5f6"):
        assert secret in whole.lower() and secret not in text.lower()
    for shown_ in ("Stick (serial)", "BTHENUM\\DEV_(address)", "HID\\{00001812-0000-1000-8000-00805F9B34FB}_REV&0001_(address)&COL01", "8000000000 bytes"):
        assert shown_ in text  # a serial number amid a longer number is no serial number


# --- recordings --------------------------------------------------------------------------------------------------------------------

def test_a_recording_is_drawn_with_its_gaps():
    write("gaps.csv", HEADING + SAMPLES + "2026-01-31T12:00:00.000Z,30.5,\n2026-01-31T12:00")
    assert answer("vxtctl report pc.html --recording gaps.csv")["recording"] == "gaps.csv"
    page, complaints = shown()
    assert complaints == [] and page.ids[-5:] == ["recording", "temperature-title", "temperature-desc", "fan-title", "fan-desc"]
    ways = [attrs["d"] for tag, attrs in page.tags if tag == "path" and attrs["class"].startswith("line") and attrs["d"] != "M1 5H37"]
    dots = [attrs["d"].count("M") for tag, attrs in page.tags if tag == "path" and attrs["class"].startswith("dot")]
    assert [way.count("M") for way in ways] == [1, 2] and dots == [1]  # nobody recorded for two hours; two readings are missing
    xs = [float(x) for x in re.findall(r"[ML]([0-9.]+) ", ways[0])]
    assert max(xs) - min(xs) > 600 and "1:59:53 not recorded" in page.text  # which hides nothing
    labels = re.findall(r'class="middle"[^>]*>([0-9:]+)<', read("pc.html"))
    assert labels and all(re.fullmatch(r"\d:\d\d:\d\d", label) for label in labels)
    assert page.text.index("1 of 2 sensors are not of this PC") < page.text.index("9 samples of 2")
    assert "9 samples of 2 sensors from 2026-01-31T10:00:00.000Z to 2026-01-31T12:00:00.000Z" in page.text and "last line was incomplete" in page.text
    rows = re.findall(r"</svg>(.*?)</th><td class=\"n\">(.*?)</td><td class=\"n\">(.*?)</td><td class=\"n\">(.*?)</td><td class=\"n\">(.*?)</td>", read("pc.html"))
    assert rows == [("south-bridge/0/temperature/0", "20.0", "30.5", "24.3", "9"), ("elsewhere/0/fan/1", "1000", "8000", "4500", "6")] or rows == [(" " + name, *rest) for name, *rest in [
        ("south-bridge/0/temperature/0", "20.0", "30.5", "24.3", "9"), ("elsewhere/0/fan/1", "1000", "8000", "4500", "6")]]


def test_what_sensors_records_is_drawn_and_a_long_recording_keeps_its_peaks():
    assert run("vxtctl sensors --record short.csv --count 2 --interval 0.1").code == 0
    assert run("vxtctl report pc.html --recording short.csv").code == 0
    assert {"temperature-title", "fan-title", "duty-title", "voltage-title"} <= set(Page(read("pc.html")).ids)
    times = [f"2026-01-31T{n // 3600:02}:{n // 60 % 60:02}:{n % 60:02}.000Z" for n in range(40000)]
    write("long.csv", "ts,/cpu/0/temperature/0\n" + "".join(f"{time},{95 if n == 20001 else 40}\n" for n, time in enumerate(times)))
    assert run("vxtctl report long.html --recording long.csv").code == 0
    way = max((attrs["d"] for tag, attrs in Page(read("long.html")).tags if tag == "path"), key=len)
    heights = [float(point.split()[1]) for point in re.split("[ML]", way.replace("h0", ""))[1:]]
    assert len(heights) < 3000 and min(heights) < max(heights) - 100 and heights.count(min(heights)) == 1


def test_voltages_share_an_axis_only_where_they_are_near_each_other():
    values = {"/cpu/0/voltage/0": (1.30, 1.32), "/environment/0/voltage/1": (3.30, 3.31), "/environment/0/voltage/2": (1.25, 1.35), "/environment/0/voltage/3": (12.0, 12.1)}
    write("v.csv", "ts," + ",".join(values) + "\n" + "".join(f"2026-01-31T10:00:0{n}.000Z," + ",".join(str(pair[n % 2]) for pair in values.values()) + "\n" for n in range(6)))
    assert run("vxtctl report pc.html --recording v.csv").code == 0
    page = Page(read("pc.html"))
    assert re.findall(r"<figcaption>.*?, V, from (.*?)</figcaption>", read("pc.html")) == ["1.2500 to 1.3500", "3.3000 to 3.3100", "12.0000 to 12.1000"]
    ways = [attrs["d"] for tag, attrs in page.tags if tag == "path" and attrs["class"].startswith("line") and attrs["d"] != "M1 5H37"]
    heights = [[float(y) for y in re.findall(r"[ML][0-9.]+ ([0-9.]+)", way)] for way in ways]
    assert len(ways) == 4 and all(max(way) - min(way) > 20 for way in heights) and {"voltage-title", "voltage-2-title", "voltage-3-title"} <= set(page.ids)


@table("text, told", [("", "line 1, column 1: "), ("PK\3\4\0\0", "line 1, column 1: "), ("ts,/cpu/0/temperature/0,Fan\n", "line 1, column 3: 'Fan' is no sensor's id"),
                      (HEADING, "no sample"), (HEADING + SAMPLES.replace("24,", "2a4,"), "line 6, column 2: '2a4' is no number"), (HEADING + "31.1.2026,1,2\n", "line 2, column 1: '31.1.2026' is no time"),
                      (HEADING + "2026-02-30T10:00:00.000Z,1,2\n", "line 2, column 1: "), (HEADING + SAMPLES + SAMPLES, "line 10, column 1: its time is before"), (HEADING + "2026-01-31T10:00:00.000Z,1\n", "line 2, column 3: there are 2 columns, the heading has 3"),
                      (HEADING + SAMPLES + "2026-01-31T10:00:09.000Z,1,2,3\n", "line 10, column 4: "), (HEADING + "2026-01-31T10:00:00.000Z,inf,1e5\n", "line 2, column 2: 'inf'"),
                      (HEADING + "2026-01-31T10:00:00.000Z," + "9" * 300 + ",1\n", "is no reading")])
def test_what_is_no_recording_is_refused_with_its_place(text, told):
    write("bad.csv", text)
    found = run("vxtctl report pc.html --recording bad.csv")
    assert found.code == 1 and told in found.err and "bad.csv" in found.err and not pathlib.Path("pc.html").exists()


def test_a_huge_recording_is_refused():
    with open("huge.csv", "wb") as file:
        file.truncate(3 << 30)
    assert "larger than 64 MiB" in run("vxtctl report pc.html --recording huge.csv").err


# --- the file ----------------------------------------------------------------------------------------------------------------------

@pytest.mark.parametrize("text", ["<!DOCTYPE html>\n<title>a page of mine</title>\n", "precious"])
def test_only_a_report_is_replaced(text):
    write("mine.html", text)
    assert run("vxtctl report mine.html").code == 1 and read("mine.html") == text
    write("mine.html", "")
    assert [run("vxtctl report mine.html").code for _ in range(2)] == [0, 0] and read("mine.html").startswith("<!DOCTYPE html>")


def test_standard_output_gets_the_page_alone():
    run("vxtctl report pc.html")
    same = lambda text: re.sub(r"20\d\d-\d\d-\d\dT[0-9:.]+Z|\d+\.?\d* %|\d+(?= RPM)", "", re.sub(r"<td class=\"n\">[^<]*</td>", "", text))
    found = run("vxtctl report -")
    assert found.code == 0 and same(found.out) == same(read("pc.html"))
    assert (run("vxtctl report - --json").code, run("vxtctl report pc.html --output pc.html").code, run("vxtctl report no.html --dry-run").code) == (2, 2, 2)
