// Babylon.js finds in the tool's output everything that it finds in the models.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { readScene } from './babylonReader.js';
import { testFeatures } from './featureOutputs.js';
import { featureModel, runTool } from './tool.js';

testFeatures({
    readScene,
    // It draws the strips of a group one by one, as it is meant to.
    isExpected: (line) => line.includes('Babylon.js v') || line.includes('EXT_mesh_primitive_restart'),
});

test('refuses restart indices, which it does not know', async () => {
    const file = runTool('strip', featureModel('textured'), '--join', 'restart');
    await assert.rejects(readScene(file), /KHR_mesh_primitive_restart/);
});
