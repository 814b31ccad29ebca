"""The inspection of parts with curved surfaces, from arrays to C-scans.

Names are Python's: each is that of the C++ library in small letters with underscores, and so are those of options and
of what results hold. Lengths are in the part's own unit, angles in radians unless a text says degrees.

>>> grid = qelt.Grid.sphere_cap(50.0, 0.3, 1.0)
>>> hits = grid.intersect([[1.0, 2.0, 80.0], [40.0, 0.0, 80.0]], [[0.0, 0.0, -1.0], [0.0, 0.0, -1.0]])
>>> hits.valid.tolist(), round(float(hits.distances[0]), 2)
([True, False], 30.05)
"""

from qelt._core import *  # noqa: F403
from qelt._core import __version__ as __version__
