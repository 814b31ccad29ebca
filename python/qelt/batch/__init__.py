"""Many parts on many machines: a table of jobs on Dask's distributed scheduler.

A job is a name and one step or several, each a function of `qelt` with its options; its steps go one after the other,
on one worker, so that a part goes from its file to its result. `python3 -m qelt.batch jobs.json --out results` runs
them on processes of this machine, or with `--scheduler tcp://...` on a scheduler of yours; `run` does the same from a
program. A job's files are in `results/parts/NAME`, beside `piece.json`, which tells what was done;
`results/summary.csv` and `results/overview.html` tell of all. A second run does only what is not there yet:
what was made of the same files, with the same settings, by the same version of the library, stays.

Tables of jobs (`read_jobs`), file names in them being relative to the table, or to the job's folder if the job writes
them:

- JSON, a list of jobs: `{"name": "a", "steps": [{"function": "prepare", "options": {...}}, ...]}`; a job of one
  step may have `function` and `options` itself.
- JSON, steps for many parts: `{"steps": [...], "parts": [{"name": "a", "part": "a.stl"}, ...]}`. `{part}` in a text of
  the steps stands for what the part has of that name; a text that is nothing else becomes the value itself.
- CSV with a column `function`: a row a step, rows of one name after another being the steps of that job; all other
  columns are options, those within others joined by dots (`resolution.pixel`, `grids.0.file`). An empty field is an
  option that is not given; what reads as JSON is that value, all else is text.
- CSV without it: a row a part, for the steps of another file (`--steps`, JSON).

A scan of a raster or of a table of beams with `"block": 1000000` beside its function is cut into blocks of that many
beams, which run on any number of workers. The table of hits and its record are those of `qelt.scan`, byte for byte.

What a function of `qelt` takes as an object of a class is a dictionary with its fields, as everywhere; where one of
several classes is wanted, as of `derive`, its name stands in it as `class`.
"""

from qelt.batch.jobs import Job, Step, TableError, read_jobs
from qelt.batch.runner import NoCluster, Run, Settings, run
from qelt.batch.work import Outcome

__all__ = ["Job", "NoCluster", "Outcome", "Run", "Settings", "Step", "TableError", "read_jobs", "run"]
