// The tool, the models of its demo and some more, and what it makes of each of them.

import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, extname, join } from 'node:path';
import { edges, mirrored } from './geometry.js';
import { drawnByGroups } from './restart.js';
import { readObj } from './threeReader.js';

function setting(name) {
    const value = process.env[name];
    if (value === undefined) {
        throw new Error(`${name} is not set: run these tests with ctest -R Clients`);
    }
    return value;
}

const program = setting('VEXAMESH_PROGRAM');
const modelDirectory = setting('VEXAMESH_MODELS');

function modelsOf(list) {
    return readFileSync(list, 'utf8')
        .split('\n')
        .filter((line) => line !== '')
        .map((line) => join(modelDirectory, line));
}

export const models = modelsOf(setting('VEXAMESH_DEMO_MODELS'));

/// Small ones, with what those of the demo have not: strips, fans, skins, morph targets, files beside them.
const furtherModels = modelsOf(new URL('models.txt', import.meta.url));

/// In formats that only the tool reads here.
export const otherModels = modelsOf(new URL('otherModels.txt', import.meta.url));

const directory = mkdtempSync(join(tmpdir(), 'vexamesh-clients-'));
process.on('exit', () => rmSync(directory, { recursive: true }));

let runs = 0;

function runToolFor(extension, args) {
    const file = join(directory, `${++runs}${extension}`);
    execFileSync(program, [...args, '-o', file], { stdio: ['ignore', 'ignore', 'inherit'] });
    return file;
}

/// A model of a test's own.
export function writeModel(name, text) {
    const file = join(directory, name);
    writeFileSync(file, text);
    return file;
}

/// Runs the tool and returns the file that it wrote.
export function runTool(...args) {
    return runToolFor('.glb', args);
}

/// What a model draws; an OBJ file, which `readGltf` can't read, is read by three.
function readModel(model, readGltf) {
    return extname(model) === '.obj' ? readObj(model) : readGltf(model);
}

/// The same with shared vertices. Which corners of an OBJ file share one is the tool's choice.
function readShared(model, readGltf) {
    return readGltf(extname(model) === '.obj' ? runTool('merge', model) : model);
}

const help = execFileSync(program, ['strip', '--help'], { encoding: 'utf8' });
const joins = help.match(/--join TEXT:\{([^}]+)\}/)[1].split(',');

const verbs = [
    ...joins.map((join) => ({
        name: `strip --join ${join}`,
        args: (model) => ['strip', model, '--join', join],
        expected: readModel,
    })),
    {
        name: 'strip --join restart, drawn by groups',
        args: (model) => ['strip', model, '--join', 'restart'],
        expected: readModel,
        change: drawnByGroups,
        isFor: (model) => models.includes(model), // the others are too small for groups
    },
    {
        name: 'strip --fans 5',
        args: (model) => ['strip', model, '--fans', '5'],
        expected: readModel,
    },
    {
        name: 'unstrip of strips in groups',
        args: (model) => ['unstrip', runTool('strip', model, '--join', 'restart')],
        expected: readModel,
    },
    {
        name: 'unstrip of fans to .gltf',
        args: (model) => ['unstrip', runTool('strip', model, '--fans', '5')],
        extension: '.gltf',
        expected: readModel,
    },
    {
        name: 'edges',
        args: (model) => ['edges', model],
        expected: async (model, readGltf) => edges(await readShared(model, readGltf)),
    },
    {
        name: 'edges --border',
        args: (model) => ['edges', model, '--border'],
        expected: async (model, readGltf) => edges(await readShared(model, readGltf), true),
    },
    { name: 'merge', args: (model) => ['merge', model], expected: readModel },
    {
        name: 'merge with its mirror image',
        args: (model) => ['merge', model, model, '--scale', '-1,1,1', '--translate', '10,0,0'],
        expected: async (model, readGltf) => {
            const parts = await readModel(model, readGltf);
            return [...parts, ...mirrored(parts, 10)];
        },
    },
];

/// Everything that the tool is to write: a title, the model, the way to make the file and what it is to draw.
export const outputs = [...models, ...furtherModels].flatMap((model) =>
    verbs
        .filter(({ isFor = () => true }) => isFor(model))
        .map(({ name, args, expected, extension = '.glb', change = (file) => file }) => ({
            title: `${basename(model)}: ${name}`,
            model,
            write: () => change(runToolFor(extension, args(model))),
            expected: (readGltf) => expected(model, readGltf),
        })));
