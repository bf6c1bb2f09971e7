"""Strips for collections of model files, on a running Dask cluster.

Every file is the work of one process on one machine; a collection is spread over as many as the cluster has. All workers
must see the files and the directory of the outputs under the same paths, and must find the tool (:mod:`vexamesh.io`).
"""

import glob
import json
import os
import re
from collections import defaultdict
from pathlib import Path
from typing import TYPE_CHECKING, Any, Callable, Dict, Iterable, Iterator, List, Optional, Tuple, Union

from vexamesh import io

if TYPE_CHECKING:
    from distributed import Client, Future

__all__ = ["strip_collection"]

EXTENSIONS = (".glb", ".gltf", ".obj", ".ply", ".stl", ".off")
# Small files share a task: a scheduler takes about a millisecond for each.
TASK_BYTES = 8 << 20
TASK_FILES = 64
Row = Dict[str, Any]


def strip_collection(
    inputs: Union[io.PathLike, Iterable[io.PathLike]],
    output_directory: io.PathLike,
    client: "Client",
    *,
    skip_existing: bool = True,
    retries: int = 10,
    on_file: Optional[Callable[[Row], None]] = None,
    table: Optional[io.PathLike] = None,
    **options: Any,
) -> List[Row]:
    """Strips a collection of files, the largest first.

    What a lost worker held is done again by another one. A file that cannot be stripped does not stop the others. An
    output appears under its name only when it is complete; an interrupted collection goes on where it stopped, because
    outputs that are there are skipped.

    :param inputs: files, directories (of which all models are taken) or glob patterns
    :param output_directory: gets NAME.glb for each input; is made if it is missing
    :param client: of a running cluster
    :param skip_existing: leave out files whose outputs are there
    :param retries: how often a task is done again after its worker was lost
    :param on_file: called in this process with the row of each file as it ends, in the order of ending
    :param table: also write the rows to this .jsonl file, one JSON object a line
    :param options: those of :func:`vexamesh.io.strip_file`
    :return: a row for each file, in the order of the inputs: ``input``, ``output``, ``status`` ("done", "skipped" or
        "failed"), ``error`` and, of those done, ``triangles``, ``indices_before``, ``indices_after``, ``bytes_before``,
        ``bytes_after``, ``left_out`` and ``worker``
    :raise ValueError: two inputs would have the same output, an input would be its own output, a pattern matches no
        file, or the table is another kind of file; nothing has been written then
    """
    files = _find_files(inputs)
    directory = Path(output_directory)
    outputs = _name_outputs(files, directory)
    write_table = _table_writer(table)
    directory.mkdir(parents=True, exist_ok=True)
    rows: Dict[str, Row] = {}

    def finish(row: Row) -> None:
        rows[row["input"]] = row
        if on_file is not None:
            on_file(row)

    waiting = []
    for file in files:
        if skip_existing and outputs[file].exists():
            finish({"input": str(file), "output": str(outputs[file]), "status": "skipped", "error": None})
        else:
            waiting.append(file)
    for row in _run(client, _make_tasks(waiting, outputs), retries, options):
        finish(row)
    _remove_leftovers(outputs[file] for file in waiting)
    ordered = [rows[str(file)] for file in files]
    write_table(ordered)
    return ordered


def _find_files(inputs: Union[io.PathLike, Iterable[io.PathLike]]) -> List[Path]:
    files: Dict[Path, None] = {}
    for name in [inputs] if isinstance(inputs, (str, os.PathLike)) else inputs:
        path = Path(name)
        if path.is_dir():
            found = sorted(f for f in path.iterdir() if f.suffix.lower() in EXTENSIONS)
        elif path.exists():
            found = [path]
        else:
            found = sorted(Path(f) for f in glob.glob(str(name), recursive=True))
        if not found:
            raise ValueError(f"{name}: no such file, no directory with models, and no file that matches")
        files.update(dict.fromkeys(found))
    return list(files)


