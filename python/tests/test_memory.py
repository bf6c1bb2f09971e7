"""Calls leave no memory behind."""

from pathlib import Path

import numpy as np
import pytest
import vexamesh

FACES = np.array([[0, 1, 2], [2, 1, 3], [2, 3, 4]], dtype=np.uint32)
NORMALS = np.eye(3, dtype=np.float32)


def resident_bytes():
    return int(Path("/proc/self/statm").read_text().split()[1]) * 4096


def fail(fraction):
    raise RuntimeError


def raise_in_search():
    with pytest.raises(ValueError):
        vexamesh.strip([0, 1, 2, 3])


@pytest.mark.parametrize(
    "call",
    [
        lambda: vexamesh.strip(FACES, effort=1),
        lambda: vexamesh.strip(FACES, effort=1, join=None),
        lambda: vexamesh.unstrip(FACES.reshape(-1)),
        lambda: vexamesh.edges(FACES),
        lambda: vexamesh.unpack_normals(vexamesh.pack_normals(NORMALS)),
        raise_in_search,
    ],
)
def test_memory_stays_over_many_calls(call):
    for _ in range(1000):
        call()
    before = resident_bytes()
    for _ in range(20000):
        call()
    # One lost array of 32 bytes and its owner per call would be several times as much.
    assert resident_bytes() - before < 1 << 20
