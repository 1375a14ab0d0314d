"""pages.py FOLDER PAGE... --title TEXT --version TEXT: makes the HTML pages of the program's archive.

Each PAGE is a Markdown page; NAME.md becomes NAME.html in FOLDER, with the line ends of Windows. Links between the pages
are kept. All other links become plain text, since a reader may have neither the target nor a network.

A reader of these pages has the program and not its sources. Left out is therefore

    what is between <!-- source --> and <!-- /source -->, and rows of tables with <!-- source row --> in them
    paragraphs that begin with "Tests:", "Tests, in" or "Held by", sentences at the end of a paragraph that begin with
        "Tests:", and sections with the title "Tests"
    columns of tables whose title begins with "test"
    names of tests in parentheses
"""

import argparse
import html
import pathlib
import re
import subprocess
import typing

STYLE_SHEET = "pages.css"
TEST_NAME = (r"(?:fuzz target )?`(?:[\w./*]*(?:Tests?\b|test_)[\w./*]*|(?:image|faults|package)_\w+|(?<=target `)\w+|"
             r"scripts/\w+)`")
TEMPLATE = """\
<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>{title} - {product}</title>
<link rel="stylesheet" href="{style}">
</head>
<body>
<nav><a href="index.html">All pages</a></nav>
<main>
{body}</main>
<footer>{product} {version}</footer>
</body>
</html>
"""


class Link(typing.NamedTuple):
    target: str
    text: str


def for_users(text):
    """The page without what only a reader of the sources needs."""
    text = re.sub(r"(?s)<!-- source -->.*?<!-- /source -->", "", text)
    text = re.sub(r"(?m)^\|.*<!-- source row -->.*\n", "", text)
    text = re.sub(r"(?ms)^## Tests\n.*?(?=^## |\Z)", "", text)
    text = re.sub(r"(?m)^(?:Tests: |Tests, in |Held by )(?:.+\n)+", "", text)
    text = re.sub(rf"\sTests:\s{TEST_NAME}(?:(?:,\s| and ){TEST_NAME})*\.(?=\n)", "", text)
    text = re.sub(rf"\s\({TEST_NAME}(?:(?:, | and |; |,\n|\s+){TEST_NAME})*\)", "", text)
    return re.sub(r"(?m)(?:^\|.*\n)+", lambda table: without_tests(table[0]), text)


def without_tests(table):
    rows = [row[1:-1].split("|") for row in table.splitlines()]
    kept = [index for index, title in enumerate(rows[0]) if not title.strip().startswith("test")]
    if len(kept) == len(rows[0]):
        return table
    return "".join("|" + "|".join(row[index] for index in kept) + "|\n" for row in rows)


def render(text, cmark="cmark-gfm"):
    """The HTML of a Markdown text."""
    return subprocess.run([cmark, "--extension", "table"], input=text, check=True, stdout=subprocess.PIPE,
                          encoding="utf-8").stdout


def text_of(fragment):
    return html.unescape(re.sub(r"<[^>]*>", "", fragment))


def anchor_of(heading):
    """The name of a heading in links, as the hosts of repositories make it."""
    return re.sub(r"[^\w -]", "", text_of(heading).lower()).replace(" ", "-")


class Pages:
    """The pages of one folder, by their names."""

    def __init__(self, texts, cmark):
        self._bodies = {name: render(for_users(text), cmark) for name, text in texts.items()}
        self.titles = {name: text_of(re.search(r"<h1>(.*?)</h1>", body)[1]) for name, body in self._bodies.items()}

    def body(self, name):
        return self._with_anchors(self._with_links(self._bodies[name]))

    @staticmethod
    def _with_anchors(body):
        return re.sub(r"<(h[1-6])>(.*?)</\1>", lambda found: f'<{found[1]} id="{anchor_of(found[2])}">{found[2]}</{found[1]}>',
                      body)

    def _with_links(self, body):
        return re.sub(r'(?s)<a href="([^"]*)">(.*?)</a>', lambda found: self._link(Link(found[1], found[2])), body)

    def _link(self, link):
        page, mark, anchor = link.target.partition("#")
        name = page.removesuffix(".md")
        if page == "":
            return f'<a href="{link.target}">{link.text}</a>'
        if page == name or name not in self._bodies:
            return link.text
        # A page that is named by its file is named by its title here.
        text = html.escape(self.titles[name]) if link.text == page else link.text
        return f'<a href="{name}.html{mark}{anchor}">{text}</a>'


def write(path, text):
    """With the line ends of Windows. An unchanged file keeps its time."""
    content = text.replace("\n", "\r\n").encode("utf-8")
    if not path.exists() or path.read_bytes() != content:
        path.write_bytes(content)


def main():
    parser = argparse.ArgumentParser(description="Makes HTML pages of Markdown pages.")
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("pages", type=pathlib.Path, nargs="+")
    parser.add_argument("--title", required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--cmark", default="cmark-gfm", help="the converter")
    arguments = parser.parse_args()
    arguments.folder.mkdir(parents=True, exist_ok=True)
    pages = Pages({path.stem: path.read_text(encoding="utf-8") for path in arguments.pages}, arguments.cmark)
    for name, title in pages.titles.items():
        write(arguments.folder / f"{name}.html", TEMPLATE.format(
            title=html.escape(title), product=html.escape(arguments.title), version=arguments.version, style=STYLE_SHEET,
            body=pages.body(name)))
    style = pathlib.Path(__file__).with_name(STYLE_SHEET)
    write(arguments.folder / STYLE_SHEET, style.read_text(encoding="ascii"))


if __name__ == "__main__":
    main()
