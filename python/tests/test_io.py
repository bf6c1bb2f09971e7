"""Model files."""

import subprocess
import sys

import pytest
from models import needs_tool, write_obj
from vexamesh import io

pytestmark = needs_tool


def test_strip_file_reports_what_the_tool_reports(grid, tmp_path):
    source = write_obj(tmp_path / "in.obj", grid(20, 20))
    report = io.strip_file(source, tmp_path / "out.glb", effort=3, bound=True)
    assert report["total"]["triangles"] == 800
    assert report["total"]["sameTriangles"] is True
    assert report["total"]["indicesAfter"] < 1200
    assert report["total"]["minIndices"] <= report["total"]["indicesAfter"]
    assert report["warnings"] == []
    info = io.file_info(tmp_path / "out.glb", source)
    assert [entry["format"] for entry in info] == ["glTF binary", "OBJ"]


def test_options_reach_the_tool(grid, tmp_path):
    source = write_obj(tmp_path / "in.obj", grid(20, 20))
    out = tmp_path / "out.glb"
    plain = io.strip_file(source, out)["total"]
    assert io.strip_file(source, out, join="none")["total"]["primitivesAfter"] > plain["primitivesAfter"]
    assert io.strip_file(source, out, max_strip=5)["total"]["strips"] > plain["strips"]
    assert io.strip_file(source, out, index_bits=8)["total"]["primitivesAfter"] > 1
    assert io.strip_file(source, out, cache_aware=True)["total"]["indicesAfter"] > plain["indicesAfter"]
    assert "weld" in io.strip_file(source, out, weld=0.5)
    assert "weld" in io.strip_file(source, out, weld=True)
    assert io.strip_file(source, out, effort=4, microseconds_per_triangle=2)["total"]["sameTriangles"]
    assert io.strip_file(source, out, effort=3, annealing_passes=2)["total"]["sameTriangles"]


def test_strips_become_lists_again(grid, tmp_path):
    source = write_obj(tmp_path / "in.obj", grid(5, 5))
    io.strip_file(source, tmp_path / "strips.glb")
    report = io.unstrip_file(tmp_path / "strips.glb", tmp_path / "lists.glb")
    assert report["meshes"]
    (info,) = io.file_info(tmp_path / "lists.glb")
    assert info["meshes"][0]["primitives"][0]["type"] == "TRIANGLES"


def test_failures_carry_message_and_exit_code(grid, tmp_path):
    broken = tmp_path / "broken.glb"
    broken.write_bytes(b"glTF")
    with pytest.raises(io.ToolError, match="broken.glb: ") as failure:
        io.strip_file(broken, tmp_path / "out.glb")
    assert failure.value.exit_code == 3
    source = write_obj(tmp_path / "in.obj", grid(2, 2))
    with pytest.raises(ValueError, match="effort") as failure:
        io.strip_file(source, tmp_path / "out.glb", effort=9)
    assert failure.value.exit_code == 2
    assert not (tmp_path / "out.glb").exists()


def test_names_that_look_like_options_are_files(grid, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    write_obj(tmp_path / "-in.obj", grid(2, 2))
    io.strip_file("-in.obj", "-out.glb")
    assert (tmp_path / "-out.glb").exists()


def test_missing_tool_is_named(monkeypatch, tmp_path):
    monkeypatch.setenv("VEXAMESH_TOOL", str(tmp_path / "nothing"))
    with pytest.raises(FileNotFoundError, match="nothing, which VEXAMESH_TOOL names, was not found"):
        io.find_tool()
    monkeypatch.delenv("VEXAMESH_TOOL")
    monkeypatch.setenv("PATH", str(tmp_path))
    with pytest.raises(FileNotFoundError, match="install it, or set VEXAMESH_TOOL"):
        io.find_tool()


def test_module_runs_as_the_tool(tmp_path):
    help_text = subprocess.run([sys.executable, "-m", "vexamesh", "--help"], capture_output=True, text=True)
    assert help_text.returncode == 0 and "unstrip" in help_text.stdout
    wrong = subprocess.run([sys.executable, "-m", "vexamesh", "strp"], capture_output=True, text=True)
    assert wrong.returncode == 2 and "did you mean `strip`?" in wrong.stderr
