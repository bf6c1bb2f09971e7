"""Meshes that another library reads and writes."""

import numpy as np
import pytest
import vexamesh
from conftest import sorted_triangles

meshio = pytest.importorskip("meshio")


@pytest.mark.parametrize("extension", ["ply", "stl", "obj", "off"])
def test_strips_survive_a_round_trip_through_files(grid, tmp_path, extension):
    faces = grid(12, 7)
    points = np.random.default_rng(2).normal(size=(faces.max() + 1, 3))
    meshio.Mesh(points, [("triangle", faces)]).write(tmp_path / f"in.{extension}")
    (cells,) = meshio.read(tmp_path / f"in.{extension}").cells
    triangles = vexamesh.unstrip(vexamesh.strip(cells.data))
    np.testing.assert_array_equal(sorted_triangles(triangles), sorted_triangles(cells.data))
    meshio.Mesh(points, [("triangle", triangles.astype(np.int64))]).write(tmp_path / f"out.{extension}")
    (again,) = meshio.read(tmp_path / f"out.{extension}").cells
    assert len(again.data) == len(faces)
