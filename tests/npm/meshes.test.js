import assert from 'node:assert/strict';
import { test } from 'node:test';
import { merge, weld } from 'vexamesh';

const corners = Float32Array.from([0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 1, 1, 0]);
const loose = { attributes: { position: { array: corners, itemSize: 3 } } };

test('weld joins equal vertices of triangles without indices', () => {
    const { mesh, remap } = weld(loose);
    assert.deepEqual(Array.from(mesh.indices), [0, 1, 2, 2, 1, 3]);
    assert.deepEqual(Array.from(remap), [0, 1, 2, 2, 1, 3]);
    assert.deepEqual(mesh.attributes, { position: { array: Float32Array.from([0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0]), itemSize: 3 } });
});

test('weld compares all attributes, those that are named, or positions within a tolerance', () => {
    const colour = { array: Uint8Array.from([0, 1, 2, 3, 4, 5]), itemSize: 1 };
    const coloured = { attributes: { ...loose.attributes, colour } };
    assert.equal(weld(coloured).mesh.attributes.colour.array.length, 6);
    const { mesh } = weld(coloured, { compare: ['position'] });
    assert.deepEqual(mesh.attributes.colour, { array: Uint8Array.from([0, 1, 2, 5]), itemSize: 1 });
    const moved = corners.map((value) => value + (Math.round(value * 7) % 2) * 1e-3);
    moved[0] += 0.01;
    assert.equal(weld({ attributes: { position: { array: moved, itemSize: 3 } } }, { tolerance: 0.1 }).mesh.attributes.position.array.length, 12);
});

test('merge places meshes, column by column, and reverses mirrored windings', () => {
    const { mesh } = weld(loose);
    const mirror = [-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 0, 0, 1];
    const both = merge([{ mesh }, { mesh, placement: mirror }]);
    assert.deepEqual(Array.from(both.indices.slice(0, 6)), [0, 1, 2, 2, 1, 3]);
    assert.deepEqual(Array.from(both.attributes.position.array.slice(12)), [10, 0, 0, 9, 0, 0, 10, 1, 0, 9, 1, 0]);
    const [a, b, c] = both.indices.slice(6, 9);
    const at = (vertex) => Array.from(both.attributes.position.array.slice(3 * vertex, 3 * vertex + 2));
    const [p, q, r] = [at(a), at(b), at(c)];
    assert.ok((q[0] - p[0]) * (r[1] - p[1]) - (q[1] - p[1]) * (r[0] - p[0]) > 0);
});

test('merge fills missing attributes only if asked to', () => {
    const plain = { indices: [0, 1, 2], attributes: { position: { array: corners.slice(0, 9), itemSize: 3 } } };
    const weight = { array: Float32Array.from([1, 2, 3]), itemSize: 1 };
    const weighted = { ...plain, attributes: { ...plain.attributes, weight } };
    assert.throws(() => merge([{ mesh: weighted }, { mesh: plain }]), /weight/);
    const merged = merge([{ mesh: weighted }, { mesh: plain }], { fillMissing: true });
    assert.deepEqual(Array.from(merged.attributes.weight.array), [1, 2, 3, 0, 0, 0]);
});

test('a mesh that is refused leaves nothing to the next call', () => {
    assert.throws(() => weld({ indices: [0, 1, 9], attributes: loose.attributes }), /out of range/);
    assert.throws(() => weld({ attributes: { position: { array: new Float64Array(3), itemSize: 3 } } }),
        { name: 'TypeError', message: 'attribute position: no attribute can hold Float64Array' });
    assert.throws(() => weld({ attributes: { position: { array: new Float32Array(4), itemSize: 3 } } }), /4 numbers are not elements of 3/);
    assert.throws(() => merge([{ mesh: loose, placement: [1] }]), /placement of instance 0: expected 16 numbers/);
    assert.throws(() => weld({ indices: [0, 1, 2] }), /at least one attribute/);
    assert.throws(() => merge([]), Error);
    assert.equal(weld(loose).mesh.indices.length, 6);
});
