"""Meshes: faces with the attributes of their vertices."""

import math
from typing import Any, Dict, Iterable, List, Literal, Mapping, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

from vexamesh import _core
from vexamesh._arrays import Indices, as_faces

Attribute = npt.NDArray[Any]

_TYPES = tuple(np.dtype(code) for code in ("i1", "u1", "i2", "u2", "i4", "u4", "f4"))


class Mesh:
    """Triangles with attributes of their vertices.

    ``faces`` is (n, 3), of type uint32; ``attributes`` maps names to arrays of two dimensions, one row for each vertex.
    "position", "normal" and "tangent" have the meaning of their names; every other name is the program's. Arrays are of
    the types that graphics APIs read: integers of 8, 16 or 32 bits and float32. Integers of 64 bits are stored in 32, and float64 is
    rounded to float32.

    Indices beyond the vertices are for :func:`find_faults`; other functions refuse them with a ValueError.

    :param faces: as for :func:`vexamesh.strip`
    :param attributes: (v,) or (v, k) arrays by name
    :raise ValueError: two attributes differ in their number of rows, or an array has three dimensions
    :raise TypeError: an array is of another type
    """

    def __init__(self, faces: npt.ArrayLike, attributes: Mapping[str, npt.ArrayLike]) -> None:
        self.faces: Indices = as_faces(faces).reshape(-1, 3)
        self.attributes: Dict[str, Attribute] = {name: _as_rows(name, a) for name, a in attributes.items()}
        rows = {name: len(values) for name, values in self.attributes.items()}
        if len(set(rows.values())) > 1:
            raise ValueError(f"attributes: they differ in their number of rows: {rows}")

    @property
    def vertex_count(self) -> int:
        """The rows of each attribute."""
        return len(next(iter(self.attributes.values()), ()))

    def __repr__(self) -> str:
        names = ", ".join(f"{name} {values.dtype} x {values.shape[1]}" for name, values in self.attributes.items())
        return f"Mesh({len(self.faces)} triangles, {self.vertex_count} vertices: {names})"


class Weld(NamedTuple):
    """A mesh whose equal vertices are one."""

    mesh: Mesh
    remap: Indices
    """For each vertex of the input its number in ``mesh``."""


def weld(mesh: Mesh, *, tolerance: Optional[float] = None, compare: Sequence[str] = ()) -> Weld:
    """Joins equal vertices; the first of each class is kept with all of its attributes.

    :param mesh: not changed
    :param tolerance: join vertices whose positions are at most so far apart, also by way of others between them; 0 joins
        equal positions; None compares the bits of positions like those of all other attributes
    :param compare: the names of the attributes that must be equal; none: all of them
    :return: the mesh, in which triangles whose corners are joined stay as collapsed ones, and the remap
    :raise ValueError: an attribute to compare is missing, or the tolerance is negative or not finite
    """
    named = list(mesh.attributes.items())
    (faces, attributes), remap = _core.weld(mesh.faces.reshape(-1), named, tolerance, list(compare))
    return Weld(Mesh(faces, dict(attributes)), remap)


def merge(
    meshes: Iterable[Union[Mesh, Tuple[Mesh, npt.ArrayLike]]], *, missing: Literal["raise", "zeros"] = "raise"
) -> Mesh:
    """Merges meshes into one, each at its place.

    :param meshes: meshes, or pairs of a mesh and its affine placement, (4, 4), which multiplies columns: its last column
        is the translation. Positions, normals and tangents are placed; a mirrored mesh has its winding turned
    :param missing: how to treat attributes that only some have: ``"raise"`` or fill with ``"zeros"``
    :return: the merged mesh, in the order of the meshes
    :raise ValueError: no meshes are given, an attribute is missing or of another type than in the first mesh, or a
        placement is not of the shape (4, 4)
    """
    if missing not in ("raise", "zeros"):
        raise ValueError(f'missing: expected "raise" or "zeros", not {missing!r}')
    parts: List[Tuple[Indices, List[Tuple[str, Attribute]]]] = []
    placements: List[npt.NDArray[np.float32]] = []
    for entry in meshes:
        mesh, placement = (entry, np.eye(4)) if isinstance(entry, Mesh) else entry
        matrix = np.asarray(placement, dtype=np.float32)
        if matrix.shape != (4, 4):
            raise ValueError(f"placement: expected the shape (4, 4), but it is {matrix.shape}")
        parts.append((mesh.faces.reshape(-1), list(mesh.attributes.items())))
        placements.append(matrix)
    if not parts:
        raise ValueError("meshes: there are none to merge")
    faces, attributes = _core.merge(parts, np.ascontiguousarray(placements).reshape(-1), missing == "zeros")
    return Mesh(faces, dict(attributes))


def compute_normals(
    mesh: Mesh, *, crease_angle: float = math.pi, weighting: Literal["angle", "area"] = "angle"
) -> Mesh:
    """Computes the normals of a mesh from its triangles.

    :param mesh: with positions of three floats; not changed
    :param crease_angle: angle between two triangles, in radians, above which their common edge is sharp: its vertices are
        split, and follow after all others. From pi on, none are
    :param weighting: whether a triangle counts in the normals of its corners as much as its angle there, or as its area
    :return: the mesh with an attribute "normal"
    :raise ValueError: positions are missing, or an index is beyond the vertices
    """
    if weighting not in ("angle", "area"):
        raise ValueError(f'weighting: expected "angle" or "area", not {weighting!r}')
    named = list(mesh.attributes.items())
    faces, attributes = _core.compute_normals(mesh.faces.reshape(-1), named, crease_angle, weighting == "area")
    return Mesh(faces, dict(attributes))


class Fault(NamedTuple):
    """All faults of one kind, and of one attribute if they concern one."""

    code: str
    """For example "index-out-of-range" or "non-manifold-edge"."""
    severity: str
    """"error", "warning" or "note"."""
    attribute: str
    """Its name, or the empty string."""
    total: int
    """Exact, also where not all places are listed."""
    sites: List[Tuple[int, float]]
    """The first places, each with the value found there."""
    text: str
    """What is wrong and where, in a sentence."""


def find_faults(mesh: Mesh, *, max_sites: int = 16) -> List[Fault]:
    """Finds everything that is wrong with a mesh: indices, values, normals, triangles, edges.

    :param mesh: not changed
    :param max_sites: places listed of each fault
    :return: the worst first; empty for a mesh without faults
    """
    return [Fault(*f) for f in _core.find_faults(mesh.faces.reshape(-1), list(mesh.attributes.items()), max_sites)]


def _as_32_bits(name: str, array: Attribute) -> Attribute:
    for narrow in (np.int32, np.uint32):
        limits = np.iinfo(narrow)
        if array.size == 0 or (limits.min <= array.min() and array.max() <= limits.max):
            return array.astype(narrow)
    raise ValueError(f"{name}: its integers do not fit into 32 bits")


def _as_rows(name: str, values: npt.ArrayLike) -> Attribute:
    array = np.asarray(values)
    if array.dtype == np.float64:
        array = array.astype(np.float32)
    elif array.dtype.kind in "iu" and array.dtype.itemsize == 8:
        array = _as_32_bits(name, array)
    array = array.astype(array.dtype.newbyteorder("="), copy=False)
    if array.dtype not in _TYPES:
        raise TypeError(f"{name}: expected float32 or integers of up to 32 bits, but the array holds {array.dtype}")
    if array.ndim == 1:
        array = array.reshape(-1, 1)
    if array.ndim != 2:
        raise ValueError(f"{name}: expected the shape (v, k) or (v,), but it is {array.shape}")
    return np.ascontiguousarray(array)
