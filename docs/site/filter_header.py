#!/usr/bin/env python3
"""What Doxygen reads of a header: its lines with two customs of theirs made plain.

What a header says above its namespace is of the header, since many share the namespace. And a comment is of all
declarations below it up to the next empty line or comment: each of the functions, and of the fields those of the type of
the first.
"""

import re
import sys

OPENS_SCOPE = re.compile(r"(template .*)?\b(class|struct|enum|namespace|union|extern)\b")
NO_DECLARATION = re.compile(r"#|\}|(public|private|protected):|(friend|using namespace|case)\b|//")


def take_about(lines):
    """The comment above the first namespace, or the first of an umbrella, which is taken out."""
    first = next((n for n, line in enumerate(lines) if line.startswith("namespace")), None)
    if first is None:
        # An umbrella, whose only comment is its own.
        first = lines.index("") + 1
        while lines[first].startswith("///"):
            first += 1
        first = first if not lines[first] else 0
    about = []
    while first > 0 and lines[first - 1].startswith("///"):
        first -= 1
        about.insert(0, re.sub(r"^/// ?", "", lines[first]))
        lines[first] = ""
    return about


class Paragraphs:
    """Goes through a header line by line and repeats the comment of a run of declarations."""

    def __init__(self):
        self.comment = []
        self.first = ""  # the run's first declaration, once it began
        self.depth = 0  # of brackets within a declaration
        self.is_open = False  # a declaration goes on in the next line

    def line(self, line):
        text = line.strip()
        if self.depth > 0 or self.is_open:
            self.follow(text)
        elif not text:
            self.comment, self.first = [], ""
        elif text.startswith("///"):
            self.take_comment(text)
        elif NO_DECLARATION.match(text) or OPENS_SCOPE.match(text) and text.endswith("{"):
            self.comment, self.first = [], ""
        else:
            line = self.declaration(line, text)
            self.follow(text)
        return line

    def take_comment(self, text):
        if not text.startswith("///<"):
            self.comment = [] if self.first else self.comment
            self.first = ""
            self.comment.append(text.removeprefix("///").strip())

    def follow(self, text):
        code = re.sub(r'"(\\.|[^"])*"|//.*', "", text).strip()
        self.depth += sum(map(code.count, "{(")) - sum(map(code.count, "})"))
        self.is_open = self.depth > 0 or not code.endswith((";", "}")) and (self.is_open or bool(code))

    def declaration(self, line, text):
        if not self.first:
            self.first = text
        elif self.comment and "///<" not in text and self.is_alike(text):
            return re.sub(r"\S", lambda match: f"/** {' '.join(self.comment)} */ {match[0]}", line, count=1)
        return line

    def is_alike(self, text):
        return "(" in text.split("=")[0] or text.split(" ")[0] == self.first.split(" ")[0]


def filtered(text):
    lines = text.split("\n")
    about = take_about(lines)
    paragraphs = Paragraphs()
    return "\n".join(map(paragraphs.line, lines)) + "/** \\file\n" + "\n".join(about) + "\n*/\n"


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as header:
        sys.stdout.write(filtered(header.read()))
