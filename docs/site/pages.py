"""Takes the Markdown pages of the repository to what Doxygen reads: links and pictures that stand, nothing by chance.

Links are relative to the page, as in the repository. A page or a heading of one becomes a reference, a header the page
of that header, and any other file of the repository is put beside the site; what is said of a folder of the repository
stays without a link. Whatever cannot be found is an error.
"""

import dataclasses
import html
import os
import pathlib
import re
import unicodedata

FENCE = re.compile(r"(\s*)(`{3,}|~{3,})\s*([\w+-]*)\s*$")
HEADING = re.compile(r"(#{1,6}) (.+?)\s*#*$")
# A span of code, a picture, a link, a tag, or a character that Doxygen takes for more than it is.
SPECIAL = re.compile(
    r"(?P<code>(?P<ticks>`+)(?P<inside>.+?)(?<!`)(?P=ticks)(?!`))"
    r"|!\[(?P<alt>[^\]]*)\]\((?P<picture>[^)\s]+)\)"
    r"|(?<!!)\[(?P<label>(?:[^\[\]`]|`[^`]*`|!\[[^\]]*\]\([^)]*\))+)\]\((?P<target>[^)\s]+)\)"
    r"|(?P<tag></?(?:br|sub|sup|b|i|em|strong|kbd|hr)\s*/?>|<https?://[^>]+>)"
    r"|(?P<odd>[\\@#%<]|::|--+(?=\w))",
    re.DOTALL,
)
KEPT_ESCAPES = "\\`*_{}[]()#+-.!|<>"


class Wrong(Exception):
    """What is wrong with a page."""


@dataclasses.dataclass
class Page:
    path: pathlib.Path
    name: str  # guide/tube
    title: str = ""
    text: str = ""
    headings: dict = dataclasses.field(default_factory=dict)  # what a link says after # -> the anchor

    @property
    def id(self):
        return "index" if self.name == "readme" else "page_" + re.sub(r"\W+", "_", self.name)


def slug(heading):
    """What follows # in a link to a heading, as the hosts of repositories have it."""
    text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading)
    kept = [c for c in text.lower() if c in " -_" or unicodedata.category(c)[0] in "LN"]
    return "".join(kept).strip().replace(" ", "-")


def split_blocks(text):
    """The text as pieces (is code, language, lines); fenced and indented code apart from the rest."""
    lines = re.sub(r"<!--.*?-->", "", text, flags=re.DOTALL).split("\n")
    pieces, prose, number = [], [], 0

    def flush():
        if prose:
            pieces.append((False, "", list(prose)))
            prose.clear()

    while number < len(lines):
        fence = FENCE.match(lines[number])
        is_after_blank = not prose or not prose[-1].strip()
        if fence:
            flush()
            indent, mark, language = fence.groups()
            end = next(n for n in range(number + 1, len(lines)) if lines[n].strip() == mark)
            pieces.append((True, language, [line.removeprefix(indent) for line in lines[number + 1 : end]]))
            number = end + 1
        elif lines[number].startswith("    ") and is_after_blank and not is_in_list(prose):
            flush()
            end = number
            while end < len(lines) and (lines[end].startswith("    ") or not lines[end].strip()):
                end += 1
            body = [line[4:] for line in lines[number:end]]
            while not body[-1].strip():
                body.pop()
            pieces.append((True, "", body))
            number = end
        else:
            prose.append(lines[number])
            number += 1
    flush()
    return pieces


def is_in_list(prose):
    """Whether an indented line belongs to a list above it."""
    for line in reversed(prose):
        if re.match(r"\s*([-*+]|\d+\.) ", line):
            return True
        if line.strip() and not line.startswith("  "):
            return False
    return False


def read_page(path, name):
    page = Page(path, name, text=path.read_text(encoding="utf-8"))
    for is_code, _, lines in split_blocks(page.text):
        for line in [] if is_code else lines:
            heading = HEADING.match(line)
            if heading:
                add_heading(page, heading)
    if not page.title:
        raise Wrong(f"{path}: there is no title, # at the beginning of a line")
    return page


def add_heading(page, heading):
    text = heading[2]
    if not page.title:
        page.title = text.replace("`", "")
        page.headings[slug(text)] = page.id
        return
    key, count = slug(text), 1
    while key in page.headings:
        key = f"{slug(text)}-{count}"
        count += 1
    page.headings[key] = f"{page.id}_{re.sub(r'[^a-z0-9]+', '_', key)}_{len(page.headings)}"


