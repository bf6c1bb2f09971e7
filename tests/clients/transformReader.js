// Reads files with glTF-Transform.

import { NodeIO, Primitive } from '@gltf-transform/core';
import { ALL_EXTENSIONS } from '@gltf-transform/extensions';
import { convertPrimitiveToTriangles } from '@gltf-transform/functions';
import { Part, transform } from './geometry.js';
import { runs } from './restart.js';

const { LINES, TRIANGLES, TRIANGLE_STRIP, TRIANGLE_FAN } = Primitive.Mode;

function worldPositions(accessor, matrix) {
    return transform(matrix, Array.from({ length: accessor.getCount() }, (_, i) => accessor.getElement(i, [])).flat());
}

/// The toolkit's way from strips to lists takes no restart indices: each run becomes a primitive.
function primitivesOf(primitive) {
    const indices = primitive.getIndices();
    if (![TRIANGLE_STRIP, TRIANGLE_FAN].includes(primitive.getMode())) {
        return [primitive];
    }
    if (indices === null) {
        convertPrimitiveToTriangles(primitive);
        return [primitive];
    }
    const array = indices.getArray();
    return runs(array).map(([first, count]) => {
        const run = primitive.clone().setIndices(indices.clone().setArray(array.slice(first, first + count)));
        convertPrimitiveToTriangles(run);
        return run;
    });
}

function partOf(primitive, positions) {
    const part = new Part(positions);
    const indices = primitive.getIndices()?.getArray() ?? [...Array(positions.length / 3).keys()];
    const add = { [TRIANGLES]: [3, part.addTriangle], [LINES]: [2, part.addLine] }[primitive.getMode()];
    if (add !== undefined) {
        const [size, method] = add;
        for (let i = 0; i + size <= indices.length; i += size) {
            method.apply(part, Array.from(indices.slice(i, i + size)));
        }
    }
    return part;
}

export async function readGltf(file) {
    const document = await new NodeIO().registerExtensions(ALL_EXTENSIONS).read(file);
    const parts = [];
    const scene = document.getRoot().getDefaultScene() ?? document.getRoot().listScenes()[0];
    scene.traverse((node) => {
        const known = new Map();
        for (const primitive of node.getMesh()?.listPrimitives() ?? []) {
            const accessor = primitive.getAttribute('POSITION');
            const positions = known.get(accessor) ?? worldPositions(accessor, node.getWorldMatrix());
            known.set(accessor, positions);
            parts.push(...primitivesOf(primitive).map((run) => partOf(run, positions)));
        }
    });
    return parts;
}
