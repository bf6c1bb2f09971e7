#!/usr/bin/env python3
"""Breaks the library's sources, one small change at a time, and checks that a test fails.

usage: mutate.py [--count N] [--only REGEX] [--build DIRECTORY] [--recorded]

Each change (a mutant) is compiled into a copy of the tree, then the library's suites run: the tests of the changed
source, quick ones, and only if these pass the others. Results are appended to results.jsonl, so that an interrupted run
continues where it ended; those of lines that no longer exist do not count. Further mutants are drawn in an order that
looks random but is always the same, and does not depend on the other lines. Mutants that survived without a reason run
again. survivors.json names those that no test can tell from the original, or only sanitizers, each with its reason. Exit
code 1: another one survived; 3: fewer than N are recorded.
"""

import argparse
import hashlib
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import time
from collections import Counter
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
KNOWN = Path(__file__).with_name('survivors.json')
RECORD = Path(__file__).with_name('results.jsonl')

# Operator classes: name, pattern, replacement. clang-format puts spaces around binary operators and none inside types.
SWAPS = [
    ('boundary', r' < ', ' <= '),
    ('boundary', r' <= ', ' < '),
    ('boundary', r' > ', ' >= '),
    ('boundary', r' >= ', ' > '),
    ('comparison', r' == ', ' != '),
    ('comparison', r' != ', ' == '),
    ('arithmetic', r' \+ ', ' - '),
    ('arithmetic', r' - ', ' + '),
    ('arithmetic', r' \* ', ' + '),
    ('arithmetic', r' % ', ' / '),
    ('arithmetic', r' \+= ', ' -= '),
    ('arithmetic', r' -= ', ' += '),
    ('increment', r'\+\+', '--'),
    ('increment', r'(?<!-)--(?!-)', '++'),
    ('logic', r' && ', ' || '),
    ('logic', r' \|\| ', ' && '),
    ('logic', r'\bif \(', 'if (!('),
    ('logic', r'\btrue\b', 'false'),
    ('logic', r'\bfalse\b', 'true'),
    ('constant', r'(?<![\w.])(\d+)(?=[UuLl]*\b)(?![.\w])', None),
    ('choice', r'\bstd::min\b', 'std::max'),
    ('choice', r'\bstd::max\b', 'std::min'),
]
# Their effect is time, memory or a message, which the suites don't check, or none at run time.
SKIPPED = re.compile(r'^\s*(#|//|using |template|static_assert|throw |return "|case |default:)'
                     r'|prefetch|reserve\(|shrink_to_fit|static_assert|operator|Interval|noexcept\(|= delete|= default'
                     r'|\[\[|std::array<|alignas')


def code_only(line):
    """The line with texts and comments blanked out, at the same places."""
    line = re.sub(r'"(?:\\.|[^"\\])*"', lambda m: '"' + ' ' * (len(m[0]) - 2) + '"', line)
    line = re.sub(r"'(?:\\.|[^'\\])'", lambda m: "' '".ljust(len(m[0])), line)
    return re.sub(r'//.*', lambda m: ' ' * len(m[0]), line)


def negated(line, start):
    """The line with the condition of the `if (` at `start` negated; None if it does not end there."""
    opening = line.index('(', start)
    depth = 0
    for at in range(opening, len(line)):
        depth += {'(': 1, ')': -1}.get(line[at], 0)
        if depth == 0:
            condition = line[opening + 1:at]
            if ';' in condition:
                first, last = condition.split(';', 1)
                return f'{line[:opening]}({first}; !({last.strip()})){line[at + 1:]}'
            return f'{line[:opening]}(!({condition})){line[at + 1:]}'
    return None


def mutants_of_line(line):
    code = code_only(line)
    for name, pattern, replacement in SWAPS:
        for match in re.finditer(pattern, code):
            if name == 'constant':
                changed = line[:match.start()] + str(int(match[1]) + 1) + line[match.end():]
            elif replacement == 'if (!(':
                changed = negated(line, match.start())
            else:
                changed = line[:match.start()] + replacement + line[match.end():]
            if changed is not None:
                yield name, changed
    # A call or an assignment on a line of its own.
    statement = re.fullmatch(r'(\s+)([\w.>\[\]()*+-]+(?:\(.*\)| [-+|&^]?= .*)|break|continue|\+\+\w+|--\w+);', code)
    if statement and not re.match(r'\s*(return|const|auto|std::\w+ \w+|throw|delete)\b', code):
        yield 'removal', statement[1] + ';'


