// The tool, the models of its demo and some more, and its output for each of them.

import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, extname, join } from 'node:path';
import { writeFeatureModel } from './featureModels.js';
import { edges, mirrored } from './geometry.js';
import { drawnByGroups, drawnByRestarts } from './restart.js';
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

/// Small ones, with features that those of the demo lack: strips, fans, skins, morph targets, external files.
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

/// Writes a model for a single test.
export function writeModel(name, text) {
    const file = join(directory, name);
    writeFileSync(file, text);
    return file;
}

/// Writes a model with a feature; see `featureModels.js`.
export function featureModel(name) {
    return writeFeatureModel(name, join(directory, `${name}.glb`));
}

/// Runs the tool and returns the file that it wrote.
export function runTool(...args) {
    return runToolFor('.glb', args);
}

/// The parts of a model; OBJ files, which `readGltf` cannot read, are read by three.
export function readModel(model, readGltf) {
    return extname(model) === '.obj' ? readObj(model) : readGltf(model);
}

/// The same with shared vertices. The tool chooses which corners of an OBJ file share one.
function readShared(model, readGltf) {
    return readGltf(extname(model) === '.obj' ? runTool('merge', model) : model);
}

const help = execFileSync(program, ['strip', '--help'], { encoding: 'utf8' });
const joins = help.match(/--join TEXT:\{([^}]+)\}/)[1].split(',');

/// The demo's models; the others are too small for groups, and some become one strip.
const isLarge = (model) => models.includes(model);

const verbs = [
    // Readers that do not know the extension for restart indices must not read those.
    ...joins.filter((join) => join !== 'restart').map((join) => ({
        name: `strip --join ${join}`,
        args: (model) => ['strip', model, '--join', join],
        expected: readModel,
    })),
    {
        name: 'strip --join restart-fallback, drawn by groups',
        args: (model) => ['strip', model, '--join', 'restart-fallback'],
        expected: readModel,
        change: drawnByGroups,
        isFor: isLarge,
    },
    {
        name: 'strip --join restart, cut into strips',
        args: (model) => ['strip', model, '--join', 'restart', '--fans', '6'],
        expected: readModel,
        change: drawnByRestarts,
        isFor: isLarge,
    },
    {
        name: 'strip --fans 5',
        args: (model) => ['strip', model, '--fans', '5'],
        expected: readModel,
    },
    {
        name: 'unstrip of strips in groups',
        args: (model) => ['unstrip', runTool('strip', model, '--join', 'restart-fallback')],
        expected: readModel,
    },
    {
        name: 'unstrip of strips with restart indices',
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
    { name: 'edges --visibility', args: (model) => ['edges', model, '--visibility'], expected: readModel },
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

/// Every output to check: a title, the model, a function that writes the file and one that gives its expected parts.
export const outputs = [...models, ...furtherModels].flatMap((model) =>
    verbs
        .filter(({ isFor = () => true }) => isFor(model))
        .map(({ name, args, expected, extension = '.glb', change = (file) => file }) => ({
            title: `${basename(model)}: ${name}`,
            model,
            write: () => change(runToolFor(extension, args(model))),
            expected: (readGltf) => expected(model, readGltf),
        })));
