"""Strips, their lower bound, and edges."""

from typing import Any, Callable, List, Literal, NamedTuple, Optional, Union, overload

import numpy as np
import numpy.typing as npt

from vexamesh import _core
from vexamesh._arrays import Indices, as_faces, as_strip, with_index_type

RESTART_INDEX: int = _core.RESTART_INDEX
"""The index that separates two strips in arrays of 32 bits: 4294967295, which is never a vertex."""

Progress = Callable[[float], Optional[bool]]
Join = Literal["restart", "degenerate"]


def _is_degenerate(join: str) -> bool:
    if join not in ("restart", "degenerate"):
        raise ValueError(f'join: expected "restart" or "degenerate", not {join!r}')
    return join == "degenerate"


def _check_range(name: str, value: int, low: int) -> int:
    if not low <= value <= 0xFFFFFFFF:
        raise ValueError(f"{name}: expected a number from {low} to 4294967295, not {value}")
    return value


@overload
def strip(
    faces: npt.ArrayLike,
    *,
    effort: int = ...,
    join: Join = ...,
    cache_aware: bool = ...,
    max_strip: Optional[int] = ...,
    microseconds_per_triangle: float = ...,
    annealing_passes: Optional[int] = ...,
    seed: int = ...,
    threads: int = ...,
    dtype: Optional[npt.DTypeLike] = ...,
    progress: Optional[Progress] = ...,
) -> npt.NDArray[Any]: ...
@overload
def strip(
    faces: npt.ArrayLike,
    *,
    effort: int = ...,
    join: None,
    cache_aware: bool = ...,
    max_strip: Optional[int] = ...,
    microseconds_per_triangle: float = ...,
    annealing_passes: Optional[int] = ...,
    seed: int = ...,
    threads: int = ...,
    dtype: Optional[npt.DTypeLike] = ...,
    progress: Optional[Progress] = ...,
) -> List[npt.NDArray[Any]]: ...
def strip(
    faces: npt.ArrayLike,
    *,
    effort: int = 2,
    join: Optional[Join] = "restart",
    cache_aware: bool = False,
    max_strip: Optional[int] = None,
    microseconds_per_triangle: float = 10.0,
    annealing_passes: Optional[int] = None,
    seed: int = 1,
    threads: int = 1,
    dtype: Optional[npt.DTypeLike] = None,
    progress: Optional[Progress] = None,
) -> Union[npt.NDArray[Any], List[npt.NDArray[Any]]]:
    """Turns triangles into strips with few indices.

    Every triangle that is not collapsed (two equal corners) is drawn once, in its winding. The result depends on the
    arguments only, not on the machine; at effort 4 also on time.

    :param faces: vertex indices, (n, 3) or flat, of any integer type; not changed
    :param effort: how hard to search: 0 greedily, 1 joins these strips, 2 plans them around vertices, 3 takes 10 to 20
        times as long for 1 to 3 % fewer indices, 4 takes the time of ``microseconds_per_triangle``
    :param join: ``"restart"``: one array with restart indices between its strips; ``"degenerate"``: one array with
        repeated vertices between them; ``None``: a list of one array for each strip
    :param cache_aware: short strips in an order that reuses transformed vertices, for more indices
    :param max_strip: most triangles of a strip
    :param microseconds_per_triangle: at effort 4, the time for the search
    :param annealing_passes: at efforts 3 and 4, passes over the mesh, 88 if None; 10 take 3 to 5 times as long as effort 2,
        for two thirds of what 88 save
    :param seed: of the random numbers at efforts 3 and 4, from 0 to 4294967295
    :param threads: most threads that search, 0 for one on each core; they do not change the result
    :param dtype: uint8, uint16 or uint32 (if None): the type of the indices, whose largest value is the restart index
    :param progress: called with the part that is done, from 0 to 1, at least every 50 ms; if it returns False, the
        search ends and the best strips so far are returned
    :return: the indices of all strips, (m,), or a list of these
    :raise ValueError: the shape is another one, the number of indices is not a multiple of 3, an index is 4294967295 or
        does not fit into ``dtype``, or another argument is out of range
    :raise TypeError: faces are not integers
    :raise IndexError: an index is negative or needs more than 32 bits
    :raise KeyboardInterrupt: Ctrl-C was pressed meanwhile
    """
    triangles = as_faces(faces)
    with_index_type(triangles[:0], dtype)
    options = (
        microseconds_per_triangle,
        _check_range("seed", seed, 0),
        0 if max_strip is None else _check_range("max_strip", max_strip, 1),
        cache_aware,
        _check_range("threads", threads, 0),
        0 if annealing_passes is None else _check_range("annealing_passes", annealing_passes, 1),
        progress,
    )
    _check_range("effort", effort, 0)
    if join is None:
        return [with_index_type(s, dtype) for s in _core.strip_list(triangles, effort, *options)]
    return with_index_type(_core.strip_buffer(triangles, effort, _is_degenerate(join), *options), dtype)


