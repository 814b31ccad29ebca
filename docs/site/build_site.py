#!/usr/bin/env python3
"""Builds the documentation's site: pages, the reference of both libraries and of the Python module, in one folder that
opens from its index.html. Anything that Doxygen warns of, and any link or picture that is not there, is an error."""

import argparse
import html.parser
import os
import pathlib
import re
import shutil
import subprocess
import sys
import urllib.parse

import pages
import pythonpages
import undocumented

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]

# The sections of the sidebar: title, pages by name, in this order; a folder's pages follow the order in which its
# README names them.
SECTIONS = [
    ("Guide", ["guide"]),
    ("Algorithms", ["algorithms"]),
    ("Files", ["formats", "result-files"]),
    ("Python", ["python", "python/classes", "python/commands", "python/structures"]),
    ("About", ["glossary", "reproducibility", "performance", "scaling", "architecture", "contributing", "changelog"]),
]
NAMES = {"ARCHITECTURE": "architecture", "CONTRIBUTING": "contributing", "CHANGELOG": "changelog", "README": "readme",
         "python/README": "python"}


def name_of(path):
    name = path.relative_to(ROOT).with_suffix("").as_posix()
    name = NAMES.get(name, name).removeprefix("docs/")
    return name.removesuffix("/README")


def page_paths():
    top = [ROOT / f"{name}.md" for name in ("README", "ARCHITECTURE", "CONTRIBUTING", "CHANGELOG", "python/README")]
    return top + sorted((ROOT / "docs").rglob("*.md"))


def public_headers():
    for library in ("Geometry", "Inspection"):
        yield from (p for p in sorted((ROOT / library).rglob("*.h")) if "internal" not in p.parts)


def header_pages():
    """The pages that Doxygen makes of headers: named after the file, or where several share that, after the way to them."""
    alike = {}
    for header in public_headers():
        alike.setdefault(header.name, []).append(header)
    found = {}
    for same in alike.values():
        base = os.path.commonpath(same) if len(same) > 1 else same[0].parent
        for header in same:
            place = header.relative_to(base).as_posix().replace("_", "__").replace("/", "_2").replace(".", "_8")
            found[header] = re.sub("[A-Z]", lambda match: "_" + match[0].lower(), place) + ".html"
    return found


def python_pages(module_path, stub):
    """The reference of the module; it is asked in this process."""
    sys.path.insert(0, str(module_path))
    import qelt

    writer = pythonpages.Writer(stub.read_text(encoding="utf-8"), qelt)
    return {key: writer.page(key) for key in pythonpages.PAGES}


def written(folder, texts):
    """Pages that are made here, as files beside which their links are read."""
    folder.mkdir(parents=True, exist_ok=True)
    made = []
    for key, text in texts.items():
        path = folder / f"{key}.md"
        path.write_text(text, encoding="utf-8")
        made.append(pages.read_page(path, f"python/{key}"))
    return made


def in_order(folder, site_pages):
    """The pages of a folder, in the order in which the first of them names the others."""
    first = site_pages.get(folder)
    others = [page for name, page in sorted(site_pages.items()) if name.startswith(folder + "/")]
    if not first:
        return others
    found = [pathlib.PurePath(target).stem for target in re.findall(r"\]\(([^)#]+\.md)", first.text)]
    return [first] + sorted(others, key=lambda page: found.index(page.path.stem) if page.path.stem in found else len(found))


def sections_of(site_pages):
    """Titles with their pages; every page is in one."""
    sections, placed = [], {"readme"}
    for title, names in SECTIONS:
        listed = []
        for name in names:
            is_folder = title not in ("Python",) and any(each.startswith(name + "/") for each in site_pages)
            found = in_order(name, site_pages) if is_folder else [site_pages[name]] if name in site_pages else []
            listed += found
        placed |= {page.name for page in listed}
        if listed:
            sections.append((title, listed))
    left = [page for name, page in site_pages.items() if name not in placed]
    if left:
        sections[-1][1].extend(left)
    return sections


def tab(kind, title, url="", inner=""):
    title = title.replace("&", "&amp;").replace('"', "&quot;").replace("<", "&lt;")
    start = f'<tab type="{kind}" visible="yes" title="{title}"' + (f' url="{url}"' if url else "")
    return f"{start}>\n{inner}</tab>\n" if inner else f"{start}/>\n"


def short(title):
    """For the sidebar: what stands before a colon."""
    return title.partition(":")[0]


