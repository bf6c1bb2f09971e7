import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { test } from 'node:test';

test('TypeScript accepts the uses in example.ts and refuses the wrong ones', () => {
    const run = spawnSync(process.execPath, ['node_modules/typescript/bin/tsc', '--noEmit', '--strict', '--target', 'es2022',
        '--module', 'nodenext', '--skipLibCheck', 'example.ts'], { encoding: 'utf8' });
    assert.equal(run.stdout, '');
    assert.equal(run.status, 0);
});