def unstrip(strip: npt.ArrayLike) -> Indices:
    """The triangles of a strip, without those that only join strips.

    :param strip: indices, (m,), of any integer type. The largest value of an unsigned type of up to 32 bits separates two
        strips; in other types, -1 and 4294967295 do
    :return: (n, 3), each triangle in its winding; triangles with two equal corners are left out
    :raise ValueError: the shape is another one
    :raise TypeError: the indices are not integers
    :raise IndexError: an index is negative or needs more than 32 bits
    """
    return _core.triangles_of_strip(as_strip(strip)).reshape(-1, 3)


def lower_bound(
    faces: npt.ArrayLike,
    join: Join = "restart",
    *,
    sweeps: int = 32,
    threads: int = 1,
    progress: Optional[Progress] = None,
) -> int:
    """A proven lower bound: no strips of these triangles have fewer indices, however they are found.

    :param faces: as for :func:`strip`
    :param join: ``"restart"``: strips separated by restart indices; ``"degenerate"``: strips joined in any way
    :param sweeps: more of them take longer and prove a little more
    :param threads: most threads that work, 0 for one on each core; they do not change the result
    :param progress: as for :func:`strip`; if it returns False, the bound is what is proven so far
    :return: the bound; 0 if all triangles are collapsed
    :raise ValueError, TypeError, IndexError, KeyboardInterrupt: as for :func:`strip`
    """
    limits = _check_range("sweeps", sweeps, 0), _check_range("threads", threads, 0)
    return _core.lower_bound(as_faces(faces), _is_degenerate(join), *limits, progress)


class Edges(NamedTuple):
    """The edges of triangles, in the order of their first occurrence."""

    vertices: Indices
    """(m, 2), the lower vertex first."""
    triangle_counts: Indices
    """(m,), the triangles at each edge: 1 at a border, 2 inside a surface, more where it is non-manifold."""

    @property
    def is_closed(self) -> bool:
        """Whether every edge has two triangles."""
        return bool(np.all(self.triangle_counts == 2))


def edges(faces: npt.ArrayLike) -> Edges:
    """Every edge of the triangles once, with the number of its triangles.

    :param faces: as for :func:`strip`; triangles with two equal corners are left out
    :return: the edges
    :raise ValueError, TypeError, IndexError: as for :func:`strip`
    """
    vertices, counts = _core.edges(as_faces(faces))
    return Edges(vertices.reshape(-1, 2), counts)


class Analysis(NamedTuple):
    """Size and vertex cache behaviour of an index list."""

    index_count: int
    """With restart indices."""
    vertex_count: int
    """Distinct vertices."""
    triangle_count: int
    """Without degenerate ones."""
    degenerate_count: int
    """Triangles with two equal corners."""
    restart_count: int
    strip_count: int
    """Strips with at least one triangle; 0 for faces."""
    max_strip_triangles: int
    swap_count: int
    """Single degenerate triangles that change the direction of a strip."""
    cache_misses: int
    """Vertices transformed."""
    indices_per_triangle: float
    acmr: float
    """Average cache miss ratio: misses per triangle, from 0.5 in large regular meshes to 3."""
    atvr: float
    """Average transform to vertex ratio: misses per distinct vertex, at best 1."""


def analyze(
    indices: npt.ArrayLike,
    kind: Literal["faces", "strip"] = "faces",
    *,
    cache: Literal["fifo", "lru"] = "fifo",
    cache_size: int = 16,
) -> Analysis:
    """Counts what indices hold, and how often a vertex cache transforms their vertices.

    :param indices: faces as for :func:`strip`, or a strip as for :func:`unstrip`
    :param kind: which of them
    :param cache: whether a new vertex replaces the one that was transformed first or that was used least recently
    :param cache_size: in vertices, at least 3
    :return: the counts and ratios
    :raise ValueError, TypeError, IndexError: as these functions, or an argument is out of range
    """
    if kind not in ("faces", "strip"):
        raise ValueError(f'kind: expected "faces" or "strip", not {kind!r}')
    if cache not in ("fifo", "lru"):
        raise ValueError(f'cache: expected "fifo" or "lru", not {cache!r}')
    array = as_strip(indices) if kind == "strip" else as_faces(indices)
    size = _check_range("cache_size", cache_size, 3)
    return Analysis(*_core.analyze(array, kind == "strip", cache == "lru", size))
