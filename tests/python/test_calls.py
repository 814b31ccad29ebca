"""Calls: keywords, progress, ending them early, Python's lock, and who may work on an object when."""

import os
import pathlib
import signal
import threading
import time

import numpy as np
import pytest

import qelt
from conftest import beams_over


def test_an_unknown_keyword_is_named(cap, tmp_path):
    with pytest.raises(TypeError, match=r"prepare\(\) got an unexpected keyword argument 'gird'"):
        qelt.prepare(part=cap, gird=tmp_path / "a.quads")
    with pytest.raises(TypeError, match=r"prepare\(\): 'resolution' got an unexpected keyword argument 'pixle'"):
        qelt.prepare(part=cap, grid=tmp_path / "a.quads", resolution={"pixle": 1})
    with pytest.raises(TypeError, match=r"GridResolution\(\) got an unexpected keyword argument 'x'"):
        qelt.GridResolution(x=1)


def test_a_missing_keyword_is_named(cap):
    with pytest.raises(TypeError, match=r"prepare\(\) missing required keyword argument 'grid'"):
        qelt.prepare(part=cap)
    with pytest.raises(TypeError, match=r"'choice': 'boxes' missing required keyword argument 'low'"):
        qelt.crop_part(part=cap, result="b.obj", choice={"boxes": [{"high": (1, 1, 1)}]})


@pytest.mark.parametrize(
    ("options", "error", "text"),
    [
        ({"mode": "flat"}, ValueError, "'mode' needs one of 'pinned', 'developable', not 'flat'"),
        ({"mode": 3}, TypeError, "'mode' needs a str, not int"),
        ({"is_accepted": 1}, TypeError, "'is_accepted' needs True or False, not int"),
        ({"extension_passes": -1}, ValueError, "'extension_passes' needs a whole number from 0"),
        ({"extension_passes": 2**64}, ValueError, "'extension_passes' needs a whole number from 0"),
        ({"extension_passes": 1.5}, TypeError, "'extension_passes' needs a whole number, not float"),
        ({"resolution": {"pixel": "1"}}, TypeError, "'resolution': 'pixel' needs a number, not str"),
        ({"resolution": 0.5}, TypeError, "'resolution' needs a GridResolution or a dict of its fields, not float"),
        ({"unit": None}, TypeError, "'unit' needs a str, not NoneType"),
        ({"flat": 5}, TypeError, "'flat' needs a str or os.PathLike, not int"),
        ({"progress": 5}, TypeError, "'progress' needs a function"),
    ],
)
def test_what_an_option_cannot_be_is_told(cap, tmp_path, options, error, text):
    with pytest.raises(error) as raised:
        qelt.prepare(part=cap, grid=tmp_path / "a.quads", **options)
    assert text in str(raised.value)
    assert not (tmp_path / "a.quads").exists()


def test_options_are_objects_or_dictionaries_and_paths_of_any_kind(cap, tmp_path):
    class Path(os.PathLike):
        def __fspath__(self):
            return str(tmp_path / "b.quads")

    options = qelt.GridResolution(pixel=1)
    assert options.pixel == 1.0 and options.width is None
    first = qelt.prepare(part=str(cap), grid=tmp_path / "a.quads", resolution=options, mode="pinned")
    second = qelt.prepare(part=pathlib.Path(cap), grid=Path(), resolution={"pixel": np.float32(1)}, mode="pinned")
    assert (tmp_path / "a.quads").read_bytes()[1024:] == (tmp_path / "b.quads").read_bytes()[1024:]
    assert first.maps[first.chosen].mode == second.map.mode == "pinned"


def test_results_cannot_be_written(cap):
    result = qelt.check_part(part=cap)
    with pytest.raises(AttributeError):
        result.is_mesh = False
    with pytest.raises(ValueError, match="read-only"):
        result.analysis.rims[0].points[0] = 7


def test_what_a_result_shows_outlives_it(cap):
    import gc

    rim = qelt.check_part(part=cap).analysis.rims[0]
    points = rim.points
    expected = points.tolist()
    del rim
    gc.collect()
    again = [qelt.check_part(part=cap) for _ in range(5)]
    assert points.tolist() == expected == again[0].analysis.rims[0].points.tolist()


def test_progress_tells_stages_and_percentages(cap, tmp_path):
    told = []
    qelt.prepare(part=cap, grid=tmp_path / "a.quads", progress=lambda name, percent: told.append((name, percent)))
    assert len({name for name, _ in told}) > 3
    assert all(isinstance(name, str) and 0 <= percent <= 101 for name, percent in told)
    beams = []
    grid = qelt.Grid.from_file(tmp_path / "a.quads")
    grid.intersect(*beams_over(grid, step=0.2), progress=lambda name, percent: beams.append(percent))
    assert beams == sorted(set(beams)) and beams[-1] == 100 and len(beams) > 3


class Stop(BaseException):
    pass


