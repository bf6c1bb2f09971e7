// Compares scenes: parts as in geometry.js, of which each has in `values` a text per vertex with all of its attributes
// and morph targets, and a list of texts for everything else that a reader finds.

import assert from 'node:assert/strict';
import { differences, Part, transform } from './geometry.js';

/// A text per vertex.
///
/// \param attributes [name, components, values] of each
function vertexTexts(attributes, count) {
    const sorted = [...attributes].sort(([a], [b]) => (a < b ? -1 : 1));
    return Array.from({ length: count }, (_, vertex) => sorted
        .map(([name, width, values]) => `${name} ${values.slice(vertex * width, (vertex + 1) * width).join(' ')}`)
        .join(', '));
}

/// The triangles or lines of a primitive.
///
/// \param mode of glTF
export function partOf({ mode, indices, positions, attributes, matrix }) {
    const part = new Part(transform(matrix, positions));
    part.values = vertexTexts(attributes, positions.length / 3);
    const at = (i) => indices[i];
    const count = indices.length;
    for (let i = 0; mode === 1 && i + 1 < count; i += 2) {
        part.addLine(at(i), at(i + 1));
    }
    for (let i = 0; mode === 4 && i + 2 < count; i += 3) {
        part.addTriangle(at(i), at(i + 1), at(i + 2));
    }
    for (let i = 0; mode === 5 && i + 2 < count; ++i) {
        part.addTriangle(at(i), at(i + 1 + (i & 1)), at(i + 2 - (i & 1)));
    }
    for (let i = 0; mode === 6 && i + 2 < count; ++i) {
        part.addTriangle(at(0), at(i + 1), at(i + 2));
    }
    return part;
}

/// How often each triangle occurs, by the attributes of its corners from the smallest on.
function tally(parts) {
    const counts = new Map();
    for (const { triangles, values } of parts) {
        for (const triangle of triangles) {
            const texts = triangle.map((vertex) => values[vertex]);
            const first = texts.indexOf([...texts].sort()[0]);
            const key = [0, 1, 2].map((i) => texts[(first + i) % 3]).join(' | ');
            counts.set(key, (counts.get(key) ?? 0) + 1);
        }
    }
    return [...counts].sort();
}

export function checkPositions(actual, expected) {
    assert.ok(expected.some(({ triangles, lines }) => triangles.length + lines.length > 0));
    const { missing, added } = differences(expected, actual);
    assert.equal(`${missing} missing, ${added} added`, '0 missing, 0 added');
}

export function checkScene(actual, expected) {
    checkPositions(actual.parts, expected.parts);
    assert.deepEqual(tally(actual.parts), tally(expected.parts));
    assert.deepEqual(actual.findings, expected.findings);
}
