"""``python -m vexamesh`` is the command-line tool."""

import os
import sys

from vexamesh.io import find_tool


def main() -> None:
    try:
        tool = find_tool()
    except FileNotFoundError as error:
        sys.exit(f"vexamesh: {error}")
    # In place of this process, so that signals and exit codes are those of the tool.
    os.execv(tool, ["vexamesh", *sys.argv[1:]])


if __name__ == "__main__":
    main()
