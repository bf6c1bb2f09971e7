#!/usr/bin/env python3
"""Keeps the inputs of a fuzz target in one text file, a line of hexadecimal digits each.

usage: corpus.py pack TARGETS_DIRECTORY TARGET...   the fewest inputs that reach all code that the run's inputs reach,
                                                    shortest first
       corpus.py unpack FILE DIRECTORY
"""

import subprocess
import sys
import tempfile
from pathlib import Path

FOLDER = Path(__file__).resolve().parent


def pack(directory, target):
    with tempfile.TemporaryDirectory() as minimal:
        # How often code runs doesn't count, or there would be several times as many.
        subprocess.run([directory / f'{target}Fuzz', '-merge=1', '-use_counters=0', '-timeout=20', '-rss_limit_mb=4096',
                        minimal, directory / 'corpus' / target], stderr=subprocess.DEVNULL, check=True)
        inputs = sorted((path.read_bytes() for path in Path(minimal).iterdir()), key=lambda one: (len(one), one))
    file = FOLDER / f'corpora/{target}.txt'
    file.parent.mkdir(exist_ok=True)
    file.write_text(''.join(content.hex() + '\n' for content in inputs if content))
    print(f'{target}: {len(inputs)} inputs')


def unpack(file, directory):
    for number, line in enumerate(file.read_text().split()):
        (directory / f'input{number}').write_bytes(bytes.fromhex(line))


def main():
    match sys.argv[1:]:
        case ['pack', directory, *targets] if targets:
            for target in targets:
                pack(Path(directory).resolve(), target)
        case ['unpack', file, directory]:
            unpack(Path(file), Path(directory))
        case _:
            sys.exit(__doc__)


if __name__ == '__main__':
    main()