@pytest.mark.parametrize("after", [0, 1, 4])
@pytest.mark.parametrize("kind", [Stop, KeyboardInterrupt, ValueError, qelt.Failure])
def test_what_progress_raises_ends_the_call_and_comes_out(cap, tmp_path, kind, after):
    error = kind("enough")
    calls = []

    def stop(name, percent):
        calls.append(name)
        if len(calls) > after:
            raise error

    with pytest.raises(kind) as raised:
        qelt.prepare(part=cap, grid=tmp_path / "a.quads", progress=stop)
    assert raised.value is error and len(calls) == after + 1
    assert list(tmp_path.iterdir()) == []
    assert qelt.prepare(part=cap, grid=tmp_path / "a.quads").is_written


def test_a_mesh_and_a_grid_serve_on_after_an_ended_call(cap):
    def stop(name, percent):
        raise Stop

    mesh = qelt.Mesh.load(cap)
    with pytest.raises(Stop):
        mesh.flatten(progress=stop)
    assert mesh.flatten().is_trustworthy
    with pytest.raises(Stop):
        qelt.Grid.from_mesh(mesh, 0.25, progress=stop)
    grid = qelt.Grid.from_mesh(mesh, 0.25)
    origins, directions = beams_over(grid, step=0.2)
    with pytest.raises(Stop):
        grid.intersect(origins, directions, progress=stop)
    assert grid.intersect(origins, directions).valid.any()
    with pytest.raises(Stop):
        grid.extended(2, progress=stop)


def test_a_signal_ends_a_long_call(grid):
    origins, directions = beams_over(grid, step=0.5)
    many = np.broadcast_to(origins[:1], (200_000_000 // 100, 3))
    down = np.broadcast_to(directions[:1], many.shape)
    told = []

    def interrupt(name, percent):
        if not told:
            told.append(percent)
            os.kill(os.getpid(), signal.SIGINT)

    with pytest.raises(KeyboardInterrupt):
        grid.intersect(many, down, progress=interrupt)
    assert told and told[0] < 50


def test_the_lock_is_free_while_a_call_runs(grid):
    """Python runs on in another thread between the first word of a call and its end."""
    origins, directions = beams_over(grid, step=0.05)
    began, other, ended = threading.Event(), [], threading.Event()

    def count():
        began.wait(60)
        while not ended.is_set():
            other.append(None)
            time.sleep(0)

    seen_at_percent = []

    def progress(name, percent):
        began.set()
        seen_at_percent.append(len(other))

    thread = threading.Thread(target=count)
    thread.start()
    try:
        grid.intersect(origins, directions, "walk", progress=progress)
    finally:
        began.set()
        ended.set()
        thread.join()
    assert seen_at_percent[-1] > seen_at_percent[0]


def test_an_object_serves_one_call_at_a_time(cap):
    mesh = qelt.Mesh.load(cap)
    refused = []

    def progress(name, percent):
        for use in (mesh.flatten, mesh.summary, lambda: mesh.points, lambda: qelt.Grid.from_mesh(mesh, 1.0)):
            with pytest.raises(RuntimeError, match="Another call is working on this object"):
                use()
        refused.append(name)

    mesh.flatten(progress=progress)
    assert refused and len(mesh.points) == 169


def test_a_call_within_a_call_is_served(cap, tmp_path):
    inner = []

    def progress(name, percent):
        if not inner:
            inner.append(qelt.check_part(part=cap).can_be_prepared)

    assert qelt.prepare(part=cap, grid=tmp_path / "a.quads", progress=progress).is_fit
    assert inner == [True]


def test_calls_of_files_in_several_threads_end_well(cap, tmp_path):
    results = [None] * 4

    def work(i):
        results[i] = qelt.prepare(
            part=cap, grid=tmp_path / f"{i}.quads", resolution={"pixel": 1.0}, progress=lambda *_: None
        )

    threads = [threading.Thread(target=work, args=(i,)) for i in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert all(result.is_written for result in results)


def test_settings_of_the_process_are_guarded(grid):
    before = qelt.search_settings()
    origins, directions = beams_over(grid, step=0.2)
    refused = []

    def progress(name, percent):
        with pytest.raises(RuntimeError, match="set them while no call runs"):
            qelt.set_search_settings(max_do_n_more_times=3)
        refused.append(percent)

    grid.intersect(origins, directions, progress=progress)
    assert refused and qelt.search_settings() == before
    try:
        qelt.set_search_settings(quality_mode="distance_only", max_do_n_more_times=3)
        assert qelt.search_settings() == {**before, "quality_mode": "distance_only", "max_do_n_more_times": 3}
        with pytest.raises(ValueError, match="'quality_mode' needs one of"):
            qelt.set_search_settings(quality_mode="best")
    finally:
        qelt.set_search_settings(**before)
    assert qelt.search_settings() == before


def test_functions_tell_their_options():
    import inspect

    for name in ("prepare", "measured_scan", "view"):
        function = getattr(qelt, name)
        assert inspect.signature(function).parameters["progress"].kind is inspect.Parameter.KEYWORD_ONLY
        assert "\n\n" in function.__doc__
    assert "Quads along u." == qelt.GridResolution.width.__doc__
