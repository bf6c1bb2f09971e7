#!/usr/bin/env python3
"""Prints which lines and branches of a folder's sources the suites ran, from a build with the preset `coverage`.

usage: coverage.py BUILD_DIRECTORY FOLDER [--missing]

Branches are those of the sources' own decisions: the pairs that gcov counts for a call that may throw are left out. A
line of a template or of an inline function counts once, however many instantiations there are.
"""

import argparse
import collections
import json
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


def decisions(branches):
    """The branches without those of calls that may throw, each of which is preceded by the branch without exception."""
    kept = []
    for branch in branches:
        if branch['throw']:
            if kept and kept[-1]['fallthrough']:
                kept.pop()
        else:
            kept.append(branch)
    return [branch['count'] for branch in kept]


def run_gcov(build):
    data = [str(path) for path in sorted(build.rglob('*.gcda'))]
    for begin in range(0, len(data), 50):
        run = subprocess.run(['gcov', '--json-format', '--stdout', '--branch-probabilities', *data[begin:begin + 50]],
                             stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True, cwd=build, text=True)
        for text in run.stdout.splitlines():
            if text:
                yield json.loads(text)


def collect(build, folder):
    lines = collections.defaultdict(lambda: collections.defaultdict(int))
    branches = collections.defaultdict(dict)
    for unit in run_gcov(build):
        directory = Path(unit['current_working_directory'])
        for file in unit['files']:
            path = (directory / file['file']).resolve()
            if not path.is_relative_to(folder):
                continue
            name = str(path.relative_to(ROOT))
            for line in file['lines']:
                number = line['line_number']
                lines[name][number] += line['count']
                found = decisions(line['branches'])
                # Instantiations are compiled alike, so the n-th branch of each is the same decision.
                key = (number, len(found))
                before = branches[name].get(key, [0] * len(found))
                branches[name][key] = [a + b for a, b in zip(before, found)]
    return lines, branches


def per_line(branches):
    """For each line the counts of the instantiation kind with the fewest branches, to count each decision once."""
    chosen = {}
    for (number, size), counts in sorted(branches.items(), key=lambda entry: -entry[0][1]):
        if size != 0:
            missing = sum(count == 0 for count in counts)
            if number not in chosen or missing < sum(count == 0 for count in chosen[number]):
                chosen[number] = counts
    return chosen


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('build', type=Path)
    parser.add_argument('folder', type=Path)
    parser.add_argument('--missing', action='store_true', help='list what did not run')
    options = parser.parse_args()
    lines, branches = collect(options.build.resolve(), options.folder.resolve())
    run_lines = all_lines = run_branches = all_branches = 0
    for name in sorted(lines):
        counts = per_line(branches[name])
        all_lines += len(lines[name])
        run_lines += sum(count != 0 for count in lines[name].values())
        all_branches += sum(len(found) for found in counts.values())
        run_branches += sum(count != 0 for found in counts.values() for count in found)
        if options.missing:
            source = (ROOT / name).read_text().splitlines()
            for number in sorted(lines[name]):
                text = source[number - 1].strip() if number <= len(source) else '(the source has changed since)'
                zeros = sum(count == 0 for count in counts.get(number, []))
                if lines[name][number] == 0:
                    print(f'{name}:{number}: not run: {text}')
                elif zeros:
                    print(f'{name}:{number}: {zeros} of {len(counts[number])} branches: {text}')
    print(f'figure: {100 * run_lines / max(1, all_lines):.2f} % of {all_lines} lines, '
          f'{100 * run_branches / max(1, all_branches):.2f} % of {all_branches} branches')


if __name__ == '__main__':
    main()
