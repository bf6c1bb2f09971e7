"""Times the package beside the same search in a C++ program, beside meshoptimizer, and beside plain NumPy.

usage: compare.py STRIP_ONCE MODEL.off
"""

import ctypes
import subprocess
import sys
import tempfile
import time

import numpy as np
import vexamesh

ROUNDS = 7


def read_off(name):
    with open(name) as file:
        assert file.readline().strip() == "OFF"
        vertices, faces, _ = map(int, file.readline().split())
        numbers = np.array(file.read().split(), dtype=np.float64)
    positions = numbers[: 3 * vertices].reshape(-1, 3)
    return positions.astype(np.float32), numbers[3 * vertices :].reshape(faces, -1)[:, 1:4].astype(np.uint32)


def best_time(work):
    times = []
    for _ in range(ROUNDS):
        begin = time.perf_counter()
        result = work()
        times.append(time.perf_counter() - begin)
    return min(times), result


def numpy_edges(faces):
    sides = np.sort(faces[:, [0, 1, 1, 2, 2, 0]].reshape(-1, 2), axis=1)
    return np.unique(sides, axis=0, return_counts=True)


def numpy_keyed_edges(faces):
    sides = np.sort(faces[:, [0, 1, 1, 2, 2, 0]].reshape(-1, 2), axis=1).astype(np.uint64)
    return np.unique(sides[:, 0] << np.uint64(32) | sides[:, 1], return_counts=True)


def meshoptimizer_strip(faces, vertices):
    """The order of triangles and the strips of meshoptimizer, called without a copy."""
    library = ctypes.CDLL("libmeshoptimizer.so")
    for name in ("meshopt_stripify", "meshopt_stripifyBound"):
        getattr(library, name).restype = ctypes.c_size_t
    count = ctypes.c_size_t(faces.size)
    pointer = lambda array: ctypes.c_void_p(array.ctypes.data)  # noqa: E731
    order = np.empty(faces.size, dtype=np.uint32)
    library.meshopt_optimizeVertexCacheStrip(pointer(order), pointer(faces), count, ctypes.c_size_t(vertices))
    strip = np.empty(library.meshopt_stripifyBound(count), dtype=np.uint32)
    size = library.meshopt_stripify(
        pointer(strip), pointer(order), count, ctypes.c_size_t(vertices), ctypes.c_uint(vexamesh.RESTART_INDEX)
    )
    return strip[:size]


def main():
    program, model = sys.argv[1:]
    positions, faces = read_off(model)
    print(f"{len(faces)} triangles, best of {ROUNDS} rounds")
    with tempfile.NamedTemporaryFile() as file:
        faces.tofile(file)
        file.flush()
        peer, peer_strip = best_time(lambda: meshoptimizer_strip(faces, len(positions)))
        assert len(vexamesh.unstrip(peer_strip)) == len(faces)
        print(f"meshoptimizer: {1e3 * peer:.1f} ms, {len(peer_strip) / len(faces):.3f} indices a triangle")
        for effort in (0, 2):
            ours, strip = best_time(lambda: vexamesh.strip(faces, effort=effort))
            native = float(subprocess.check_output([program, file.name, str(effort), str(ROUNDS)]))
            per_triangle = len(strip) / len(faces)
            print(f"strip, effort {effort}: {1e3 * ours:.1f} ms, {per_triangle:.3f} indices a triangle; ", end="")
            print(f"to the C++ program {ours / native:.2f}, to meshoptimizer {ours / peer:.2f}")
    ours, edges = best_time(lambda: vexamesh.edges(faces))
    for name, other in (("of rows", numpy_edges), ("of 64-bit keys", numpy_keyed_edges)):
        plain, expected = best_time(lambda: other(faces))
        assert len(expected[0]) == len(edges.vertices)
        print(f"edges: {1e3 * ours:.1f} ms; to numpy.unique {name} {ours / plain:.3f}")
    corners = positions[faces].reshape(-1, 3)
    loose = vexamesh.Mesh(np.arange(len(corners), dtype=np.uint32), {"position": corners})
    ours, welded = best_time(lambda: vexamesh.weld(loose))
    plain, expected = best_time(lambda: np.unique(corners, axis=0, return_inverse=True))
    print(f"weld of loose corners: {1e3 * ours:.1f} ms; to numpy.unique of rows {ours / plain:.3f}")


if __name__ == "__main__":
    main()
