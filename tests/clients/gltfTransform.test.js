// glTF-Transform reads the model's triangles with their winding, or its edges, from the tool's output.

import assert from 'node:assert/strict';
import { basename } from 'node:path';
import { test } from 'node:test';
import { readAttentively } from './attentive.js';
import { stripDamages, triangleDamages } from './damage.js';
import { edgeVisibility } from './cesiumEdges.js';
import { differences } from './geometry.js';
import { readGlb } from './glb.js';
import { groupExtension, restartExtension } from './restart.js';
import { models, outputs, readModel, runTool } from './tool.js';
import { readGltf } from './transformReader.js';

/// It draws the strips of a group one by one, and marked triangles without their edges, as it is meant to.
const isOptional = (line) =>
    [groupExtension, edgeVisibility].some((name) => line === `Missing optional extension, "${name}".`);

async function check(file, expected) {
    assert.ok(expected.some(({ triangles, lines }) => triangles.length + lines.length > 0));
    const { missing, added } = differences(expected, await readAttentively(readGltf, file, isOptional));
    assert.equal(`${missing} missing, ${added} added`, '0 missing, 0 added');
}

for (const { title, write, expected } of outputs) {
    test(title, async () => check(write(), await expected(readGltf)));
}

for (const model of models) {
    test(`${basename(model)}: strip --join restart, as it is`, async () => {
        const file = runTool('strip', model, '--join', 'restart');
        assert.deepEqual(readGlb(file).json.extensionsRequired, [restartExtension]);
        await check(file, await readModel(model, readGltf));
    });
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
