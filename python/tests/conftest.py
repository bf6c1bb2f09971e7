"""Meshes for the tests."""

from typing import Callable

import numpy as np
import numpy.typing as npt
import pytest

Faces = npt.NDArray[np.int64]


@pytest.fixture
def grid() -> Callable[[int, int], Faces]:
    """Makes the triangles of a grid, (2 * columns * rows, 3)."""

    def make(columns: int, rows: int) -> Faces:
        corner = (np.arange(rows)[:, None] * (columns + 1) + np.arange(columns)[None, :]).reshape(-1)
        above = corner + columns + 1
        return np.stack([corner, corner + 1, above, corner + 1, above + 1, above], axis=1).reshape(-1, 3)

    return make


def sorted_triangles(faces: npt.NDArray[np.integer]) -> npt.NDArray[np.integer]:
    """Each triangle from its smallest corner on, in one order: equal for the same oriented triangles."""
    first = np.argmin(faces, axis=1)
    turned = np.take_along_axis(faces, (first[:, None] + np.arange(3)) % 3, axis=1).astype(np.int64)
    return turned[np.lexsort(turned.T[::-1])]
