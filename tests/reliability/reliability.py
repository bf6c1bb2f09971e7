#!/usr/bin/env python3
"""Runs the checks of docs/reliability.md and prints their table.

usage: reliability.py [--no-build] [CHECK...]   runs all checks, or some, and stores their figures
       reliability.py --recorded CHECK...       stores the figures of what `fuzz` or `mutation` ran so far
       reliability.py --page                    writes the page from the stored figures
       reliability.py --check-page              fails if the page is not that of the stored figures
       reliability.py --list                    prints the names of the checks

Figures are stored in docs/reliability.json with the commit, the day and the time that the run took. A check that fails
stores its failure, and the run ends with exit code 1.
"""

import argparse
import datetime
import json
import os
import re
import subprocess
import sys
import time
from pathlib import Path
from typing import NamedTuple

ROOT = Path(__file__).resolve().parents[2]
RESULTS = ROOT / 'docs/reliability.json'
PAGE = ROOT / 'docs/reliability.md'
TABLE_BEGIN = '<!-- The table is written by `make reliability`. -->\n'
TABLE_END = '<!-- End of the table. -->\n'
INCOMPLETE = 3  # exit code of checks that keep a record which lacks something


class Check(NamedTuple):
    name: str
    subject: str
    command: str
    presets: tuple = ('release',)
    short: str = ''  # of what `make test` runs instead