def all_mutants(only):
    mutants = []
    sources = [p for p in (ROOT / 'vexa/mesh').rglob('*') if p.suffix in ('.cpp', '.h') and 'peers' not in p.parts]
    for path in sorted(sources):
        name = str(path.relative_to(ROOT))
        if not re.search(only, name):
            continue
        # The public headers declare; a change of their layout would not be one of behaviour.
        if path.suffix == '.h' and 'detail' not in path.parts:
            continue
        in_comment = False
        occurrences = Counter()
        for number, line in enumerate(path.read_text().splitlines(), 1):
            occurrences[line.strip()] += 1
            in_comment = in_comment or line.lstrip().startswith('/*')
            if not in_comment and not SKIPPED.search(line):
                for operator, changed in mutants_of_line(line):
                    mutants.append({'file': name, 'line': number, 'operator': operator, 'from': line.strip(),
                                    'occurrence': occurrences[line.strip()], 'to': changed.strip(), 'text': changed})
            in_comment = in_comment and '*/' not in line
    return mutants


# These map more memory than a mutant may.
LEFT_OUT = ('TrianglePointers.LetCalcOptPrimCutTrianglesThatAreFarApart:'
            'PairInOrder.GivesNothingForMoreTrianglesThanIdsCanName:BufferScale.RefusesTooManyTrianglesWithoutReadingThem')


class Build:
    """A copy of the tree that is built with every mutant in turn."""

    first = ('meshTests',)
    later = ('allocationTests', 'outputHashes')

    def __init__(self, directory, jobs):
        self.source = directory / 'source'
        self.binary = self.source / 'build/release'  # as in the tree itself, so that ccache has most objects
        self.times = directory / 'times.json'
        self.jobs = jobs
        self.changed = directory / 'changed'
        self.environment = dict(os.environ, CCACHE_DISABLE='1', GTEST_COLOR='no')
        for folder in ('vexa', 'logging', 'tests', 'cmake', 'docs'):
            shutil.rmtree(self.source / folder, ignore_errors=True)
            shutil.copytree(ROOT / folder, self.source / folder)
        for file in ('CMakeLists.txt', 'CMakePresets.json'):
            shutil.copy2(ROOT / file, self.source)
        if self.changed.exists():  # an interrupted run leaves objects of a mutant that are newer than the source
            (self.source / self.changed.read_text()).touch()
        environment = dict(os.environ, CCACHE_BASEDIR=str(self.source))
        self.run(['cmake', '-S', self.source, '--preset', 'release', '-DVEXA_BUILD_TOOL=OFF', '-DVEXA_BUILD_EXAMPLES=OFF',
                  '-DVEXA_TEST_PACKAGE=OFF', '-DVEXA_TEST_NODE=OFF', '-DVEXA_TEST_PYTHON=OFF', '-DVEXA_BUILD_PYTHON=OFF',
                  '-DCMAKE_LINK_DEPENDS_NO_SHARED=ON', '-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=gold',
                  '-DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=gold'], environment, 600)
        if self.run(self.make(*self.first, *self.later), environment, 3600) != 'passed':
            sys.exit('the tree does not build')
        self.measure()

    def make(self, *targets):
        return ['cmake', '--build', self.binary, '-j', str(self.jobs), '--target', *targets]

    @staticmethod
    def run(command, environment, limit):
        # A mutant may allocate without end.
        run = subprocess.Popen(['prlimit', f'--as={12 << 30}', *map(str, command)], env=environment,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, process_group=0)
        try:
            return 'passed' if run.wait(limit) == 0 else 'failed'
        except subprocess.TimeoutExpired:
            os.killpg(run.pid, signal.SIGKILL)
            run.wait()
            return 'timed out'

    def measure(self):
        """Times every test, to run quick ones first and to know when one hangs."""
        tests = self.binary / 'tests'
        if not self.times.exists() and self.run([tests / 'meshTests', f'--gtest_filter=-{LEFT_OUT}',
                                                        f'--gtest_output=json:{self.times}'],
                                                self.environment, 3600) != 'passed':
            self.times.unlink(missing_ok=True)
            sys.exit('the suite fails before anything is changed')
        slow = []
        quick = 0.0
        self.seconds = {}
        for suite in json.loads(self.times.read_text())['testsuites']:
            for test in suite['testsuite']:
                seconds = float(test['time'].rstrip('s'))
                self.seconds[suite['name']] = self.seconds.get(suite['name'], 0) + seconds
                if seconds > 0.05:
                    slow.append((seconds, f"{suite['name']}.{test['name']}"))
                else:
                    quick += seconds
        names = ':'.join(name for _, name in sorted(slow))
        total = quick + sum(seconds for seconds, _ in slow)
        self.common = common = ['--gtest_brief=1', '--gtest_fail_fast']
        hashes = ['sh', self.source / 'tests/determinism/expect.sh', tests / 'outputHashes', '1']
        self.stages = [
            ('quick tests', [tests / 'meshTests', f'--gtest_filter=-{names}:{LEFT_OUT}', *common], 10 * quick + 20),
            ('the build', self.make(*self.later), 900),
            ('hashes of outputs', hashes, 60),
            ('allocation tests', [tests / 'allocationTests', *common], 120),
            ('other tests', [tests / 'meshTests', f'--gtest_filter={names}', *common], 5 * total + 20),
        ]
        for name, command, limit in self.stages[:3]:
            if self.run(command, self.environment, limit) != 'passed':
                sys.exit(f'{name} fail before anything is changed')

    def own_tests(self, mutant):
        """The tests that are named after the source."""
        name = Path(mutant['file']).stem
        seconds = sum(seconds for suite, seconds in self.seconds.items() if suite.startswith(name))
        command = [self.binary / 'tests/meshTests', f'--gtest_filter={name}*:-{LEFT_OUT}', *self.common]
        return 'its own tests', command, 10 * seconds + 20

    def outcome(self, mutant):
        path = self.source / mutant['file']
        original = path.read_text()
        lines = original.splitlines()
        lines[mutant['line'] - 1] = mutant['text']
        self.changed.write_text(mutant['file'])
        path.write_text('\n'.join(lines) + '\n')
        try:
            if self.run(self.make(*self.first), self.environment, 900) != 'passed':
                return 'does not compile'
            for name, command, limit in [self.own_tests(mutant), *self.stages]:
                result = self.run(command, self.environment, limit)
                if result != 'passed':
                    return f'killed by {name}' + (', which hung' if result == 'timed out' else '')
            return 'survived'
        finally:
            path.write_text(original)


