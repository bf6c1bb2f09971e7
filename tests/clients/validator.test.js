// gltf-validator finds no error in the tool's output, and no other issue that the model itself does not have.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { basename, dirname, extname, join } from 'node:path';
import { test } from 'node:test';
import validator from 'gltf-validator';
import { triangleDamages, withUnknownMember } from './damage.js';
import { readGlb } from './glb.js';
import { groupsOf } from './restart.js';
import { models, otherModels, outputs, runTool, writeModel } from './tool.js';

const severities = ['error', 'warning', 'information', 'hint'];

/// Remarks on the contents of OBJ models that the tool keeps: coordinates for textures that its materials do not
/// name, images of any size.
const ofObjModels = [
    /^information UNUSED_OBJECT at \/meshes\/\*\/primitives\/\*\/attributes\/TEXCOORD_0$/,
    /^information IMAGE_NPOT_DIMENSIONS at \/images\/\*$/,
];

/// The tool leaves out primitives without border edges, but neither their nodes nor their materials.
const ofBorders = [
    /^information NODE_EMPTY at \/nodes\/\*$/,
    /^information UNUSED_OBJECT at \/materials\/\*$/,
];

/// The validator does not know the extension whose accessors hold the marks.
const ofMarks = [
    /^information UNSUPPORTED_EXTENSION at \/extensionsUsed\/\*$/,
    /^information UNUSED_OBJECT at \/accessors\/\*$/,
];

/// The accessors of the single strips are unused.
const ofChangedGroups = [/^information UNUSED_OBJECT at \/accessors\/\*$/];

/// The only remarks allowed on groups of strips: the validator does not support them and reports the indices of the
/// groups as unused.
function ofGroups(file) {
    const groups = groupsOf(extname(file) === '.gltf' ? { json: JSON.parse(readFileSync(file)) } : readGlb(file));
    return groups.length === 0 ? [] : [
        'information UNSUPPORTED_EXTENSION at /extensionsUsed/0',
        ...groups.map(({ indices }) => `information UNUSED_OBJECT at /accessors/${indices}`),
    ];
}

/// A copy in a buffer of its own, because the validator reads from the start of the buffer.
const bytesOf = (file) => Uint8Array.from(readFileSync(file));

async function remarks(file) {
    const { issues } = await validator.validateBytes(bytesOf(file), {
        maxIssues: 0,
        externalResourceFunction: async (uri) => bytesOf(join(dirname(file), decodeURIComponent(uri))),
    });
    assert.equal(issues.truncated, false);
    return issues.messages.map(({ severity, code, pointer }) => `${severities[severity]} ${code} at ${pointer}`);
}

/// Numbers are ignored because one primitive may become many.
const withoutNumbers = (remark) => remark.replace(/\/\d+/g, '/*');

const isGltf = (file) => ['.glb', '.gltf'].includes(extname(file));

async function check(file, model, allowed = []) {
    const before = isGltf(model) ? (await remarks(model)).map(withoutNumbers) : [];
    const after = await remarks(file);
    const expected = ofGroups(file);
    assert.deepEqual(before.filter((remark) => remark.startsWith('error')), []);
    assert.deepEqual(expected.filter((remark) => !after.includes(remark)), []);
    const isKnown = (remark) => before.includes(remark) || allowed.some((pattern) => pattern.test(remark));
    assert.deepEqual(after.filter((remark) => !expected.includes(remark) && !isKnown(withoutNumbers(remark))), []);
}

for (const { title, model, write } of outputs) {
    const allowed = [
        ...(extname(model) === '.obj' ? ofObjModels : []),
        ...(title.endsWith('--border') ? ofBorders : []),
        ...(title.endsWith('--visibility') ? ofMarks : []),
        ...(/drawn by groups|cut into strips/.test(title) ? ofChangedGroups : []),
    ];
    test(title, () => check(write(), model, allowed));
}

for (const model of otherModels) {
    test(`${basename(model)}: strip`, () => check(runTool('strip', model), model, ofObjModels));
}

const ply = `ply
format ascii 1.0
element vertex 3
property float x
property float y
property float z
property float u
property float v
property float red
property float green
property float blue
element face 1
property list uchar int vertex_indices
end_header
`;

test('accepts colours that were out of range', () => {
    const model = writeModel('beyond.ply', `${ply}0 0 0 0 0 -5 0 0\n1 0 0 1 0 7 1 0\n0 1 0 0 1 0 0 1\n3 0 1 2\n`);
    return check(runTool('strip', model), model, ofObjModels);
});

test('accepts colours and texture coordinates that were not numbers', () => {
    const model = writeModel('nan.ply', `${ply}0 0 0 nan 0 0 0 0\n1 0 0 1 0 nan 1 0\n0 1 0 0 1 0 0 1\n3 0 1 2\n`);
    return check(runTool('strip', model), model);
});

test('accepts colours that were bytes in text', () => {
    const model = writeModel('bytes.off', 'COFF\n3 1 0\n0 0 0 255 0 0 255\n1 0 0 0 51 0 255\n0 1 0 0 0 9 255\n3 0 1 2\n');
    return check(runTool('strip', model), model);
});

test('notices an index without a vertex', async () => {
    await check(runTool('merge', models[1]), models[1], ofObjModels);
    const file = triangleDamages['an index without a vertex'](runTool('merge', models[1]));
    await assert.rejects(check(file, models[1], ofObjModels), /error ACCESSOR_INDEX_OOB/);
});

test('notices a new warning', async () => {
    await check(runTool('strip', models[0]), models[0]);
    const file = withUnknownMember(runTool('strip', models[0]));
    await assert.rejects(check(file, models[0]), /warning UNEXPECTED_PROPERTY/);
});
