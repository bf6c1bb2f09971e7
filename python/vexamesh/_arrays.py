"""Arrays of the caller in the shape that the extension module takes."""

from typing import Any, Optional

import numpy as np
import numpy.typing as npt

from vexamesh import _core

Indices = npt.NDArray[np.uint32]


def _as_integers(values: npt.ArrayLike, name: str) -> npt.NDArray[Any]:
    array = np.asarray(values)
    if array.size == 0:
        return array.astype(np.uint32)
    if array.dtype.kind not in "ui":
        raise TypeError(f"{name}: expected integers, but the array holds {array.dtype}")
    return array


def _to_uint32(array: npt.NDArray[Any], name: str) -> Indices:
    """Copies only where the type or the gaps between the elements ask for it."""
    if array.dtype != np.uint32 and array.size > 0:
        low, high = int(array.min()), int(array.max())
        if low < 0 or high > _core.RESTART_INDEX:
            number = low if low < 0 else high
            raise IndexError(f"{name}: index {number} does not fit into 32 bits without a sign")
        if array.dtype == np.int32 and array.flags.c_contiguous:
            return array.view(np.uint32).reshape(-1)
    return np.ascontiguousarray(array, dtype=np.uint32).reshape(-1)


def as_faces(faces: npt.ArrayLike) -> Indices:
    """Three indices for each triangle, flat."""
    array = _as_integers(faces, "faces")
    if array.size > 0 and not (array.ndim == 1 or (array.ndim == 2 and array.shape[1] == 3)):
        raise ValueError(f"faces: expected the shape (n, 3) or a flat array, but it is {array.shape}")
    return _to_uint32(array, "faces")


def as_strip(strip: npt.ArrayLike) -> Indices:
    """The indices of a strip, with all restart indices as `RESTART_INDEX`."""
    array = _as_integers(strip, "strip")
    if array.ndim != 1 and array.size > 0:
        raise ValueError(f"strip: expected a flat array, but its shape is {array.shape}")
    if array.dtype.kind == "u" and array.dtype.itemsize < 4:
        wide = array.astype(np.uint32)
        wide[array == np.iinfo(array.dtype).max] = _core.RESTART_INDEX
        return wide
    if array.dtype.kind == "i":
        wide = array.astype(np.int64)
        wide[wide == -1] = _core.RESTART_INDEX
        array = wide
    return _to_uint32(array, "strip")


def with_index_type(indices: Indices, dtype: Optional[npt.DTypeLike]) -> npt.NDArray[Any]:
    """Indices of another unsigned type; the largest value of the type restarts strips, and is never a vertex."""
    if dtype is None:
        return indices
    target = np.dtype(dtype)
    if target.kind != "u" or target.itemsize > 4:
        raise ValueError(f"dtype: expected uint8, uint16 or uint32, not {target}")
    if target == np.uint32:
        return indices
    restart = np.iinfo(target).max
    restarts = indices == _core.RESTART_INDEX
    vertices = indices[~restarts]
    if vertices.size > 0 and vertices.max() >= restart:
        raise ValueError(f"dtype: index {vertices.max()} does not fit into {target}, in which {restart} restarts strips")
    narrow = indices.astype(target)
    narrow[restarts] = restart
    return narrow
