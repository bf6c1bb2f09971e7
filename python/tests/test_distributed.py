"""Collections on a Dask cluster of processes on this machine."""

import json
import os
import random
import signal

import numpy as np
import pytest
from models import needs_tool, write_obj
from vexamesh import io

distributed = pytest.importorskip("distributed")
from vexamesh.distributed import _make_tasks, strip_collection  # noqa: E402

pytestmark = needs_tool


@pytest.fixture(scope="module")
def client():
    # A worker that is killed is replaced, and each may be lost often.
    with distributed.LocalCluster(n_workers=4, threads_per_worker=1, dashboard_address=None) as cluster:
        with distributed.Client(cluster) as connected:
            yield connected


@pytest.fixture
def collection(tmp_path, grid):
    """Twelve models, and what the tool makes of each by itself."""
    models = tmp_path / "models"
    serial = tmp_path / "serial"
    models.mkdir()
    serial.mkdir()
    for i in range(12):
        source = write_obj(models / f"{i:02}.obj", grid(10 + 5 * i, 20))
        io.strip_file(source, serial / f"{i:02}.glb")
    return models, serial


def contents(directory):
    return {entry.name: entry.read_bytes() for entry in directory.iterdir()}


def test_outputs_are_those_of_a_serial_run(client, collection, tmp_path):
    models, serial = collection
    seen = []
    rows = strip_collection(models, tmp_path / "out", client, on_file=seen.append, table=tmp_path / "table.jsonl")
    assert contents(tmp_path / "out") == contents(serial)
    assert [os.path.basename(row["input"]) for row in rows] == sorted(os.listdir(models))
    assert all(row["status"] == "done" and row["indices_after"] < row["indices_before"] for row in rows)
    assert sorted(row["input"] for row in seen) == sorted(row["input"] for row in rows)
    table = [json.loads(line) for line in (tmp_path / "table.jsonl").read_text().splitlines()]
    assert table == rows


def test_killed_workers_lose_nothing(client, tmp_path, grid, monkeypatch):
    monkeypatch.setattr("vexamesh.distributed.TASK_FILES", 1)
    models = [write_obj(tmp_path / f"{i}.obj", grid(60 + i, 60)) for i in range(12)]
    serial = tmp_path / "serial"
    serial.mkdir()
    for model in models:
        io.strip_file(model, serial / model.with_suffix(".glb").name, effort=3)
    victims = random.Random(3)
    killed = []

    def kill_a_worker(row):
        if len(killed) < 3:
            pid = victims.choice(list(client.run(os.getpid, on_error="return").values()))
            if isinstance(pid, int):
                os.kill(pid, signal.SIGKILL)
                killed.append(pid)

    rows = strip_collection(models, tmp_path / "out", client, on_file=kill_a_worker, effort=3)
    assert len(killed) > 0
    assert [row["status"] for row in rows] == ["done"] * 12
    assert contents(tmp_path / "out") == contents(serial)


def test_existing_outputs_are_skipped(client, collection, tmp_path):
    models, _ = collection
    out = tmp_path / "out"
    out.mkdir()
    (out / "03.glb").write_bytes(b"kept")
    rows = strip_collection(str(models / "0*.obj"), out, client)
    assert [row["status"] for row in rows].count("skipped") == 1
    assert (out / "03.glb").read_bytes() == b"kept"


def test_a_broken_file_does_not_stop_the_others(client, collection, tmp_path):
    models, _ = collection
    (models / "broken.ply").write_text("ply\n")
    rows = strip_collection([models / "00.obj", models / "broken.ply"], tmp_path / "out", client)
    assert [row["status"] for row in rows] == ["done", "failed"]
    assert "broken.ply: " in rows[1]["error"]
    assert os.listdir(tmp_path / "out") == ["00.glb"]


def test_wrong_collections_are_refused_before_anything_is_written(client, collection, tmp_path, grid):
    models, _ = collection
    out = tmp_path / "out"
    write_obj(tmp_path / "00.obj", grid(1, 1))
    with pytest.raises(ValueError, match="would be the output of"):
        strip_collection([models / "00.obj", tmp_path / "00.obj"], out, client)
    with pytest.raises(ValueError, match="no file that matches"):
        strip_collection([models / "*.stl"], out, client)
    with pytest.raises(ValueError, match="the table is a .jsonl file"):
        strip_collection(models, out, client, table=tmp_path / "table.csv")
    assert not out.exists()
    io.strip_file(models / "00.obj", tmp_path / "own.glb")
    with pytest.raises(ValueError, match="would be its own output"):
        strip_collection(tmp_path / "own.glb", tmp_path, client)


def test_leftovers_of_killed_tools_are_removed(client, collection, tmp_path):
    models, _ = collection
    out = tmp_path / "out"
    out.mkdir()
    (out / "00.glb.AbCdEf").write_bytes(b"part")
    (out / "other.glb.AbCdEf").write_bytes(b"not ours")
    strip_collection(models / "00.obj", out, client)
    assert sorted(os.listdir(out)) == ["00.glb", "other.glb.AbCdEf"]


def test_large_files_come_first_and_small_ones_share_tasks(tmp_path):
    sizes = [9 << 20, 5 << 20, 4 << 20, 3 << 20] + [10] * 100
    files = []
    for i, size in enumerate(sizes):
        files.append(tmp_path / f"{i}.stl")
        with open(files[-1], "wb") as file:
            file.truncate(size)
    tasks = _make_tasks(files[::-1], {file: file.with_suffix(".glb") for file in files})
    numbers = [[int(os.path.basename(source)[:-4]) for source, _ in task] for task in tasks]
    assert numbers[0] == [0]
    assert numbers[1] == [1]
    assert numbers[2][:2] == [2, 3]
    assert sorted(np.concatenate(numbers)) == list(range(104))
    assert max(map(len, numbers)) == 64
