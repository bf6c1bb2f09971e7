#!/usr/bin/env python3
"""Runs suites of a build with the preset `coverage` and prints which lines and branches of a folder's sources they ran.

usage: coverage.py [--missing] BUILD_DIRECTORY FOLDER [SUITE...]

A suite is a path below the build directory, with arguments. Branches are the two results of each condition. Counts of a
template or an inline function are summed over its instantiations and over the programs that hold it. --missing lists
what did not run; without a suite, in the last run for the folder.
"""

import argparse
import collections
import json
import os
import re
import shlex
import shutil
import subprocess
import sys
from pathlib import Path
from typing import NamedTuple

ROOT = Path(__file__).resolve().parents[2]
PROGRAMS = ('tests/meshTests', 'tests/allocationTests', 'vexa/mesh/libvexaMesh.so', 'tests/tool/toolTests',
            'tools/vexamesh/vexamesh')


class Segment(NamedTuple):
    """Counts hold from here to the next segment."""
    line: int
    column: int
    count: int
    has_count: bool
    is_entry: bool
    is_gap: bool


def run_suites(build, counts, suites):
    shutil.rmtree(counts, ignore_errors=True)
    shards = os.cpu_count()
    # A file for each program and library, in which all of its processes count as they run (%c), however they end.
    environment = {**os.environ, 'LLVM_PROFILE_FILE': f'{counts}/%m%c.profraw', 'GTEST_TOTAL_SHARDS': str(shards)}
    environment.pop('GTEST_OUTPUT', None)
    for suite in suites:
        program, *arguments = shlex.split(suite)
        runs = [subprocess.Popen([build / program, *arguments], env={**environment, 'GTEST_SHARD_INDEX': str(shard)})
                for shard in range(shards)]
        if any([run.wait() != 0 for run in runs]):
            sys.exit(f'{program} fails')


def export(build, counts, folder):
    """Segments and branches of each source in the folder."""
    profile = counts / 'merged.profdata'
    subprocess.run(['llvm-profdata-14', 'merge', '-o', profile, *counts.glob('*.profraw')], check=True)
    first, *others = [build / name for name in PROGRAMS if (build / name).exists()]
    objects = [word for other in others for word in ('-object', other)]
    run = subprocess.run(['llvm-cov-14', 'export', '-skip-functions', '-skip-expansions', f'-instr-profile={profile}',
                          first, *objects], check=True, stdout=subprocess.PIPE)
    for file in json.loads(run.stdout)['data'][0]['files']:
        path = Path(file['filename']).resolve()
        if path.is_relative_to(folder):
            yield path, [Segment(*values) for values in file['segments']], file['branches']


def count_lines(segments, source):
    """The count of each line with code, which brackets, comments and defaulted functions are not: the highest on it."""
    lines = {}
    on_line = collections.defaultdict(list)
    for segment in segments:
        on_line[segment.line].append(segment)
    before = None
    for number, text in enumerate(source, 1):
        here = on_line[number]
        counts = [segment.count for segment in here if segment.is_entry and segment.has_count and not segment.is_gap]
        if before and before.has_count:
            counts.append(before.count)
        is_skipped = here and here[0].is_entry and not here[0].has_count
        if counts and not is_skipped and re.search(r'\w', text.partition('//')[0]) and '= default' not in text:
            lines[number] = max(counts)
        before = here[-1] if here else before
    return lines


def count_branches(segments, branches):
    """By place, how often each condition was true and how often false."""
    counts = collections.defaultdict(collections.Counter)
    for *place, is_true, is_false, _, _, _ in branches:
        counts[tuple(place)].update({True: is_true, False: is_false})
    for place, found in list(counts.items()):
        around = [segment.count for segment in segments if segment[:2] <= place[:2]]
        # A constant has no counts.
        if around and around[-1] and not any(found.values()):
            del counts[place]
    return counts


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('build', type=Path)
    parser.add_argument('folder', type=Path)
    parser.add_argument('suites', nargs='*', metavar='SUITE')
    parser.add_argument('--missing', action='store_true', help='list what did not run')
    options = parser.parse_intermixed_args()
    build, folder = options.build.resolve(), options.folder.resolve()
    counts = build / 'counts' / folder.name
    if options.suites:
        run_suites(build, counts, options.suites)
    totals = {'lines': [], 'branches': []}
    for path, segments, branches in export(build, counts, folder):
        source = path.read_text(encoding='utf-8').splitlines()
        missing = []
        for number, count in count_lines(segments, source).items():
            totals['lines'].append(count != 0)
            if count == 0:
                missing.append((number, f'not run: {source[number - 1].strip()}'))
        for (line, column, last_line, end, *_), found in count_branches(segments, branches).items():
            condition = source[line - 1][column - 1:end - 1 if line == last_line else None]
            for outcome, count in found.items():
                totals['branches'].append(count != 0)
                if count == 0:
                    missing.append((line, f'never {str(outcome).lower()}: {condition}'))
        if options.missing:
            for number, text in sorted(missing):
                print(f'{path.relative_to(ROOT)}:{number}: {text}')
    figures = [f'{100 * sum(found) / max(1, len(found)):.2f} % of {len(found)} {kind}' for kind, found in totals.items()]
    print(f"figure: {', '.join(figures)}")


if __name__ == '__main__':
    main()
