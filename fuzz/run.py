#!/usr/bin/env python3
"""Runs fuzz targets from their seeds and kept inputs; new inputs stay in the build directory.

usage: run.py TARGETS_DIRECTORY [--seconds N] [--jobs N] [--record] [TARGET...]
       run.py --recorded [--seconds N]

Each target runs until it has had so many seconds of processor time, so that other programs on the machine do not
shorten a run. With --record, times and executions are added to record.json: a run that was ended by SIGINT or SIGTERM
continues there, and targets that have had their time are left out. Those that failed start again. --recorded prints the
figure of that file. Exit code 1: an input was found that breaks a target; 3: the record lacks time.
"""

import argparse
import concurrent.futures
import datetime
import json
import os
import re
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

FOLDER = Path(__file__).resolve().parent
RECORD = FOLDER / 'record.json'
TARGETS = sorted(path.name.removesuffix('Fuzz.cpp') for path in FOLDER.glob('*Fuzz.cpp'))
NOTHING = {'seconds': 0, 'executions': 0, 'findings': 0}
SLICE = 300  # seconds after which a run is recorded and continues with the inputs that it found

stopped = threading.Event()


def prepare(corpus, target):
    corpus.mkdir(parents=True, exist_ok=True)
    for seed in (FOLDER / 'seeds' / target).glob('*'):
        (corpus / seed.name).write_bytes(seed.read_bytes())
    packed = FOLDER / f'corpora/{target}.txt'
    if packed.exists():
        subprocess.run([sys.executable, FOLDER / 'corpus.py', 'unpack', packed, corpus], check=True)


def processor_time(process):
    fields = Path(f'/proc/{process}/stat').read_text().rsplit(')', 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf('SC_CLK_TCK')


def run_slice(directory, target, seconds):
    """Returns the seconds of processor time, the executions, and whether an input broke the target."""
    log = directory / f'{target}.log'
    with log.open('wb') as output:
        # The limit of an input is by the clock, and a process of low priority may wait for minutes.
        run = subprocess.Popen([directory / f'{target}Fuzz', '-timeout=600', '-rss_limit_mb=4096', '-print_final_stats=1',
                                f'-artifact_prefix={directory}/{target}-', directory / 'corpus' / target],
                               stdout=output, stderr=output, process_group=0)
        done = 0
        while not done:
            time.sleep(0.5)
            if stopped.is_set() or processor_time(run.pid) >= seconds:
                os.kill(run.pid, signal.SIGUSR1)  # It ends after the current input.
            done, status, usage = os.wait4(run.pid, os.WNOHANG)
        run.returncode = os.waitstatus_to_exitcode(status)
    text = log.read_text(encoding='utf-8', errors='replace')
    failed = run.returncode not in (0, -signal.SIGUSR1)  # which ends it at once while it starts
    if failed:
        print('\n'.join(text.splitlines()[-40:]), file=sys.stderr)
    executions = re.search(r'stat::number_of_executed_units: *(\d+)', text)
    return usage.ru_utime + usage.ru_stime, int(executions[1]) if executions else 0, failed


def run_target(directory, target, seconds, before, store):
    result = dict(before)
    prepare(directory / 'corpus' / target, target)
    while result['seconds'] < seconds and not result['findings'] and not stopped.is_set():
        used, executions, failed = run_slice(directory, target, min(SLICE, seconds - result['seconds']))
        result.update(seconds=round(result['seconds'] + used, 1), executions=result['executions'] + executions,
                      findings=int(failed))
        store(target, result)
    print(f"{target}: {result['seconds']:.0f} s, {result['executions']:,} executions, {result['findings']} findings",
          flush=True)


def minutes(seconds):
    return f'{seconds // 60} minutes' if seconds % 60 == 0 else f'{seconds} s'


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('directory', type=Path, nargs='?')
    parser.add_argument('targets', nargs='*', metavar='TARGET')
    parser.add_argument('--seconds', type=int, default=1800)
    parser.add_argument('--jobs', type=int, default=1)
    parser.add_argument('--record', action='store_true')
    parser.add_argument('--recorded', action='store_true')
    options = parser.parse_intermixed_args()
    if not options.directory and not options.recorded:
        parser.error('the directory of the targets is missing')
    if unknown := set(options.targets) - set(TARGETS):
        parser.error(f'unknown: {", ".join(sorted(unknown))}; known: {", ".join(TARGETS)}')

    targets = options.targets or TARGETS
    is_stored = options.record or options.recorded
    results = json.loads(RECORD.read_text()) if is_stored and RECORD.exists() else {}
    lock = threading.Lock()
    if not options.recorded:
        directory = options.directory.resolve()
        commit = subprocess.run(['git', 'rev-parse', '--short', 'HEAD'], cwd=FOLDER, stdout=subprocess.PIPE, text=True,
                                check=False).stdout.strip()
        begin = {'commit': commit, 'day': datetime.date.today().isoformat(), **NOTHING}

        def store(target, result):
            with lock:
                results[target] = result
                if options.record:
                    RECORD.write_text(json.dumps(results, indent=4, sort_keys=True) + '\n')

        def run(target):
            known = results.get(target, begin)
            run_target(directory, target, options.seconds, begin if known['findings'] else known, store)

        for number in (signal.SIGINT, signal.SIGTERM):
            signal.signal(number, lambda *_: stopped.set())
        with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
            list(pool.map(run, targets))

    results = {target: results.get(target, NOTHING) for target in targets}
    complete = sum(result['seconds'] >= options.seconds for result in results.values())
    findings = sum(result['findings'] for result in results.values())
    executions = sum(result['executions'] for result in results.values())
    if is_stored:
        print(f"seconds: {sum(result['seconds'] for result in results.values()):.0f}")
    print(f'figure: {complete} of {len(targets)} targets for {minutes(options.seconds)} each, {executions:,} executions, '
          f'{findings} findings')
    sys.exit(1 if findings else 3 if is_stored and complete < len(targets) else 0)


if __name__ == '__main__':
    main()
