#!/usr/bin/env python3
"""Ends the tool at random moments, and runs it where nothing can be written.

usage: interrupt.py PROGRAM [--runs N] [--seed N]

After every run: an output that exists under its name is complete, an output that existed before is the old or the new
one, a run that succeeds has written all of them, a model of two files has both or neither unless SIGKILL came between,
only SIGKILL leaves temporary files, no process is left, and the run ended by its signal or with a documented exit code.
"""

import argparse
import os
import random
import resource
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
from pathlib import Path

SIGNALS = [signal.SIGINT, signal.SIGTERM, signal.SIGKILL]


def write_model(path, size):
    """A bumpy grid as a binary PLY file."""
    with path.open('wb') as file:
        file.write(f'ply\nformat binary_little_endian 1.0\nelement vertex {(size + 1) ** 2}\nproperty float x\n'
                   f'property float y\nproperty float z\nelement face {2 * size * size}\n'
                   'property list uchar int vertex_indices\nend_header\n'.encode())
        for y in range(size + 1):
            for x in range(size + 1):
                file.write(struct.pack('<3f', x, y, (x * y) % 7))
        for y in range(size):
            for x in range(size):
                a = y * (size + 1) + x
                file.write(struct.pack('<B3iB3i', 3, a, a + 1, a + size + 1, 3, a + 1, a + size + 2, a + size + 1))


def is_same(name, content, expected):
    """Whether a file is complete. Pages hold the time that the search took, so that only their ends are the same."""
    if name.endswith('.html'):
        return content[:100] == expected[:100] and content[-100:] == expected[-100:]
    return content == expected


def processes_of(group):
    found = []
    for stat in Path('/proc').glob('[0-9]*/stat'):
        try:
            fields = stat.read_text().rpartition(')')[2].split()
        except OSError:
            continue
        if int(fields[2]) == group and fields[0] != 'Z':
            found.append(stat.parent.name)
    return found


