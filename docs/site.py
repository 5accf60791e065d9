#!/usr/bin/env python3
"""Parts of the reference site that Doxygen does not make.

  site.py pages CATALOGUE GALLERY OUT   a page for each operation: CATALOGUE is what `rasterkit list --json` prints, GALLERY the
                                        folder of `rasterkit gallery`, whose pictures the pages show
  site.py headers FILE                  a header with the columns of its comments as lists
  site.py links FOLDER                  fails when a page there refers to a file or a place in it that does not exist
"""

import html
import html.parser
import json
import pathlib
import re
import shutil
import sys
import urllib.parse

# Each operation is shown on the first of these pictures whose channels it takes.
PICTURES = (("coins", 1), ("coffee", 3))


def cards(gallery):
    """The gallery's recipe and report for each picture and operation."""
    page = (gallery / "index.html").read_text(encoding="utf-8")
    found = {}
    for section in re.findall(r'<section id="([^"]*)">(.*?)</section>', page, re.S):
        for article in re.findall(r"<article.*?</article>", section[1], re.S):
            text = lambda pattern: (re.findall(pattern, article, re.S) or [""])[0]
            found[section[0], text("<h3>(.*?)</h3>")] = {
                "recipe": html.unescape(text("<code>(.*?)</code>")),
                "report": html.unescape(text("<pre[^>]*>(.*?)</pre>")),
                "overlay": text(r'<div class="overlay">.*?(<svg.*?</svg>)'),
            }
    return found


def plain(text):
    """Text that Doxygen's Markdown leaves alone."""
    return re.sub(r"([\\`*_{}\[\]<>#@|&~^])", r"\\\1", text)


def place(name):
    return name.replace("-", "_")


def described(parameter):
    words = [parameter["kind"]]
    if "choices" in parameter:
        words = [" or ".join("`%s`" % choice for choice in parameter["choices"])]
    if "least" in parameter and "most" in parameter:
        words.append("%s to %s" % (parameter["least"], parameter["most"]))
    elif "least" in parameter:
        words.append("at least %s" % parameter["least"])
    elif "most" in parameter:
        words.append("at most %s" % parameter["most"])
    if "usually" in parameter and parameter["usually"] != [parameter.get("least"), parameter.get("most")]:
        words.append("usually %s to %s" % tuple(parameter["usually"]))
    if "unit" in parameter:
        words.append(parameter["unit"])
    words.append("required" if parameter["required"] else "default `%s`" % parameter["default"]
                 if "default" in parameter else "optional")
    return ", ".join(words)


def figure(gallery, out, picture, name, caption):
    """The gallery's picture, under a name of its own: Doxygen puts all pictures into one folder."""
    file = "%s-%s.png" % (picture, name)
    shutil.copyfile(gallery / "images" / picture / (name + ".png"), out / file)
    return '<div><img src="%s" alt="%s"/><br/>%s</div>' % (file, caption, caption)


def operation_page(operation, card, picture, gallery, out):
    name = operation["name"]
    lines = ["# %s {#operation_%s}" % (name, place(name)), "", plain(operation["summary"]) + ".", ""]
    if operation["gives"] == "image":
        lines += ['<div class="pair">' + figure(gallery, out, picture, "original", "before") +
                  figure(gallery, out, picture, name, "after") + "</div>", ""]
    lines += ["    " + card["recipe"], ""]
    if operation["gives"] != "image":
        report = card["report"].strip()
        lines += ["prints", "", "    " + (report if len(report) < 600 else report[:600] + " ..."), ""]
    if "formula" in operation:
        lines += ["## What it computes", "", "    " + operation["formula"].replace("; ", "\n    "), ""]
    if operation["parameters"]:
        lines += ["## Parameters", "", "| name | values | meaning |", "|---|---|---|"]
        lines += ["| `%s` | %s | %s |" % (p["name"], described(p), plain(p.get("help", ""))) for p in operation["parameters"]]
        lines += [""]
    channels = [str(channels) for channels in operation["channels"]]
    takes = " or ".join([", ".join(channels[:-1]), channels[-1]] if len(channels) > 1 else channels)
    lines += ["## Images", "", "It takes %s channel%s of %s samples%s.%s" % (
        takes, "" if takes == "1" else "s", " or ".join(operation["samples"]),
        ", as a series of images" if operation["series"] else "",
        " With `mask=FILE`, pixels where the mask is 0 stay as they were." if operation["mask"] else ""), "",
        "In C++: %s()." % operation["method"], ""]
    return "\n".join(lines)


