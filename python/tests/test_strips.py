"""Strips, their bound and edges of arrays."""

import subprocess
import sys
import threading

import numpy as np
import pytest
import vexamesh
from conftest import sorted_triangles


@pytest.mark.parametrize("effort", range(5))
@pytest.mark.parametrize("join", ["restart", "degenerate"])
def test_strip_and_unstrip_give_back_the_triangles(grid, effort, join):
    faces = grid(13, 9)
    strip = vexamesh.strip(faces, effort=effort, join=join, microseconds_per_triangle=1)
    assert strip.dtype == np.uint32 and strip.ndim == 1
    assert len(strip) < 1.5 * len(faces)
    assert join == "restart" or vexamesh.RESTART_INDEX not in strip
    np.testing.assert_array_equal(sorted_triangles(vexamesh.unstrip(strip)), sorted_triangles(faces))


def test_no_join_gives_one_array_for_each_strip(grid):
    faces = grid(7, 5)
    strips = vexamesh.strip(faces, join=None)
    assert all(s.ndim == 1 and len(s) >= 3 for s in strips)
    triangles = np.concatenate([vexamesh.unstrip(s) for s in strips])
    np.testing.assert_array_equal(sorted_triangles(triangles), sorted_triangles(faces))
    joined = vexamesh.strip(faces)
    assert len(joined) == sum(len(s) for s in strips) + len(strips) - 1


@pytest.mark.parametrize(
    "dtype", [np.uint8, np.int8, np.uint16, np.int16, np.uint32, np.int32, np.uint64, np.int64, ">i4", ">u2"]
)
def test_every_integer_type_gives_the_same_strip(grid, dtype):
    faces = grid(4, 4)
    expected = vexamesh.strip(faces.astype(np.uint32))
    np.testing.assert_array_equal(vexamesh.strip(faces.astype(dtype)), expected)
    np.testing.assert_array_equal(vexamesh.strip(faces.astype(dtype).reshape(-1)), expected)
    np.testing.assert_array_equal(vexamesh.strip(np.asfortranarray(faces.astype(dtype))), expected)
    np.testing.assert_array_equal(vexamesh.strip(faces.astype(dtype)[::-1][::-1]), expected)
    np.testing.assert_array_equal(vexamesh.strip(faces.tolist()), expected)


@pytest.mark.parametrize("dtype", [np.uint32, np.int32])
def test_arrays_of_32_bits_are_not_copied(grid, dtype):
    from vexamesh._arrays import as_faces

    faces = grid(4, 4).astype(dtype)
    assert np.shares_memory(as_faces(faces), faces)
    faces.flags.writeable = False
    vexamesh.strip(faces)


def test_arguments_are_not_changed(grid):
    faces = grid(6, 6)
    before = faces.copy()
    vexamesh.strip(faces)
    vexamesh.edges(faces)
    vexamesh.lower_bound(faces)
    np.testing.assert_array_equal(faces, before)


def test_narrow_types_restart_with_their_largest_value(grid):
    faces = np.concatenate([grid(3, 3), grid(3, 3) + 100])
    wide = vexamesh.strip(faces)
    for dtype in (np.uint8, np.uint16):
        narrow = vexamesh.strip(faces, dtype=dtype)
        assert narrow.dtype == dtype
        np.testing.assert_array_equal(narrow == np.iinfo(dtype).max, wide == vexamesh.RESTART_INDEX)
        np.testing.assert_array_equal(vexamesh.unstrip(narrow), vexamesh.unstrip(wide))
    signed = np.where(wide == vexamesh.RESTART_INDEX, -1, wide.astype(np.int64))
    np.testing.assert_array_equal(vexamesh.unstrip(signed), vexamesh.unstrip(wide))
    np.testing.assert_array_equal(vexamesh.unstrip(signed.astype(np.int16)), vexamesh.unstrip(wide))


def test_indices_must_fit_the_type():
    with pytest.raises(ValueError, match="index 255 does not fit into uint8, in which 255 restarts strips"):
        vexamesh.strip([0, 1, 255], dtype=np.uint8)
    assert vexamesh.strip([0, 1, 254], dtype=np.uint8).max() == 254
    for dtype in (np.int16, np.uint64, np.float32):
        with pytest.raises(ValueError, match="expected uint8, uint16 or uint32"):
            vexamesh.strip([0, 1, 2], dtype=dtype)


