// Transforms of glTF-Transform documents. gltfTransform.d.ts describes them.

import { strip as stripOf, unstrip as unstripOf } from './index.js';

const TRIANGLES = 4;
const TRIANGLE_STRIP = 5;

/// Replaces the indices of every primitive of a mode, once for all primitives that share an accessor.
///
/// `convert` returns the new indices, or null to leave a primitive as it is.
function replaceIndices(document, from, to, convert) {
    const converted = new Map();
    const primitives = document.getRoot().listMeshes().flatMap((mesh) => mesh.listPrimitives());
    for (const primitive of new Set(primitives)) {
        const vertexCount = primitive.getAttribute('POSITION')?.getCount();
        if (primitive.getMode() !== from || vertexCount === undefined) {
            continue;
        }
        const old = primitive.getIndices();
        const key = old ?? primitive.getAttribute('POSITION');
        if (!converted.has(key)) {
            const list = old?.getArray() ?? Uint32Array.from({ length: vertexCount }, (_, i) => i);
            const indices = convert(list, vertexCount < 65536 ? Uint16Array : Uint32Array, old !== null);
            converted.set(key, indices && document.createAccessor(old?.getName() ?? '')
                .setType('SCALAR').setArray(indices).setBuffer((old ?? key).getBuffer()));
        }
        if (converted.get(key) !== null) {
            primitive.setMode(to).setIndices(converted.get(key));
        }
    }
    // An accessor that nothing but the root refers to is left over.
    for (const [key, accessor] of converted) {
        if (accessor !== null && key.listParents().length === 1) {
            key.dispose();
        }
    }
}

// glTF allows no restart indices: strips are joined by repeated vertices.
export function strip(options = {}) {
    const { all = false, ...search } = options;
    return Object.defineProperty((document) => {
        replaceIndices(document, TRIANGLES, TRIANGLE_STRIP, (list, Type, hasIndices) => {
            const indices = stripOf(list, { ...search, join: 'degenerate' });
            const isShorter = indices.length < (hasIndices ? list.length : 0);
            return indices.length > 0 && (all || isShorter) ? Type.from(indices) : null;
        });
    }, 'name', { value: 'strip' });
}

export function unstrip() {
    return Object.defineProperty((document) => {
        replaceIndices(document, TRIANGLE_STRIP, TRIANGLES,
            (list, Type) => Type.from(unstripOf(Uint32Array.from(list))));
    }, 'name', { value: 'unstrip' });
}
