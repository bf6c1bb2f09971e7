// Output of the tool with one fault each, to verify that the checks of the clients notice it.

import { indicesOf, readGlb, replaceIndices, writeGlb } from './glb.js';

function withIndices(file, change) {
    const glb = readGlb(file);
    const accessor = glb.json.meshes[0].primitives[0].indices;
    replaceIndices(glb, accessor, change(indicesOf(glb, accessor)));
    writeGlb(file, glb);
    return file;
}

function withJson(file, change) {
    const glb = readGlb(file);
    change(glb.json);
    writeGlb(file, glb);
    return file;
}

/// For a file with lists of triangles.
export const triangleDamages = {
    'a triangle that is wound the other way': (file) =>
        withIndices(file, (indices) => {
            [indices[0], indices[1]] = [indices[1], indices[0]];
            return indices;
        }),
    'a dropped triangle': (file) => withIndices(file, (indices) => indices.subarray(3)),
    'an index without a vertex': (file) =>
        withIndices(file, (indices) => {
            indices[indices.length - 1] = 2 ** (8 * indices.BYTES_PER_ELEMENT) - 2;
            return indices;
        }),
    'a required extension that nobody knows': (file) =>
        withJson(file, (json) => {
            json.extensionsUsed = ['EXT_nobody'];
            json.extensionsRequired = ['EXT_nobody'];
        }),
};

/// For a file with strips.
export const stripDamages = {
    'a strip without its last index': (file) => withIndices(file, (indices) => indices.subarray(0, -1)),
    'a strip without its first index': (file) => withIndices(file, (indices) => indices.subarray(1)),
};

/// Adds a member that glTF does not define, which causes a warning.
export function withUnknownMember(file) {
    return withJson(file, (json) => {
        json.asset.colour = 'blue';
    });
}
