// Small models, and the reports that the tool writes about them.

import { execFileSync } from 'node:child_process';
import { mkdirSync, mkdtempSync, readdirSync, rmSync, symlinkSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, dirname, join } from 'node:path';

function setting(name) {
    const value = process.env[name];
    if (value === undefined) {
        throw new Error(`${name} is not set: run these tests with ctest -R Report`);
    }
    return value;
}

const program = setting('VEXAMESH_PROGRAM');
const directory = mkdtempSync(join(tmpdir(), 'vexamesh-report-'));
process.on('exit', () => rmSync(directory, { recursive: true }));

export const models = setting('VEXAMESH_MODELS');

let files = 0;

/// Writes a report about a model. `facts` is the output of --json.
export function report(model, ...options) {
    const folder = join(directory, String(++files));
    mkdirSync(folder);
    // Named without its directory, which differs between runs and would be visible in the page. The files that it refers
    // to are next to it.
    for (const name of readdirSync(dirname(model))) {
        symlinkSync(join(dirname(model), name), join(folder, name));
    }
    const json = execFileSync(program, ['report', basename(model), '-o', 'report.html', '--json', ...options], {
        cwd: folder,
        stdio: ['ignore', 'pipe', 'inherit'],
        maxBuffer: 1 << 28,
    });
    return { file: join(folder, 'report.html'), facts: JSON.parse(json) };
}

/// Writes an OBJ file of vertices and faces, counted from 0.
export function writeObj(name, vertices, faces, meshName = 'part') {
    const folder = join(directory, `model-${++files}`);
    mkdirSync(folder);
    const file = join(folder, `${name}.obj`);
    const lines = [
        `o ${meshName}`,
        ...vertices.map((vertex) => `v ${vertex.join(' ')}`),
        ...faces.map((face) => `f ${face.map((index) => index + 1).join(' ')}`),
    ];
    writeFileSync(file, `${lines.join('\n')}\n`);
    return file;
}

/// A row of squares starting at `left`: a strip of twice as many triangles.
function addRow(model, left, squares) {
    const first = model.vertices.length;
    for (let i = 0; i <= squares; ++i) {
        model.vertices.push([left + i, 0, 0], [left + i, 1, 0]);
    }
    for (let i = 0; i < squares; ++i) {
        const [a, b, c, d] = [0, 1, 2, 3].map((corner) => first + 2 * i + corner);
        model.faces.push([a, c, b], [b, c, d]);
    }
}

/// Two strips: on the left one of 2 triangles, on the right one of 8.
export function twoStrips() {
    const model = { vertices: [], faces: [] };
    addRow(model, -5, 1);
    addRow(model, 0, 4);
    return writeObj('two-strips', model.vertices, model.faces);
}

/// Strips in every direction: a grid of 60 by 60 squares, cut along either diagonal.
export function wideGrid() {
    const side = 60;
    const vertices = [];
    const faces = [];
    for (let y = 0; y <= side; ++y) {
        for (let x = 0; x <= side; ++x) {
            vertices.push([x, y, Math.sin(x * y)]);
        }
    }
    for (let y = 0; y < side; ++y) {
        for (let x = 0; x < side; ++x) {
            const [a, b, c, d] = [0, 1, side + 1, side + 2].map((step) => y * (side + 1) + x + step);
            faces.push(...((x * 7 + y * 13) % 3 ? [[a, b, c], [c, b, d]] : [[a, b, d], [a, d, c]]));
        }
    }
    return writeObj('grid', vertices, faces);
}

/// A glTF file of a square that the scene shows in two places.
export function placedTwice() {
    const data = Buffer.alloc(4 * 12 + 6 * 2);
    [0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0].forEach((value, i) => data.writeFloatLE(value, 4 * i));
    [0, 1, 2, 2, 1, 3].forEach((value, i) => data.writeUInt16LE(value, 48 + 2 * i));
    const folder = join(directory, `model-${++files}`);
    mkdirSync(folder);
    const file = join(folder, 'twice.gltf');
    writeFileSync(file, JSON.stringify({
        asset: { version: '2.0' },
        buffers: [{ byteLength: data.length, uri: `data:application/octet-stream;base64,${data.toString('base64')}` }],
        bufferViews: [{ buffer: 0, byteLength: 48 }, { buffer: 0, byteOffset: 48, byteLength: 12 }],
        accessors: [
            { bufferView: 0, componentType: 5126, count: 4, type: 'VEC3', min: [0, 0, 0], max: [1, 1, 0] },
            { bufferView: 1, componentType: 5123, count: 6, type: 'SCALAR' },
        ],
        meshes: [{ primitives: [{ attributes: { POSITION: 0 }, indices: 1 }] }],
        nodes: [{ mesh: 0 }, { mesh: 0, translation: [3, 0, 0] }],
        scenes: [{ nodes: [0, 1] }],
        scene: 0,
    }));
    return file;
}

/// Three triangles on one edge.
export function threeWings(meshName) {
    const vertices = [[0, 0, 0], [0, 2, 0], [2, 1, 0], [-2, 1, 0], [0, 1, 2]];
    return writeObj('three-wings', vertices, [[0, 1, 2], [1, 0, 3], [0, 1, 4]], meshName);
}
