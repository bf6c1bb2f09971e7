"""Meshes with attributes."""

import numpy as np
import pytest
import vexamesh
from vexamesh import Mesh


def soup(grid, columns=5, rows=4):
    """A grid whose triangles share no vertices, with positions and colours."""
    faces = grid(columns, rows)
    vertices = faces.reshape(-1)
    positions = np.stack([vertices % (columns + 1), vertices // (columns + 1), 0 * vertices], axis=1)
    attributes = {"position": positions.astype(np.float32), "COLOR_0": (vertices % 251).astype(np.uint8)}
    return Mesh(np.arange(faces.size), attributes)


def test_attributes_have_one_row_for_each_vertex():
    mesh = Mesh([0, 1, 2], {"position": np.zeros((3, 3)), "weight": [1, 2, 3]})
    assert mesh.vertex_count == 3
    assert mesh.attributes["position"].dtype == np.float32
    assert mesh.attributes["weight"].dtype == np.int32 and mesh.attributes["weight"].shape == (3, 1)
    assert Mesh([], {"id": [1 << 31]}).attributes["id"].dtype == np.uint32
    assert "3 vertices" in repr(mesh)
    with pytest.raises(ValueError, match="id: its integers do not fit into 32 bits"):
        Mesh([], {"id": [1 << 32]})
    with pytest.raises(ValueError, match="differ in their number of rows"):
        Mesh([0, 1, 2], {"position": np.zeros((3, 3)), "uv": np.zeros((4, 2), np.float32)})
    with pytest.raises(TypeError, match="float32 or integers of up to 32 bits"):
        Mesh([], {"position": np.zeros((3, 3), np.complex64)})
    with pytest.raises(ValueError, match="expected the shape"):
        Mesh([], {"position": np.zeros((3, 3, 3), np.float32)})


def test_weld_joins_what_is_equal(grid):
    mesh = soup(grid)
    welded, remap = vexamesh.weld(mesh)
    assert welded.vertex_count == 6 * 5
    np.testing.assert_array_equal(welded.faces, remap[mesh.faces])
    for name, values in mesh.attributes.items():
        np.testing.assert_array_equal(welded.attributes[name][remap], values)
        assert welded.attributes[name].dtype == values.dtype


def test_weld_compares_chosen_attributes_and_distances(grid):
    mesh = soup(grid)
    moved = mesh.attributes["position"] + np.random.default_rng(1).normal(scale=1e-4, size=(120, 3)).astype(np.float32)
    loose = Mesh(mesh.faces, {"position": moved})
    assert vexamesh.weld(loose).mesh.vertex_count == 120
    assert vexamesh.weld(loose, tolerance=0.01).mesh.vertex_count == 30
    other = Mesh(mesh.faces, {**mesh.attributes, "id": np.arange(120, dtype=np.int32)})
    assert vexamesh.weld(other).mesh.vertex_count == 120
    assert vexamesh.weld(other, compare=["position"]).mesh.vertex_count == 30
    with pytest.raises(ValueError, match="normal"):
        vexamesh.weld(other, compare=["normal"])
    with pytest.raises(ValueError, match="tolerance"):
        vexamesh.weld(other, tolerance=-1)


def test_merge_places_each_mesh(grid):
    mesh = vexamesh.weld(soup(grid)).mesh
    shift = np.eye(4)
    shift[:3, 3] = [10, 20, 30]
    mirror = np.diag([-1.0, 1, 1, 1])
    merged = vexamesh.merge([mesh, (mesh, shift), (mesh, mirror)])
    assert len(merged.faces) == 3 * len(mesh.faces)
    positions = mesh.attributes["position"]
    expected = np.concatenate([positions, positions + [10, 20, 30], positions * [-1, 1, 1]])
    np.testing.assert_array_equal(merged.attributes["position"], expected)
    np.testing.assert_array_equal(merged.attributes["COLOR_0"], np.tile(mesh.attributes["COLOR_0"], (3, 1)))
    corners = merged.attributes["position"][merged.faces]
    normals = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
    assert (normals[:, 2] > 0).all()


def test_merge_says_which_attribute_is_missing(grid):
    mesh = soup(grid)
    plain = Mesh(mesh.faces, {"position": mesh.attributes["position"]})
    with pytest.raises(ValueError, match="COLOR_0"):
        vexamesh.merge([mesh, plain])
    merged = vexamesh.merge([mesh, plain], missing="zeros")
    assert not merged.attributes["COLOR_0"][120:].any()
    for wrong, text in (([], "none to merge"), ([(mesh, np.eye(3))], "placement")):
        with pytest.raises(ValueError, match=text):
            vexamesh.merge(wrong)
    with pytest.raises(ValueError, match="missing"):
        vexamesh.merge([mesh], missing="ignore")


def test_meshes_are_not_changed(grid):
    mesh = soup(grid)
    before = {name: values.copy() for name, values in mesh.attributes.items()}
    vexamesh.weld(mesh, tolerance=0.1)
    vexamesh.merge([(mesh, 2 * np.eye(4))])
    for name, values in mesh.attributes.items():
        np.testing.assert_array_equal(values, before[name])


def test_normals_are_split_at_creases():
    # A cube, whose edges are sharp.
    positions = np.array([[x, y, z] for x in (0, 1) for y in (0, 1) for z in (0, 1)], dtype=np.float32)
    squares = [(0, 1, 3, 2), (4, 6, 7, 5), (0, 4, 5, 1), (2, 3, 7, 6), (0, 2, 6, 4), (1, 5, 7, 3)]
    cube = Mesh([t for a, b, c, d in squares for t in ((a, b, c), (a, c, d))], {"position": positions})
    smooth = vexamesh.compute_normals(cube)
    assert smooth.vertex_count == 8
    np.testing.assert_allclose(smooth.attributes["normal"], (2 * positions - 1) / np.sqrt(3), atol=1e-6)
    sharp = vexamesh.compute_normals(cube, crease_angle=0.5)
    assert sharp.vertex_count == 24
    corners = sharp.attributes["position"][sharp.faces]
    faces = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
    np.testing.assert_allclose(sharp.attributes["normal"][sharp.faces], np.repeat(faces[:, None], 3, axis=1), atol=1e-6)
    with pytest.raises(ValueError, match="weighting"):
        vexamesh.compute_normals(cube, weighting="volume")
    with pytest.raises(ValueError, match="position"):
        vexamesh.compute_normals(Mesh([0, 1, 2], {"uv": np.zeros((3, 2))}))


def test_faults_are_found_with_their_places():
    positions = np.eye(3)
    assert vexamesh.find_faults(Mesh([0, 1, 2], {"position": positions}))[0].severity == "note"
    faults = vexamesh.find_faults(Mesh([0, 1, 99], {"position": positions}))
    assert faults[0].code == "index-out-of-range"
    assert faults[0].severity == "error" and faults[0].total == 1 and faults[0].sites == [(2, 99.0)]
    assert "99" in faults[0].text
    many = vexamesh.find_faults(Mesh([0, 0, 1] * 50, {"position": positions}), max_sites=3)
    collapsed = [fault for fault in many if fault.code == "collapsed-triangle"]
    assert collapsed[0].total == 50 and len(collapsed[0].sites) == 3


def test_indices_beyond_the_vertices_are_refused():
    mesh = Mesh([0, 1, 3], {"position": np.zeros((3, 3))})
    for work in (vexamesh.weld, vexamesh.compute_normals, lambda m: vexamesh.merge([m])):
        with pytest.raises(ValueError, match="3"):
            work(mesh)
