import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { analyze, edges, minIndexCount, RESTART_INDEX, strip, strips, unstrip } from 'vexamesh';
import { grid, sorted } from './shapes.js';

const triangles = grid(40, 30);

for (const effort of [0, 1, 2, 3, 4]) {
    test(`strip at effort ${effort} draws every triangle once, in its winding`, () => {
        const indices = strip(triangles, { effort, microsecondsPerTriangle: 1 });
        assert.ok(indices instanceof Uint32Array);
        assert.ok(indices.length < triangles.length * 0.45);
        assert.deepEqual(sorted(unstrip(indices)), sorted(triangles));
    });
}

test('strip returns the indices that the command-line tool writes', () => {
    const directory = mkdtempSync(join(tmpdir(), 'vexamesh-npm-'));
    try {
        const file = join(directory, 'grid.off');
        const faces = Array.from({ length: triangles.length / 3 }, (_, i) => `3 ${triangles.slice(3 * i, 3 * i + 3).join(' ')}`);
        const points = Array.from({ length: 41 * 31 }, (_, i) => `${i % 41} ${Math.floor(i / 41)} 0`);
        writeFileSync(file, `OFF\n${points.length} ${faces.length} 0\n${points.join('\n')}\n${faces.join('\n')}\n`);
        for (const effort of [0, 1, 2, 3]) {
            const out = join(directory, 'strips.gltf');
            execFileSync(process.env.VEXAMESH_PROGRAM, ['strip', file, '-o', out, '--effort', effort, '--all-strips']);
            const { accessors, bufferViews, meshes: [{ primitives: [primitive] }] } = JSON.parse(readFileSync(out));
            const { bufferView, byteOffset = 0, count } = accessors[primitive.indices];
            const bytes = readFileSync(join(directory, 'strips.bin'));
            const begin = (bufferViews[bufferView].byteOffset ?? 0) + byteOffset;
            const written = new Uint16Array(bytes.buffer.slice(bytes.byteOffset + begin, bytes.byteOffset + begin + 2 * count));
            assert.deepEqual(strip(triangles, { effort, join: 'degenerate', type: Uint16Array }), written, `effort ${effort}`);
        }
    } finally {
        rmSync(directory, { recursive: true });
    }
});

test('strip takes arrays of every kind and does not change them', () => {
    const list = [0, 1, 2, 2, 1, 3];
    for (const input of [list, Uint8Array.from(list), Uint16Array.from(list), Uint32Array.from(list)]) {
        assert.deepEqual(Array.from(strip(input)), [0, 1, 2, 3]);
        assert.deepEqual(Array.from(input), list);
    }
    assert.equal(strip([]).length, 0);
});

test('strip joins by restart indices of the chosen type, or by repeated vertices', () => {
    const apart = [0, 1, 2, 3, 4, 5];
    assert.deepEqual(Array.from(strip(apart)), [0, 1, 2, RESTART_INDEX, 3, 4, 5]);
    const narrow = strip(apart, { type: Uint16Array });
    assert.ok(narrow instanceof Uint16Array);
    assert.deepEqual(Array.from(narrow), [0, 1, 2, 65535, 3, 4, 5]);
    assert.deepEqual(sorted(unstrip(narrow)), sorted(apart));
    assert.ok(!strip(apart, { join: 'degenerate' }).includes(RESTART_INDEX));
});

test('strips returns each strip by itself', () => {
    const all = strips(triangles, { maxTriangles: 10 });
    assert.ok(all.every((one) => unstrip(one).length <= 3 * 10));
    assert.deepEqual(sorted(all.flatMap((one) => Array.from(unstrip(one)))), sorted(triangles));
});

