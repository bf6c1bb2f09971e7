"""Octahedral packing of normals."""

from typing import Any

import numpy as np
import numpy.typing as npt

from vexamesh import _core


def pack_normals(normals: npt.ArrayLike) -> npt.NDArray[np.uint8]:
    """Packs each normal into two bytes.

    :param normals: (n, 3), of any length but zero
    :return: (n, 2)
    :raise ValueError: the shape is another one
    """
    array = _with_columns(normals, 3, "normals", np.float32)
    return _core.pack_normals(array).reshape(-1, 2)


def unpack_normals(packed: npt.ArrayLike) -> npt.NDArray[np.float32]:
    """Unpacks normals, to unit length.

    :param packed: (n, 2), as :func:`pack_normals` returns it
    :return: (n, 3)
    :raise ValueError: the shape is another one
    :raise TypeError: the array is not of type uint8
    """
    array = np.asarray(packed)
    if array.dtype != np.uint8 and array.size > 0:
        raise TypeError(f"packed: expected uint8, but the array holds {array.dtype}")
    on_octahedron = _core.unpack_normals(_with_columns(array, 2, "packed", np.uint8)).reshape(-1, 3)
    lengths: npt.NDArray[np.float32] = np.linalg.norm(on_octahedron, axis=1, keepdims=True)
    return np.divide(on_octahedron, lengths, dtype=np.float32)


def _with_columns(values: npt.ArrayLike, columns: int, name: str, dtype: Any) -> npt.NDArray[Any]:
    array = np.ascontiguousarray(values, dtype=dtype)
    if array.size > 0 and not (array.ndim == 2 and array.shape[1] == columns):
        raise ValueError(f"{name}: expected the shape (n, {columns}), but it is {array.shape}")
    return array.reshape(-1)
