from typing import Any, Callable, List, Optional, Tuple

import numpy as np
import numpy.typing as npt

RESTART_INDEX: int

_Indices = npt.NDArray[np.uint32]
_Attributes = List[Tuple[str, npt.NDArray[Any]]]
_Progress = Optional[Callable[[float], Optional[bool]]]

def strip_buffer(
    triangles: _Indices,
    effort: int,
    degenerate: bool,
    microseconds: float,
    seed: int,
    max_triangles: int,
    for_vertex_cache: bool,
    threads: int,
    annealing_passes: int,
    progress: _Progress,
) -> _Indices: ...
def strip_list(
    triangles: _Indices,
    effort: int,
    microseconds: float,
    seed: int,
    max_triangles: int,
    for_vertex_cache: bool,
    threads: int,
    annealing_passes: int,
    progress: _Progress,
) -> List[_Indices]: ...
def triangles_of_strip(strip: _Indices) -> _Indices: ...
def lower_bound(triangles: _Indices, degenerate: bool, sweeps: int, threads: int, progress: _Progress) -> int: ...
def edges(triangles: _Indices) -> Tuple[_Indices, _Indices]: ...
def analyze(
    indices: _Indices, is_strip: bool, is_lru: bool, cache_size: int
) -> Tuple[int, int, int, int, int, int, int, int, int, float, float, float]: ...
def pack_normals(normals: npt.NDArray[np.float32]) -> npt.NDArray[np.uint8]: ...
def unpack_normals(packed: npt.NDArray[np.uint8]) -> npt.NDArray[np.float32]: ...
def weld(
    triangles: _Indices, attributes: _Attributes, tolerance: Optional[float], compare: List[str]
) -> Tuple[Tuple[_Indices, _Attributes], _Indices]: ...
def merge(
    meshes: List[Tuple[_Indices, _Attributes]], placements: npt.NDArray[np.float32], fill_missing: bool
) -> Tuple[_Indices, _Attributes]: ...
def compute_normals(
    triangles: _Indices, attributes: _Attributes, crease_angle: float, by_area: bool
) -> Tuple[_Indices, _Attributes]: ...
def find_faults(
    triangles: _Indices, attributes: _Attributes, max_sites: int
) -> List[Tuple[str, str, str, int, List[Tuple[int, float]], str]]: ...
