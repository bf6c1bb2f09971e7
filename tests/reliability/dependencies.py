#!/usr/bin/env python3
"""Writes docs/dependencies.md: every package of cmake/dependencies.txt with version, licence and reason.

usage: dependencies.py           writes the page from the packages that are installed and from the lock files
       dependencies.py --check   fails if the page lacks a package, or gives another reason or npm version
"""

import json
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PAGE = ROOT / 'docs/dependencies.md'


def listed():
    for line in (ROOT / 'cmake/dependencies.txt').read_text().splitlines():
        if line.strip() and not line.startswith('#'):
            yield [field.strip() for field in line.split('|')]


def npm_packages():
    found = {}
    for lock in ROOT.rglob('package-lock.json'):
        if not {'node_modules', 'build'} & set(lock.relative_to(ROOT).parts):
            for path, entry in json.loads(lock.read_text())['packages'].items():
                found.setdefault(path.removeprefix('node_modules/'), (entry.get('version', ''),
                                                                        entry.get('license', 'see the package')))
    return found


def debian_version(package):
    run = subprocess.run(['dpkg-query', '-W', '-f=${Version}', package], stdout=subprocess.PIPE,
                         stderr=subprocess.DEVNULL, text=True, check=False)
    return run.stdout if run.returncode == 0 else ''


# Of packages whose copyright file is not machine-readable, or names a licence in words of its own.
LICENCES = {
    'g++': 'GPL-3.0+ with GCC-exception-3.1', 'g++-i686-linux-gnu': 'GPL-3.0+ with GCC-exception-3.1',
    'g++-s390x-linux-gnu': 'GPL-3.0+ with GCC-exception-3.1',
    'g++-mingw-w64-x86-64-posix': 'GPL-3.0+ with GCC-exception-3.1', 'qemu-user': 'GPL-2.0',
    'libc++-dev': 'Apache-2.0 with LLVM-exception', 'libc++abi-dev': 'Apache-2.0 with LLVM-exception', 'libboost-log-dev': 'BSL-1.0', 'nodejs': 'MIT', 'npm': 'Artistic-2.0',
    'clang': 'Apache-2.0 with LLVM-exception', 'clang-format': 'Apache-2.0 with LLVM-exception',
    'clang-tidy': 'Apache-2.0 with LLVM-exception', 'libclang-rt-14-dev': 'Apache-2.0 with LLVM-exception',
    'llvm-14': 'Apache-2.0 with LLVM-exception',
    'libgtest-dev': 'BSD-3-clause', 'libgmock-dev': 'BSD-3-clause', 'googletest': 'BSD-3-clause', 'python3': 'PSF-2.0',
    'libcgal-dev': 'GPL-3+ and LGPL-3+', 'libcgal-demo': 'GPL-3+ and LGPL-3+', 'libopenmesh-dev': 'BSD-3-clause',
}


def debian_licence(package):
    """The licence of the package's main files, as its copyright file names it."""
    path = Path('/usr/share/doc') / package / 'copyright'
    if package in LICENCES or not path.exists():
        return LICENCES.get(package, 'see its copyright file')
    main = re.search(r'^Files: *\*\n(?:.+\n)*?License: *(.+)', path.read_text(errors='replace'), re.MULTILINE)
    return main[1].strip() if main else 'see its copyright file'


def rows():
    npm = npm_packages()
    done = set()
    for name, parts, reason in listed():
        if name.startswith('npm:'):
            version, licence = npm.get(name[4:], ('', ''))
        else:
            version, licence = debian_version(name), debian_licence(name)
        if (name, reason) not in done:
            done.add((name, reason))
            yield name, parts, version or 'not installed', licence, reason


def main():
    if sys.argv[1:] == ['--check']:
        page = PAGE.read_text()
        npm = npm_packages()
        for name, parts, reason in listed():
            match = re.search(rf'^\| {re.escape(name)} \| {re.escape(parts)} \| (.*?) \| .* \| {re.escape(reason)} \|$',
                              page, re.MULTILINE)
            if not match or (name.startswith('npm:') and match[1] != npm[name[4:]][0]):
                sys.exit(f'{name}: {PAGE} is out of date: python3 tests/reliability/dependencies.py')
        print(f'figure: {len(list(listed()))} lines')
        return
    table = '\n'.join(f'| {" | ".join(row)} |' for row in rows())
    PAGE.write_text(f"""# Dependencies

Everything that is needed to build, test or measure, with the version of the last run of
`python3 tests/reliability/dependencies.py`, which writes this page from `cmake/dependencies.txt`. The shared library
needs only the packages of the part "library" at run time. Versions of npm packages, which start with `npm:`, are those
of the lock files, which also hold the checksum of every file that is fetched.

| package | needed by | version | licence | reason |
|---|---|---|---|---|
{table}
""")


if __name__ == '__main__':
    main()