class Runs:
    def __init__(self, program, directory, generator):
        self.program = program
        self.directory = directory
        self.random = generator
        self.inputs = []
        for i, size in enumerate((60, 90, 120)):
            self.inputs.append(directory / f'in{i}.ply')
            write_model(self.inputs[-1], size)
        self.faults = []

    def commands(self):
        first = str(self.inputs[0])
        names = [str(path) for path in self.inputs]
        return {
            'strip': ['strip', first, '-o', 'out/a.glb'],
            'strip -d': ['strip', *names, '-d', 'out', '--jobs', '2'],
            'merge': ['merge', *names, '-o', 'out/merged.gltf'],
            'report': ['report', first, '-o', 'out/a.html'],
        }

    def start(self, arguments):
        return subprocess.Popen([self.program, *arguments], cwd=self.directory, stdin=subprocess.DEVNULL,
                                stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, start_new_session=True)

    def expect(self, condition, text):
        if not condition:
            self.faults.append(text)
            print(text)

    def prepare(self, name, complete, is_old):
        """Empties the output directory, or fills it with outputs that may be replaced."""
        out = self.directory / 'out'
        shutil.rmtree(out, ignore_errors=True)
        out.mkdir()
        if is_old:
            for file in complete[name]:
                (out / file).write_bytes(b'old')

    def check_files(self, name, complete, is_old, ended, label):
        present = {path.name: path.read_bytes() for path in (self.directory / 'out').iterdir()}
        written = set()
        for file, content in present.items():
            if file not in complete[name]:
                self.expect(ended == -signal.SIGKILL and any(file.startswith(f'{known}.') for known in complete[name]),
                            f'{label}: {file} is left')
            elif is_same(file, content, complete[name][file]):
                written.add(file)
            else:
                self.expect(is_old and content == b'old', f'{label}: {file} is not complete')
        missing = set(complete[name]) - set(present)
        self.expect(not is_old or not missing, f'{label}: {missing} of before are gone')
        self.expect(ended != 0 or len(written) == len(complete[name]), f'{label}: succeeds without {missing or "writing"}')
        # Two files of one model. SIGKILL between their renames cannot be blocked.
        self.expect(name != 'merge' or ended == -signal.SIGKILL or len(written) in (0, len(complete[name])),
                    f'{label}: writes {written} only')

    def run(self, count):
        commands = self.commands()
        seconds = {}
        complete = {}
        for name, arguments in commands.items():
            self.prepare(name, {name: {}}, False)
            started = time.monotonic()
            process = self.start(arguments)
            error = process.communicate()[1]
            if process.returncode != 0:
                sys.exit(f'{name}: {error.decode()}')
            seconds[name] = time.monotonic() - started
            complete[name] = {path.name: path.read_bytes() for path in (self.directory / 'out').iterdir()}
        killed = 0
        for i in range(count):
            name = list(commands)[i % len(commands)]
            sent = SIGNALS[i // len(commands) % len(SIGNALS)]
            is_old = i // len(commands) % 2 == 1
            self.prepare(name, complete, is_old)
            moment = self.random.uniform(0, 1.1 * seconds[name])
            label = f'run {i}: {name}, {sent.name} after {moment:.3f} s'
            process = self.start(commands[name])
            time.sleep(moment)
            process.send_signal(sent)
            try:
                error = process.communicate(timeout=60)[1].decode(errors='replace')
            except subprocess.TimeoutExpired:
                self.expect(False, f'{label}: hangs')
                os.killpg(process.pid, signal.SIGKILL)
                continue
            self.expect(process.returncode in (0, -sent), f'{label}: exit code {process.returncode}: {error}')
            killed += process.returncode != 0
            deadline = time.monotonic() + 10
            while processes_of(process.pid) and time.monotonic() < deadline:
                time.sleep(0.01)
            self.expect(not processes_of(process.pid), f'{label}: leaves processes')
            self.check_files(name, complete, is_old, process.returncode, label)
        return killed

    def failing_writes(self):
        """Outputs that cannot be written, or not in full."""
        count = 0
        first = str(self.inputs[0])

        def expect_refusal(label, arguments, codes, **options):
            nonlocal count
            count += 1
            self.prepare('', {'': {}}, False)
            run = subprocess.run([self.program, *arguments], cwd=self.directory, stderr=subprocess.PIPE, check=False,
                                 timeout=60, **{'stdout': subprocess.PIPE, **options})
            error = run.stderr.decode(errors='replace')
            self.expect(run.returncode in codes, f'{label}: exit code {run.returncode}: {error}')
            if run.returncode > 0:
                self.expect(error.count('vexamesh: ') == 1 and error.splitlines()[-1].startswith('vexamesh: '),
                            f'{label}: not one line: {error}')
            self.expect(not list((self.directory / 'out').iterdir()), f'{label}: a file is left')

        def limited(size):
            return lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))

        for name, arguments in self.commands().items():
            if name != 'strip -d':
                for size in (0, 1, 1000, 50000):
                    expect_refusal(f'{name}, files of at most {size} bytes', arguments, [3], preexec_fn=limited(size))
        for place in ('/proc/a.glb', '/sys/a.glb', '/dev/null/a.glb', 'missing/a.glb'):
            expect_refusal(f'output {place}', ['strip', first, '-o', place], [2, 3])
        with open('/dev/full', 'wb') as full:
            expect_refusal('model to a full device', ['strip', first, '-o', '-'], [3], stdout=full)
            expect_refusal('table to a full device', ['info', first], [3], stdout=full)
            expect_refusal('JSON to a full device', ['info', first, '--json'], [3], stdout=full)
        for arguments in (['strip', first, '-o', '-'], ['info', first], ['dump', first, '--elements']):
            count += 1
            read, write = os.pipe()
            os.close(read)
            run = subprocess.run([self.program, *arguments], cwd=self.directory, stdout=write, stderr=subprocess.PIPE,
                                 check=False, timeout=60)
            os.close(write)
            self.expect(run.returncode in (3, -signal.SIGPIPE), f'{arguments[0]}, closed pipe: {run.returncode}')
        return count


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('program', type=Path)
    parser.add_argument('--runs', type=int, default=200)
    parser.add_argument('--seed', type=int, default=1)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix='vexameshInterrupt') as name:
        runs = Runs(options.program.resolve(), Path(name), random.Random(options.seed))
        killed = runs.run(options.runs)
        refused = runs.failing_writes()
    print(f'figure: {options.runs} runs, {killed} of them ended by the signal; {refused} more whose output cannot be written: '
          f'{len(runs.faults)} faults')
    sys.exit(1 if runs.faults else 0)


if __name__ == '__main__':
    main()
