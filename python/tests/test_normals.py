"""Packed normals."""

import numpy as np
import pytest
import vexamesh


def directions(count):
    normals = np.random.default_rng(7).normal(size=(count, 3)).astype(np.float32)
    return normals / np.linalg.norm(normals, axis=1, keepdims=True)


def test_unpacked_normals_point_the_same_way():
    normals = directions(10000)
    packed = vexamesh.pack_normals(normals)
    assert packed.dtype == np.uint8 and packed.shape == (10000, 2)
    unpacked = vexamesh.unpack_normals(packed)
    assert unpacked.dtype == np.float32
    np.testing.assert_allclose(np.linalg.norm(unpacked, axis=1), 1, atol=1e-6)
    assert np.min(np.sum(normals * unpacked, axis=1)) > np.cos(np.radians(2))


def test_length_and_type_of_normals_do_not_matter():
    normals = directions(100)
    expected = vexamesh.pack_normals(normals)
    np.testing.assert_array_equal(vexamesh.pack_normals(normals.astype(np.float64)), expected)
    np.testing.assert_array_equal(vexamesh.pack_normals(normals[::-1])[::-1], expected)
    np.testing.assert_array_equal(vexamesh.pack_normals(normals * np.float32(4)), expected)


def test_no_normals_give_no_bytes():
    assert vexamesh.pack_normals([]).shape == (0, 2)
    assert vexamesh.unpack_normals(np.zeros((0, 2), np.uint8)).shape == (0, 3)


def test_wrong_arrays_are_refused_with_the_reason():
    with pytest.raises(ValueError, match=r"expected the shape \(n, 3\), but it is \(2, 2\)"):
        vexamesh.pack_normals(np.zeros((2, 2)))
    with pytest.raises(ValueError, match=r"expected the shape \(n, 2\), but it is \(3,\)"):
        vexamesh.unpack_normals(np.zeros(3, np.uint8))
    with pytest.raises(TypeError, match="expected uint8, but the array holds float64"):
        vexamesh.unpack_normals(np.zeros((3, 2)))
