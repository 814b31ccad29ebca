#!/usr/bin/env python3
"""Runs what the pages of the documentation show, each page in a folder of its own.

A page is Markdown. These blocks of it are run, in the order in which they stand:

    ```sh       by `bash -e`, with `cscan` on the path
    ```python   in one interpreter a page, with `qelt`; lines that begin with `>>>` are compared with what follows them
    ```cpp      a whole program where it has `int main`, else the body of a function; includes may stand at its top

and these comments tell more of them:

    <!-- files examples/tube.obj ... -->   what the page's folder holds at first, from the repository's root, at the same
                                           path; a folder is taken whole
    <!-- namespaces A::B C -->             what bodies in C++ use, in the whole page
    <!-- status 3 -->                      the next block ends with this status instead of 0
    <!-- output -->                        the next block, ```text, is part of what the block before it printed: lines that
                                           follow each other, `...` stands for any text in a line, or alone for any lines
    <!-- not run: reason -->               the next block is only shown

Pictures that blocks leave are shown by their path from the page: docs/guide/tube.md is run in the folder guide/tube below
--out, and shows `tube/picture.png`. With --sources, the snippets in the comments of the headers (between \\code and
\\endcode) and in the docstrings of `qelt` are run as well.
"""

import argparse
import concurrent.futures
import dataclasses
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import textwrap

ROOT = pathlib.Path(__file__).resolve().parents[1]
LANGUAGES = ("sh", "python", "cpp")
BLOCK_SECONDS = 300
COMMENT = re.compile(r"<!--\s*(files|namespaces|status|output|not run:)\s*(.*?)\s*-->")
FENCE = re.compile(r"(\s*)(`{3,}|~{3,})\s*([\w+-]*)\s*$")
PROGRAM = re.compile(r"\bint main\s*\(")
INCLUDES = '#include "Geometry/geometry.h"\n#include "Inspection/inspection.h"\n'
# Beside the umbrella headers, what most bodies need.
STANDARD = "".join(f"#include <{name}>\n" for name in ("cmath", "cstdint", "fstream", "iostream", "string", "vector"))


class Wrong(Exception):
    """What does not hold, and where."""


@dataclasses.dataclass
class Block:
    language: str
    line: int  # of its first line of code
    text: str
    status: int = 0
    expected: str | None = None
    reason: str = ""  # why it is not run


@dataclasses.dataclass
class Page:
    path: pathlib.Path
    name: str
    files: list = dataclasses.field(default_factory=list)
    namespaces: list = dataclasses.field(default_factory=list)
    blocks: list = dataclasses.field(default_factory=list)

    def run(self):
        return [block for block in self.blocks if not block.reason]


def name_of(path):
    """Where a page's work lies: docs/guide/tube.md is guide/tube, python/README.md is python/README."""
    path = path.resolve()
    place = path.relative_to(ROOT if ROOT in path.parents else path.parent)
    return place.with_suffix("").as_posix().removeprefix("docs/")


class Reader:
    """Takes a page apart, line by line."""

    def __init__(self, path):
        self.page = Page(path, name_of(path))
        self.pending = {}
        self.lines = path.read_text(encoding="utf-8").split("\n")
        self.number = 0

    def read(self):
        while self.number < len(self.lines):
            line = self.lines[self.number]
            self.number += 1
            fence = FENCE.match(line)
            if fence:
                self.read_block(fence)
            elif COMMENT.search(line):
                for kind, value in COMMENT.findall(line):
                    self.take_comment(kind, value)
            elif line.strip() and self.pending:
                raise Wrong(f"{self.page.path}:{self.number}: a comment tells of a block, and none follows it")
        return self.page

    def take_comment(self, kind, value):
        if kind == "files":
            self.page.files += value.split()
        elif kind == "namespaces":
            self.page.namespaces += value.split()
        else:
            self.pending[kind] = value

    def read_block(self, fence):
        indent, mark, language = fence.groups()
        first = self.number + 1
        body = []
        while self.number < len(self.lines) and self.lines[self.number].strip() != mark:
            body.append(self.lines[self.number].removeprefix(indent))
            self.number += 1
        if self.number == len(self.lines):
            raise Wrong(f"{self.page.path}:{first - 1}: a block without an end")
        self.number += 1
        self.add(Block(language, first, "\n".join(body)))

    def add(self, block):
        pending, self.pending = self.pending, {}
        if "output" in pending:
            runs = self.page.run()
            if not runs or block.language != "text":
                raise Wrong(f"{self.page.path}:{block.line}: output is told in a block of text behind one that is run")
            runs[-1].expected = block.text
        elif block.language in LANGUAGES:
            block.status = int(pending.get("status", 0))
            block.reason = pending.get("not run:", "")
            self.page.blocks.append(block)
        elif pending.keys() - {"not run:"}:
            raise Wrong(f"{self.page.path}:{block.line}: a status is told of a block that is not run")


