# SPDX-License-Identifier: MIT
"""page.py OKT DATA GOLDEN FOLDER TIDY MODULE: the pages of okt report are valid, whole, closed in themselves and no larger than need be.

Takes the golden files of the folder GOLDEN, and the templates that okt makes of DATA, without and with the objects of the client
module MODULE. What is made goes to FOLDER."""

import base64
import hashlib
import html.parser
import pathlib
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

import html5lib

okt, data, golden, folder, tidy, module = sys.argv[1:]
folder = pathlib.Path(folder)
failed = False

MOST_BYTES = 25000  # of a template, beyond its pictures

VOID = {"meta", "link", "input", "img", "wbr", "br", "hr"}
ADDRESSES = {"href", "src", "srcset", "action", "formaction", "poster", "data", "background", "cite", "ping"}


def fault(text):
    global failed
    failed = True
    print(text)


def run(*arguments):
    return subprocess.run([okt, *map(str, arguments)], capture_output=True, text=True)


class Reader(html.parser.HTMLParser):
    """What an HTML parser makes of a page, beside what an XML parser does."""

    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.open, self.tags, self.text, self.faults = [], [], [], []

    def handle_starttag(self, tag, attributes):
        self.tags.append(tag)
        if tag not in VOID and self.get_starttag_text()[-2:] != "/>":
            self.open.append(tag)

    def handle_startendtag(self, tag, attributes):
        self.tags.append(tag)

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag:
            self.faults.append(f"</{tag}> closes another element")

    def handle_data(self, text):
        if self.open and self.open[-1] not in ("style", "script"):
            self.text.append(text)


def texts(element):
    """The texts of an element but those of scripts, which are data."""
    if element.tag != "script":
        yield element.text or ""
        for child in element:
            yield from texts(child)
    yield element.tail or ""


def parts(page, name):
    return re.findall(rf"<{name}>(.*?)</{name}>", page, re.S)


def check_valid(path, page, name):
    """What HTML checkers say: one of elements and attributes, one of the syntax to the letter."""
    checked = subprocess.run([tidy, "-quiet", "-errors", "-utf8", "--drop-empty-elements", "no", path], capture_output=True, text=True)
    if checked.returncode != 0 or checked.stderr:
        fault(f"{name}: {checked.stderr[:1000]}")
    try:
        html5lib.HTMLParser(strict=True).parse(page)
    except html5lib.html5parser.ParseError as error:
        fault(f"{name}: an error of syntax: {error}")


def check_page(path, name):
    page = path.read_bytes().decode("utf-8")
    check_valid(path, page, name)
    if not page.startswith("<!DOCTYPE html>\n"):
        fault(f"{name}: no HTML document")
    if any(ord(c) < 0x20 and c != "\n" for c in page):
        fault(f"{name}: a control character")
    if re.search("[\u061c\u200e\u200f\u2028-\u202e\u2066-\u2069\ufeff\ufff9-\ufffb\ufffe\uffff\x7f-\x9f]", page):
        fault(f"{name}: a character that steers the display")

    # The policy lets nothing in but what stands in the page, and its digests fit.
    policy = re.search(r'http-equiv="Content-Security-Policy" content="([^"]*)"', page)[1]
    style, script = parts(page, "style"), parts(page, "script")
    if len(style) != 1 or len(script) != 1:
        fault(f"{name}: {len(style)} styles and {len(script)} scripts")
    digest = lambda text: base64.b64encode(hashlib.sha256(text.encode()).digest()).decode()
    expected = (f"default-src 'none'; img-src data:; style-src 'sha256-{digest(style[0])}'; "
                f"script-src 'sha256-{digest(script[0])}'; base-uri 'none'; form-action 'none'")
    if policy != expected:
        fault(f"{name}: the policy is {policy}, not {expected}")
    for text in (style[0], script[0]):
        if re.search(r"https?:|//[a-z]|@import|url\((?!#)", text):
            fault(f"{name}: the style or the script names an address")

    # Style and script hold what XML does not let stand.
    bare = page.replace(style[0], "").replace(script[0], "")
    try:
        root = ElementTree.fromstring(bare.removeprefix("<!DOCTYPE html>\n"))
    except ElementTree.ParseError as error:
        fault(f"{name}: not well-formed: {error}")
        return None
    reader = Reader()
    reader.feed(bare)
    reader.close()
    if reader.faults or reader.open:
        fault(f"{name}: {reader.faults or reader.open}")
    if sorted(reader.tags) != sorted(element.tag.lower() for element in root.iter()):
        fault(f"{name}: an HTML parser sees other elements than an XML parser")
    if "".join(reader.text).split() != "".join(texts(root)).split():
        fault(f"{name}: an HTML parser sees another text than an XML parser")

    ids = [element.get("id") for element in root.iter() if element.get("id") is not None]
    if len(ids) != len(set(ids)):
        fault(f"{name}: an id stands there twice")
    known = set(ids) | {"top"}  # a link to #top needs no such element
    for element in root.iter():
        for attribute, value in element.items():
            if attribute.startswith("on") or attribute == "style":
                fault(f"{name}: the attribute {attribute}")
            if attribute in ADDRESSES and not (value.startswith("#") and value[1:] in known or value.startswith("data:")):
                fault(f"{name}: {attribute}={value[:80]!r} leads nowhere or out of the page")
            if attribute in ("aria-labelledby", "for", "data-picture") and value not in known:
                fault(f"{name}: {attribute}={value!r} leads nowhere")
        if element.tag == "img" and not element.get("alt"):
            fault(f"{name}: a picture without a text")
        if element.tag == "svg" and element.get("aria-hidden") is None and element.get("aria-label") is None:
            fault(f"{name}: a drawing without a name")
    levels = [int(element.tag[1]) for element in root.iter() if re.fullmatch("h[1-6]", element.tag)]
    if levels.count(1) != 1 or levels[0] != 1 or any(b > a + 1 for a, b in zip(levels, levels[1:])):
        fault(f"{name}: the headings are of the levels {levels}")
    check_sizes(page, root, name)
    # The stretches of a file follow one another from the first byte to the last.
    for article in root.iter("article"):
        at = 0
        for row in article.iterfind(".//table[@class='stretches']/tbody/tr"):
            begin, length = (int(row[cell].text) for cell in (4, 5))
            if begin != at:
                fault(f"{name}: the stretches have a gap at byte {at}")
            at = begin + length
        size = [re.search(r"([\d\u202f]+)\u00a0bytes?$", text.text or "") for text in article.iterfind("details/noscript/p")]
        if any(size) and at != int(next(filter(None, size))[1].replace("\u202f", "")):
            fault(f"{name}: the stretches end at byte {at}")
    return root


