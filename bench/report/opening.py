# SPDX-License-Identifier: MIT
"""opening.py OKT DATA FOLDER CHROMEDRIVER [REPETITIONS]: how soon the page of a thousand templates is there.

Makes the templates of DATA with okt, and of these a thousand that differ in name and picture, so that the page can share nothing.
Writes the tables of docs/performance.md to FOLDER."""

import base64
import json
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tests/oktreport"))
from webdriver import Browser

COUNT = 1000
MOST_SECONDS = 2
MOST_BYTES = 25000

okt, data, folder, chromedriver = sys.argv[1:5]
repetitions = int(sys.argv[5]) if len(sys.argv) > 5 else 5
folder = pathlib.Path(folder)
work = folder / "report"


def run(*arguments, text=None):
    return subprocess.run([okt, *map(str, arguments)], input=text, capture_output=True, text=True, check=True).stdout


def make_templates():
    """A thousand files, each with a name and a picture of its own."""
    shutil.rmtree(work, ignore_errors=True)
    run("build", data, "-o", work / "built")
    (work / "templates").mkdir()
    texts = [run("export", path, "-o", "-") for path in sorted((work / "built").glob("*.okt"))]
    for number in range(COUNT):
        text = texts[number % len(texts)]
        name = json.loads(re.search(r'"m_strPoolName", "string16": ("(?:[^"\\]|\\.)*")', text)[1])
        text = text.replace(json.dumps(name), json.dumps(f"{name}, set {number // len(texts) + 1}"), 1)
        # What stands behind the end of a PNG is passed over.
        text = re.sub('"picture": "([^"]*)"', lambda old: '"picture": "%s"' % base64.b64encode(
            base64.b64decode(old[1]) + number.to_bytes(4, "big")).decode(), text)
        run("import", "-", "-o", work / "templates" / f"{number:04}.okt", text=text)


def milliseconds(seconds):
    return f"{seconds:,.0f}"


make_templates()
page = work / "report.html"
begin = time.monotonic()
run("report", *sorted((work / "templates").glob("*.okt")), "-o", page)
making = time.monotonic() - begin
text = page.read_text(encoding="utf-8")
pictures = sum(map(len, re.findall(r'src="(data:image/[^"]*)"', text)))
size = page.stat().st_size

OPENED = """const [entry] = performance.getEntriesByType('navigation');
    const paint = performance.getEntriesByName('first-contentful-paint')[0];
    if (!entry.loadEventEnd || !paint) return null;
    return [paint.startTime, entry.domContentLoadedEventEnd, entry.loadEventEnd, document.getElementsByTagName('*').length,
        Array.from(document.images).filter(i => i.complete && i.naturalWidth > 0).length]"""
SEARCHED = """const field = document.getElementById('search');
    const begin = performance.now();
    field.value = arguments[0];
    search();
    document.body.getBoundingClientRect(); // and the laying out
    return performance.now() - begin"""

runs = []
for _ in range(repetitions):
    with Browser(chromedriver, 1280, 900) as browser:
        browser.devtools("Performance.enable", timeDomain="threadTicks")
        browser.open(page)
        opened = browser.wait(OPENED)
        metrics = {metric["name"]: metric["value"] for metric in browser.devtools("Performance.getMetrics")["metrics"]}
        searched = [browser.run(SEARCHED, "cutting"), browser.run(SEARCHED, "1492")]
        runs.append(opened + [1000 * metrics["TaskDuration"]] + searched)
paint, interactive, loaded, elements, decoded, worked, first, second = map(statistics.median, zip(*runs))

(folder / "report.md").write_text(f"""{COUNT:,} templates, {size / 1e6:,.0f} MB of page, of which {pictures / 1e6:,.0f} MB are pictures; medians of {repetitions} runs, each in a fresh browser.

| | ms |
|---|--:|
| something is seen (first contentful paint) | {milliseconds(paint)} |
| the page answers: search, switches, links (`DOMContentLoaded`) | {milliseconds(interactive)} |
| the page is there (`load`) | {milliseconds(loaded)} |
| processor time of the page's thread until then | {milliseconds(worked)} |
| the first search, for a name that every template has | {milliseconds(first)} |
| the next search, for a value | {milliseconds(second)} |
| `okt report`, which makes the page | {milliseconds(making * 1000)} |

| | Number | A template |
|---|--:|--:|
| elements when the page is there | {elements:,.0f} | {elements / COUNT:.1f} |
| pictures decoded | {decoded:,.0f} | {decoded / COUNT:.3f} |
| bytes beyond the pictures | {size - pictures:,} | {(size - pictures) / COUNT:,.0f} |
""", encoding="utf-8")


def target(text, asked, measured, is_met):
    return f"| {text} | {asked} | {measured} | {'met' if is_met else '**not met**'} |\n"


(folder / "report-targets.md").write_text(
    target(f"Report page of {COUNT:,} templates opened in a browser", f"at most {MOST_SECONDS} s", f"{loaded / 1000:.2g} s",
           loaded <= 1000 * MOST_SECONDS) +
    target("Report page, bytes a template beyond its pictures", f"at most {MOST_BYTES:,}", f"{(size - pictures) / COUNT:,.0f}",
           size - pictures <= COUNT * MOST_BYTES), encoding="utf-8")
print((folder / "report.md").read_text(encoding="utf-8"))
