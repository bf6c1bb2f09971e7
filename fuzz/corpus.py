#!/usr/bin/env python3
"""Keeps the inputs of a fuzz target in one text file, a line of hexadecimal digits each.

usage: corpus.py pack DIRECTORY FILE     the inputs in the directory, shortest first
       corpus.py unpack FILE DIRECTORY
"""

import sys
from pathlib import Path


def main():
    action, source, target = sys.argv[1], Path(sys.argv[2]), Path(sys.argv[3])
    if action == 'pack':
        inputs = sorted({path.read_bytes() for path in source.iterdir()}, key=lambda content: (len(content), content))
        target.write_text(''.join(content.hex() + '\n' for content in inputs if content))
    elif action == 'unpack':
        for number, line in enumerate(source.read_text().split()):
            (target / f'input{number}').write_bytes(bytes.fromhex(line))
    else:
        sys.exit(__doc__)


if __name__ == '__main__':
    main()
