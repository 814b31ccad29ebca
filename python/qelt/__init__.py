"""The inspection of parts with curved surfaces, from arrays to C-scans.

Names are Python's: each is that of the C++ library in small letters with underscores, and so are those of options and
of what results hold. Lengths are in the part's own unit, angles in radians unless a text says degrees.
"""

from qelt._core import *  # noqa: F403
from qelt._core import __version__ as __version__