SCRIPTS = 'tests/reliability'
# The tests of failing allocations replace `new`, which Valgrind would replace again.
VALGRIND = 'valgrind -q --soname-synonyms=somalloc=nouserintercepts --error-exitcode=9 --leak-check=full'
INSTALL = 'sh tests/package/install.sh . build/package build/package/prefix ON'
CHECKS = [
    Check('coverage', 'Lines and branches of `vexa/mesh` that its suites run',
          f'python3 {SCRIPTS}/coverage.py build/coverage vexa/mesh tests/meshTests tests/allocationTests', ('coverage',),
          'not in `make test`'),
    Check('coverage-tool', 'The same of `tools/vexamesh`',
          # Thousands of damaged files, each in a process of its own that stores its counts, would take most of an hour.
          f'python3 {SCRIPTS}/coverage.py build/coverage tools/vexamesh '
          "'tests/tool/toolTests --gtest_filter=-Hostile*:DamagedFile.*'", ('coverage',), 'not in `make test`'),
    Check('mutation', 'Random changes of `vexa/mesh`, one at a time, that make a test fail',
          'python3 tests/mutation/mutate.py --count 300', (), 'not in `make test`'),
    Check('asan', 'AddressSanitizer, LeakSanitizer and UndefinedBehaviorSanitizer, g++, with the checked containers of the '
          'standard library: the suites of the library',
          'ctest --preset asan -j 2', ('asan',), 'all of it'),
    Check('asan-clang', 'AddressSanitizer, LeakSanitizer and UndefinedBehaviorSanitizer with checks of implicit '
          'conversions, clang++: the suites of the library and the tool, and the inputs that fuzzing has kept',
          'ctest --preset fuzz -j 2', ('fuzz',), 'all of it, without these checks'),
    Check('tsan', 'ThreadSanitizer: the suites of the library', 'ctest --preset tsan -j 2', ('tsan',),
          'not in `make test`'),
    Check('valgrind', 'Memory errors and leaks under Valgrind: the suites of the library, except meshes of a million '
          'triangles and loops over every `float`',
          f"{VALGRIND} build/release/tests/meshTests "
          "--gtest_filter='-Scale.*:BufferScale.*:*EveryFloat*:*MirrorsEverySecondFloat' && "
          f'{VALGRIND} build/release/tests/allocationTests', ('release',), 'not in `make test`'),
    Check('fuzz', 'Fuzz targets, each from its seeds and kept inputs for 30 minutes of processor time',
          'python3 fuzz/run.py build/fuzz/fuzz --seconds 1800 --record', ('fuzz',), 'not in `make test`'),
    Check('differential', 'Comparison with the plain reference: every ordered triple of triangles over 5 vertices, and '
          'a million random meshes',
          "VEXA_RANDOM_MESHES=1000000 build/release/tests/meshTests --gtest_filter='EveryTriple*:RandomMeshes*'",
          ('release',), 'every triple, 6,000 random meshes'),
    Check('allocation', 'Every allocation of every operation fails once, and the log sink throws at every record: state '
          'kept, nothing leaked',
          'build/release/tests/allocationTests', ('release',), 'all of it'),
    Check('interruption', 'SIGINT, SIGTERM and SIGKILL at random moments of `strip`, `strip -d`, `merge` and `report`; '
          'full devices, limits of file size, closed pipes',
          f'python3 {SCRIPTS}/interrupt.py build/release/tools/vexamesh/vexamesh --runs 400', ('release',), '24 runs'),
    Check('hostile', 'Hostile files, of every format, made one by one',
          "VEXAMESH_LONG_TESTS=1 build/release/tests/tool/toolTests --gtest_filter='Hostile*:DamagedFile.*:BadInput.*'",
          ('release',), 'every fifth of the cut-off files, fewer of the wrong types'),
    Check('determinism', 'Hashes of all outputs are the same with g++ and clang++, at -O0, -O2 and -O3, with SSE2 and '
          'AVX2, in 1, 2 and 8 threads', f'sh {SCRIPTS}/determinism.sh build/determinism', (),
          'as the presets are built, in 1 and 8 threads'),
    Check('kernels', 'SSE2 kernels have the results of the AVX2 ones to the bit',
          "build/release/tests/meshTests --gtest_filter='LaneKernels*'", ('release',), 'all of it'),
    Check('abi', 'Symbols of the shared library that existed at its version still exist',
          'sh tests/package/exports.sh build/release/vexa/mesh/libvexaMesh.so', ('release',), 'all of it'),
    Check('abi-types', 'Public types have the members, offsets and sizes, and enumerators the values, of the version',
          f'{INSTALL} && python3 tests/package/layouts.py build/package/prefix/include', (), 'all of it'),
    Check('laws', 'Laws between operations on meshes of every family',
          "build/release/tests/meshTests --gtest_filter='Laws*'", ('release',), 'all of it'),
    Check('limits', 'Hubs, edges and buckets of a million triangles, chunks of one triangle',
          "build/release/tests/meshTests --gtest_filter='Scale.*'", ('release',), 'all of it'),
    Check('limits-beyond', 'Buffers of 4.3 GB (360 million vertices, 1,080 million indices); a hub of 10 million triangles; 17 '
          'million in one bucket; too many triangles refused unread. The buffers take 12.7 GB of memory',
          "VEXA_MILLIONS=360 build/release/tests/meshTests --gtest_filter='BufferScale.*' && "
          "VEXA_MILLIONS=10 build/release/tests/meshTests --gtest_filter='Scale.*AVertexWithAMillion*' && "
          "VEXA_MILLIONS=34 build/release/tests/meshTests "
          "--gtest_filter='Scale.RunsSeveralPassesWithHundredsOfThousandsInABucket'",
          ('release',), 'with one million'),
    Check('few-resources', 'Sixteen open files for twelve jobs; from half to 64 times the size of the file as memory: works or refuses',
          "build/release/tests/tool/toolTests --gtest_filter='Batch.ManyJobsNeedFewDescriptors:LittleMemory.*'",
          ('release',), 'all of it'),
    Check('dependencies', 'Dependencies with version, licence and reason (docs/dependencies.md)',
          f'python3 {SCRIPTS}/dependencies.py --check', (), 'names and reasons'),
    Check('spdx', 'SPDX document of the installed package: the library and what it depends on',
          f'{INSTALL} && python3 tests/package/spdx.py build/package/prefix .', (), 'all of it'),
    Check('32bit', 'The suites of the library, and hashes of all outputs, in a 32-bit build for x86 with SSE2 (1)',
          f'sh {SCRIPTS}/elsewhere.sh 32bit build/32bit', (), 'not in `make test`'),
    Check('big-endian', 'The same on a big-endian processor: s390x, emulated by QEMU (1)',
          f'sh {SCRIPTS}/elsewhere.sh bigEndian build/bigEndian', (), 'not in `make test`'),
    Check('windows', 'The same in a 64-bit build for Windows by MinGW-w64, run by Wine (1, 2)',
          f'sh {SCRIPTS}/elsewhere.sh windows build/windows', (), 'not in `make test`'),
    Check('libc++', 'The same with clang++ and libc++ (1)',
          f'sh {SCRIPTS}/elsewhere.sh libcxx build/libcxx', (), 'not in `make test`'),
]
# Wanted, but not checked yet.
MISSING = [
    'Windows itself, macOS, ARM processors, and compilers other than GCC and Clang.',
    'The tool under ThreadSanitizer and Valgrind.',
    'The tool and log records in 32 bits, on a big-endian processor, with libc++ and on Windows.',
]


def run(command, environment=None):
    print(f'+ {command}', flush=True)
    process = subprocess.Popen(command, shell=True, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                               encoding='utf-8', errors='replace', env={**os.environ, **(environment or {})})
    lines = []
    for line in process.stdout:
        lines.append(line.rstrip('\n'))
    return process.wait(), lines


def figure_of(lines, files):
    """The line that a script prints as its figure, or the number of tests that passed."""
    figures = [line.removeprefix('figure: ') for line in lines if line.startswith('figure: ')]
    passed = [int(match[1]) for line in lines if (match := re.match(r'\[  PASSED  \] (\d+) tests?', line))]
    failed = [int(match[1]) for line in lines if (match := re.match(r'\[  FAILED  \] (\d+) tests?,', line))]
    together = [match for line in lines if (match := re.search(r'(\d+) tests failed out of (\d+)', line))]
    if together:
        figures.insert(0, f'{together[-1][2]} tests, {together[-1][1]} failures')
    elif passed:
        counts = f'{files:,} files in ' if files else ''
        figures.insert(0, f'{counts}{sum(passed)} tests, {sum(failed)} failures')
    return '; '.join(figures)


