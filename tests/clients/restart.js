// Groups of strips with restart indices between them, which none of the clients knows.

import { indicesOf, readGlb, writeGlb } from './glb.js';

const extension = 'KHR_mesh_primitive_restart';

export function groupsOf({ json }) {
    return json.meshes.flatMap((mesh) => mesh.extensions?.[extension]?.primitiveGroups ?? []);
}

/// The parts of indices between restart indices, as first position and length.
function runs(indices) {
    const restart = 2 ** (8 * indices.BYTES_PER_ELEMENT) - 1;
    const ends = [...indices.keys()].filter((i) => indices[i] === restart);
    return [...ends, indices.length].map((end, i) => {
        const first = i === 0 ? 0 : ends[i - 1] + 1;
        return [first, end - first];
    });
}

/// The primitives that a reader who knows the extension draws for a group: the indices of the group, cut at each
/// restart index, in the place of the primitives' own.
function primitivesOfGroup(glb, mesh, { primitives, indices: accessorNumber }) {
    const { accessors } = glb.json;
    const indices = indicesOf(glb, accessorNumber);
    return runs(indices).map(([first, count]) => {
        const accessor = { ...accessors[accessorNumber], count };
        accessor.byteOffset = (accessor.byteOffset ?? 0) + first * indices.BYTES_PER_ELEMENT;
        accessors.push(accessor);
        return { ...mesh.primitives[primitives[0]], indices: accessors.length - 1 };
    });
}

/// Changes a file so that any reader draws what one who knows the extension does.
export function drawnByGroups(file) {
    const glb = readGlb(file);
    if (groupsOf(glb).length === 0) {
        throw new Error(`${file} has no groups of strips`);
    }
    for (const mesh of glb.json.meshes) {
        const groups = mesh.extensions?.[extension]?.primitiveGroups ?? [];
        const grouped = new Set(groups.flatMap(({ primitives }) => primitives));
        mesh.primitives = [
            ...groups.flatMap((group) => primitivesOfGroup(glb, mesh, group)),
            ...mesh.primitives.filter((_, i) => !grouped.has(i)),
        ];
        delete mesh.extensions;
    }
    delete glb.json.extensionsUsed;
    writeGlb(file, glb);
    return file;
}