def key(mutant):
    """Names a mutant even if lines above it come or go. Lines of the same text in a file are counted from 1."""
    return mutant['file'], mutant['from'], mutant['occurrence'], mutant['to']


def order(mutant):
    return hashlib.sha256(repr(key(mutant)).encode()).digest()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('--count', type=int, default=300, help='mutants that compile')
    parser.add_argument('--only', default='', help='of sources whose name matches')
    parser.add_argument('--jobs', type=int, default=2)
    parser.add_argument('--build', type=Path, default=ROOT / 'build/mutation')
    parser.add_argument('--recorded', action='store_true', help='print the figure of what ran so far')
    parser.add_argument('--list', action='store_true', help='print the mutants without building any')
    options = parser.parse_args()

    done = {}
    if RECORD.exists():
        for line in RECORD.read_text().splitlines():
            entry = json.loads(line)
            done[key(entry)] = entry
    mutants = sorted(all_mutants(options.only), key=lambda mutant: (key(mutant) not in done, order(mutant)))
    if options.list:
        for mutant in mutants:
            print(f"{mutant['file']}:{mutant['line']}: {mutant['operator']}: {mutant['from']}  =>  {mutant['to']}")
        return
    options.build.mkdir(parents=True, exist_ok=True)
    known = {key(entry): entry for entry in json.loads(KNOWN.read_text())}
    commit = subprocess.run(['git', 'rev-parse', '--short', 'HEAD'], cwd=ROOT, stdout=subprocess.PIPE, text=True,
                            check=True).stdout.strip()

    build = None
    outcomes = []
    for mutant in mutants:
        if sum(outcome != 'does not compile' for _, outcome in outcomes) == options.count:
            break
        name = key(mutant)
        if options.recorded and name not in done:
            break
        if name not in done or done[name]['outcome'] == 'survived' and name not in known and not options.recorded:
            build = build or Build(options.build, options.jobs)
            started = time.monotonic()
            done[name] = {**dict(zip(('file', 'from', 'occurrence', 'to'), name)), 'outcome': build.outcome(mutant),
                          'seconds': round(time.monotonic() - started), 'commit': commit}
            with RECORD.open('a') as file:
                file.write(json.dumps(done[name]) + '\n')
        outcomes.append((mutant, done[name]['outcome']))

    compiled = [(mutant, outcome) for mutant, outcome in outcomes if outcome != 'does not compile']
    survived = [mutant for mutant, outcome in compiled if outcome == 'survived']
    unexplained = [mutant for mutant in survived if key(mutant) not in known]
    for mutant in unexplained:
        print(f"survived: {mutant['file']}:{mutant['line']}: {mutant['from']}  =>  {mutant['to']}")
    killed = len(compiled) - len(survived)
    by_sanitizers = sum(known.get(key(mutant), {}).get('seenBySanitizers', False) for mutant in survived)
    share = 100 * killed / max(1, killed + by_sanitizers + len(unexplained))
    by_hash = sum('hashes' in outcome for _, outcome in compiled)
    if options.recorded:
        print(f"seconds: {sum(done[key(mutant)]['seconds'] for mutant, _ in outcomes)}")
    print(f'figure: {len(compiled)} of {options.count} mutants, {killed} killed ({by_hash} of them by the hashes of outputs, where no quick '
          f'test failed), {len(survived) - by_sanitizers - len(unexplained)} equivalent, {by_sanitizers} that only sanitizers notice, '
          f'{len(unexplained)} others: {share:.1f} % of the non-equivalent killed')
    sys.exit(1 if unexplained else 3 if len(compiled) < options.count else 0)


if __name__ == '__main__':
    main()