def test_no_triangles_give_no_indices():
    for nothing in ([], np.zeros((0, 3), np.int64), np.zeros(0, np.float64)):
        assert vexamesh.strip(nothing).shape == (0,)
        assert vexamesh.strip(nothing, join=None) == []
        assert vexamesh.unstrip(nothing).shape == (0, 3)
        assert vexamesh.lower_bound(nothing) == 0
        assert vexamesh.edges(nothing).vertices.shape == (0, 2)


def test_wrong_faces_are_refused_with_the_reason():
    with pytest.raises(ValueError, match=r"expected the shape \(n, 3\) or a flat array, but it is \(2, 4\)"):
        vexamesh.strip(np.zeros((2, 4), np.int32))
    with pytest.raises(ValueError, match="4 indices are not a whole number of triangles"):
        vexamesh.strip([0, 1, 2, 3])
    with pytest.raises(TypeError, match="expected integers, but the array holds float64"):
        vexamesh.strip([0.0, 1.0, 2.0])
    with pytest.raises(IndexError, match="index -1 does not fit"):
        vexamesh.strip([0, 1, -1])
    with pytest.raises(IndexError, match="index 4294967296 does not fit"):
        vexamesh.strip([0, 1, 1 << 32])
    with pytest.raises(ValueError, match="4294967295"):
        vexamesh.strip([0, 1, (1 << 32) - 1])
    with pytest.raises(ValueError, match="expected a flat array"):
        vexamesh.unstrip(np.zeros((2, 3), np.int32))


def test_wrong_options_are_refused_with_the_reason():
    triangle = [0, 1, 2]
    for options in ({"effort": -1}, {"effort": 5}, {"join": "glue"}, {"max_strip": 0}, {"annealing_passes": 0}, {"seed": -1}):
        with pytest.raises(ValueError, match=next(iter(options))):
            vexamesh.strip(triangle, **options)
    with pytest.raises(ValueError):
        vexamesh.strip(triangle, effort=4, microseconds_per_triangle=-1)
    with pytest.raises(ValueError, match="join"):
        vexamesh.lower_bound(triangle, None)


def test_fewer_annealing_passes_save_fewer_indices(grid):
    corners = grid(60, 60).reshape(-1, 6)
    turned = corners[:, [0, 1, 4, 0, 4, 2]]  # along the other diagonal
    faces = np.where(np.random.default_rng(3).random((len(corners), 1)) < 0.5, corners, turned).reshape(-1, 3)
    lengths = [len(vexamesh.strip(faces, effort=3, annealing_passes=passes)) for passes in (None, 88, 10)]
    assert lengths[0] == lengths[1] < lengths[2] < len(vexamesh.strip(faces))


def test_strips_have_at_most_the_given_number_of_triangles(grid):
    for s in vexamesh.strip(grid(20, 20), join=None, max_strip=7):
        assert len(s) <= 7 + 2 + 3  # up to three vertices are repeated where a strip turns
        assert len(vexamesh.unstrip(s)) <= 7


def test_threads_do_not_change_the_result(grid):
    faces = grid(150, 150)
    np.testing.assert_array_equal(vexamesh.strip(faces, threads=0), vexamesh.strip(faces))
    assert vexamesh.lower_bound(faces, threads=3) == vexamesh.lower_bound(faces)
    with pytest.raises(ValueError, match="threads"):
        vexamesh.strip(faces, threads=-1)


def test_bound_is_never_above_the_strips(grid):
    faces = grid(12, 12)
    for join in ("restart", "degenerate"):
        bound = vexamesh.lower_bound(faces, join)
        assert len(faces) < bound <= len(vexamesh.strip(faces, effort=3, join=join))


