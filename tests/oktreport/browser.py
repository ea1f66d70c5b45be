# SPDX-License-Identifier: MIT
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


def printed_pages(pdf, name):
    """The text of each sheet of paper."""
    path = folder / name
    path.write_bytes(pdf)
    return subprocess.run([pdftotext, "-layout", path, "-"], capture_output=True, text=True, check=True).stdout.split("\f")[:-1]


shutil.rmtree(folder, ignore_errors=True)
folder.mkdir(parents=True)
run("build", data, "-o", folder / "templates")
templates = sorted((folder / "templates").glob("*.okt"))
check_equal(len(templates), 48, "templates")
run("report", *templates, "-o", folder / "all.html")
run("report", folder / "templates" / "link-no4.okt", "-o", folder / "one.html", "--unit", "in")

# Many templates, of which every second one has the picture of the first.
copies = []
for number in range(120):
    for stem in ("link-d12", "mesh-d8"):
        copies.append(folder / f"{stem}-{number}.okt")
        shutil.copy(folder / "templates" / f"{stem}.okt", copies[-1])
run("report", *copies, "-o", folder / "many.html")


def changed(stem, old, new):
    """A template in which a text is another one."""
    run("export", folder / "templates" / f"{stem}.okt", "-o", folder / f"{stem}-old.json")
    text = (folder / f"{stem}-old.json").read_text(encoding="utf-8")
    check_equal(text.count(json.dumps(old)), 1, f"{old!r} in the text of {stem}; times")
    (folder / f"{stem}-new.json").write_text(text.replace(json.dumps(old), json.dumps(new)), encoding="utf-8")
    run("import", folder / f"{stem}-new.json", "-o", folder / f"{stem}-new.okt")
    return folder / f"{stem}-new.okt"


# One word as a value, as a name and in a description, in this order of titles.
run("report", changed("hooked-d6", "B500B", "Gamma 500"), changed("link-d12", "Cover", "Gamma cover"),
    changed("mesh-d8", "Between the bars A", "Of the gamma kind"), "-o", folder / "gamma.html")
# A file of many objects: its map must not have a place for each.
text = (folder / "mesh-d8-old.json").read_text(encoding="utf-8")
objects = re.search(r'"objects": \[\n(.*)\n  \]', text, re.S)[1]
parameter = next(entry for entry in re.split(r",\n(?=    \{)", objects) if '"OKTDbParameter"' in entry and "Hook 1" in entry)
identity = re.search(r"\{([0-9A-F]{8})-", parameter)[1]
more = [parameter.replace(identity, f"{number:08X}") for number in range(3000)]
(folder / "large.json").write_text(text.replace(objects, objects + ",\n" + ",\n".join(more)), encoding="utf-8")
run("import", folder / "large.json", "-o", folder / "large.okt")
run("report", folder / "large.okt", "-o", folder / "large.html")

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
texts = "return Array.from(document.querySelectorAll(arguments[0])).filter(e => e.checkVisibility()).map(e => e.textContent)"
found = "return document.getElementById('found').textContent"
cell = """const row = Array.from(document.querySelectorAll('.parameters tr')).find(r => r.firstChild.textContent === arguments[0]);
    return [row.children[1].textContent, row.children[2].textContent, row.children[1].title]"""
facts = """return Array.from(document.querySelectorAll(arguments[0] + ' > .facts > dt'))
    .map(dt => (dt.textContent + ': ' + dt.nextElementSibling.textContent).replaceAll('\u00a0', ' '))"""
colour = "return getComputedStyle(document.body).backgroundColor"
elements = "return document.getElementsByTagName('*').length"
decoded = "return Array.from(document.images).filter(i => i.complete && i.naturalWidth > 0).length"
made = "return document.querySelectorAll('.template.made').length"
# Two frames later all that was to be shown is shown.
settled = "return new Promise(done => requestAnimationFrame(() => requestAnimationFrame(() => setTimeout(() => done(true), 50))))"
ESCAPE, ENTER, RIGHT = "\ue00c", "\ue007", "\ue014"


def search(browser, text):
    """Types into the search, which then shows what it found."""
    browser.run("document.getElementById('search').value = ''; document.getElementById('found').textContent = ''")
    browser.type("#search", text)
    return browser.wait(found)


