"""What the tools of the documentation refuse, and what they make of pages and headers."""

import pathlib
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "docs"), str(ROOT / "docs/site")]

import filter_header
import pages
import run_pages


def run(folder, text):
    """Runs a page of shell and Python alone; answers the status and all that was told."""
    page = folder / "page.md"
    page.write_text(text)
    # No program and no module are asked for by these pages.
    command = [sys.executable, ROOT / "docs/run_pages.py", page, "--build-dir", folder, "--out", folder / "out"]
    outcome = subprocess.run(command, capture_output=True, text=True)
    return outcome.returncode, outcome.stdout + outcome.stderr


GOOD = """# Page
```sh
echo one > file; echo a 1 b; echo c
```
<!-- output -->
```text
a ... b
c
```
<!-- status 3 -->
```sh
exit 3
```
```python
assert open("file").read() == "one\\n"
kept = 2
```
```python
>>> kept + 1
3
```
<!-- not run: needs another machine -->
```sh
false
```
"""


def test_a_page_is_run_in_order_and_what_is_left_out_is_told(tmp_path):
    status, told = run(tmp_path, GOOD)
    assert status == 0
    assert "page: 2 sh, 2 python, 0 cpp, 1 not run" in told and "needs another machine" in told


@pytest.mark.parametrize(
    "right, wrong, message",
    [
        ("exit 3", "exit 4", "ended with 4 instead of 3"),
        ("a ... b", "a ... d", "did not print"),
        ("a ... b\nc", "c\na ... b", "did not print"),
        ("kept + 1", "kept", "Failed example"),
        ("one > file", "two > file", "AssertionError"),
        ("echo c\n", "echo c\nfalse\necho d\n", "ended with 1 instead of 0"),
        ("<!-- status 3 -->\n", "<!-- status 3 -->\ntext\n", "none follows it"),
        ("# Page", "# Page\n<!-- files no/such.file -->", "there is no no/such.file"),
    ],
)
def test_what_does_not_hold_is_told(tmp_path, right, wrong, message):
    assert right in GOOD
    status, told = run(tmp_path, GOOD.replace(right, wrong, 1))
    assert status == 1 and message in told


def test_output_is_matched_by_whole_lines_with_any_between():
    pattern = run_pages.pattern_of("first\n...\nlast ... end")
    assert pattern.search("0\nfirst\nmore\nlast 3 end\n")
    assert not pattern.search("first\nlast\n")
    assert not pattern.search("last 3 end\nfirst\n")


@pytest.fixture
def site(tmp_path):
    (tmp_path / "docs").mkdir()
    (tmp_path / "docs/other.md").write_text("# Other page\n\n## A `part` of it\n")
    (tmp_path / "docs/picture.png").write_bytes(b"png")

    def staged(text):
        path = tmp_path / "docs/page.md"
        path.write_text("# Page\n" + text)
        listed = [pages.read_page(path, "page"), pages.read_page(tmp_path / "docs/other.md", "other")]
        return pages.Site(tmp_path, tmp_path / "out", listed, {}).staged(listed[0])

    return staged


def test_links_and_pictures_are_resolved(site):
    assert 'href="page_other.html"' in site("[x](other.md)")
    assert 'href="page_other.html#page_other_a_part_of_it_1"' in site("[x](other.md#a-part-of-it)")
    assert '<img src="pictures/page_picture.png" alt="what"/>' in site("![what](picture.png)")


@pytest.mark.parametrize("text", ["[x](no.md)", "[x](other.md#nothing)", "![x](no.png)"])
def test_links_that_lead_nowhere_are_refused(site, text):
    with pytest.raises(pages.Wrong):
        site(text)


def test_code_is_left_as_it_is_and_prose_is_made_plain_to_doxygen(site):
    text = site("An @ and a `\\code <x>` here.\n\n```sh\necho @x \\n <y>\n```\n")
    assert "An \\@ and a ``\\code <x>`` here." in text and "echo @x \\n <y>" in text


def test_a_comment_is_of_all_functions_below_it():
    text = filter_header.filtered("namespace X {\n/// Both.\nint a();\nint b();\n\nint c();\n}\n")
    assert "/** Both. */ int b();" in text and "\nint c();" in text


def test_what_stands_above_the_namespace_is_of_the_header():
    text = filter_header.filtered("#pragma once\n\n/// Of the header.\nnamespace X {\n}\n")
    assert text.endswith("/** \\file\nOf the header.\n*/\n") and "/// Of the header." not in text


def test_pictures_that_pages_leave_lie_by_the_pages_way(site, tmp_path):
    (tmp_path / "out/page").mkdir(parents=True)
    (tmp_path / "out/page/made.png").write_bytes(b"png")
    assert '<img src="pictures/page_page_made.png"' in site("![made](page/made.png)")


def test_no_page_works_within_the_folder_of_another():
    names = [run_pages.name_of(path) for path in [*(ROOT / "docs").rglob("*.md"), ROOT / "README.md", ROOT / "python/README.md"]]
    assert len(set(names)) == len(names)
    assert not [(a, b) for a in names for b in names if b.startswith(a + "/")]
