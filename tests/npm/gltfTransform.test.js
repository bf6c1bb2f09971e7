import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Document, NodeIO, Primitive } from '@gltf-transform/core';
import { strip, unstrip } from 'vexamesh/gltf-transform';
import { unstrip as trianglesOf } from 'vexamesh';
import { grid, gridPositions, sorted } from './shapes.js';

const { TRIANGLES, TRIANGLE_STRIP, LINES } = Primitive.Mode;

function gridDocument(...triangleLists) {
    const document = new Document();
    const buffer = document.createBuffer();
    const position = document.createAccessor().setType('VEC3').setArray(gridPositions(20, 20)).setBuffer(buffer);
    const mesh = document.createMesh();
    for (const list of triangleLists) {
        const indices = document.createAccessor('faces').setType('SCALAR').setArray(Uint16Array.from(list)).setBuffer(buffer);
        mesh.addPrimitive(document.createPrimitive().setAttribute('POSITION', position).setIndices(indices));
    }
    document.createScene().addChild(document.createNode().setMesh(mesh));
    return document;
}

const primitivesOf = (document) => document.getRoot().listMeshes()[0].listPrimitives();

test('strip turns lists into strips with the same triangles, and unstrip turns them back', async () => {
    const document = gridDocument(grid(20, 20));
    await document.transform(strip({ effort: 2 }));
    const read = await new NodeIO().readBinary(await new NodeIO().writeBinary(document));
    const [primitive] = primitivesOf(read);
    assert.equal(primitive.getMode(), TRIANGLE_STRIP);
    const indices = primitive.getIndices().getArray();
    assert.ok(indices instanceof Uint16Array);
    assert.ok(indices.length < 2400 * 0.45);
    assert.ok(!indices.includes(65535));
    assert.deepEqual(sorted(trianglesOf(indices)), sorted(grid(20, 20)));
    await read.transform(unstrip());
    assert.equal(primitive.getMode(), TRIANGLES);
    assert.deepEqual(sorted(primitive.getIndices().getArray()), sorted(grid(20, 20)));
    assert.equal(read.getRoot().listAccessors().length, 2);
});

test('primitives that share indices share the strips', async () => {
    const document = gridDocument(grid(20, 20), grid(20, 20));
    const [first, second] = primitivesOf(document);
    second.getIndices().dispose();
    second.setIndices(first.getIndices());
    await document.transform(strip());
    assert.equal(first.getIndices(), second.getIndices());
    assert.equal(document.getRoot().listAccessors().length, 2);
});

test('lists that strips would make longer, other modes and triangles without indices stay', async () => {
    const apart = Array.from({ length: 30 }, (_, i) => i);
    const document = gridDocument(apart, [0, 1, 1, 2], [0, 1, 2]);
    const [list, lines, without] = primitivesOf(document);
    lines.setMode(LINES);
    without.setIndices(null);
    await document.transform(strip());
    assert.deepEqual([list, lines, without].map((primitive) => primitive.getMode()), [TRIANGLES, LINES, TRIANGLES]);
    assert.equal(without.getIndices(), null);
    await document.transform(strip({ all: true }));
    assert.equal(list.getMode(), TRIANGLE_STRIP);
    assert.deepEqual(sorted(trianglesOf(list.getIndices().getArray())), sorted(apart));
    assert.equal(without.getMode(), TRIANGLE_STRIP);
});

test('options reach the search, and its errors reach the caller', async () => {
    const document = gridDocument(grid(20, 20));
    await assert.rejects(document.transform(strip({ effort: 9 })), /effort: expected an integer from 0 to 4, not 9/);
    assert.equal(primitivesOf(document)[0].getMode(), TRIANGLES);
});
