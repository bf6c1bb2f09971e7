import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readdirSync, readFileSync, statSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';

const source = process.env.VEXAMESH_SOURCE;
const read = (...path) => readFileSync(join(...path), 'utf8');

test('the package has the version of the library', () => {
    const { version } = JSON.parse(read(source, 'npm/package.json'));
    assert.match(read(source, 'CMakeLists.txt'), new RegExp(`project\\(vexaMesh VERSION ${version} `));
});

test('the archive has at most 200 KB', () => {
    const [archive] = readdirSync('build').filter((name) => name.endsWith('.tgz'));
    const { size } = statSync(join('build', archive));
    console.log(`figure: ${size} bytes`);
    assert.ok(size <= 200000, `${size} bytes`);
});

test('the archive holds what is exported, the module and the licence', () => {
    const [archive] = readdirSync('build').filter((name) => name.endsWith('.tgz'));
    const files = execFileSync('tar', ['-tf', join('build', archive)], { encoding: 'utf8' }).trim().split('\n').sort();
    assert.deepEqual(files, ['LICENSE', 'README.md', 'package.json', 'src/gltfTransform.d.ts', 'src/gltfTransform.js',
        'src/index.d.ts', 'src/index.js', 'src/module.js', 'src/wasm.js'].map((name) => `package/${name}`));
});

// The blocks of the README, each a program of its own.
for (const [i, [, code]] of [...read(source, 'npm/README.md').matchAll(/```js\n([^]*?)```/g)].entries()) {
    test(`program ${i + 1} of the README runs and prints what it says`, () => {
        const printed = execFileSync(process.execPath, ['--input-type=module', '-e', code], { encoding: 'utf8' });
        const promised = [...code.matchAll(/console\.log\(.*\/\/ (.*)/g)].map(([, text]) => `${text}\n`).join('');
        assert.equal(printed, promised);
    });
}
