#!/usr/bin/env python3
"""Checks the SPDX document of the installed package.

usage: spdx.py PREFIX SOURCE
"""

import json
import re
import sys
from pathlib import Path


def main():
    prefix, source = map(Path, sys.argv[1:])
    document = json.loads((prefix / 'share/vexaMesh/vexaMesh.spdx.json').read_text())
    version = re.search(r'^project\(vexaMesh VERSION (\S+)', (source / 'CMakeLists.txt').read_text(), re.MULTILINE)[1]
    packages = {package['SPDXID']: package for package in document['packages']}
    names = {package['name'] for package in document['packages']}
    needed = {line.split('|')[0].strip() for line in (source / 'cmake/dependencies.txt').read_text().splitlines()
              if not line.startswith('#') and '|' in line and 'library' in re.findall(r'[a-z]+', line.split('|')[1])}
    related = {relation['relatedSpdxElement'] for relation in document['relationships']}

    assert document['spdxVersion'] == 'SPDX-2.3'
    for field in ('dataLicense', 'SPDXID', 'name', 'documentNamespace'):
        assert document[field], field
    assert re.fullmatch(r'\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ', document['creationInfo']['created'])
    assert len(packages) == len(document['packages']), 'an identifier occurs twice'
    assert all(re.fullmatch(r'SPDXRef-[A-Za-z0-9.-]+', identifier) for identifier in packages)
    assert packages['SPDXRef-vexaMesh']['versionInfo'] == version
    assert packages['SPDXRef-vexaMesh']['licenseDeclared'] == 'MIT'
    assert names == needed | {'vexaMesh'}, names ^ needed
    assert related == set(packages), related ^ set(packages)
    assert ('SPDXRef-DOCUMENT', 'DESCRIBES', 'SPDXRef-vexaMesh') in {
        (relation['spdxElementId'], relation['relationshipType'], relation['relatedSpdxElement'])
        for relation in document['relationships']}
    print(f'figure: {len(packages)} packages')


if __name__ == '__main__':
    main()
