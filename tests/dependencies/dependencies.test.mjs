// The list of packages matches what the tree itself asks for.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { mkdtempSync, readdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join, relative } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

const exactVersion = /^\d+\.\d+\.\d+(-[-.\w]+)?$/;
const root = join(dirname(fileURLToPath(import.meta.url)), '..', '..');

// The part of the list that needs what a directory of the tree asks for.
const partOfDirectory = { bench: 'bench', tests: 'tests', tools: 'tool' };

function packageFolders(folder = root) {
    const entries = readdirSync(folder, { withFileTypes: true });
    const fetched = ['.git', 'build', 'node_modules'];
    return entries
        .filter((entry) => entry.isDirectory() && !fetched.includes(entry.name))
        .flatMap((entry) => packageFolders(join(folder, entry.name)))
        .concat(entries.some((entry) => entry.name === 'package.json') ? [folder] : []);
}

function readJson(...path) {
    return JSON.parse(readFileSync(join(...path), 'utf8'));
}

function listedLines() {
    return readFileSync(join(root, 'cmake/dependencies.txt'), 'utf8')
        .split('\n')
        .filter((line) => line.trim() !== '' && !line.startsWith('#'))
        .map((line) => line.split('|').map((field) => field.trim()));
}

function listedNpmPackages() {
    return listedLines()
        .filter(([name]) => name.startsWith('npm:'))
        .map(([name, parts]) => `${name.slice(4)} for ${parts.split(/, */).sort().join(', ')}`)
        .sort();
}

function namedNpmPackages() {
    const parts = new Map();
    for (const folder of packageFolders()) {
        const { dependencies, devDependencies } = readJson(folder, 'package.json');
        const part = partOfDirectory[relative(root, folder).split('/')[0]];
        for (const name of Object.keys({ ...dependencies, ...devDependencies })) {
            parts.set(name, (parts.get(name) ?? new Set()).add(part));
        }
    }
    return [...parts].map(([name, set]) => `${name} for ${[...set].sort().join(', ')}`).sort();
}

// Runs the script as if nothing were installed, with programs that record their arguments.
function namesThatWouldBeInstalled(...parts) {
    const bin = mkdtempSync(join(tmpdir(), 'vexamesh-dependencies-'));
    try {
        const noted = join(bin, 'noted');
        writeFileSync(join(bin, 'dpkg-query'), '#!/bin/sh\n', { mode: 0o755 });
        writeFileSync(join(bin, 'apt-get'), `#!/bin/sh\necho "$@" >>"${noted}"\n`, { mode: 0o755 });
        writeFileSync(join(bin, 'sudo'), '#!/bin/sh\n"$@"\n', { mode: 0o755 });
        const run = spawnSync('sh', [join(root, 'cmake/install-dependencies.sh'), ...parts], {
            encoding: 'utf8',
            env: { ...process.env, PATH: `${bin}:${process.env.PATH}` },
        });
        assert.equal(run.status, 0, run.stderr);
        const install = readFileSync(noted, 'utf8').split('\n').find((line) => line.startsWith('install'));
        return install.split(' ').slice(1).filter((word) => !word.startsWith('-'));
    } finally {
        rmSync(bin, { recursive: true });
    }
}

test('every line says what needs the package and why', () => {
    for (const fields of listedLines()) {
        assert.equal(fields.length, 3, fields.join(' | '));
        assert.ok(fields.every((field) => field !== ''), fields.join(' | '));
    }
});

test('the list names the npm packages of every package.json under the part that needs them', () => {
    assert.deepEqual(listedNpmPackages(), namedNpmPackages());
});

test('every package.json asks for exact versions and has a matching lock file', () => {
    assert.notEqual(packageFolders().length, 0);
    for (const folder of packageFolders()) {
        const { dependencies, devDependencies } = readJson(folder, 'package.json');
        const lock = readJson(folder, 'package-lock.json').packages;
        for (const [name, version] of Object.entries({ ...dependencies, ...devDependencies })) {
            assert.match(version, exactVersion, `${name} in ${folder}`);
            assert.equal(lock[`node_modules/${name}`]?.version, version, `${name} in ${folder}`);
        }
    }
});

test('no lock file contains an address, each contains the checksum of every package', () => {
    for (const folder of packageFolders()) {
        assert.match(readFileSync(join(folder, '.npmrc'), 'utf8'), /^omit-lockfile-registry-resolved=true$/m, folder);
        for (const [path, entry] of Object.entries(readJson(folder, 'package-lock.json').packages)) {
            assert.equal(entry.resolved, undefined, `${path} in ${folder}`);
            if (path !== '') {
                assert.match(entry.version, exactVersion, `${path} in ${folder}`);
                assert.match(entry.integrity, /^sha512-/, `${path} in ${folder}`);
            }
        }
    }
});

test('the script installs the Debian packages of the chosen parts and nothing from npm', () => {
    for (const part of ['library', 'tool', 'tests', 'lint', 'bench', 'docs']) {
        const expected = listedLines()
            .filter(([name, parts]) => !name.startsWith('npm:') && parts.split(/, */).includes(part))
            .map(([name]) => name);
        assert.deepEqual(namesThatWouldBeInstalled(part), expected, part);
    }
});