def check_sizes(page, root, name):
    pictures = [image.get("src") for image in root.iter("img")]
    if len(pictures) != len(set(pictures)):
        fault(f"{name}: a picture stands there twice")
    articles = list(root.iter("article"))
    if len(articles) < 40:
        return  # style and script are the larger part of a short page
    size = len(page.encode()) - sum(map(len, pictures))
    if size > MOST_BYTES * len(articles):
        fault(f"{name}: {size / len(articles):.0f} bytes a template beyond its pictures")
    for article in articles:
        alone = len(ElementTree.tostring(article)) - sum(len(image.get("src")) for image in article.iter("img"))
        if alone > MOST_BYTES:
            fault(f"{name}: {alone} bytes of {article.get('id')} beyond its pictures")


shutil.rmtree(folder, ignore_errors=True)
folder.mkdir(parents=True)
for name, options in [("templates", []), ("module-templates", ["--module", module])]:
    if run(*options, "build", data, "-o", folder / name).returncode != 0:
        fault(f"no {name} were made")
pools = sorted(pathlib.Path(golden).glob("*.okt"))
templates = sorted((folder / "templates").glob("*.okt"))
module_templates = sorted((folder / "module-templates").glob("*.okt"))
if [path.name for path in module_templates] != [path.name for path in templates]:
    fault("with the module other templates are made")
if len(pools) < 20 or len(templates) < 20:
    fault(f"{len(pools)} golden files and {len(templates)} templates are too few")

# One page of each, and pages of all.
for path in pools:
    page = folder / f"{path.stem}.html"
    shown, reported = run("show", path), run("report", path, "-o", page)
    if (reported.returncode, reported.stderr) != (shown.returncode, shown.stderr):
        fault(f"{path.name}: {reported.returncode}, {reported.stderr!r} where okt show gives {shown.returncode}, {shown.stderr!r}")
    root = check_page(page, path.name)
    if reported.returncode == 0 and root is not None and "fault" in "".join(texts(root)):
        fault(f"{path.name}: a sound file bears the word")
for name, files in [("golden", pools), ("templates", templates), ("module-templates", module_templates)]:
    page = folder / f"all-{name}.html"
    run("report", *files, "-o", page)
    root = check_page(page, name)
    if name != "golden" and root is not None and "fault" in "".join(texts(root)):
        fault(f"{name}: sound files bear the word")
    if root is not None and len(root.findall(".//article")) != len(files):
        fault(f"{name}: not every file is in the page")

print(f"{len(pools)} golden files, {len(templates)} templates")
sys.exit(1 if failed else 0)
