"""What became of a batch: a table for programs, and a page to look at.

The page needs nothing but a browser and the folder that it lies in: pictures and results are links into it, and what is
not in view is not loaded.
"""

from __future__ import annotations

import collections
import csv
import dataclasses
import html
import io
import pathlib
import urllib.parse
from collections.abc import Iterable, Sequence
from typing import Any

import qelt
from qelt.batch.work import Outcome, write_whole

COLUMNS = ("name", "status", "usable", "reason", "remedy", "seconds", "folder")
STATUSES = {
    "done": "can be used",
    "unfit": "not fit",
    "failed": "failed",
    "killed": "ends its worker",
    "open": "not done yet",
}
MEANINGS = {
    "unfit": "was carried out, but what came of it cannot be inspected by",
    "failed": "could not be carried out",
    "killed": "ended every worker that tried it",
    "open": "the run ended before it was done: run the same command again",
}
PICTURES_SHOWN = 4
CARDS_AT_ONCE = 12  # whose pictures do not wait until they come into view
LEAST_TELLING = ("states", "coverage", "pixels", "map", "incidence", "standoff", "angle")


@dataclasses.dataclass(frozen=True)
class Told:
    """The files that were written, and how many jobs there are of each status."""

    summary: pathlib.Path
    page: pathlib.Path
    counts: dict[str, int]


def write(results: pathlib.Path, outcomes: Sequence[Outcome]) -> Told:
    counts = collections.Counter(outcome.status for outcome in outcomes)
    told = Told(results / "summary.csv", results / "overview.html", dict(counts))
    write_whole(told.summary, summary_of(outcomes))
    write_whole(told.page, page_of(outcomes))
    return told


def summary_of(outcomes: Sequence[Outcome]) -> str:
    """A row a job, and a column for every figure that any of them has."""
    figures = list(dict.fromkeys(name for outcome in outcomes for name in outcome.figures))
    text = io.StringIO(newline="")
    writer = csv.writer(text, lineterminator="\n")
    writer.writerow([*COLUMNS, *figures])
    for outcome in outcomes:
        own = [
            outcome.name,
            outcome.status,
            "yes" if outcome.is_usable else "no",
            outcome.reason,
            outcome.remedy,
            "" if outcome.was_kept or outcome.status == "open" else f"{outcome.seconds:.3f}",
            folder_of(outcome) if outcome.files else "",
        ]
        writer.writerow([*own, *(cell(outcome.figures.get(name)) for name in figures)])
    return text.getvalue()


def cell(value: Any) -> str:
    if isinstance(value, bool):
        return "yes" if value else "no"
    return "" if value is None else str(value)


def folder_of(outcome: Outcome) -> str:
    return f"parts/{outcome.name}"


def figures_named(outcome: Outcome, name: str) -> list[Any]:
    return [value for key, value in outcome.figures.items() if key.rpartition(".")[2] == name]


def last_figure(outcome: Outcome, name: str) -> Any:
    return next(reversed(figures_named(outcome, name)), None)


def number_text(value: float) -> str:
    return f"{value:,.4g}" if abs(value) < 1000 else f"{value:,.0f}"


def headline(outcome: Outcome) -> Iterable[tuple[str, str]]:
    """The few figures that an inspector asks for first."""
    unit = last_figure(outcome, "lengthUnit") or ""
    found = {name: last_figure(outcome, name) for name in HEADLINES}
    for name, (label, form) in HEADLINES.items():
        if found[name] is not None:
            yield label, form(found[name], unit)
    if found["area"] is None and last_figure(outcome, "quadsAlongU") is not None:
        yield "pixels", f"{last_figure(outcome, 'quadsAlongU')} × {last_figure(outcome, 'quadsAlongV')}"


def percent(value: float, _: str) -> str:
    return f"{100 * value:.4g} %"


def count(value: float, _: str) -> str:
    return number_text(value)


def length(value: float, unit: str) -> str:
    return f"{number_text(value)} {unit}".strip()


def area(value: float, unit: str) -> str:
    return f"{number_text(value)} {unit}²" if unit else number_text(value)


HEADLINES = {
    "indications": ("indications", count),
    "area": ("their area", area),
    "coverage": ("reached", percent),
    "longestGap": ("longest gap", length),
    "shots": ("shots", count),
    "beams": ("beams", count),
    "hitRate": ("hit", percent),
}


def link(outcome: Outcome, file: str) -> str:
    return html.escape(urllib.parse.quote(f"{folder_of(outcome)}/{file}"))


def pictures_of(outcome: Outcome) -> list[str]:
    """The most telling first."""

    def rank(file: str) -> tuple[int, str]:
        words = [i for i, word in enumerate(LEAST_TELLING) if word in pathlib.PurePath(file).stem]
        return (len(LEAST_TELLING) - min(words) if words else 0), file

    return sorted((file for file in outcome.files if file.lower().endswith(".png")), key=rank)


def files_shown(outcome: Outcome) -> list[str]:
    """Pages first; neither pictures, which are shown, nor records."""
    others = [file for file in outcome.files if not file.lower().endswith((".png", ".json"))]
    return sorted(others, key=lambda file: (not file.endswith(".html"), file))


