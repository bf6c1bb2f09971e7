#!/usr/bin/env python3
"""Compares the layouts of the public types with those of the version, which layouts.txt holds.

usage: layouts.py INCLUDE_DIRECTORY [--accept]

A program that was built with an earlier library of the same version would read the wrong bytes if a member moved or if
the size of a type changed, and the wrong value if an enumerator did. Fails for a type that changed or is gone; new types
are allowed. `--accept` stores the layouts, after the version was raised in CMakeLists.txt, or to add new types. clang++
prints the layouts, which are those of g++.
"""

import re
import subprocess
import sys
from pathlib import Path

FOLDER = Path(__file__).resolve().parent
EXPECTED = FOLDER / 'layouts.txt'


def version():
    text = (FOLDER.parents[1] / 'CMakeLists.txt').read_text()
    return re.search(r'^project\(vexaMesh VERSION (\S+)', text, re.MULTILINE)[1]


def clang(include, source, *flags):
    options = [option for flag in flags for option in ('-Xclang', flag)]
    run = subprocess.run(['clang++', '-std=c++20', '-fsyntax-only', '-I', include, *options, '-x', 'c++', '-'], input=source, stdout=subprocess.PIPE, check=True, text=True)
    return run.stdout


def record_names(include, source):
    """The qualified names of the records of the library, templates and unnamed ones aside."""
    scopes = []
    for line in clang(include, source, '-ast-dump', '-ast-dump-filter=vexa::mesh::').splitlines():
        if heading := re.fullmatch(r'Dumping (vexa::mesh::[\w:]+):', line):
            scopes = [(-1, heading[1].rpartition('::')[0], True)]
        elif node := re.match(r'([| `-]*)(\w+Decl) .*?( (?:struct|class|union) (\w+) definition)?$', line):
            depth = len(node[1])
            while len(scopes) > 1 and scopes[-1][0] >= depth:
                scopes.pop()
            plain = scopes and scopes[-1][2] and node[2] in ('CXXRecordDecl', 'NamespaceDecl')
            name = f'{scopes[-1][1]}::{node[4] or line.split()[-1]}' if scopes else ''
            scopes.append((depth, name, plain))
            if plain and node[3]:
                yield name


def records(include):
    """The members of every record, with their offsets, and its size and alignment. Not the members of members."""
    headers = sorted(path.relative_to(include) for path in (include / 'vexa').rglob('*.h'))
    source = ''.join(f'#include <{header}>\n' for header in headers)
    sizes = ''.join(f'static_assert(sizeof({name}) != 0);\n' for name in sorted(set(record_names(include, source))))
    text = clang(include, source + sizes, '-fdump-record-layouts', '-fno-access-control')
    for block in text.split('*** Dumping AST Record Layout\n')[1:]:
        lines = block.splitlines()
        name = lines[0].split('|')[1].strip()
        if re.fullmatch(r'(struct|class|union) vexa::mesh::[\w:]+( \(empty\))?', name):
            members = [re.sub(r'\s+', ' ', line).strip() for line in lines[1:] if re.search(r'\|   \S', line)]
            size = re.search(r'sizeof=(\d+).*?\balign=(\d+)', block, re.DOTALL)
            yield name.removesuffix(' (empty)'), [*members, f'size {size[1]}, alignment {size[2]}']


def enumerations(include):
    for header in sorted((include / 'vexa').rglob('*.h')):
        text = re.sub(r'//.*', '', header.read_text())
        for name, body in re.findall(r'\benum (?:class )?(\w+[^{;]*)\{([^}]*)\}', text):
            yield f'enum {name.strip()}', [re.sub(r'\s+', ' ', body).strip().rstrip(',')]


def main():
    include = Path(sys.argv[1])
    found = {}
    for name, lines in [*records(include), *enumerations(include)]:
        found[name] = '\n    '.join([name, *lines])
    assert len(found) > 20
    text = '\n'.join([f'version {version()}', *(found[name] for name in sorted(found))]) + '\n'
    if sys.argv[2:] == ['--accept']:
        EXPECTED.write_text(text)
        return
    first, *blocks = re.split(r'\n(?! )', EXPECTED.read_text().rstrip('\n'))
    if first != f'version {version()}':
        sys.exit(f'The version is {version()} now. Store its layouts: {sys.argv[0]} {sys.argv[1]} --accept')
    changed = 0
    for block in blocks:
        name = block.split('\n')[0]
        if found.get(name) != block:
            print(f'Changed without a new version:\n{block}\nnow:\n{found.get(name, "(gone)")}')
            changed += 1
    if changed:
        sys.exit(1)
    print(f'figure: {len(blocks)} types of version {version()}, 0 changed, {len(found) - len(blocks)} new')


if __name__ == '__main__':
    main()