def _name_outputs(files: List[Path], directory: Path) -> Dict[Path, Path]:
    outputs = {file: directory / (file.stem + ".glb") for file in files}
    sources = defaultdict(list)
    for file, output in outputs.items():
        sources[output].append(str(file))
        if output.exists() and output.samefile(file):
            raise ValueError(f"{file} would be its own output: choose another directory")
    for output, names in sources.items():
        if len(names) > 1:
            raise ValueError(f"{output} would be the output of {' and '.join(names)}: strip them into two directories")
    return outputs


Task = List[Tuple[str, str]]


def _make_tasks(files: List[Path], outputs: Dict[Path, Path]) -> List[Task]:
    """Inputs with their outputs, the largest first; small ones share a task."""
    sizes = {file: file.stat().st_size if file.exists() else 0 for file in files}
    tasks: List[Task] = []
    left = 0
    for file in sorted(files, key=lambda f: -sizes[f]):
        if not tasks or sizes[file] > left or len(tasks[-1]) == TASK_FILES:
            tasks.append([])
            left = TASK_BYTES
        tasks[-1].append((str(file), str(outputs[file])))
        left -= sizes[file]
    return tasks


def _strip_files(task: Task, options: Dict[str, Any]) -> List[Row]:
    """Runs on a worker."""
    from distributed import get_worker

    rows = []
    for file, output in task:
        row: Row = {"input": file, "output": output, "status": "done", "error": None, "worker": get_worker().address}
        try:
            report = io.strip_file(file, output, **options)
        except (io.ToolError, OSError) as error:
            row.update(status="failed", error=str(error))
        else:
            total, whole = report["total"], report["file"]
            row.update(
                triangles=total["triangles"],
                indices_before=total["indicesBefore"],
                indices_after=total["indicesAfter"],
                bytes_before=whole["before"]["bytes"],
                bytes_after=whole["after"]["bytes"],
                left_out=report["leftOut"],
            )
        rows.append(row)
    return rows


def _run(client: "Client", tasks: List[Task], retries: int, options: Dict[str, Any]) -> Iterator[Row]:
    """The rows of all tasks, as these end. Tasks that are left when the caller stops iterating are cancelled."""
    from distributed import KilledWorker, as_completed

    def submit(number: int) -> "Future":
        return client.submit(_strip_files, tasks[number], options, pure=False, priority=-number)

    tries = [0] * len(tasks)
    numbers = {submit(number): number for number in range(len(tasks))}
    running = as_completed(list(numbers))
    try:
        for future in running:
            number = numbers.pop(future)
            error = future.exception()
            if error is None:
                yield from future.result()
            elif isinstance(error, KilledWorker) and tries[number] < retries:
                tries[number] += 1
                again = submit(number)
                numbers[again] = number
                running.add(again)
            else:
                for file, output in tasks[number]:
                    yield {"input": file, "output": output, "status": "failed", "error": str(error)}
    finally:
        client.cancel(list(numbers))


def _remove_leftovers(outputs: Iterable[Path]) -> None:
    """Removes the temporary files of tools that were killed: an output's name with six more letters."""
    names = {output.name: output.parent for output in outputs}
    for directory in set(names.values()):
        for entry in os.scandir(directory):
            match = re.fullmatch(r"(.+\.glb)\.\w{6}", entry.name)
            if match and names.get(match.group(1)) == directory:
                os.unlink(entry.path)


def _table_writer(table: Optional[io.PathLike]) -> Callable[[List[Row]], None]:
    """How to write the table, found out before the work is done."""
    if table is None:
        return lambda rows: None
    path = Path(table)
    if path.suffix != ".jsonl":
        raise ValueError(f"{path}: the table is a .jsonl file")

    def write(rows: List[Row]) -> None:
        partial = path.with_name(path.name + ".part")
        partial.write_text("".join(json.dumps(row) + "\n" for row in rows), encoding="utf-8")
        partial.replace(path)

    return write
