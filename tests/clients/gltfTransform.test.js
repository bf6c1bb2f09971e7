// What glTF-Transform reads from the tool's files: the model's triangles, each with its winding, or its edges.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { readAttentively } from './attentive.js';
import { stripDamages, triangleDamages } from './damage.js';
import { differences } from './geometry.js';
import { models, outputs, runTool } from './tool.js';
import { readGltf } from './transformReader.js';

async function check(file, expected) {
    assert.ok(expected.some(({ triangles, lines }) => triangles.length + lines.length > 0));
    const { missing, added } = differences(expected, await readAttentively(readGltf, file));
    assert.equal(`${missing} missing, ${added} added`, '0 missing, 0 added');
}

for (const { title, write, expected } of outputs) {
    test(title, async () => check(write(), await expected(readGltf)));
}

const complaints = {
    'a triangle that is wound the other way': /1 missing, 1 added/,
    'a dropped triangle': /1 missing, 0 added/,
    'an index without a vertex': /^there is no vertex 65534/,
    'a required extension that nobody knows': /EXT_nobody/,
    'a strip without its last index': /1 missing, 0 added/,
    'a strip without its first index': /\d{4} missing, \d{4} added/,
};

for (const [verb, damages] of [['merge', triangleDamages], ['strip', stripDamages]]) {
    for (const [name, damage] of Object.entries(damages)) {
        test(`notices ${name}`, async () => {
            const expected = await readGltf(runTool(verb, models[1]));
            await check(runTool(verb, models[1]), expected);
            await assert.rejects(check(damage(runTool(verb, models[1])), expected), { message: complaints[name] });
        });
    }
}