def pattern_of(expected):
    """What the output is searched for: its lines one after the other."""
    parts = []
    for line in expected.split("\n"):
        if line.strip() == "...":
            parts.append(r"(?:.*\n)*?")
        else:
            parts.append(r"\s*" + ".*".join(re.escape(part) for part in line.strip().split("...")) + r"[ \t]*\n")
    return re.compile("^" + "".join(parts), re.MULTILINE)


def check_output(block, printed):
    if block.expected is not None and not pattern_of(block.expected).search(printed.rstrip("\n") + "\n"):
        raise Wrong(f"did not print\n{textwrap.indent(block.expected, '    ')}\nbut\n{textwrap.indent(printed, '    ')}")


# What one interpreter of a page does: a line of JSON in, code, and one out.
INTERPRETER = r'''
import contextlib, doctest, io, json, sys, traceback

answers, sys.stdout = sys.stdout, sys.stderr
names = {"__name__": "__main__"}
flags = doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE


def compare(code, name):
    test = doctest.DocTestParser().get_doctest(code, names, name, name, 0)
    test.globs = names
    doctest.DocTestRunner(optionflags=flags).run(test, out=sys.stdout.write, clear_globs=False)


def execute(request):
    code, name = request["code"], request["name"]
    if ">>> " in code:
        before = sys.stdout.tell()
        compare(code, name)
        return int(sys.stdout.tell() != before)
    try:
        exec(compile(code, name, "exec"), names)
    except SystemExit as end:
        return end.code if isinstance(end.code, int) else int(end.code is not None)
    except BaseException:
        traceback.print_exc(file=sys.stdout)
        return 1
    return 0


for line in sys.stdin:
    printed = io.StringIO()
    with contextlib.redirect_stdout(printed), contextlib.redirect_stderr(printed):
        status = execute(json.loads(line))
    answers.write(json.dumps([status, printed.getvalue()]) + "\n")
    answers.flush()
'''