def page_of(outcomes: Sequence[Outcome]) -> str:
    counts = collections.Counter(outcome.status for outcome in outcomes)
    buttons = "".join(button(status, counts[status]) for status in STATUSES if counts[status] or status == "done")
    found = sum(has_indications(outcome) for outcome in outcomes)
    buttons += FOUND.format(found) if found else ""
    return PAGE.format(
        style=STYLE,
        script=SCRIPT,
        count=len(outcomes),
        word="part" if len(outcomes) == 1 else "parts",
        verdict=verdict_on(counts),
        version=html.escape(qelt.library_version()),
        buttons=buttons,
        attention=attention(outcomes),
        cards="\n".join(card(outcome, number < CARDS_AT_ONCE) for number, outcome in enumerate(outcomes)),
    )


def verdict_on(counts: collections.Counter[str]) -> str:
    bad = sum(counts.values()) - counts["done"] - counts["open"]
    texts = [f"{bad:,} of the results cannot be used."] if bad else []
    texts += [f"{counts['open']:,} are not done yet: run the same command again."] if counts["open"] else []
    return " ".join(texts) or "All results can be used."


def has_indications(outcome: Outcome) -> bool:
    return bool(last_figure(outcome, "indications"))


def button(status: str, number: int) -> str:
    label = f"<b>{number:,}</b> {STATUSES[status]}"
    return f'<button class="count {status}" data-status="{status}" aria-pressed="false">{label}</button>'


def attention(outcomes: Sequence[Outcome]) -> str:
    """Those that cannot be used, with why and what to do."""
    rows = [attention_row(outcome) for outcome in outcomes if not outcome.is_usable and outcome.status != "open"]
    if not rows:
        return ""
    heading = "<tr><th>part</th><th>status</th><th>why</th><th>what to do</th></tr>"
    return f'<section><h2>To be looked at</h2><table class="why">{heading}{"".join(rows)}</table></section>'


def attention_row(outcome: Outcome) -> str:
    name, reason, remedy = (html.escape(text) for text in (outcome.name, outcome.reason, outcome.remedy))
    return (
        f'<tr><td><a href="#{name}">{name}</a></td><td>{badge(outcome)}</td><td>{reason}</td>'
        f"<td>{remedy or '&ndash;'}</td></tr>"
    )


def badge(outcome: Outcome) -> str:
    kept = ' <small title="of a run before; nothing that went in has changed">kept</small>' if outcome.was_kept else ""
    title = html.escape(MEANINGS.get(outcome.status, ""))
    return f'<span class="badge {outcome.status}" title="{title}">{STATUSES[outcome.status]}</span>{kept}'


def card(outcome: Outcome, is_at_once: bool) -> str:
    name = html.escape(outcome.name)
    figures = "".join(f"<dt>{label}</dt><dd>{html.escape(text)}</dd>" for label, text in headline(outcome))
    links = "".join(f'<a href="{link(outcome, file)}">{html.escape(file)}</a>' for file in files_shown(outcome))
    found = " data-found" if has_indications(outcome) else ""
    reason = "" if outcome.is_usable else f'<p class="reason">{html.escape(outcome.reason)}</p>'
    return (
        f'<article id="{name}" class="{outcome.status}" data-status="{outcome.status}"{found}>'
        f"{thumbnails(outcome, is_at_once)}"
        f"<h3>{name}</h3><p>{badge(outcome)}</p>{reason}<dl>{figures}</dl><nav>{links}</nav></article>"
    )


def thumbnails(outcome: Outcome, is_at_once: bool) -> str:
    pictures = pictures_of(outcome)[:PICTURES_SHOWN]
    if not pictures:
        return '<div class="none">no picture</div>'
    first, *rest = (thumbnail(outcome, picture, is_at_once) for picture in pictures)
    return f'<div class="large">{first}</div><div class="strip">{"".join(rest)}</div>'


def thumbnail(outcome: Outcome, picture: str, is_at_once: bool) -> str:
    place, name = link(outcome, picture), html.escape(picture)
    when = "" if is_at_once else ' loading="lazy" decoding="async"'
    return f'<a href="{place}" title="{name}"><img src="{place}" alt="{name}"{when}></a>'


FOUND = '<button class="count found" data-status="found" aria-pressed="false"><b>{:,}</b> with indications</button>'

PAGE = """<!DOCTYPE html>
<html lang="en">
<head><meta charset="utf-8"><meta name="viewport" content="width=device-width"><title>Batch of {count} {word}</title>
<style>{style}</style></head>
<body>
<header>
<h1>Batch of {count:,} {word}</h1>
<p>{verdict} Figures are those of the records beside the results. All of them: <a href="summary.csv">summary.csv</a>;
what happened when: <a href="journal.jsonl">journal.jsonl</a>. Library version {version}.</p>
<div class="bar">{buttons}<input type="search" placeholder="part" aria-label="part"></div>
</header>
{attention}
<section><h2>Parts</h2><main>
{cards}
</main></section>
<script>{script}</script>
</body>
</html>
"""

