"""Model files for the tests, and the tool that reads them."""

import os
from pathlib import Path

import numpy as np
import pytest
from vexamesh import io

try:
    io.find_tool()
    TOOL_IS_MISSING = ""
except FileNotFoundError as error:
    TOOL_IS_MISSING = str(error)

needs_tool = pytest.mark.skipif(bool(TOOL_IS_MISSING) and "VEXAMESH_TOOL" not in os.environ, reason=TOOL_IS_MISSING)


def write_obj(path: Path, faces: np.ndarray) -> Path:
    lines = [f"v {i % 7} {i // 7} {i % 3}" for i in range(int(faces.max()) + 1)]
    lines += [f"f {a + 1} {b + 1} {c + 1}" for a, b, c in faces]
    path.write_text("\n".join(lines) + "\n")
    return path
