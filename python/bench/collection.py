"""Measures what a collection of files costs apart from the search for strips: finding files, tasks, processes, rows.

usage: collection.py [FILES]   with the tool as in vexamesh.io; FILES (20000) small models are made and removed again
"""

import os
import sys
import tempfile
import time
import tracemalloc
from pathlib import Path

import distributed
import numpy as np
from vexamesh import distributed as collections
from vexamesh import io

SIDE = 23
SAMPLE = 400


def write_grid(path):
    """A height field of about a thousand triangles, in a file of 45 kB."""
    x, y = np.meshgrid(np.arange(SIDE), np.arange(SIDE))
    heights = np.sin(x * 0.7) * np.cos(y * 0.4)
    corner = (np.arange(SIDE - 1)[:, None] * SIDE + np.arange(SIDE - 1)).reshape(-1, 1)
    faces = (corner + np.array([0, 1, SIDE, 1, SIDE + 1, SIDE])).reshape(-1, 3) + 1
    lines = [f"v {a} {b} {c:.6f}" for a, b, c in zip(x.flat, y.flat, heights.flat)]
    lines += [f"f {a} {b} {c}" for a, b, c in faces]
    path.write_text("\n".join(lines) + "\n", encoding="ascii")


def seconds(work):
    begin = time.perf_counter()
    result = work()
    return time.perf_counter() - begin, result


def main():
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 20_000
    with tempfile.TemporaryDirectory() as directory:
        models, out = Path(directory, "models"), Path(directory, "out")
        models.mkdir()
        write_grid(Path(directory, "grid.obj"))
        for i in range(count):
            os.link(Path(directory, "grid.obj"), models / f"{i:07}.obj")

        found, files = seconds(lambda: collections._find_files(models))
        named, outputs = seconds(lambda: collections._name_outputs(files, out))
        made, tasks = seconds(lambda: collections._make_tasks(files, outputs))
        print(f"{count} files: {1e6 * (found + named + made) / count:.0f} us each to find, name and put into tasks")

        out.mkdir()
        serial, _ = seconds(lambda: [io.strip_file(f, out / (f.stem + ".glb")) for f in files[:SAMPLE]])
        print(f"one process of the tool for each file: {1e3 * serial / SAMPLE:.1f} ms a file")
        for file in out.iterdir():
            file.unlink()

        with distributed.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None) as cluster:
            with distributed.Client(cluster) as client:
                client.gather(client.map(abs, range(100), pure=False))
                empty, _ = seconds(lambda: client.gather(client.map(abs, range(len(tasks) * 10), pure=False)))
                print(f"scheduler: {1e3 * empty / len(tasks) / 10:.2f} ms a task without work")
                tracemalloc.start()
                whole, rows = seconds(lambda: collections.strip_collection(models, out, client))
                memory = tracemalloc.get_traced_memory()[1]
                tracemalloc.stop()
        assert all(row["status"] == "done" for row in rows)
        print(f"collection on two workers: {1e3 * whole / count:.1f} ms a file, in {len(tasks)} tasks;", end=" ")
        print(f"{memory / count / 1000:.1f} kB a file at the client")


if __name__ == "__main__":
    main()
