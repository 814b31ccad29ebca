#!/usr/bin/env python3
"""What Doxygen reads of a header: its lines, and at the end that it has a page of its own.

What a header says above its namespace is of the header, since many share the namespace.
"""

import re
import sys


def filtered(text):
    lines = text.split("\n")
    first = next((n for n, line in enumerate(lines) if line.startswith("namespace")), 0)
    about = []
    while first > 0 and lines[first - 1].startswith("///"):
        first -= 1
        about.insert(0, re.sub(r"^/// ?", "", lines[first]))
        lines[first] = ""
    return "\n".join(lines) + "/** \\file\n" + "\n".join(about) + "\n*/\n"


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as header:
        sys.stdout.write(filtered(header.read()))