def write_layout(folder, sections):
    inner = tab("mainpage", "Overview")
    for title, listed in sections:
        inner += tab("usergroup", title, "", "".join(tab("user", short(page.title), f"@ref {page.id}") for page in listed))
        if title == "Files":
            reference = tab("classlist", "Classes") + tab("namespacelist", "Namespaces") + tab("filelist", "Headers")
            inner += tab("usergroup", "C++", "", reference + tab("classindex", "Index") + tab("classmembers", "Members"))
    default = folder / "default_layout.xml"
    subprocess.run(["doxygen", "-l", str(default)], check=True, stdout=subprocess.DEVNULL)
    text = re.sub(r"<navindex>.*</navindex>", lambda _: f"<navindex>\n{inner}</navindex>", default.read_text(), flags=re.DOTALL)
    (folder / "layout.xml").write_text(text, encoding="utf-8")


def stage(settings, work):
    """Writes what Doxygen reads; answers the files that go beside the site."""
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    listed = [pages.read_page(path, name_of(path)) for path in page_paths()]
    listed += written(work / "made", python_pages(settings.python_path, settings.python_path / "qelt/_core.pyi"))
    site = pages.Site(ROOT, settings.pages, listed, header_pages())
    (work / "pages").mkdir()
    for page in listed:
        (work / "pages" / f"{page.id}.md").write_text(site.staged(page), encoding="utf-8")
    write_layout(work, sections_of({page.name: page for page in listed}))
    return site.files


def run_doxygen(settings, work):
    version = re.search(r'QELT_VERSION_STRING "(.*)"', (ROOT / "Geometry/foundations/version.h").read_text())[1]
    values = {"WORK": work, "ROOT": ROOT, "HERE": HERE, "VERSION": version, "OUT": settings.out.parent, "HTML": settings.out.name,
              "FILTER": f"{sys.executable} {HERE / 'filter_header.py'}"}
    text = re.sub(r"@(\w+)@", lambda m: str(values[m[1]]), (HERE / "Doxyfile.in").read_text())
    (work / "Doxyfile").write_text(text)
    shutil.rmtree(settings.out, ignore_errors=True)
    if subprocess.run(["doxygen", str(work / "Doxyfile")], cwd=ROOT).returncode:
        sys.exit("Doxygen has warnings")
    wanting = sorted(set(undocumented.wanting(settings.out.parent / "xml")))
    if wanting:
        sys.exit("\n".join(wanting))


class Links(html.parser.HTMLParser):
    """What a page of the site refers to, and what can be referred to in it."""

    def __init__(self, path):
        super().__init__()
        self.targets, self.anchors = [], set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        for key, value in attributes:
            if key in ("href", "src") and value:
                self.targets.append(value)
            elif key in ("id", "name") and value:
                self.anchors.add(value)


# Doxygen refers to the summary of nested classes also where they are all private.
OWN_ANCHORS = {"nested-classes"}


def dangling(folder):
    """The links and pictures of the site that are not there."""
    found = {path: Links(path) for path in folder.rglob("*.html")}
    for path, links in sorted(found.items()):
        for target in links.targets:
            place = urllib.parse.urlparse(target)
            if place.scheme or target == "#":
                continue
            other = pathlib.Path(os.path.normpath(path.parent / urllib.parse.unquote(place.path))) if place.path else path
            if not other.exists():
                yield f"{path.name}: there is no {target}"
            elif place.fragment and other in found and place.fragment not in found[other].anchors | OWN_ANCHORS:
                yield f"{path.name}: there is no place {target}"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--pages", type=pathlib.Path, required=True, help="where the pages' blocks left their pictures")
    parser.add_argument("--python-path", type=pathlib.Path, required=True, help="where the package qelt lies")
    parser.add_argument("--out", type=pathlib.Path, required=True, help="the site's folder")
    settings = parser.parse_args()
    settings.out = settings.out.resolve()
    settings.pages = settings.pages.resolve()
    work = settings.out.with_name("staged")
    try:
        files = stage(settings, work)
    except pages.Wrong as wrong:
        sys.exit(str(wrong))
    run_doxygen(settings, work)
    for name, source in files.items():
        place = settings.out / name
        place.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(source, place)
    faults = list(dangling(settings.out))
    if faults:
        sys.exit("\n".join(faults))
    print(f"The site is {settings.out / 'index.html'}: {len(list(settings.out.glob('*.html')))} pages, {len(files)} files beside them")


if __name__ == "__main__":
    main()
