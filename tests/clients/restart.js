// Restart indices, as CesiumJS and the two extensions have them, turned into what any reader draws.

import assert from 'node:assert/strict';
import getMeshPrimitives from '@cesium/engine/Source/Scene/getMeshPrimitives.js';
import ModelUtility from '@cesium/engine/Source/Scene/Model/ModelUtility.js';
import { indicesOf, readGlb, writeGlb } from './glb.js';

export const restartExtension = 'KHR_mesh_primitive_restart';
export const groupExtension = 'EXT_mesh_primitive_restart';

const modesThatRestart = [2, 3, 5, 6];

export function groupsOf({ json }) {
    return json.meshes.flatMap((mesh) => mesh.extensions?.[groupExtension]?.primitiveGroups ?? []);
}

/// The parts of indices between restart indices, as first position and length.
export function runs(indices) {
    const restart = 2 ** (8 * indices.BYTES_PER_ELEMENT) - 1;
    const ends = [...indices.keys()].filter((i) => indices[i] === restart);
    return [...ends, indices.length].map((end, i) => {
        const first = i === 0 ? 0 : ends[i - 1] + 1;
        return [first, end - first];
    });
}

/// A primitive for each run of indices.
function cutAtRestarts(glb, primitive) {
    const { accessors } = glb.json;
    if (primitive.indices === undefined || !modesThatRestart.includes(primitive.mode)) {
        return [primitive];
    }
    const indices = indicesOf(glb, primitive.indices);
    const parts = runs(indices);
    return parts.length === 1 ? [primitive] : parts.map(([first, count]) => {
        const accessor = { ...accessors[primitive.indices], count };
        accessor.byteOffset = (accessor.byteOffset ?? 0) + first * indices.BYTES_PER_ELEMENT;
        accessors.push(accessor);
        return { ...primitive, indices: accessors.length - 1 };
    });
}

function rewritten(file, primitivesOf) {
    const glb = readGlb(file);
    for (const mesh of glb.json.meshes) {
        mesh.primitives = primitivesOf(mesh).flatMap((primitive) => cutAtRestarts(glb, primitive));
        delete mesh.extensions;
    }
    delete glb.json.extensionsUsed;
    delete glb.json.extensionsRequired;
    writeGlb(file, glb);
    return file;
}

/// Changes a file so that any reader draws what CesiumJS draws, which puts the groups in the place of their primitives.
export function drawnByGroups(file) {
    const { json } = readGlb(file);
    assert.deepEqual(json.extensionsUsed, [groupExtension]);
    assert.equal(json.extensionsRequired, undefined);
    const grouped = json.meshes.filter((mesh) => mesh.extensions?.[groupExtension]);
    assert.ok(grouped.length > 0, `${file} has no groups of strips`);
    for (const mesh of grouped) {
        assert.ok(getMeshPrimitives(mesh).length < mesh.primitives.length, 'CesiumJS ignores the groups');
    }
    return rewritten(file, getMeshPrimitives);
}

/// Changes a file so that any reader draws what one draws that knows the extension for restart indices.
export function drawnByRestarts(file) {
    const glb = readGlb(file);
    const { json } = glb;
    assert.deepEqual([json.extensionsUsed, json.extensionsRequired], [[restartExtension], [restartExtension]]);
    assert.ok(json.meshes.every((mesh) => mesh.extensions === undefined));
    ModelUtility.checkSupportedExtensions(json.extensionsRequired); // throws what CesiumJS does not know
    return rewritten(file, (mesh) => mesh.primitives);
}
