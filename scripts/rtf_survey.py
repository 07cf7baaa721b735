#!/usr/bin/env python3
"""Measures what three converters of rich text to HTML keep of the same files.

Reads the samples in tests/data/rtf and, as LibreOffice writes them, the documents in
tests/data/fodt; converts each with `tarny rtf2html`, unrtf and LibreOffice; and counts, by looking
at the pages only, how many letters have each look, and how many lists, cells, links and pictures there
are. Prints a table in Markdown. What a peer's page has and ours has not is listed below it, with the
letters concerned: first what nobody has looked at yet, for which the exit code is 1, then what was
looked at, with the reason why it is no loss or why it is accepted (EXPLAINED).

    scripts/rtf_survey.py [--tarny build/bin/tarny] [--keep FOLDER]
"""

import argparse
import collections
import html.parser
import pathlib
import re
import subprocess
import sys
import tempfile

SOURCE = pathlib.Path(__file__).resolve().parent.parent
VOID = {"br", "img", "hr", "meta", "link", "input", "col", "base"}
BLOCKS = {"p", "div", "li", "td", "th", "h1", "h2", "h3", "h4", "h5", "h6", "body", "br", "table", "dd"}
# What a tag says of the text in it.
TAGS = {
    "b": {"bold"}, "strong": {"bold"}, "i": {"italic"}, "em": {"italic"}, "u": {"underlined"},
    "s": {"struck out"}, "strike": {"struck out"}, "del": {"struck out"}, "sup": {"superscript"},
    "sub": {"subscript"}, "center": {"centred"}, "h1": {"heading"}, "h2": {"heading"},
    "h3": {"heading"}, "ul": {"in a bullet list"}, "ol": {"in a numbered list"},
    "td": {"in a table"}, "th": {"in a table"},
}
# What a declaration says of it: property, what its value must hold, look.
STYLES = [
    ("font-weight", r"bold|[6-9]00", "bold"), ("font-style", r"italic|oblique", "italic"),
    ("text-decoration", r"underline", "underlined"), ("text-decoration", r"line-through", "struck out"),
    ("text-decoration", r"double|dotted|dashed|wavy|0\.13em", "kind of underline"),
    ("font-variant", r"small-caps", "small capitals"), ("text-transform", r"uppercase", "capitals"),
    ("letter-spacing", r"[1-9]", "letter spacing"), ("text-shadow", r"\d", "shadow"),
    ("text-align", r"center", "centred"), ("text-align", r"right|end", "at the right"),
    ("text-align", r"justify", "justified"), ("line-height", r"^(?!100%)\d", "line height"),
    ("margin-left", r"[1-9]", "indent"), ("text-indent", r"[1-9]", "first line"),
    ("margin-top", r"[1-9]", "space before"), ("margin-bottom", r"[1-9]", "space behind"),
    ("border", r"[1-9].*(solid|double|dotted|dashed)|(solid|double|dotted|dashed).*[1-9]", "border"),
    ("direction", r"rtl", "right to left"), ("vertical-align", r"^(super|[1-9])", "superscript"),
    ("vertical-align", r"^(sub|-)", "subscript"),
]
VALUES = {"color": "colour", "background": "background", "font-family": "font", "font-size": "size"}
# Differences that were looked at: what of "look: file, peer" they match, and the reason.
EXPLAINED = [
    (r"(pictures|background): (drawings|document-pictures), Lib", "a line that is drawn becomes a picture there, "
     "and a line of the page here; a box without a colour of its own is white there"),
    (r"<hr>: breaks", "a page break is a line there; here it is one where the page is printed"),
    (r"(<li>|<ol>|in a numbered list): document-paragraphs", "headings are items of a list there"),
    (r".*list-old-numbers, Lib", "a paragraph without a number is an item there"),
    (r".*: table(-merged|-nested)?, unrtf", "merged cells are not merged there, and text behind the "
     "table is still in it"),
    (r"centred: table-looks", "the table is centred there by a tag, here by its margins"),
    (r"background: (colors|document-characters), unrtf", "the end of a background is black there"),
    (r"background: .*, Lib", "fields and changes have a grey ground there"),
    (r".*: (document-links|endnotes), Lib|links: footnotes", "notes have other numbers there than the "
     "document says, and their links other names; the date is written with other digits"),
    (r"links: links, Lib", "a script is a link there; a letter beyond ASCII is encoded"),
    (r"links: links, unrtf|text: links, unrtf", "a link inside the document is not understood there"),
    (r"font: .*, Lib|size: (code-pages|unicode|not-rtf), Lib", "a font of its own choice for other scripts "
     "and for text without a font; Courier for text that is no rich text"),
    (r".*: (code-pages|unicode|fonts|fields), (Lib|unrtf)", "letters that are read wrongly there: double "
     "bytes, alternatives of \\upr, signs of Wingdings, fields without a result"),
    (r".*: document-characters, unrtf", "halves of pairs are read as characters there"),
    (r"(text|letters beyond ASCII): (document-lists|list-.*|editor-mail), unrtf",
     "numbers and bullets are text there, and drawn by the browser here"),
    (r"font: list-bullets, unrtf", "bullets are text there"),
    (r".*: .*left-out, (Lib|unrtf)", "headers, comments, deleted and hidden text are shown there"),
    (r"(text|font): (encapsulated-html|quotes-in-names), (unrtf|Lib)", "text for readers of rich text only, "
     "and parts of font names, are shown there"),
]
FONT_SIZES = {"1": 7.5, "2": 10, "3": 12, "4": 13.5, "5": 18, "6": 24, "7": 36}