def build(presets):
    for preset in presets:
        code, lines = run(f'cmake --preset {preset} && cmake --build --preset {preset} -j {os.environ.get("JOBS", "2")}')
        if code != 0:
            print('\n'.join(lines[-40:]))
            return False
    return True


def measure(check, is_built, is_recorded):
    """The figure, the exit code, and the seconds, if the command prints how long recorded runs took."""
    if is_recorded:
        check = check._replace(command=check.command.replace(' --record', '') + ' --recorded')
    elif not is_built and not build(check.presets):
        return 'the build fails', 1, None
    report = ROOT / 'build' / f'{check.name}.json'
    report.unlink(missing_ok=True)
    code, lines = run(check.command, {'GTEST_OUTPUT': f'json:{report}'} if 'gtest_filter' in check.command else None)
    files = 0
    if report.exists():
        for suite in json.loads(report.read_text(encoding='utf-8'))['testsuites']:
            files += sum(int(test.get('files', 0)) for test in suite['testsuite'])
    figure = figure_of(lines, files)
    if code not in (0, INCOMPLETE) or not figure:
        print('\n'.join(lines[-40:]))
        figure = (figure or 'no figure') + f' (exit code {code})'
    seconds = [int(line.removeprefix('seconds: ')) for line in lines if line.startswith('seconds: ')]
    return figure, code, seconds[-1] if seconds else None


def table(results):
    rows = ['| check | figure | `make test` runs | command | measured |', '|---|---|---|---|---|']
    for check in CHECKS:
        result = results.get(check.name)
        command = check.command.replace('|', '\\|')
        if result is None:
            rows.append(f'| {check.subject} | not run yet | {check.short} | `{command}` | |')
        else:
            state = '' if result['passed'] else '**incomplete:** ' if result.get('incomplete') else '**fails:** '
            rows.append(f"| {check.subject} | {state}{result['figure']} | {check.short} "
                        f"| `{command}` | {result['day']}, {result['commit']}, {result['seconds']} s |")
    return '\n'.join(rows) + '\n'


def page(results):
    text = PAGE.read_text(encoding='utf-8')
    begin = text.index(TABLE_BEGIN) + len(TABLE_BEGIN)
    end = text.index(TABLE_END)
    missing = ''.join(f'- {entry}\n' for entry in MISSING)
    return f'{text[:begin]}\n{table(results)}\nNot covered by any check:\n\n{missing}\n{text[end:]}'


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('names', nargs='*', metavar='CHECK')
    parser.add_argument('--no-build', action='store_true', help='the presets are built already')
    parser.add_argument('--recorded', action='store_true', help='of checks that keep a record')
    parser.add_argument('--page', action='store_true')
    parser.add_argument('--check-page', action='store_true')
    parser.add_argument('--list', action='store_true')
    options = parser.parse_args()
    results = json.loads(RESULTS.read_text(encoding='utf-8')) if RESULTS.exists() else {}
    if options.list:
        print('\n'.join(check.name for check in CHECKS))
        return
    if options.check_page:
        if PAGE.read_text(encoding='utf-8') != page(results):
            sys.exit(f'{PAGE} is not that of {RESULTS}: python3 {SCRIPTS}/reliability.py --page')
        return
    if options.page:
        PAGE.write_text(page(results), encoding='utf-8')
        return
    if unknown := set(options.names) - {check.name for check in CHECKS}:
        sys.exit(f'unknown: {", ".join(sorted(unknown))}; known: {", ".join(check.name for check in CHECKS)}')
    commit = subprocess.run(['git', 'rev-parse', '--short', 'HEAD'], cwd=ROOT, stdout=subprocess.PIPE, text=True,
                            check=True).stdout.strip()
    for check in CHECKS:
        if options.names and check.name not in options.names:
            continue
        started = time.monotonic()
        figure, code, seconds = measure(check, options.no_build, options.recorded)
        results = json.loads(RESULTS.read_text(encoding='utf-8')) if RESULTS.exists() else {}
        seconds = seconds or round(time.monotonic() - started)
        results[check.name] = {'figure': figure, 'passed': code == 0, 'commit': commit,
                               'day': datetime.date.today().isoformat(), 'seconds': seconds}
        if code == INCOMPLETE:
            results[check.name]['incomplete'] = True
        RESULTS.write_text(json.dumps(results, indent=4, sort_keys=True) + '\n', encoding='utf-8')
        print(f'{check.name}: {figure}', flush=True)
    PAGE.write_text(page(results), encoding='utf-8')
    print(table(results))
    sys.exit(0 if all(results[check.name]['passed'] for check in CHECKS if check.name in results) else 1)


if __name__ == '__main__':
    main()
