"""browser.py OKT DATA GOLDEN FOLDER CHROMEDRIVER PDFTOTEXT: the pages of okt report in a browser, as their readers use them.

Takes the templates that okt makes of DATA, and a file of the folder GOLDEN with texts that try to leave the page. What is made
goes to FOLDER, screenshots too."""

import base64
import http.server
import json
import pathlib
import re
import shutil
import subprocess
import sys
import threading

from webdriver import Browser

okt, data, golden, folder, chromedriver, pdftotext = sys.argv[1:]
folder = pathlib.Path(folder)
failed = False


def check(is_right, text):
    global failed
    if not is_right:
        failed = True
        print(text)


def check_equal(found, expected, text):
    check(found == expected, f"{text}: {found!r}, not {expected!r}")


def run(*arguments, exit_code=0):
    done = subprocess.run([okt, *map(str, arguments)], capture_output=True, text=True)
    check_equal(done.returncode, exit_code, f"okt {arguments[0]}: {done.stderr.strip()}; exit code")


def outside(urls):
    """The addresses that are no part of a page; those of the browser's own first page do not count."""
    return [url for url in urls if not url.startswith(("file:", "data:", "chrome:", "about:"))]


def printed_text(pdf, name):
    path = folder / name
    path.write_bytes(pdf)
    return subprocess.run([pdftotext, "-layout", path, "-"], capture_output=True, text=True, check=True).stdout


shutil.rmtree(folder, ignore_errors=True)
folder.mkdir(parents=True)
run("build", data, "-o", folder / "templates")
templates = sorted((folder / "templates").glob("*.okt"))
check_equal(len(templates), 48, "templates")
run("report", *templates, "-o", folder / "all.html")
run("report", folder / "templates" / "link-no4.okt", "-o", folder / "one.html", "--unit", "in")

# A server that a page might call, and a file that tries to.
calls = []


class Listener(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        calls.append(self.path)
        self.send_response(200)
        self.end_headers()

    def log_message(self, *_):
        pass


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Listener)
threading.Thread(target=server.serve_forever, daemon=True).start()
address = f"http://127.0.0.1:{server.server_address[1]}"
run("export", pathlib.Path(golden) / "stirrup.okt", "-o", folder / "stirrup.json")
hostile = [f"<img src={address}/a>", f"</script><script src={address}/b></script>", f"<link rel=stylesheet href={address}/c>",
           "<script>document.title='taken'</script>", f"\"'><svg onload=\"fetch('{address}/d')\">",
           f"</style><style>@import '{address}/e';body{{background:url({address}/f)}}</style>",
           f"</title><iframe src={address}/g></iframe>", "\u202e\u200f\x1b[2J\ufffe"]
text = (folder / "stirrup.json").read_text(encoding="utf-8")
for index, name in enumerate(["Stirrup, closed, 135 degrees", "Steelgrade", "Diameter", "Hook 1", "Cover", "Layout", "Number",
                              "Shape code"]):
    check(json.dumps(name) in text, f"{name} does not stand in the text of the stirrup")
    text = text.replace(json.dumps(name), json.dumps(hostile[index]))
drawing = (f"<svg xmlns='http://www.w3.org/2000/svg' width='40' height='30' onload=\"fetch('{address}/i')\"><image href='{address}/j'/>"
           f"<style>@import '{address}/k';</style><script>document.location='{address}/l'</script><rect width='40' height='30'/></svg>")
text, pictures = re.subn('"picture": "[^"]*"', f'"picture": "{base64.b64encode(drawing.encode()).decode()}"', text)
check_equal(pictures, 1, "pictures of the stirrup")
(folder / "hostile.json").write_text(text, encoding="utf-8")
run("import", folder / "hostile.json", "-o", folder / "hostile.okt")
run("report", folder / "hostile.okt", pathlib.Path(golden) / "truncated.okt", "-o", folder / "hostile.html", exit_code=1)

visible = "return Array.from(document.querySelectorAll(arguments[0])).filter(e => e.checkVisibility()).length"
cell = """const row = Array.from(document.querySelectorAll('tr.find')).find(r => r.firstChild.textContent === arguments[0]);
    return [row.children[1].textContent, row.children[2].textContent, row.children[1].title]"""
colour = "return getComputedStyle(document.body).backgroundColor"