def length_in_points(value):
    match = re.match(r"\s*([\d.]+)(pt|px|in|cm|mm|em|%)?", value)
    if not match:
        return None
    factor = {"pt": 1, "px": 0.75, "in": 72, "cm": 28.35, "mm": 2.835}.get(match.group(2))
    return round(float(match.group(1)) * factor * 2) / 2 if factor else None


def normal_value(name, value):
    value = value.strip().strip("'\"").lower()
    if name == "font-size":
        return length_in_points(value)
    if name == "font-family":
        return re.split(r"[,;]", value)[0].strip("'\" ")
    return None if value in ("transparent", "inherit", "auto", "none", "") else value


class Look:
    """What holds for the text at one place."""

    def __init__(self, around=None):
        self.names = set(around.names) if around else set()
        self.values = dict(around.values) if around else {}

    def declare(self, text):
        for declaration in text.split(";"):
            name, _, value = declaration.partition(":")
            self.apply(name.strip().lower(), value.strip())

    def apply(self, name, value):
        if name == "background-color":
            name = "background"
        if name.startswith("margin") and re.match(r"margin(-\w+)?$", name) is None:
            return
        if name in VALUES:
            self.values[name] = normal_value(name, value) or self.values.get(name)
        if name == "text-align":
            self.names -= {"centred", "at the right", "justified"}
        if name == "font-weight" and re.match(r"normal|[1-4]00", value):
            self.names.discard("bold")
        if name == "font-style" and value == "normal":
            self.names.discard("italic")
        for style, pattern, look in STYLES:
            if (name == style or name.startswith(style + "-")) and re.search(pattern, value):
                self.names.add(look)


class Page(html.parser.HTMLParser):
    """Letters with their looks, and things that are no letters."""

    def __init__(self, text):
        super().__init__(convert_charrefs=True)
        self.rules = self.read_rules(text)
        self.stack = [("", Look())]
        self.letters = []  # (letter, look), blanks left out
        self.things = collections.Counter()
        self.links = collections.Counter()
        self.hidden = 0
        self.feed(text)

    @staticmethod
    def read_rules(text):
        rules = []
        for sheet in re.findall(r"<style[^>]*>(.*?)</style>", text, re.S | re.I):
            sheet = re.sub(r"<!--|-->", "", sheet)
            for names, body in re.findall(r"([^{}]+)\{([^}]*)\}", sheet):
                body = re.sub(r"(line-height|margin[\w-]*)\s*:[^;]*;?", "", body)  # the peer's own
                rules += [(name.strip().lower(), body) for name in names.split(",")]
        return rules

    def handle_starttag(self, tag, attributes):
        attributes = {name: value or "" for name, value in attributes}
        look = Look(self.stack[-1][1])
        if tag in BLOCKS:
            look.names -= {"space before", "space behind", "line height"}
        look.names |= TAGS.get(tag, set())
        for name, body in self.rules:
            if name in (tag, tag + "." + attributes.get("class", "")):
                look.declare(body)
        self.old_attributes(tag, attributes, look)
        look.declare(attributes.get("style", ""))
        self.count(tag, attributes)
        if tag in ("style", "script", "title"):
            self.hidden += 1
        if tag not in VOID:
            self.stack.append((tag, look))

    @staticmethod
    def old_attributes(tag, attributes, look):
        if tag == "font":
            for name, style in (("color", "color"), ("face", "font-family")):
                if name in attributes:
                    look.apply(style, attributes[name])
            if attributes.get("size") in FONT_SIZES:
                look.values["font-size"] = FONT_SIZES[attributes["size"]]
        if "bgcolor" in attributes:
            look.apply("background", attributes["bgcolor"])
        if "align" in attributes and tag not in ("img", "table"):
            look.apply("text-align", attributes["align"].lower())
        if attributes.get("dir", "").lower() == "rtl":
            look.names.add("right to left")

    def count(self, tag, attributes):
        if tag in ("ul", "ol", "li", "table", "tr", "hr"):
            self.things["<" + tag + ">"] += 1
        if tag in ("td", "th"):
            self.things["cells"] += 1
            for span in ("colspan", "rowspan"):
                if attributes.get(span, "1") != "1":
                    self.things["cells over " + ("columns" if span == "colspan" else "rows")] += 1
        if tag == "img":
            self.things["pictures"] += 1
        if tag == "a" and attributes.get("href"):
            self.links[attributes["href"]] += 1

    def handle_endtag(self, tag):
        if tag in ("style", "script", "title") and self.hidden:
            self.hidden -= 1
        for n in range(len(self.stack) - 1, 0, -1):
            if self.stack[n][0] == tag:
                del self.stack[n:]
                return

    def handle_data(self, data):
        if self.hidden:
            return
        look = self.stack[-1][1]
        for letter in data:
            if not letter.isspace() and letter not in "\xad\u200b":
                self.letters.append((letter, look))


