// three's loader draws as much of the tool's output as of the model itself.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { readAttentively } from './attentive.js';
import { stripDamages, triangleDamages } from './damage.js';
import { figures } from './geometry.js';
import { readGltf } from './threeReader.js';
import { models, outputs, runTool } from './tool.js';

async function check(file, expected) {
    const actual = figures(await readAttentively(readGltf, file));
    assert.ok(expected.triangles + expected.lines > 0);
    assert.equal(actual.triangles, expected.triangles, 'number of triangles');
    assert.equal(actual.lines, expected.lines, 'number of lines');
    for (const [sum, size] of [['area', 'area'], ['volume', 'largestVolume'], ['length', 'length']]) {
        const difference = Math.abs(actual[sum] - expected[sum]);
        assert.ok(difference <= 1e-6 * expected[size], `${sum}: ${actual[sum]} instead of ${expected[sum]}`);
    }
}

for (const { title, write, expected } of outputs) {
    test(title, async () => check(write(), figures(await expected(readGltf))));
}

const complaints = {
    'a triangle that is wound the other way': /^volume: /,
    'a dropped triangle': /^number of triangles/,
    'an index without a vertex': /^there is no vertex 65534/,
    'a required extension that nobody knows': /EXT_nobody/,
    'a strip without its last index': /^number of triangles/,
    'a strip without its first index': /^number of triangles/,
};

for (const [verb, damages] of [['merge', triangleDamages], ['strip', stripDamages]]) {
    for (const [name, damage] of Object.entries(damages)) {
        test(`notices ${name}`, async () => {
            const expected = figures(await readGltf(runTool(verb, models[1])));
            await check(runTool(verb, models[1]), expected);
            await assert.rejects(check(damage(runTool(verb, models[1])), expected), { message: complaints[name] });
        });
    }
}
