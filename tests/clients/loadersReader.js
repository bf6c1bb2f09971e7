// Reads files with loaders.gl.

import { readFileSync } from 'node:fs';
import { parse } from '@loaders.gl/core';
import { GLTFLoader, postProcessGLTF } from '@loaders.gl/gltf';
import { Matrix4, Quaternion } from '@math.gl/core';
import { partOf } from './scene.js';

const components = { SCALAR: 1, VEC2: 2, VEC3: 3, VEC4: 4, MAT4: 16 };

/// Divisors of normalised integers.
const divisors = new Map([[5120, 127], [5121, 255], [5122, 32767], [5123, 65535]]);

/// It leaves out the gaps between elements, but keeps those of a byteStride at the end.
const rawValues = ({ value, count, type }) => [...value].slice(0, count * components[type]);

function meantValues(accessor) {
    const values = rawValues(accessor);
    const divisor = accessor.normalized ? divisors.get(accessor.componentType) : 1;
    return values.map((value) => (divisor === 1 ? value : Math.max(-1, value / divisor)));
}

function partsOfMesh(mesh, matrix, gltf) {
    return mesh.primitives.map((primitive) => {
        const accessors = [
            ...Object.entries(primitive.attributes),
            ...(primitive.targets ?? []).flatMap((target, i) =>
                Object.entries(target).map(([name, accessor]) => [`target ${i} ${name}`, gltf.accessors[accessor]])),
        ];
        const { POSITION } = primitive.attributes;
        return partOf({
            mode: primitive.mode ?? 4,
            indices: primitive.indices ? rawValues(primitive.indices) : [...Array(POSITION.count).keys()],
            positions: meantValues(POSITION),
            attributes: accessors.map(([name, accessor]) => [name, components[accessor.type], rawValues(accessor)]),
            matrix,
        });
    });
}

function nodeMatrix({ matrix, translation = [0, 0, 0], rotation = [0, 0, 0, 1], scale = [1, 1, 1] }) {
    return matrix ? new Matrix4(matrix) : new Matrix4().translate(translation)
        .multiplyRight(new Matrix4().fromQuaternion(new Quaternion(rotation))).scale(scale);
}

function instanceMatrices(node, gltf) {
    const attributes = node.extensions?.EXT_mesh_gpu_instancing?.attributes;
    if (attributes === undefined) {
        return [new Matrix4()];
    }
    const [translation, rotation, scale] = ['TRANSLATION', 'ROTATION', 'SCALE'].map((name) =>
        gltf.accessors[attributes[name]]);
    const element = (accessor, i) => rawValues(accessor)
        .slice(i * components[accessor.type], (i + 1) * components[accessor.type]);
    return Array.from({ length: translation.count }, (_, i) => nodeMatrix({
        translation: element(translation, i), rotation: element(rotation, i), scale: element(scale, i),
    }));
}

function partsOfNode(node, parent, gltf) {
    const matrix = parent.clone().multiplyRight(nodeMatrix(node));
    return [
        ...(node.mesh ? instanceMatrices(node, gltf).flatMap((instance) =>
            partsOfMesh(node.mesh, matrix.clone().multiplyRight(instance), gltf)) : []),
        ...(node.children ?? []).flatMap((child) => partsOfNode(child, matrix, gltf)),
    ];
}

/// The material of each variant, by name.
function variantTexts(json) {
    const variants = json.extensions?.KHR_materials_variants?.variants ?? [];
    return [...new Set(json.meshes.flatMap(({ primitives }) => primitives.flatMap(({ extensions }) =>
        (extensions?.KHR_materials_variants?.mappings ?? []).flatMap((mapping) => mapping.variants.map((variant) =>
            `${variants[variant].name}: ${json.materials[mapping.material].name}`)))))].sort();
}

function findingsOf({ json }, gltf) {
    return {
        materials: (json.materials ?? []).map((material) => JSON.stringify(material)).sort(),
        textures: json.textures ?? [],
        samplers: json.samplers ?? [],
        images: (gltf.images ?? []).map(({ bufferView }) => Buffer.from(bufferView.buffer.arrayBuffer,
            bufferView.buffer.byteOffset + (bufferView.byteOffset ?? 0), bufferView.byteLength).toString('base64')),
        skins: (gltf.skins ?? []).map(({ joints, inverseBindMatrices }) =>
            [joints.map(({ name }) => name), rawValues(inverseBindMatrices)]),
        animations: (json.animations ?? []).map(({ name, channels, samplers }) => [name, channels,
            samplers.map(({ input, output }) => [input, output].map((accessor) => rawValues(gltf.accessors[accessor])))]),
        weights: json.meshes.map(({ weights, extras }) => [weights, extras]),
        variants: variantTexts(json),
    };
}

/// The parts of a file, and everything else that loaders.gl finds in it.
export async function readScene(file) {
    const bytes = Uint8Array.from(readFileSync(file));
    const loaded = await parse(bytes.buffer, GLTFLoader, { gltf: { loadImages: false }, worker: false });
    const gltf = postProcessGLTF(loaded);
    const parts = gltf.scene.nodes.flatMap((node) => partsOfNode(node, new Matrix4(), gltf));
    return { parts, findings: findingsOf(loaded, gltf) };
}
