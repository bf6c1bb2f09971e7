"""Model files, through the command-line tool ``vexamesh``.

The functions run the tool, which reads and writes the files in a process of its own, compares its output with its input
before it writes, and never leaves a part of a file. They return what it reports.
"""

import json
import os
import shutil
import subprocess
from typing import Any, Dict, List, Literal, Optional, Sequence, Union

__all__ = ["ToolError", "file_info", "find_tool", "strip_file", "unstrip_file"]

PathLike = Union[str, "os.PathLike[str]"]
FileJoin = Literal["degenerate", "restart", "restart-fallback", "none"]


class ToolError(ValueError):
    """A file that cannot be read or written, or a check that failed; the message is that of the tool.

    ``exit_code`` is the tool's: 1 for a failed check, 2 for wrong arguments, 3 for a missing or broken file.
    """

    def __init__(self, message: str, exit_code: int) -> None:
        super().__init__(message, exit_code)
        self.exit_code = exit_code

    def __str__(self) -> str:
        return str(self.args[0])


def find_tool() -> str:
    """The path of the tool: the environment variable ``VEXAMESH_TOOL`` if it is set, otherwise as a shell finds it.

    :raise FileNotFoundError: there is none
    """
    named = os.environ.get("VEXAMESH_TOOL")
    found = shutil.which(named or "vexamesh")
    if found is None:
        where = f"{named}, which VEXAMESH_TOOL names," if named else "the command-line tool vexamesh"
        raise FileNotFoundError(f"{where} was not found: install it, or set VEXAMESH_TOOL to its path")
    return found


def run_tool(arguments: Sequence[str]) -> Dict[str, Any]:
    """Runs the tool with arguments that make it print JSON.

    :return: what it prints, with its warnings as ``"warnings"``
    :raise ToolError: it failed
    """
    result = subprocess.run([find_tool(), *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True)
    messages = [line.partition("vexamesh: ")[2] or line for line in result.stderr.splitlines()]
    if result.returncode != 0:
        fallback = f"{arguments[0]} ended with code {result.returncode}"
        raise ToolError("; ".join(messages) or fallback, result.returncode)
    report: Dict[str, Any] = json.loads(result.stdout)
    report["warnings"] = messages
    return report


def strip_file(
    input: PathLike,
    output: PathLike,
    *,
    effort: int = 2,
    join: FileJoin = "degenerate",
    cache_aware: bool = False,
    max_strip: Optional[int] = None,
    microseconds_per_triangle: Optional[int] = None,
    annealing_passes: Optional[int] = None,
    bound: bool = False,
    index_bits: Optional[Literal[8, 16]] = None,
    weld: Optional[Union[bool, float]] = None,
) -> Dict[str, Any]:
    """Turns the triangles of a model file into strips where these take fewer bytes; everything else stays as it was.

    :param input: a .glb, .gltf, .obj, .ply, .stl or .off file
    :param output: the .glb or .gltf file to write
    :param effort: 0 to 4, as for :func:`vexamesh.strip`
    :param join: ``"degenerate"``: for any reader; ``"restart"``: the smallest file, for readers that know
        KHR_mesh_primitive_restart; ``"restart-fallback"``: grouped strips; ``"none"``: a primitive for each strip
    :param cache_aware: short strips in an order that reuses transformed vertices, for more indices
    :param max_strip: most triangles of a strip
    :param microseconds_per_triangle: at effort 4, the time for the search
    :param annealing_passes: at efforts 3 and 4, as for :func:`vexamesh.strip`
    :param bound: prove how few indices strips can have
    :param index_bits: split primitives until their indices fit
    :param weld: True joins vertices whose attributes are all equal; a number joins those at most that far apart
    :return: the tool's report: figures of the file, its meshes, what was left out, warnings
    :raise ToolError: a file cannot be read or written, or an argument is out of range; the output is as it was before
    :raise FileNotFoundError: the tool is not installed
    """
    arguments = ["strip", _path(input), "-o", _path(output), "--json", "--effort", str(effort), "--join", join]
    arguments += ["--for-vertex-cache"] if cache_aware else []
    arguments += ["--bound"] if bound else []
    for flag, value in (
        ("max-strip", max_strip),
        ("budget", microseconds_per_triangle),
        ("annealing-passes", annealing_passes),
        ("index-bits", index_bits),
    ):
        arguments += [] if value is None else [f"--{flag}", str(value)]
    if weld is not None and weld is not False:
        arguments += ["--weld"] if weld is True else ["--weld", repr(float(weld))]
    return run_tool(arguments)


def unstrip_file(input: PathLike, output: PathLike) -> Dict[str, Any]:
    """Turns the strips and fans of a model file back into lists of triangles.

    :param input, output: as for :func:`strip_file`
    :return: the tool's report
    :raise ToolError, FileNotFoundError: as for :func:`strip_file`
    """
    return run_tool(["unstrip", _path(input), "-o", _path(output), "--json"])


def file_info(*inputs: PathLike) -> List[Dict[str, Any]]:
    """Describes the meshes of files.

    :return: the tool's description of each file
    :raise ToolError, FileNotFoundError: as for :func:`strip_file`
    """
    report = run_tool(["info", *map(_path, inputs), "--json"])
    files: List[Dict[str, Any]] = report["files"]
    return files


def _path(path: PathLike) -> str:
    """A path that the tool cannot take for an option or for standard input."""
    text = os.fspath(path)
    return os.path.join(".", text) if text.startswith("-") else text
