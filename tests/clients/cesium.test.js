// CesiumJS draws the edges that the tool marks: those that it writes as lines, and others in silhouette.

import assert from 'node:assert/strict';
import { basename } from 'node:path';
import { test } from 'node:test';
import ModelUtility from '@cesium/engine/Source/Scene/Model/ModelUtility.js';
import { drawnEdges, edgeVisibility } from './cesiumEdges.js';
import { readGlb, writeGlb } from './glb.js';
import { models, runTool } from './tool.js';
import { readGltf } from './transformReader.js';

const classes = 'border,crease,non-manifold';

const textOf = (ends) => ends.map((end) => [...end].join(' ')).sort().join(' to ');

/// The edges that CesiumJS always draws, and those in silhouette.
function drawn(file) {
    const edges = drawnEdges(readGlb(file));
    const textsOf = (isHard) => new Set(edges.filter((edge) => edge.isHard === isHard).map(({ ends }) => textOf(ends)));
    return { edges, hard: textsOf(true), silhouettes: textsOf(false) };
}

/// The lines of a file in the coordinates of its meshes.
async function linesOf(file) {
    const glb = readGlb(file);
    for (const node of glb.json.nodes) {
        for (const member of ['matrix', 'translation', 'rotation', 'scale']) {
            delete node[member];
        }
    }
    writeGlb(file, glb);
    const parts = await readGltf(file);
    return new Set(parts.flatMap((part) => part.lines.map((line) =>
        textOf(line.map((vertex) => part.position(vertex))))));
}

const dot = (a, b) => a[0] * b[0] + a[1] * b[1] + a[2] * b[2];

function checkNormals({ ends: [a, b], normals }) {
    const along = [b[0] - a[0], b[1] - a[1], b[2] - a[2]];
    for (const normal of normals) {
        assert.ok(Math.abs(dot(normal, normal) - 1) < 1e-5);
        assert.ok(Math.abs(dot(normal, along)) < 1e-4 * Math.sqrt(dot(along, along)));
    }
}

test('knows the extension', () => {
    assert.doesNotThrow(() => ModelUtility.checkSupportedExtensions([edgeVisibility]));
});

for (const model of models) {
    test(`${basename(model)}: edges --visibility`, async () => {
        const lines = await linesOf(runTool('edges', model, '--classes', classes));
        const { edges, hard, silhouettes } = drawn(runTool('edges', model, '--visibility', '--classes', classes));
        assert.ok(silhouettes.size > 0);
        assert.deepEqual(hard, lines);
        assert.deepEqual([...silhouettes].filter((edge) => lines.has(edge)), []);
        edges.filter(({ isHard }) => !isHard).forEach(checkNormals);
    });
}

test('notices a mark that is wrong', async () => {
    const lines = await linesOf(runTool('edges', models[1], '--classes', classes));
    const file = runTool('edges', models[1], '--visibility', '--classes', classes);
    const glb = readGlb(file);
    const { visibility } = glb.json.meshes[0].primitives[0].extensions[edgeVisibility];
    const { bufferView, byteOffset = 0 } = glb.json.accessors[visibility];
    glb.binary[(glb.json.bufferViews[bufferView].byteOffset ?? 0) + byteOffset] ^= 0xaa;
    writeGlb(file, glb);
    assert.notDeepEqual(drawn(file).hard, lines);
});