class Site:
    """The pages that belong together, and the files they show."""

    def __init__(self, root, pictures, pages, headers):
        self.root = root
        self.pictures = pictures  # what blocks of the pages left, by the pages' names
        self.pages = {page.path: page for page in pages}
        self.headers = headers
        self.files = {}  # in the site -> in the machine

    def staged(self, page):
        """The page as Doxygen reads it."""
        parts, anchors = [], iter(page.headings.values())
        for is_code, language, lines in split_blocks(page.text):
            if is_code:
                parts.append(code_block(language, lines))
            else:
                parts.append(self.prose(page, lines, anchors))
        return "\n".join(parts) + "\n"

    def prose(self, page, lines, anchors):
        kept = []
        for line in lines:
            heading = HEADING.match(line)
            if heading:
                anchor = next(anchors)
                kept.append(self.heading(page, heading, anchor))
            else:
                kept.append(line)
        # Spans may run over lines, headings are done.
        pieces = re.split(r"(?m)(^#{1,6} .*\{#\w+\}$|^<h\d id=.*</h\d>$)", "\n".join(kept))
        return "".join(piece if n % 2 else self.inline(page, piece) for n, piece in enumerate(pieces))

    def heading(self, page, heading, anchor):
        # Code in a heading is shown with its tags.
        text = self.inline(page, heading[2].replace("`", ""))
        if page.id != "index":
            return f"{heading[1]} {text} {{#{anchor}}}"
        if anchor == page.id:
            return f"# {text} {{#mainpage}}"
        # The sidebar would name these before all pages.
        level = len(heading[1])
        return f"<h{level} id=\"{anchor}\">{text}</h{level}>"

    def inline(self, page, text):
        return SPECIAL.sub(lambda match: self.replaced(page, match, text), text)

    def replaced(self, page, match, text):
        if match["code"]:
            return code_span(match["inside"])
        if match["picture"]:
            return self.picture(page, match["alt"], match["picture"])
        if match["target"]:
            return self.link(page, self.inline(page, match["label"]), match["target"])
        if match["tag"]:
            return match[0]
        return escaped(match["odd"], text[match.end() : match.end() + 1])

    def picture(self, page, alt, target):
        place = page.path.parent
        made = [self.pictures / place.relative_to(self.root).as_posix().removeprefix("docs").lstrip("/")]
        for base in [place, *(made if place.is_relative_to(self.root) else [])]:
            found = (base / target).resolve()
            if found.is_file():
                name = "pictures/" + re.sub(r"[^\w.]+", "_", f"{page.name}_{target}".lstrip("./"))
                self.files[name] = found
                text = html.escape(re.sub(r"[`\n]", " ", alt), quote=True).replace("@", "&#64;").replace("\\", "&#92;")
                return f'<img src="{name}" alt="{text}"/>'
        raise Wrong(f"{page.path}: there is no picture {target}")

    def link(self, page, label, target):
        if re.match(r"[a-z]+:", target):
            return f"[{label}]({target})"
        place, _, part = target.partition("#")
        path = pathlib.Path(os.path.normpath(page.path.parent / place)) if place else page.path
        if path in self.pages:
            return self.reference(page, label, self.pages[path], part, target)
        if (path / "README.md") in self.pages:
            return self.reference(page, label, self.pages[path / "README.md"], part, target)
        if path in self.headers:
            return f'<a href="{self.headers[path]}">{label}</a>'
        if path.is_file() and self.root in path.parents:
            name = "files/" + path.relative_to(self.root).as_posix()
            self.files[name] = path
            return f'<a href="{name}">{label}</a>'
        if path.is_dir() and self.root in path.parents:
            return label  # the site does not hold the repository's folders
        raise Wrong(f"{page.path}: the link {target} leads nowhere")

    def reference(self, page, label, other, part, target):
        if part and part not in other.headings:
            raise Wrong(f"{page.path}: the link {target} leads to no heading; there are {', '.join(other.headings)}")
        anchor = other.headings[part] if part else other.id
        href = f"{other.id}.html" + (f"#{anchor}" if part and anchor != other.id else "")
        return f'<a href="{href}">{label}</a>'


def code_span(inside):
    """Two ticks, since one and an apostrophe are a quotation to Doxygen."""
    ticks = "``" if "`" not in inside else "```"
    return f"{ticks}{inside.strip()}{ticks}" if not inside.startswith("`") else f"{ticks} {inside} {ticks}"


def code_block(language, lines):
    kinds = {"cpp": ".cpp", "python": ".py"}
    block = [f"~~~~{{{kinds.get(language, '.unparsed')}}}", *lines, "~~~~"]
    return "\n".join(["", '<div class="output">', "", *block, "", "</div>", ""] if language == "text" else ["", *block, ""])


def escaped(odd, following):
    if odd == "\\" and following and following in KEPT_ESCAPES:
        return odd
    if odd == "::":
        return "\\::"
    if odd.startswith("--"):
        return "\\--" + odd[2:] if len(odd) == 2 else odd
    if odd == "%" and not following.isalpha():
        return odd
    if odd == "<":
        return "&lt;"
    return "\\" + odd