def test_edges_know_their_triangles(grid):
    edges = vexamesh.edges([[0, 1, 2], [2, 1, 3], [1, 2, 4]])
    assert edges.vertices.tolist() == [[0, 1], [1, 2], [0, 2], [1, 3], [2, 3], [2, 4], [1, 4]]
    assert edges.triangle_counts.tolist() == [1, 3, 1, 1, 1, 1, 1]
    assert not edges.is_closed
    assert vexamesh.edges([[0, 1, 2], [0, 2, 3], [0, 3, 1], [1, 3, 2]]).is_closed
    faces = grid(30, 20)
    sides = np.sort(faces[:, [0, 1, 1, 2, 2, 0]].reshape(-1, 2), axis=1)
    expected, counts = np.unique(sides, axis=0, return_counts=True)
    found = vexamesh.edges(faces)
    order = np.lexsort(found.vertices.T[::-1])
    np.testing.assert_array_equal(found.vertices[order], expected)
    np.testing.assert_array_equal(found.triangle_counts[order], counts)


def test_analysis_counts_indices_and_misses(grid):
    faces = grid(40, 30)
    plain = vexamesh.analyze(faces)
    assert (plain.index_count, plain.vertex_count, plain.triangle_count) == (7200, 41 * 31, 2400)
    assert plain.strip_count == 0 and plain.indices_per_triangle == 3
    # One row of the grid at a time: with room for two rows, every vertex is transformed once.
    assert vexamesh.analyze(faces, cache_size=90).atvr == 1
    assert vexamesh.analyze(faces, cache="lru", cache_size=90).cache_misses == 41 * 31
    assert 1 < plain.atvr == plain.cache_misses / plain.vertex_count
    strip = vexamesh.strip(faces)
    strips = vexamesh.analyze(strip, "strip")
    assert strips.index_count == len(strip) and strips.triangle_count == 2400
    assert strips.strip_count == strips.restart_count + 1
    assert strips.indices_per_triangle == len(strip) / 2400
    assert strips.acmr == strips.cache_misses / 2400
    aware = vexamesh.analyze(vexamesh.strip(faces, cache_aware=True), "strip")
    assert aware.cache_misses < strips.cache_misses
    for options in ({"kind": "fan"}, {"cache": "random"}, {"cache_size": 2}):
        with pytest.raises(ValueError, match=next(iter(options))):
            vexamesh.analyze(faces, **options)


def test_progress_rises_and_can_stop_the_search(grid):
    faces = grid(150, 150)
    fractions = []
    vexamesh.strip(faces, effort=3, progress=fractions.append)
    assert len(fractions) > 1 and fractions == sorted(fractions)
    assert 0 <= fractions[0] and fractions[-1] <= 1
    calls = []
    stopped = vexamesh.strip(faces, effort=3, progress=lambda f: bool(calls.append(f)))
    assert len(calls) == 1
    np.testing.assert_array_equal(sorted_triangles(vexamesh.unstrip(stopped)), sorted_triangles(faces))
    assert vexamesh.lower_bound(faces, progress=lambda f: False) <= len(stopped)


def test_exceptions_of_progress_reach_the_caller(grid):
    def fail(fraction):
        raise RuntimeError("seen enough")

    for call in (vexamesh.strip, vexamesh.lower_bound):
        with pytest.raises(RuntimeError, match="seen enough"):
            call(grid(100, 100), progress=fail)


def test_interruption_stops_a_search():
    program = (
        "import numpy, os, signal, threading, vexamesh\n"
        "faces = numpy.random.default_rng(1).integers(0, 30000, (60000, 3))\n"
        "threading.Timer(0.5, os.kill, (os.getpid(), signal.SIGINT)).start()\n"
        "try:\n"
        "    vexamesh.strip(faces, effort=4, microseconds_per_triangle=1e6)\n"
        "except KeyboardInterrupt:\n"
        "    print('interrupted')\n"
    )
    result = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, timeout=100)
    assert result.stdout == "interrupted\n", result.stderr


def test_other_threads_run_meanwhile(grid):
    faces = grid(100, 100)
    rounds = []
    running = threading.Event()
    done = threading.Event()

    def work():
        running.set()
        vexamesh.strip(faces, effort=4, microseconds_per_triangle=10)
        done.set()

    thread = threading.Thread(target=work)
    thread.start()
    running.wait()
    while not done.is_set():
        rounds.append(None)
        done.wait(0.001)
    thread.join()
    assert len(rounds) > 3