class Work:
    """A page at work in its folder."""

    def __init__(self, page, settings):
        self.page = page
        self.settings = settings
        self.folder = settings.out / page.name
        self.programs = self.folder.with_name(self.folder.name + ".programs")
        self.interpreter = None
        self.environment = dict(os.environ, PYTHONDONTWRITEBYTECODE="1", MPLBACKEND="Agg")
        self.environment["PYTHONPATH"] = str(settings.python_path)
        self.environment["PATH"] = f"{settings.cscan.parent}{os.pathsep}{os.environ['PATH']}"

    def run(self):
        self.lay_out()
        bodies = [b for b in self.page.run() if b.language == "cpp" and not PROGRAM.search(b.text)]
        try:
            if bodies:
                self.compile("bodies", self.text_of(bodies))
            for block in self.page.run():
                try:
                    self.run_block(block, bodies)
                except Wrong as wrong:
                    raise Wrong(f"{self.page.path}:{block.line}: the block {wrong}") from None
        finally:
            if self.interpreter:
                self.interpreter.stdin.close()
                self.interpreter.wait(timeout=30)

    def lay_out(self):
        for folder in (self.folder, self.programs):
            shutil.rmtree(folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        for name in self.page.files:
            source, place = ROOT / name, self.folder / name
            if not source.exists():
                raise Wrong(f"{self.page.path}: there is no {name}")
            place.parent.mkdir(parents=True, exist_ok=True)
            if source.is_dir():
                shutil.copytree(source, place, dirs_exist_ok=True)
            else:
                shutil.copy(source, place)

    def run_block(self, block, bodies):
        if block.language == "sh":
            status, printed = self.run_process(["bash", "-e", "-o", "pipefail", "-c", block.text])
        elif block.language == "python":
            status, printed = self.run_python(block)
        elif block in bodies:
            status, printed = self.run_process([str(self.programs / "bodies"), str(bodies.index(block))])
        else:
            name = f"line{block.line}"
            self.compile(name, f'#line {block.line} "{self.page.path}"\n{block.text}\n')
            status, printed = self.run_process([str(self.programs / name)])
        if status != block.status:
            told = textwrap.indent(printed, "    ")
            raise Wrong(f"ended with {status} instead of {block.status}\n{textwrap.indent(block.text, '  > ')}\n{told}")
        check_output(block, printed)

    def run_process(self, command):
        outcome = subprocess.run(
            command, cwd=self.folder, env=self.environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, text=True, errors="replace", timeout=BLOCK_SECONDS)
        return outcome.returncode, outcome.stdout

    def run_python(self, block):
        if not self.interpreter:
            self.interpreter = subprocess.Popen(
                [sys.executable, "-c", INTERPRETER], cwd=self.folder, env=self.environment, stdin=subprocess.PIPE,
                stdout=subprocess.PIPE, text=True)
        code = block.text if ">>> " in block.text else "\n" * (block.line - 1) + block.text
        self.interpreter.stdin.write(json.dumps({"code": code, "name": str(self.page.path)}) + "\n")
        self.interpreter.stdin.flush()
        answer = self.interpreter.stdout.readline()
        if not answer:
            return self.interpreter.wait(), "the interpreter ended"
        return json.loads(answer)

    def text_of(self, bodies):
        """One source for all bodies of a page: a function each, and a main that takes which is to run."""
        includes, functions = [], []
        for number, block in enumerate(bodies):
            lines = block.text.split("\n")
            includes += [line for line in lines if line.startswith("#include")]
            body = "\n".join("" if line.startswith("#include") else line for line in lines)
            functions.append(f'static void body{number}() {{\n#line {block.line} "{self.page.path}"\n{body}\n}}\n')
        using = "".join(f"using namespace {name};\n" for name in self.page.namespaces)
        names = ", ".join(f"body{number}" for number in range(len(bodies)))
        main = f"int main(int, char** argv) {{\n    void (*const all[])() = {{{names}}};\n    all[std::stoul(argv[1])]();\n}}\n"
        return STANDARD + INCLUDES + "\n".join(includes) + "\n" + using + "\n".join(functions) + main

    def compile(self, name, text):
        build = self.settings.build_dir
        self.programs.mkdir(exist_ok=True)
        source = self.programs / f"{name}.cpp"
        source.write_text(text)
        command = [self.settings.cxx, "-std=c++20", "-O0", "-ffp-contract=off", "-Wall", "-Wextra", "-Wno-unused-variable",
                   "-Wno-unused-but-set-variable", f"-I{ROOT}", str(source), "-o", str(self.programs / name),
                   f"-L{build}", "-lQELTInspection", "-lQELTGeometry", f"-Wl,-rpath,{build}"]
        outcome = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if outcome.returncode:
            raise Wrong(f"{self.page.path}: a block in C++ does not compile\n{outcome.stdout}")


def public_headers():
    for library in ("Geometry", "Inspection"):
        yield from (p for p in sorted((ROOT / library).rglob("*.h")) if "internal" not in p.parts)


def snippets_of(header):
    """The blocks of C++ between \\code and \\endcode in the comments of a header."""
    blocks, body = [], None
    for number, line in enumerate(header.read_text(encoding="utf-8").split("\n"), 1):
        text = re.sub(r"^\s*///? ?", "", line)
        if re.match(r"\s*[\\@]code\b", text):
            body = Block("cpp", number + 1, "")
        elif re.match(r"\s*[\\@]endcode\b", text):
            blocks.append(body)
            body = None
        elif body:
            body.text += text + "\n"
    return blocks


def pages_of_sources(settings):
    """A page for each header with snippets, one for the docstrings of the module."""
    for header in public_headers():
        blocks = snippets_of(header)
        if blocks:
            name = "headers/" + "/".join(header.relative_to(ROOT).with_suffix("").parts)
            spaces = ["QELT::Geometry", "QELT::Geometry::ThreeDimensional", "QELT::Inspection"]
            yield Page(header, name, ["examples"], spaces, blocks)
    listed = subprocess.run(
        [sys.executable, "-c", DOCSTRINGS], check=True, capture_output=True, text=True,
        env=dict(os.environ, PYTHONPATH=str(settings.python_path)))
    blocks = [Block("python", 1, text) for text in json.loads(listed.stdout)]
    yield Page(settings.python_path / "qelt", "docstrings", ["examples"], [], blocks)


DOCSTRINGS = r'''
import inspect, json, qelt

found = [qelt.__doc__]
for name, each in vars(qelt).items():
    if not name.startswith("_"):
        found.append(each.__doc__)
        if inspect.isclass(each):
            found += [member.__doc__ for member in vars(each).values()]
texts = [inspect.cleandoc(text) for text in found if isinstance(text, str) and ">>> " in text]
print(json.dumps([">>> import qelt\n\n" + text for text in dict.fromkeys(texts)]))
'''


def stamp_of(page, settings):
    return settings.out / (page.name + ".ran")


def is_fresh(page, settings):
    """Whether the page ran well after all that it is made of came to be."""
    stamp = stamp_of(page, settings)
    made_of = [page.path, pathlib.Path(__file__), settings.cscan, *(ROOT / name for name in page.files)]
    made_of += [*settings.build_dir.glob("libQELT*.so"), *settings.python_path.glob("qelt/_core*")]
    return stamp.exists() and all(each.stat().st_mtime <= stamp.stat().st_mtime for each in made_of)


def run_page(page, settings):
    """Runs a page; answers what is wrong with it, nothing if all is well."""
    if settings.keep and is_fresh(page, settings):
        return None
    stamp_of(page, settings).unlink(missing_ok=True)
    try:
        Work(page, settings).run()
    except Wrong as wrong:
        return str(wrong)
    except subprocess.TimeoutExpired as late:
        return f"{page.path}: a block ran for more than {late.timeout:.0f} s"
    stamp_of(page, settings).touch()
    return None


def described(page):
    runs = page.run()
    counts = [f"{sum(b.language == name for b in runs)} {name}" for name in LANGUAGES]
    left_out = len(page.blocks) - len(runs)
    return f"{page.name}: {', '.join(counts)}" + (f", {left_out} not run" if left_out else "")


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("pages", nargs="*", type=pathlib.Path, help="pages or folders of pages")
    parser.add_argument("--build-dir", type=pathlib.Path, default=ROOT / "build/release", help="where the libraries lie")
    parser.add_argument("--cscan", type=pathlib.Path, help="the program, apps/cscan/cscan of the build if not given")
    parser.add_argument("--python-path", type=pathlib.Path, help="where the package qelt lies, python of the build")
    parser.add_argument("--out", type=pathlib.Path, help="where the pages' folders go, docs/pages of the build")
    parser.add_argument("--cxx", default=os.environ.get("CXX", "c++"), help="the compiler")
    parser.add_argument("--jobs", type=int, default=1, help="how many pages run at a time")
    parser.add_argument("--keep", action="store_true", help="leave pages alone that ran well since they changed")
    parser.add_argument("--sources", action="store_true", help="run what headers and docstrings show as well")
    settings = parser.parse_args()
    settings.build_dir = settings.build_dir.resolve()
    settings.cscan = (settings.cscan or settings.build_dir / "apps/cscan/cscan").resolve()
    settings.python_path = (settings.python_path or settings.build_dir / "python").resolve()
    settings.out = (settings.out or settings.build_dir / "docs/pages").resolve()
    return settings


def read_pages(settings):
    paths = []
    for given in settings.pages:
        paths += sorted(given.rglob("*.md")) if given.is_dir() else [given]
    pages = [Reader(path.resolve()).read() for path in paths]
    return pages + (list(pages_of_sources(settings)) if settings.sources else [])


def main():
    settings = arguments()
    try:
        pages = read_pages(settings)
    except Wrong as wrong:
        print(wrong, file=sys.stderr)
        return 1
    settings.out.mkdir(parents=True, exist_ok=True)
    faults = 0
    with concurrent.futures.ThreadPoolExecutor(settings.jobs) as pool:
        outcomes = pool.map(lambda page: run_page(page, settings), pages)
        for page, fault in zip(pages, outcomes):
            print(described(page) + (" - wrong" if fault else ""), flush=True)
            if fault:
                faults += 1
                print(fault, file=sys.stderr, flush=True)
    not_run = [f"{page.name}: {block.reason}" for page in pages for block in page.blocks if block.reason]
    print(f"{len(pages)} pages, {faults} wrong, {len(not_run)} blocks not run")
    print("".join(f"    {reason}\n" for reason in not_run), end="")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
