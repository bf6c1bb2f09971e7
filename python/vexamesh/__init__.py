"""Triangle strips with few indices, and what belongs to them: NumPy in, NumPy out.

>>> import numpy as np
>>> import vexamesh
>>> strip = vexamesh.strip(np.array([[0, 1, 2], [2, 1, 3]]))
>>> strip
array([0, 1, 2, 3], dtype=uint32)
>>> vexamesh.unstrip(strip)
array([[0, 1, 2],
       [1, 3, 2]], dtype=uint32)

Faces are arrays of any integer type, either (n, 3) or flat, with three vertex indices for each triangle in winding order.
Arrays of 32 bits are read where they are; others are converted. The interpreter is free for other threads while a call
works, Ctrl-C stops it, and what is wrong with an argument is a ValueError, TypeError or IndexError that says so.
"""

from vexamesh._meshes import Fault, Mesh, Weld, compute_normals, find_faults, merge, weld
from vexamesh._normals import pack_normals, unpack_normals
from vexamesh._strips import RESTART_INDEX, Analysis, Edges, analyze, edges, lower_bound, strip, unstrip

__all__ = [
    "RESTART_INDEX",
    "Analysis",
    "Edges",
    "Fault",
    "Mesh",
    "Weld",
    "analyze",
    "compute_normals",
    "edges",
    "find_faults",
    "lower_bound",
    "merge",
    "pack_normals",
    "strip",
    "unpack_normals",
    "unstrip",
    "weld",
]
__version__ = "0.1.0"