def usual_values(page):
    """The values that most of the letters have; those of our page tell what is unusual in all."""
    return {name: collections.Counter(look.values.get(name) for _, look in page.letters).most_common(1)
            for name in VALUES}


def is_unusual(name, value, usual):
    if value is None or (name == "color" and value == "#000000"):
        return False
    most = usual[name][0][0] if usual[name] else None
    if name == "font-size":  # unrtf has seven sizes
        return most is not None and value is not None and abs(value - most) > 1.5
    return value != most


def looks_of(page, usual):
    """Counts of letters for each look; for values, of letters whose value is unusual."""
    result = collections.defaultdict(collections.Counter)
    for letter, look in page.letters:
        result["text"][letter] += 1
        if ord(letter) > 0x7E:
            result["letters beyond ASCII"][letter] += 1
        for name in look.names:
            result[name][letter] += 1
        for name, title in VALUES.items():
            if is_unusual(name, look.values.get(name), usual):
                result[title][letter] += 1
    for thing, count in page.things.items():
        result[thing][thing] += count
    for link in page.links:
        result["links"][link] += 1
    return result


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=300,
                          check=False, **options).stdout


def office(profile, kind, folder, files):
    run(["soffice", f"-env:UserInstallation=file://{profile}", "--headless", "--convert-to", kind,
         "--outdir", str(folder)] + [str(file) for file in files])


def convert_all(tarny, work):
    """Returns {file name: {converter: page}}."""
    rich = work / "rtf"
    rich.mkdir()
    for file in sorted((SOURCE / "tests/data/rtf").glob("*.rtf")):
        (rich / file.name).write_bytes(file.read_bytes())
    office(work / "profile", "rtf", work / "documents", sorted((SOURCE / "tests/data/fodt").glob("*.fodt")))
    for file in (work / "documents").glob("*.rtf"):
        (rich / ("document-" + file.name)).write_bytes(file.read_bytes())
    files = sorted(rich.glob("*.rtf"))
    office(work / "profile", "html", work / "office", files)
    pages = {}
    for file in files:
        (work / "tarny" / file.stem).mkdir(parents=True)
        (work / "unrtf" / file.stem).mkdir(parents=True)
        own = work / "tarny" / file.stem / "page.html"
        run([tarny, "rtf2html", str(file), str(own)])
        peer = run(["unrtf", "--html", str(file)], cwd=work / "unrtf" / file.stem)
        other = work / "office" / (file.stem + ".html")
        pages[file.stem] = {
            "tarny": own.read_text("latin-1").lstrip("\u00ef\u00bb\u00bf\n") if own.exists() else "",
            "unrtf": peer.decode("utf-8", "replace"),
            "LibreOffice": other.read_text("utf-8", "replace") if other.exists() else "",
        }
    return pages


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--tarny", default=str(SOURCE / "build/bin/tarny"))
    parser.add_argument("--keep", type=pathlib.Path, help="a new folder for the pages")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as temporary:
        work = arguments.keep or pathlib.Path(temporary)
        work.mkdir(exist_ok=True)
        return report(convert_all(arguments.tarny, work))


def report(pages):
    names = ["tarny", "unrtf", "LibreOffice"]
    totals = {name: collections.Counter() for name in names}
    lost = []
    for file, converted in pages.items():
        parsed = {name: Page(text) for name, text in converted.items()}
        usual = usual_values(parsed["tarny"])
        looks = {name: looks_of(page, usual) for name, page in parsed.items()}
        for name in names:
            totals[name].update({look: sum(letters.values()) for look, letters in looks[name].items()})
        for peer in names[1:]:
            for look, letters in looks[peer].items():
                missing = letters - looks["tarny"][look]
                if missing:
                    lost.append((look, file, peer, "".join(sorted(missing.elements()))[:60]))
    print("| | " + " | ".join(names) + " |\n|---" + "|--:" * len(names) + "|")
    for look in sorted(set().union(*totals.values()), key=lambda key: (key != "text", key.lower())):
        print(f"| {look} | " + " | ".join(str(totals[name][look]) for name in names) + " |")
    print(f"\n{len(pages)} files.")
    return report_lost(lost)


def report_lost(lost):
    new = []
    known = collections.defaultdict(list)
    for look, file, peer, letters in sorted(lost):
        reasons = [reason for pattern, reason in EXPLAINED
                   if re.match(pattern, f"{look}: {file}, {peer}")]
        if reasons:
            known[reasons[0]].append(f"{look} ({file}, {peer})")
        else:
            new.append(f"- {look}: {file}, {peer}: {letters}")
    if new:
        print("\nIn a peer's page and not in ours:\n\n" + "\n".join(new))
    print("\nLooked at:\n")
    for reason, places in known.items():
        print(f"- {reason}: {', '.join(places)}")
    return 1 if new else 0


if __name__ == "__main__":
    sys.exit(main())
