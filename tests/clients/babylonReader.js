// Reads files with Babylon.js, without a screen.

import { readFileSync } from 'node:fs';
import { NullEngine } from '@babylonjs/core/Engines/nullEngine.js';
import { Material } from '@babylonjs/core/Materials/material.js';
import { Scene } from '@babylonjs/core/scene.js';
import { LoadAssetContainerAsync } from '@babylonjs/core/Loading/sceneLoader.js';
import { KHR_materials_variants as Variants } from '@babylonjs/loaders/glTF/2.0/Extensions/KHR_materials_variants.js';
import '@babylonjs/loaders/glTF/2.0/index.js';
import { partOf } from './scene.js';

// Browsers have it, and the loader reports its progress with it.
globalThis.XMLHttpRequest ??= class {};

const modes = new Map([
    [Material.TriangleFillMode, 4], [Material.LineListDrawMode, 1], [Material.TriangleStripDrawMode, 5],
    [Material.TriangleFanDrawMode, 6],
]);

const values = (data) => [...data].map((value) => Math.fround(value));

function partsOf(mesh) {
    const count = mesh.getTotalVertices();
    const positions = values(mesh.getVerticesData('position'));
    const attributes = mesh.getVerticesDataKinds()
        .filter((kind) => !mesh.getVertexBuffer(kind).getIsInstanced())
        .map((kind) => [kind, mesh.getVerticesData(kind)])
        .map(([kind, data]) => [kind, data.length / count, values(data)]);
    const targets = mesh.morphTargetManager?.numTargets ?? 0;
    for (let i = 0; i < targets; ++i) {
        attributes.push([`target ${i}`, 3, values(mesh.morphTargetManager.getTarget(i).getPositions())]);
    }
    const world = mesh.computeWorldMatrix(true);
    const instances = mesh.hasThinInstances ? mesh.thinInstanceGetWorldMatrices() : [];
    const matrices = instances.length > 0 ? instances.map((matrix) => matrix.multiply(world)) : [world];
    const given = mesh.getIndices();
    const indices = given?.length > 0 ? given : [...Array(count).keys()];
    const mode = modes.get(mesh.material.fillMode);
    return matrices.map((matrix) => partOf({ mode, indices, positions, attributes, matrix: matrix.asArray() }));
}

const unique = (texts) => [...new Set(texts)].sort();

function materialTexts(meshes) {
    return unique(meshes.map(({ material: { name, albedoColor, albedoTexture } }) => `${name} ${albedoColor} ` +
        (albedoTexture ? `${albedoTexture.uOffset} ${albedoTexture.uScale} ${albedoTexture.wrapU}` : 'without texture')));
}

function findingsOf({ meshes, skeletons, animationGroups, rootNodes }, shown) {
    const variants = rootNodes.flatMap((node) => Variants.GetAvailableVariants(node) ?? []);
    const findings = {
        materials: materialTexts(shown),
        skeletons: skeletons.map(({ bones }) => bones.map((bone) =>
            `${bone.name} ${values(bone.getAbsoluteInverseBindMatrix().asArray())}`)),
        skinned: unique(shown.map(({ skeleton }) => String(skeleton !== null))),
        animations: animationGroups.map(({ name, targetedAnimations }) =>
            [name, unique(targetedAnimations.map(({ animation }) =>
                `${animation.targetProperty} ${animation.getKeys().map(({ value }) => value).join(' ')}`))]),
        morphs: unique(meshes.map(({ morphTargetManager: manager }) =>
            Array.from({ length: manager?.numTargets ?? 0 }, (_, i) =>
                `${manager.getTarget(i).name} ${manager.getTarget(i).influence}`).join(', '))),
        variants: [],
    };
    for (const variant of unique(variants)) {
        rootNodes.forEach((node) => Variants.SelectVariant(node, variant));
        findings.variants.push([variant, materialTexts(shown)]);
    }
    return findings;
}

/// The parts of a file, and everything else that Babylon.js finds in it.
export async function readScene(file) {
    const engine = new NullEngine();
    try {
        const scene = new Scene(engine);
        scene.useRightHandedSystem = true;
        const container = await LoadAssetContainerAsync(new Uint8Array(readFileSync(file)), scene,
            { pluginExtension: '.glb' });
        container.addAllToScene();
        const shown = container.meshes.filter((mesh) => mesh.getTotalVertices() > 0);
        return { parts: shown.flatMap(partsOf), findings: findingsOf(container, shown) };
    } finally {
        engine.dispose();
    }
}