with Browser(chromedriver, 1280, 900) as browser:
    # Many templates: of those that nobody looks at there is no row and no picture.
    browser.open(folder / "many.html")
    browser.run(settled)
    check_equal(browser.run(visible, ".card"), 240, "cards")
    count = browser.run(elements)
    check(count < 240 * 31 + 200, f"{count} elements for 240 templates")
    check_equal(browser.run(made), 0, "templates that are made when the page is opened")
    browser.wait("return Array.from(document.images).filter(i => i.complete && i.naturalWidth > 0).length >= 10")
    count = browser.run(decoded)
    check(10 <= count <= 40, f"{count} pictures are decoded when the page is opened")
    check_equal(browser.run("return new Set(Array.from(document.images, i => i.src)).size"), 1, "pictures, of which all cards in sight have one")
    browser.run("document.getElementById('t200').scrollIntoView()")
    check(browser.wait("return document.querySelector('#t200 > .pictures img')?.naturalWidth === 800"), "the picture of another is not shown")
    check_equal(browser.run("return document.querySelector('#t200 img').alt"), "Picture 0 of Mesh sheet, 8 mm, EN 1992 / BS 8666", "its text")
    check_equal(browser.run(texts, "#t200 .parameters thead th")[::5], ["Name", "Kind"], "its columns")
    browser.run(settled)
    count = browser.run(made)
    check(1 <= count <= 6, f"{count} templates are made for one in sight")
    page = (folder / "many.html").read_text(encoding="utf-8")
    check_equal(page.count('src="data:image/'), 2, "pictures in the file")

    # All templates: overview, side, order
    browser.open(folder / "all.html")
    check_equal(browser.run(visible, "nav.side li"), 49, "entries at the side")
    check_equal(browser.run(visible, ".card"), 48, "cards")
    check_equal(browser.run(visible, "article"), 48, "templates in the page")
    check(browser.wait("return document.querySelector('.thumb img')?.naturalWidth === 800"), "no picture on the first card")
    in_order = [f"Bar with hooks at both ends, {size}" for size in
                ["6 mm", "8 mm", "10 mm", "12 mm", "16 mm", "20 mm", "25 mm", "32 mm", "40 mm", "50 mm", "No. 3", "No. 4", "No. 5", "No. 6",
                 "No. 7", "No. 8", "No. 9", "No. 10", "No. 11", "No. 14", "No. 18"]]
    for selector in (".card .name", "nav.side .name", "article h2"):
        check_equal([re.sub(", (EN|ACI).*", "", name) for name in browser.run(texts, selector)[:21]], in_order, f"the order of {selector}")
    check_equal(browser.run(texts, "#content .cards li:nth-child(27) .note")[0].replace("\u00a0", " "), "B500B \u2300 12 mm 1492 mm 1.32 kg",
                "the card of a link")
    browser.screenshot(folder / "all-light.png")

    # The side follows the reader, and a template is made when it comes into sight.
    check_equal(browser.run("return document.querySelector('#t27 .parameters')"), None, "rows of a template far below")
    browser.run("document.getElementById('t27').scrollIntoView()")
    here = """const link = document.querySelector('nav.side [aria-current]');
        if (!link || link.hash !== '#t27') return false;
        const [box, side] = [link.getBoundingClientRect(), link.closest('nav').getBoundingClientRect()];
        return box.top >= side.top && box.bottom <= innerHeight"""
    check(browser.wait(here), "the template in sight is not marked at the side")
    check(browser.wait("return document.querySelectorAll('#t27 .parameters tr').length === 30"), "the template in sight has no rows")
    top = "const top = document.querySelector(arguments[0]).getBoundingClientRect().top; return top > 40 && top < 200"
    check(browser.run(top, "#t27 h2"), "a link to a template does not bring it to the top")
    # What an engineer asks for first stands beside the picture.
    check_equal(browser.run(facts, "#t27"),
                ["Grade: B500B", "Diameter: 12 mm", "Shape: 51 Closed link, BS 8666:2005", "Legs: A 400 mm \u00b7 B 250 mm \u00b7 C 160 mm",
                 "Cutting length: 1492 mm", "Spacing: A 150 mm \u00b7 B 100 mm", "Number: 7", "Mass of a bar: 1.32 kg by 7850 kg/m\u00b3",
                 "Mass of 7 bars: 9.27 kg"], "the facts")
    beside = """const [picture, facts] = ['.pictures img', '.facts'].map(s => document.querySelector('#t27 > ' + s).getBoundingClientRect());
        return facts.left > picture.right && Math.abs(facts.top - picture.top) < 20"""
    check(browser.run(beside.replace("#t27 > .pictures", "#t27 .pictures")), "the facts do not stand beside the picture")
    shown = browser.run("return document.getElementById('t27').innerText")
    check(not re.search(r"\{[0-9A-F]{8}-|\bbytes?\b|VT_", shown), f"ids, bytes or codes are shown: {shown!r}")
    # Those above are made while the reader goes up; what is looked at stays where it is.
    browser.run("document.getElementById('t30').scrollIntoView()")
    browser.run(settled)
    for step in range(6):
        seen = "const seen = document.elementFromPoint(innerWidth / 2, innerHeight * .8).closest('.template');"
        anchor, before = browser.run(seen + "return [seen.id, seen.getBoundingClientRect().top]")
        browser.run("scrollBy(0, -200)")
        browser.run(settled)
        after = browser.run("return document.getElementById(arguments[0]).getBoundingClientRect().top", anchor)
        check(abs(after - before - 200) < 2, f"going up by 200, {anchor} moves by {after - before}")
    # A place in a template that is not made yet
    browser.run("location.hash = '#t44-4'")
    check(browser.wait("return document.querySelector(':target')?.firstChild.textContent === 'Length'"), "a link to a row does not lead there")
    browser.wait("const top = document.querySelector(':target').getBoundingClientRect().top; return top > 40 && top < 200")
    check(browser.run(top, ":target"), "a link to a row does not bring it to the top")

    # Search: rows of those templates that have the words, names first
    browser.run("scrollTo(0, 700)")
    card = ".cards li:nth-child(18) .card"
    browser.run("document.querySelector(arguments[0]).focus({ preventScroll: true })", card)
    browser.press("/", 191)
    check_equal(browser.run("return [scrollY, document.activeElement.id, document.activeElement.value]"), [700, "search", ""], "what / leads to")
    browser.insert("closed no4 cutting")
    check_equal(browser.wait(found), "1 of 48, 1 row", "the count")
    check_equal(browser.run(visible, ".hit"), 1, "closed links No. 4 with a cutting length")
    check_equal(browser.run(visible, "article"), 0, "templates beside what was found")
    check_equal(browser.run(visible, "nav.side li[data-of]"), 1, "entries at the side while searching")
    check_equal(browser.run(texts, ".hit th"), ["Cutting length Bar"], "the row")
    browser.screenshot(folder / "search.png")
    # Escape leaves it: the page stands where it stood, and the keys go where they went.
    browser.press("Escape", 27)
    check_equal(browser.run("return [document.getElementById('search').value, scrollY, document.activeElement.hash]"),
                ["", 700, "#t18"], "behind Escape")
    check_equal(browser.run(visible, "article"), 48, "templates behind Escape")
    check_equal(browser.run(visible, "nav.side li"), 49, "entries at the side behind Escape")
    check_equal(search(browser, "1467.6"), "1 of 48, 1 row", "a value")
    browser.run("document.querySelector('input[value=in]').click()")
    check_equal(browser.run(found), "0 of 48", "millimetres while inches are shown")
    check_equal(browser.run(texts, ".nothing"), ["Nothing matches."], "the line that nothing matches")
    check_equal(search(browser, "9.27"), "0 of 48", "kilograms while pounds are shown")
    check_equal(search(browser, "20.4 lb"), "1 of 48, 1 row", "a mass, which stands in no parameter")
    browser.run("document.querySelector('input[value=mm]').click()")
    check_equal(search(browser, "9.27 kg"), "1 of 48, 1 row", "a mass in kilograms")
    check_equal(browser.run(texts, ".hit th"), ["Mass of 7\u00a0bars"], "its row")
    # No line of the largest sheet has both words, but it has both.
    check_equal(search(browser, "sheet d14 quantity fillet"), "1 of 48, 4 rows", "words in several rows")
    # Enter goes to what was found first, and a row leads to its place.
    check_equal(search(browser, "no18 mass"), "1 of 48, 3 rows", "a template of one size")
    browser.type("#search", ENTER)
    check(browser.run("return document.activeElement.closest('.hit h3') !== null"), "Enter does not go to what was found")
    check_equal(search(browser, "no18 hook angle 2"), "1 of 48, 1 row", "one row")
    browser.run("document.querySelector('.hit th a').click()")
    check(browser.wait("return document.querySelector(':target')?.firstChild.textContent === 'Hook angle 2'"), "a found row does not lead to its place")
    check_equal(browser.run("return [document.getElementById('search').value, document.getElementById('results').hidden]"), ["", True],
                "the search that was left")

    # A page that is opened at a row of a template far below
    browser.open(folder / "all.html", "#t44-4")
    check(browser.wait("return document.querySelector(':target')?.firstChild.textContent === 'Length'"), "an address with a row does not lead there")
    browser.run(settled)
    check(browser.run(top, ":target"), "an address with a row does not bring it to the top")

    # What is folded away is found by who asks for it.
    identity = subprocess.run([okt, "show", "--ids", folder / "templates" / "link-d12.okt"], capture_output=True, text=True).stdout
    identity = re.search(r'Category "Hooks" (\{[0-9A-F-]+\})', identity)[1]
    check_equal(search(browser, "OKTDbCategory"), "0 of 48", "a class, which is folded away")
    check_equal(search(browser, identity[1:8]), "0 of 48", "the beginning of an id")
    browser.click(".asked input")
    check_equal(browser.run(found), "1 of 48, 1 row", "the beginning of an id that is asked for")
    check_equal(browser.run(texts, "#results h2"), ["In ids and bytes"], "where it was found")
    check_equal(search(browser, "OKTDbCategory"), "48 of 48, 240 rows", "a class that is asked for")
    browser.type("#search", ESCAPE)
    check_equal(search(browser, identity), "1 of 48, 1 row", "an id, which nobody types but who looks for it")
    browser.run("document.querySelector('.hit th a').click()")
    check(browser.wait("return document.getElementById('t27-inside').open"), "what was found in a folded part does not unfold it")
    check_equal(search(browser, "OKTDbCategory"), "1 of 48, 5 rows", "a class, unfolded in one template")
    browser.type("#search", ESCAPE)
    browser.run("document.getElementById('t27-inside').open = false")
    check_equal(search(browser, "OKTDbCategory"), "0 of 48", "a class, folded away again")
    browser.type("#search", ESCAPE)

    # Paper: a page for each template, of those that were found where there is a search. No bytes, no ids.
    pages = printed_pages(browser.pdf(), "all.pdf")
    check_equal(len(pages), 48, "sheets of paper")
    check_equal([re.sub(", (EN|ACI).*", "", page.strip().split("\n")[0]) for page in pages[:21]], in_order, "the order on paper")
    for number, page in enumerate(pages, 1):
        check(page.count("Parameters") == 1 and re.search(rf"\b{number} / 48\s*$", page), f"sheet {number} is no template: {page!r}")
        check(not re.search(r"\bbytes?\b|\{[0-9A-F]{8}-|Inside the file|Search", page), f"sheet {number} has what belongs on no paper")
    check("Mass of 7 bars" in pages[26] and "1492 mm" in pages[26], "the facts are not in print")
    search(browser, "closed no4")
    pages = printed_pages(browser.pdf(), "found.pdf")
    check_equal([page.strip().split("\n")[0] for page in pages], ["Closed link, No. 4, ACI 318"], "sheets of what was found")
    browser.type("#search", ESCAPE)

    # Nothing was asked for but the page, and nothing went wrong in it.
    check_equal(browser.console(), [], "the console")
    check_equal(outside(browser.requests()), [], "requests")

    # Names before values, values before descriptions
    browser.open(folder / "gamma.html")
    check_equal(search(browser, "gamma"), "3 of 3, 3 rows", "a word in three places")
    check_equal(browser.run(texts, "#results h2"), ["In names", "In values", "In expressions and descriptions"], "where it was found")
    check_equal(browser.run(texts, ".hit h3"), ["Closed link, 12 mm, EN 1992 / BS 8666", "Bar with hooks at both ends, 6 mm, EN 1992 / BS 8666",
                                                "Mesh sheet, 8 mm, EN 1992 / BS 8666"], "the order of what was found")
    check_equal(search(browser, "gamma diameter"), "3 of 3, 16 rows", "words in several rows")

    # One template: units
    browser.open(folder / "one.html")
    check(browser.wait("return document.querySelectorAll('.parameters tr').length === 29"), "the only template is not made at once")
    check_equal(browser.run(cell, "Cutting length"), ["57.781", "in", "57.780972451\u00a0in"], "the cutting length in inches")
    check_equal(browser.run(facts, "#t1")[-2:], ["Mass of a bar: 3.22 lb by 7850 kg/m\u00b3", "Mass of 7 bars: 22.5 lb"], "the mass in pounds")
    for unit, length, spacing in [("mm", ["1467.6", "mm", "1467.63670025\u00a0mm"], "4x254 2x127 "),
                                  ("ft", ["4.815", "ft", "4.81508103758\u00a0ft"], "4x0.833 2x0.417 "),
                                  ("m", ["1.4676", "m", "1.46763670025\u00a0m"], "4x0.254 2x0.127 "),
                                  ("cm", ["146.76", "cm", "146.763670025\u00a0cm"], "4x25.4 2x12.7 ")]:
        browser.run("document.querySelector('input[value=' + arguments[0] + ']').click()", unit)
        check_equal(browser.run(cell, "Cutting length"), length, f"the cutting length in {unit}")
        check_equal(browser.run(cell, "Quantity expression"), [spacing, unit, ""], f"the quantity expression in {unit}")
        check_equal(browser.run(cell, "Diameter"), ["0.5", "in", ""], f"the diameter under {unit}")
        check_equal(browser.run(cell, "Hook angle 1"), ["135", "\u00b0", ""], f"an angle under {unit}")
        check("Diameter: 0.5 in" in browser.run(facts, "#t1"), f"the diameter among the facts under {unit}")

    # The drawings are made when they are unfolded.
    check_equal(browser.run("return document.querySelectorAll('.drawing, .map').length"), 0, "drawings that are folded away")
    browser.run("document.querySelectorAll('details.part').forEach(part => part.querySelector('summary').click())")
    check(browser.wait("return document.querySelectorAll('.drawing, .map').length === 2"), "the drawings are not made")
    check_equal(browser.run("return [document.querySelectorAll('.node').length, document.querySelectorAll('path[data-from]').length]"), [30, 49],
                "boxes and ties")

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
    browser.type(".map", RIGHT)
    check(browser.run("return document.querySelector('.readout').textContent").startswith("OKTDb"), "the second stretch")
    row = browser.run("return document.querySelector('.node.parameter').getAttribute('href')")
    browser.run("document.querySelector('.node.parameter').focus()")
    browser.type(".node.parameter", ENTER)
    check_equal(browser.run("return document.querySelector(':target')?.tagName + location.hash"), "TR" + row, "the place of a box")
    # The map is to scale: its rows are full, and its stretches follow one another.
    gaps = """return Array.from(document.querySelectorAll('.map .row svg')).filter((row, i, rows) => {
        let at = 0;
        for (const rect of row.querySelectorAll('rect')) {
            if (Number(rect.getAttribute('x')) !== at) return true;
            at += Number(rect.getAttribute('width'));
        }
        return i + 1 < rows.length && at !== Number(row.getAttribute('viewBox').split(' ')[2]);
    }).length"""
    check_equal(browser.run(gaps), 0, "rows of the map with gaps")
    check_equal(browser.run("return [document.querySelectorAll('.map .row').length, document.querySelector('.map svg').getAttribute('viewBox')]"),
                [8, "0 0 8192 1"], "rows of the map")

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
    pages = printed_pages(browser.pdf(), "one.pdf")
    check_equal(len(pages), 1, "sheets of one template")
    for part in ["Closed link, No. 4", "Cutting length", "146.76 cm", "4x25.4 2x12.7", "Spacing at the supports"]:
        check(part in pages[0], f"{part} is not in print")
    for part in ["Bytes", "Share", "OKTDb", "Search names"]:
        check(part not in pages[0], f"{part} is in print")
    check_equal(browser.console(), [], "the console")

    # Of many objects the map has no place each.
    browser.open(folder / "large.html")
    browser.run("document.querySelector('[id$=inside] summary').click()")
    check(browser.wait("return document.querySelectorAll('.stretches tbody tr').length === 3032"), "not every stretch is listed")
    count = browser.run("return document.querySelectorAll('.map rect').length")
    check(20 < count < 100, f"{count} stretches in the map of 3032")
    check_equal(browser.run(gaps), 0, "rows of the map of many objects with gaps")
    check(" \u00d7 OKTDbParameter: " in browser.run("""const rects = Array.from(document.querySelectorAll('.map rect'));
        return rects.map(rect => { rect.dispatchEvent(new Event('pointerover', { bubbles: true }));
            return document.querySelector('.readout').textContent; }).join('\\n')"""), "no stretch is shared")

    # Without scripts nothing that needs them is there, and all else is.
    browser.devtools("Emulation.setScriptExecutionDisabled", value=True)
    browser.open(folder / "all.html")
    browser.screenshot(folder / "no-script.png")
    pages = printed_pages(browser.pdf(), "no-script.pdf")
    browser.devtools("Emulation.setScriptExecutionDisabled", value=False)
    check_equal(browser.run("return [document.querySelector('.controls'), document.querySelector('.thumb')]"
                            ".map(e => getComputedStyle(e).display)"), ["none", "none"], "what needs scripts, without them")
    check_equal(browser.run(visible, "article"), 48, "templates without scripts")
    check_equal(browser.run(visible, "article .parameters"), 48, "tables without scripts")
    check_equal(browser.run("return document.querySelectorAll('article img').length"), 48, "pictures without scripts")
    check_equal(browser.run("return document.querySelectorAll('#t27-inside .stretches tbody tr').length"), 33, "what is folded away, without scripts")
    check_equal(len(pages), 48, "sheets of paper without scripts")

    # Texts that try to leave the page
    browser.open(folder / "hostile.html")
    for anchor in ("t1", "t2"):
        browser.run("document.getElementById(arguments[0]).scrollIntoView()", anchor)
        check(browser.wait("return document.getElementById(arguments[0]).classList.contains('made')", anchor), f"{anchor} is not made")
    browser.run("document.querySelectorAll('details.part').forEach(part => part.querySelector('summary').click())")
    check(browser.wait("return document.querySelectorAll('.drawing, .map').length === 3"), "the drawings are not made")
    check_equal(browser.run("return document.title"), "Reinforcement templates", "the title")
    hostile_title = browser.run("return Array.from(document.querySelectorAll('article h2'), h => h.textContent)").index(hostile[0]) + 1
    check_equal(browser.run("return document.querySelectorAll('iframe, link[rel=stylesheet], img:not(.pictures > figure > img, .thumb > img)').length"), 0,
                "foreign elements")
    check(browser.wait(f"return document.getElementById('t{hostile_title}-picture0').naturalWidth === 40"), "the drawing is not shown")
    check_equal(browser.run("return [document.scripts.length, document.styleSheets.length]"), [1, 1], "scripts and styles")
    check(browser.run("return document.body.textContent.includes(arguments[0])", "\\u202E\\u200F\\u001B[2J\\uFFFE"),
          "the escapes of what steers a display")
    check("\\uFFFE" in "".join(browser.run(texts, ".node text")), "the same in the graph")
    search(browser, "script")
    check(browser.run(visible, ".hit") >= 1, "a hostile text is not found")
    check_equal(browser.run("return document.querySelectorAll('#results script, #results iframe, #results img').length"), 0, "foreign elements in the results")
    browser.type("#search", ESCAPE)
    check("cut or damaged" in browser.run("return document.body.textContent"), "the damaged object in the map")
    check_equal(browser.console(), [], "the console")
    # The policy holds too: even a script of the page's own could call nobody.
    refused = browser.run("""return fetch(arguments[0]).then(() => 'taken', () => 'refused')""", address + "/h")
    check_equal(refused, "refused", "a call from the page")
    check_equal(outside(browser.requests()), [], "requests")
    check_equal(calls, [], "calls that reached the server")

server.shutdown()
sys.exit(1 if failed else 0)
