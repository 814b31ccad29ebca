"""What a step came to: whether its result can be used, and the figures to show."""

from __future__ import annotations

import dataclasses
import json
import pathlib
from collections.abc import Callable, Mapping
from typing import Any

Figures = dict[str, Any]

LEAST_COUNTED_SHARE = 0.1  # of the shots, as `cscan scan` has it


@dataclasses.dataclass(frozen=True)
class Shortcoming:
    """Why a result cannot be used, what to do, and whether the steps behind it have anything to work on."""

    what: str
    remedy: str
    is_end: bool = False


def of_check(result: Any) -> Shortcoming | None:
    if result.can_be_prepared:
        return None
    faults = [fault.cause_and_place for fault in result.faults if fault.is_in_the_way]
    return Shortcoming("; ".join(faults), "; ".join(result.next_commands), is_end=True)


def of_crop(result: Any) -> Shortcoming | None:
    if result.can_be_prepared:
        return None
    return Shortcoming("what was cropped cannot be prepared", "choose another piece of the part", is_end=True)


def of_prepare(result: Any) -> Shortcoming | None:
    result = getattr(result, "prepared", result)
    if result.is_written:
        return None
    return Shortcoming(
        "; ".join(each.what for each in result.shortcomings),
        "; ".join(each.remedy for each in result.shortcomings),
        is_end=True,
    )


def of_scan(result: Any) -> Shortcoming | None:
    hits = getattr(result, "scan", result).result.hits
    return None if hits.valid.any() else NO_BEAM_HIT


NO_BEAM_HIT = Shortcoming(
    "no beam meets the grid", "compare the beams, and their frame, with the box that 'cscan info' tells of the grid"
)


def of_measured_scan(result: Any) -> Shortcoming | None:
    result = getattr(result, "scan", result)
    figures = result.figures
    counted = (figures.echo_count + figures.no_echo_count) / figures.shot_count
    if counted < LEAST_COUNTED_SHARE:
        notes = "; ".join(result.notes) or "check poses, frame and the limits of angle and standoff"
        return Shortcoming(f"only {100 * counted:.3g} % of the shots count", notes)
    if not result.is_coverage_reached:
        reached = 100 * result.coverage.reached_share
        return Shortcoming(f"{reached:.4g} % of the surface was reached, less than is required", "measure the rest")
    if not result.is_gap_kept:
        gap, place = result.coverage.longest_gap, ", ".join(f"{each:.4g}" for each in result.coverage.gap_place)
        return Shortcoming(f"a gap of {gap:.4g} near ({place}) is longer than is allowed", "measure there once more")
    return None


def of_frame_correction(result: Any) -> Shortcoming | None:
    if result.is_written:
        return None
    return Shortcoming(
        "the shape leaves motions of the frame open",
        "measure more of the part, register points instead, or take the rest of the correction with is_accepted",
        is_end=True,
    )


def of_plan(result: Any) -> Shortcoming | None:
    if result.is_fit:
        return None
    if result.check.blocked_count:
        blocked = f"{result.check.blocked_count} poses are blocked"
        return Shortcoming(blocked, "change the standoff or the lines' direction")
    return Shortcoming("the path covers less than is required", "take a smaller step")


def of_report(result: Any) -> Shortcoming | None:
    if result.is_as_recorded:
        return None
    changed = [each.name for each in result.inputs if each.state == "changed"]
    what = "; ".join([*result.misfits, *(f"{name} is not what was read" for name in changed)])
    return Shortcoming(what, "scan once more, or put back what was changed")


def of_selftest(result: Any) -> Shortcoming | None:
    if not result.failure_count:
        return None
    return Shortcoming(f"{result.failure_count} lines of the search's own test fail", "prepare the grid once more")


VERDICTS: Mapping[str, Callable[[Any], Shortcoming | None]] = {
    "check_part": of_check,
    "crop_part": of_crop,
    "prepare": of_prepare,
    "draw_preparation": of_prepare,
    "scan": of_scan,
    "draw_scan": of_scan,
    "measured_scan": of_measured_scan,
    "draw_measured_scan": of_measured_scan,
    "correct_frame": of_frame_correction,
    "plan_path": of_plan,
    "report": of_report,
    "selftest": of_selftest,
}


def verdict_on(function: str, result: Any) -> Shortcoming | None:
    judge = VERDICTS.get(function)
    return judge(result) if judge else None


def figures_of(result: Any, outputs: list[pathlib.Path]) -> Figures:
    """What the record beside the outputs tells; without one, what the result has of plain numbers and words."""
    for output in outputs:
        record = output.with_name(output.name + ".json")
        if record.is_file():
            told = json.loads(record.read_text(encoding="utf-8"))
            return plain({**told.get("figures", {}), "lengthUnit": told.get("units", {}).get("length")})
    names = [name for name in dir(result) if not name.startswith("_")]
    return plain({name: getattr(result, name) for name in names})


def plain(figures: Mapping[str, Any]) -> Figures:
    return {name: value for name, value in figures.items() if isinstance(value, (bool, int, float, str))}
