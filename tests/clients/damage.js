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

/// Changes the first four bytes of an attribute, or of another accessor.
function withChangedValue(find) {
    return (file) => {
        const glb = readGlb(file);
        const { bufferView, byteOffset = 0 } = glb.json.accessors[find(glb.json)];
        const begin = (glb.json.bufferViews[bufferView].byteOffset ?? 0) + byteOffset;
        glb.binary[begin] ^= 1;
        glb.binary[begin + 3] ^= 0x40; // in a float, a bit of the exponent
        writeGlb(file, glb);
        return file;
    };
}

const attribute = (name) => withChangedValue((json) => json.meshes[0].primitives[0].attributes[name]);

/// For strips of models with a feature each.
export const featureDamages = {
    'a joint of another number': { feature: 'skinned', damage: attribute('JOINTS_0') },
    'a changed weight': { feature: 'skinned', damage: attribute('WEIGHTS_0') },
    'a changed inverse bind matrix': {
        feature: 'skinned', damage: withChangedValue((json) => json.skins[0].inverseBindMatrices),
    },
    'a changed key of an animation': {
        feature: 'skinned', damage: withChangedValue((json) => json.animations[0].samplers[0].output),
    },
    'a changed morph target': {
        feature: 'morphed', damage: withChangedValue((json) => json.meshes[0].primitives[0].targets[1].POSITION),
    },
    'a changed weight of a morph target': {
        feature: 'morphed',
        damage: (file) => withJson(file, (json) => {
            json.meshes[0].weights[0] = 0.75;
        }),
    },
    'a lost sparse value': {
        feature: 'sparse',
        damage: (file) => withJson(file, (json) => {
            delete json.accessors[json.meshes[0].primitives[0].attributes.POSITION].sparse;
        }),
    },
    'a changed normal': { feature: 'quantised', damage: attribute('NORMAL') },
    'a variant of another material': {
        feature: 'variant',
        damage: (file) => withJson(file, (json) => {
            const [first, second] = json.meshes[0].primitives[0].extensions.KHR_materials_variants.mappings;
            [first.material, second.material] = [second.material, first.material];
        }),
    },
    'a moved instance': {
        feature: 'instanced',
        damage: withChangedValue((json) =>
            json.nodes[0].extensions.EXT_mesh_gpu_instancing.attributes.TRANSLATION),
    },
    'a changed coordinate of a texture': { feature: 'textured', damage: attribute('TEXCOORD_0') },
    'a moved texture': {
        feature: 'textured',
        damage: (file) => withJson(file, (json) => {
            const { extensions } = json.materials[0].pbrMetallicRoughness.baseColorTexture;
            extensions.KHR_texture_transform.offset = [0.25, 0];
        }),
    },
};

/// Adds a member that glTF does not define, which causes a warning.
export function withUnknownMember(file) {
    return withJson(file, (json) => {
        json.asset.colour = 'blue';
    });
}