with Browser(chromedriver, 1280, 900) as browser:
    # All templates: pictures, overview, side
    browser.open(folder / "all.html")
    loaded = "return document.images.length === 96 && Array.from(document.querySelectorAll('article img')).every(i => i.naturalWidth === 800)"
    check(browser.wait(loaded), "not every picture is shown")
    check_equal(browser.run(visible, "nav.side li"), 49, "entries at the side")
    check_equal(browser.run(visible, ".card"), 48, "cards")
    check_equal(browser.run(visible, "article"), 48, "templates in the page")
    browser.screenshot(folder / "all-light.png")

    # The side follows the reader.
    browser.run("document.getElementById('t30').scrollIntoView()")
    here = """const link = document.querySelector('nav.side [aria-current]');
        if (!link || link.hash !== '#t30') return false;
        const [box, side] = [link.getBoundingClientRect(), link.closest('nav').getBoundingClientRect()];
        return box.top >= side.top && box.bottom <= innerHeight"""
    check(browser.wait(here), "the template in sight is not marked at the side")
    check(browser.run("const top = document.querySelector('#t30 h2').getBoundingClientRect().top; return top > 40 && top < 200"),
          "a link to a template does not bring it to the top")

    # Search
    browser.type("#search", "closed no4 cutting")
    check(browser.wait("return document.getElementById('found').textContent"), "the search tells nothing")
    check_equal(browser.run(visible, "article"), 1, "closed links No. 4 with a cutting length")
    check_equal(browser.run(visible, "nav.side li[data-of]"), 1, "entries at the side while searching")
    check_equal(browser.run(visible, "tr.find"), 1, "rows with a cutting length")
    check_equal(browser.run(visible, ".drawing"), 0, "graphs beside found rows")
    check_equal(browser.run("return document.getElementById('found').textContent"), "1 of 48, 1 row", "the count")
    browser.screenshot(folder / "search.png")
    browser.run("document.getElementById('search').value = ''")
    browser.type("#search", "1467.64")
    check(browser.wait("return document.getElementById('found').textContent === '1 of 48, 1 row'"), "a value is not found")
    browser.run("document.querySelector('input[value=in]').click()")
    check_equal(browser.run("return document.getElementById('found').textContent"), "0 of 48", "millimetres while inches are shown")
    check_equal(browser.run(visible, "#nothing"), 1, "the line that nothing matches")
    browser.type("#search", "\ue00c")  # Escape
    check_equal(browser.run(visible, "article"), 48, "templates behind Escape")
    browser.run("document.activeElement.blur()")
    browser.type("body", "/")
    check_equal(browser.run("return document.activeElement.id"), "search", "what / leads to")
    browser.run("document.getElementById('search').value = ''")
    browser.type("#search", "OKTDbPicture")
    check(browser.wait("return document.getElementById('found').textContent === '48 of 48, 48 rows'"), "a class is not found")

    # Nothing was asked for but the page, and nothing went wrong in it.
    check_equal(browser.console(), [], "the console")
    check_equal(outside(browser.requests()), [], "requests")

    # One template: units
    browser.open(folder / "one.html")
    check_equal(browser.run(cell, "Cutting length"), ["57.781", "in", "57.780972451 in"], "the cutting length in inches")
    for unit, length, spacing in [("mm", ["1467.64", "mm", "1467.63670025 mm"], "4x254 2x127 "),
                                  ("ft", ["4.8151", "ft", "4.81508103758 ft"], "4x0.833 2x0.417 "),
                                  ("m", ["1.46764", "m", "1.46763670025 m"], "4x0.254 2x0.127 "),
                                  ("cm", ["146.764", "cm", "146.763670025 cm"], "4x25.4 2x12.7 ")]:
        browser.run("document.querySelector('input[value=' + arguments[0] + ']').click()", unit)
        check_equal(browser.run(cell, "Cutting length"), length, f"the cutting length in {unit}")
        check_equal(browser.run(cell, "Quantity expression"), [spacing, unit, ""], f"the quantity expression in {unit}")
        check_equal(browser.run(cell, "Diameter"), ["0.5", "", ""], f"the diameter under {unit}")

    # Colours: those of the system, then those chosen, which stay
    light, dark = "rgb(244, 245, 247)", "rgb(17, 21, 27)"
    check_equal(browser.run(colour), light, "the colour of the page")
    browser.dark(True)
    check(browser.wait("return document.documentElement.dataset.theme === 'dark'"), "the page does not follow the system")
    check_equal(browser.run(colour), dark, "the colour where the system is dark")
    browser.screenshot(folder / "one-dark.png")
    browser.click("#theme")
    check_equal(browser.run(colour), light, "the colour behind the button")
    browser.dark(False)
    browser.click("#theme")
    check_equal(browser.run(colour), dark, "the colour behind the button once more")
    check_equal(browser.run("return document.getElementById('theme').getAttribute('aria-pressed')"), "true", "the button")
    contrast = """const canvas = document.createElement('canvas').getContext('2d', { willReadFrequently: true });
        const light = colour => {
            canvas.clearRect(0, 0, 1, 1); canvas.fillStyle = colour; canvas.fillRect(0, 0, 1, 1);
            const [r, g, b] = Array.from(canvas.getImageData(0, 0, 1, 1).data).map(v => v / 255)
                .map(v => v <= .04045 ? v / 12.92 : ((v + .055) / 1.055) ** 2.4);
            return .2126 * r + .7152 * g + .0722 * b;
        };
        const behind = e => { for (; e; e = e.parentElement) { const c = getComputedStyle(e).backgroundColor;
            if (c !== 'rgba(0, 0, 0, 0)') return c; } return 'white'; };
        const found = new Set();
        for (const e of document.querySelectorAll('body *')) {
            if (!e.checkVisibility() || !Array.from(e.childNodes).some(n => n.nodeType === 3 && n.data.trim())) continue;
            const style = getComputedStyle(e);
            const [a, b] = [light(e.closest('svg') ? style.fill : style.color), light(behind(e))].sort((x, y) => y - x);
            const ratio = (a + .05) / (b + .05);
            if (ratio < 4.5) found.add(e.tagName + '.' + e.className + ' ' + ratio.toFixed(2));
        }
        return Array.from(found)"""
    check_equal(browser.run(contrast), [], "texts in dark colours of too little contrast")
    browser.click("#theme")
    check_equal(browser.run(contrast), [], "texts in light colours of too little contrast")

    # The graph and the map by keyboard
    browser.run("document.querySelector('.node').focus()")
    check_equal(browser.run("return document.querySelectorAll('path.near').length"), 4, "arrows of the group")
    browser.run("document.querySelector('.map').focus()")
    header = browser.run("return document.querySelector('.readout').textContent")
    check(re.fullmatch("Header: \\d+\u00a0bytes, 0 to \\d+", header), f"the first stretch: {header!r}")
    browser.type(".map", "\ue014")  # arrow right
    check(browser.run("return document.querySelector('.readout').textContent").startswith("OKTDb"), "the second stretch")
    row = browser.run("return document.querySelector('.node.parameter').getAttribute('href')")
    browser.run("document.querySelector('.node.parameter').focus()")
    browser.type(".node.parameter", "\ue007")  # Enter
    check_equal(browser.run("return document.querySelector(':target')?.tagName + location.hash"), "TR" + row, "the place of a box")

    # From a telephone to a wide screen nothing hangs over the edge.
    for width in (320, 500, 760, 1100, 1920):
        browser.size(width, 900, mobile=width < 700)
        check_equal(browser.run("return document.documentElement.scrollWidth - innerWidth"), 0, f"too wide at {width}")
        # A template cuts off what hangs over its own edge.
        over = """const box = document.querySelector('article').getBoundingClientRect();
            return Array.from(document.querySelectorAll('article *')).filter(e => !e.closest('.scroll') && e.checkVisibility() &&
                e.getBoundingClientRect().right > box.right + 1).map(e => e.tagName + '.' + e.className)"""
        check_equal(browser.run(over), [], f"over the edge at {width}")
        if width == 320:
            browser.screenshot(folder / "narrow.png")
    browser.devtools("Emulation.clearDeviceMetricsOverride")

    # Paper
    text = printed_text(browser.pdf(), "one.pdf")
    for part in ["Closed link, No. 4", "Cutting length", "146.764 cm", "Quantity expression", "Spacing at the supports",
                 "OKTDbParamRelation", "Bytes of the file", "Share"]:
        check(part in text, f"{part} is not in print")
    check_equal(text.count("\f"), 2, "sheets of paper")
    check(re.search(r"1\s*/\s*2\s*\f", text), "the number of the sheet is not in print")
    check("Search names" not in text, "the search is in print")
    check_equal(browser.console(), [], "the console")

    # Without scripts nothing that needs them is there, and all else is.
    browser.devtools("Emulation.setScriptExecutionDisabled", value=True)
    browser.open(folder / "all.html")
    browser.screenshot(folder / "no-script.png")
    browser.devtools("Emulation.setScriptExecutionDisabled", value=False)
    check_equal(browser.run("return [document.querySelector('.controls'), document.querySelector('.thumb')]"
                            ".map(e => getComputedStyle(e).display)"), ["none", "none"], "what needs scripts, without them")
    check_equal(browser.run(visible, "article"), 48, "templates without scripts")

    # Texts that try to leave the page
    browser.open(folder / "hostile.html")
    check_equal(browser.run("return document.title"), "Reinforcement templates", "the title")
    check_equal(browser.run("return document.querySelectorAll('iframe, link[rel=stylesheet], img:not(#t1-picture0, .thumb > img)').length"), 0,
                "foreign elements")
    check(browser.wait("return document.getElementById('t1-picture0').naturalWidth === 40"), "the drawing is not shown")
    check_equal(browser.run("return [document.scripts.length, document.styleSheets.length]"), [1, 1], "scripts and styles")
    check_equal(browser.run("return document.querySelector('#t1-title').textContent"), hostile[0], "the hostile name")
    check(browser.run("return document.body.textContent.includes(arguments[0])", "\\u202E\\u200F\\u001B[2J\\uFFFE"),
          "the escapes of what steers a display")
    check("cut or damaged" in browser.run("return document.body.textContent"), "the damaged object in the map")
    check_equal(browser.console(), [], "the console")
    # The policy holds too: even a script of the page's own could call nobody.
    refused = browser.run("""return fetch(arguments[0]).then(() => 'taken', () => 'refused')""", address + "/h")
    check_equal(refused, "refused", "a call from the page")
    check_equal(outside(browser.requests()), [], "requests")
    check_equal(calls, [], "calls that reached the server")

server.shutdown()
sys.exit(1 if failed else 0)