def pages(catalogue, gallery, out):
    gallery, out = pathlib.Path(gallery), pathlib.Path(out)
    out.mkdir(parents=True, exist_ok=True)
    operations = json.loads(pathlib.Path(catalogue).read_text(encoding="utf-8"))
    shown = cards(gallery)
    index = ["# Operations {#operations}", "", "Every operation of the catalogue: what `rasterkit list` shows.", ""]
    families = []
    for operation in operations:
        if operation["family"] not in families:
            families.append(operation["family"])
    for family in families:
        index += ["## " + family.capitalize(), ""]
        for operation in operations:
            if operation["family"] != family:
                continue
            name = operation["name"]
            fitting = [p for p, channels in PICTURES if channels in operation["channels"] and (p, name) in shown]
            picture = (fitting or [p for p, _ in PICTURES if (p, name) in shown] or [None])[0]
            if picture is None:
                sys.exit("the gallery does not show " + name)
            page = operation_page(operation, shown[picture, name], picture, gallery, out)
            (out / ("operation_" + name + ".md")).write_text(page, encoding="utf-8")
            index.append("- \\subpage operation_%s \"%s\" &ndash; %s" % (place(name), name, plain(operation["summary"])))
        index.append("")
    (out / "operations.md").write_text("\n".join(index), encoding="utf-8")
    print("%d pages" % len(operations))


def headers(path):
    """Comments name things in a first column and explain them in a second one; further lines stand under the second."""
    column = private = None
    for line in pathlib.Path(path).read_text(encoding="utf-8").splitlines():
        # What is private is not shown, but Doxygen would refer to types there.
        private = line.strip() == "private:" or (private and line != "};")
        if private:
            print()
            continue
        comment = re.match(r"(\s*/// )(\S.*?)  +(\S.*)$", line)
        if comment and len(comment[2]) <= 24 and not comment[2].endswith("."):
            print("%s- **%s** %s" % (comment[1], comment[2], comment[3]))
            column = True
        elif column and re.match(r"\s*/// {3,}\S", line):
            print(re.sub(r"/// +", "///   ", line))
        else:
            column = column and re.match(r"\s*/// \S", line) is not None
            print(re.sub(r"/// ", "///   ", line) if column else line)


class Page(html.parser.HTMLParser):
    def __init__(self):
        super().__init__()
        self.places, self.references = set(), set()

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name == "id" or (tag == "a" and name == "name"):
                self.places.add(value)
            if name in ("href", "src") and value:
                self.references.add(value)


def links(folder):
    folder = pathlib.Path(folder)
    read = {}
    for path in sorted(folder.rglob("*.html")):
        read[path.resolve()] = page = Page()
        page.feed(path.read_text(encoding="utf-8"))
    dead = []
    count = 0
    for path, page in read.items():
        for reference in page.references:
            parts = urllib.parse.urlsplit(reference)
            if parts.scheme or parts.netloc:
                continue
            count += 1
            target = (path.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else path
            if not target.exists() or (parts.fragment and target in read and
                                       urllib.parse.unquote(parts.fragment) not in read[target].places):
                dead.append("%s: %s" % (path.relative_to(folder.resolve()), reference))
    print("\n".join(dead + ["%d links on %d pages, %d dead" % (count, len(read), len(dead))]))
    return 1 if dead or not read else 0


if __name__ == "__main__":
    verbs = {"pages": pages, "headers": headers, "links": links}
    if len(sys.argv) < 3 or sys.argv[1] not in verbs:
        sys.exit(__doc__)
    sys.exit(verbs[sys.argv[1]](*sys.argv[2:]))