test('fewer annealing passes save fewer indices', () => {
    const mixed = grid(60, 60);
    for (let i = 0; i < mixed.length; i += 6) {
        if (Math.imul(i / 6 + 1, 0x9e3779b1) < 0) {
            const [a, b, c, , d] = mixed.subarray(i, i + 6);
            mixed.set([a, b, d, a, d, c], i); // along the other diagonal
        }
    }
    const lengthOf = (options) => strip(mixed, options).length;
    assert.ok(lengthOf({ effort: 3, annealingPasses: 10 }) < lengthOf({ effort: 2 }));
    assert.ok(lengthOf({ effort: 3 }) < lengthOf({ effort: 3, annealingPasses: 10 }));
    assert.equal(strips(mixed, { effort: 3, annealingPasses: 88 }).length, strips(mixed, { effort: 3 }).length);
});

test('minIndexCount is at most the length of any strip', () => {
    const bound = minIndexCount(triangles);
    assert.ok(bound > triangles.length / 3);
    assert.ok(bound <= strip(triangles, { effort: 3 }).length);
    assert.ok(minIndexCount(triangles, { join: 'degenerate' }) <= strip(triangles, { join: 'degenerate' }).length);
});

test('edges of a grid', () => {
    const { vertices, triangleCounts } = edges(grid(2, 1));
    assert.equal(vertices.length, 2 * triangleCounts.length);
    assert.deepEqual(Array.from(triangleCounts).sort(), [1, 1, 1, 1, 1, 1, 2, 2, 2]);
    assert.deepEqual(Array.from(vertices.slice(0, 6)), [0, 1, 1, 3, 0, 3]);
});

test('analyze counts strips and cache misses', () => {
    const stats = analyze([0, 1, 2, 3, RESTART_INDEX], { mode: 'strip' });
    assert.equal(stats.triangleCount, 2);
    const narrow = analyze(Uint16Array.from([0, 1, 2, 65535, 3, 4, 5]), { mode: 'strip' });
    assert.deepEqual([narrow.stripCount, narrow.restartCount, narrow.vertexCount], [2, 1, 6]);
    assert.equal(analyze(triangles).indicesPerTriangle, 3);
    assert.ok(analyze(strip(triangles, { forVertexCache: true }), { mode: 'strip' }).acmr < analyze(triangles).acmr);
});

test('a search reports its progress, and ends when it is told to', () => {
    const large = grid(200, 200);
    const fractions = [];
    const whole = strip(large, { effort: 3, onProgress: (fraction) => { fractions.push(fraction); } });
    assert.ok(fractions.length > 1);
    assert.ok(fractions.every((fraction, i) => fraction >= (fractions[i - 1] ?? 0) && fraction <= 1));
    const early = strip(large, { effort: 3, onProgress: () => false });
    assert.ok(early.length >= whole.length);
    assert.deepEqual(sorted(unstrip(early)), sorted(large));
});

test('what onProgress throws leaves the search, and the next one works', () => {
    const large = grid(100, 100);
    assert.throws(() => strip(large, { onProgress: () => { throw new TypeError('enough'); } }), new TypeError('enough'));
    assert.deepEqual(sorted(unstrip(strip(large))), sorted(large));
});

test('wrong arguments are errors that say what and where', () => {
    assert.throws(() => strip([0, 1]), /2 indices are not a whole number of triangles/);
    assert.throws(() => strip([0, 1, -1]), { name: 'RangeError', message: 'triangles: -1 at 2 is not an index' });
    assert.throws(() => strip([0, 1, 4294967295]), /index 2 is 4294967295, which is reserved/);
    assert.throws(() => strip('012'), { name: 'TypeError', message: 'triangles: expected an array of indices' });
    assert.throws(() => strip(triangles, { effort: 5 }), /effort: expected an integer from 0 to 4, not 5/);
    assert.throws(() => strip(triangles, { join: 'none' }), /join: expected "restart" or "degenerate", not "none"/);
    assert.throws(() => strip([0, 1, 65535], { type: Uint16Array }), /index 65535 does not fit into Uint16Array/);
    assert.throws(() => analyze(triangles, { cacheSize: 2 }), /cacheSize: expected an integer from 3/);
});

test('a large mesh fits: the memory grows', () => {
    const large = grid(1000, 500);
    const indices = strip(large, { effort: 1 });
    assert.equal(unstrip(indices).length, large.length);
});