STYLE = """
:root { --line: #d5dae0; --dim: #5b6672; --good: #1d7a46; --fair: #a86500; --bad: #b3261e; --odd: #6b3fa0;
  --wait: #5b6672 }
* { box-sizing: border-box }
body { margin: 0 auto; max-width: 1500px; padding: 1.5rem 2rem 4rem; color: #17202a; background: #f6f7f9;
  font: 15px/1.45 system-ui, "Segoe UI", "DejaVu Sans", sans-serif }
h1 { margin: 0 0 .3rem; font-size: 1.7rem } h2 { font-size: 1.15rem; margin: 1.8rem 0 .7rem }
header p { margin: 0 0 1rem; color: var(--dim) } a { color: #0b5cad }
.bar { display: flex; flex-wrap: wrap; gap: .6rem; align-items: stretch }
.count { border: 1px solid var(--line); border-left: 6px solid var(--c); border-radius: 6px; background: #fff;
  color: inherit; padding: .45rem .9rem; font: inherit; cursor: pointer }
.count b { font-size: 1.25rem; margin-right: .2rem }
.count[aria-pressed=true] { outline: 2px solid var(--c); background: color-mix(in srgb, var(--c) 10%, #fff) }
input { border: 1px solid var(--line); border-radius: 6px; padding: .45rem .8rem; font: inherit; margin-left: auto }
.done { --c: var(--good) } .unfit { --c: var(--fair) } .failed { --c: var(--bad) } .killed { --c: var(--odd) }
.open { --c: var(--wait) } .found { --c: #0b5cad }
article[data-found] dl dt:first-child, article[data-found] dl dd:nth-child(2) { font-weight: 700; color: #0b5cad }
table { border-collapse: collapse; width: 100%; background: #fff; border: 1px solid var(--line) }
th, td { text-align: left; vertical-align: top; padding: .45rem .8rem; border-bottom: 1px solid var(--line) }
th { color: var(--dim); font-weight: 600 } td:nth-child(-n+2) { white-space: nowrap }
td:nth-child(n+3) { overflow-wrap: anywhere }
.badge { display: inline-block; border-radius: 999px; padding: .05rem .65rem; color: #fff; background: var(--c);
  font-size: .82rem }
small { color: var(--dim) }
main { display: grid; grid-template-columns: repeat(auto-fill, minmax(290px, 1fr)); gap: 1rem }
article { background: #fff; border: 1px solid var(--line); border-top: 4px solid var(--c); border-radius: 6px;
  padding: .7rem .8rem; content-visibility: auto; contain-intrinsic-size: 290px 470px; scroll-margin: 1rem;
  min-width: 0 }
article:target { outline: 3px solid var(--c) } article[hidden] { display: none }
article h3 { margin: .5rem 0 .15rem; font-size: 1rem; overflow-wrap: anywhere } article p { margin: 0 0 .35rem }
.large img { width: 100%; height: 215px; object-fit: contain; background: #fff; display: block }
.strip { display: flex; gap: .3rem; margin-top: .3rem; min-height: 62px }
.strip a { flex: 0 1 33% ; min-width: 0 }
.strip img { width: 100%; height: 62px; object-fit: contain; border: 1px solid var(--line); background: #fff }
.none { height: 281px; display: grid; place-items: center; color: var(--dim);
  background: repeating-linear-gradient(45deg, #f1f3f5 0 8px, #e8ebee 8px 16px) }
.reason { color: var(--c); font-size: .86rem; overflow-wrap: anywhere; display: -webkit-box;
  -webkit-box-orient: vertical; -webkit-line-clamp: 4; overflow: hidden }
dl { display: grid; grid-template-columns: auto 1fr; gap: 0 .8rem; margin: 0 0 .35rem } dt { color: var(--dim) }
dd { margin: 0; text-align: right; font-variant-numeric: tabular-nums }
nav { font-size: .82rem; display: flex; flex-wrap: wrap; gap: .1rem .7rem; border-top: 1px solid var(--line);
  padding-top: .35rem }
@media print { body { background: #fff; padding: 0 } .bar input { display: none } article { break-inside: avoid } }
"""

SCRIPT = """
const chosen = new Set(), search = document.querySelector("input");
const cards = [...document.querySelectorAll("article")];
const statuses = () => [...chosen].filter((each) => each !== "found");
function isChosen(card) {
  if (chosen.has("found") && !("found" in card.dataset)) return false;
  return statuses().length === 0 || chosen.has(card.dataset.status);
}
function show() {
  const text = search.value.toLowerCase();
  for (const card of cards)
    card.hidden = !isChosen(card) || !card.id.toLowerCase().includes(text);
}
for (const button of document.querySelectorAll("button"))
  button.onclick = () => {
    const status = button.dataset.status, isOn = !chosen.delete(status);
    if (isOn) chosen.add(status);
    button.setAttribute("aria-pressed", isOn);
    show();
  };
search.oninput = show;
"""
