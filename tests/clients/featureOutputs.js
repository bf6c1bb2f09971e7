// The tool's output for the models with a feature each, and the checks of every reader on it.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { readAttentively } from './attentive.js';
import { featureDamages, stripDamages, triangleDamages } from './damage.js';
import { featureNames } from './featureModels.js';
import { edges } from './geometry.js';
import { checkPositions, checkScene } from './scene.js';
import { featureModel, runTool } from './tool.js';

/// Verbs that keep everything but the order of the triangles.
const faithful = {
    'strip --join degenerate': (model) => runTool('strip', model),
    'strip --join none': (model) => runTool('strip', model, '--join', 'none'),
    'strip --join restart-fallback': (model) => runTool('strip', model, '--join', 'restart-fallback'),
    'strip --fans 5': (model) => runTool('strip', model, '--fans', '5'),
    'unstrip of strips with restart indices': (model) =>
        runTool('unstrip', runTool('strip', model, '--join', 'restart')),
    'unstrip of separate strips': (model) => runTool('unstrip', runTool('strip', model, '--join', 'none')),
    'strip of joined vertices': (model) => runTool('strip', model, '--weld'),
};

const complaints = {
    'a triangle that is wound the other way': /1 missing, 1 added/,
    'a dropped triangle': /1 missing, 0 added/,
    'a strip without its last index': /missing, \d+ added/,
    'a strip without its first index': /missing, \d+ added/,
};

/// \param readScene    of the reader
/// \param isExpected   whether a warning of it is harmless
/// \param overlooked   damages that it cannot notice
export function testFeatures({ readScene, isExpected, overlooked = [] }) {
    const read = (file) => readAttentively(readScene, file, isExpected);

    async function checkMerged(file, { parts, findings }) {
        const actual = await read(file);
        checkPositions(actual.parts, parts);
        assert.deepEqual(actual.findings.variants, findings.variants);
        assert.deepEqual(actual.findings.materials, findings.materials);
    }

    for (const name of featureNames) {
        for (const [title, write] of Object.entries(faithful)) {
            test(`${name}: ${title}`, async () => {
                const model = featureModel(name);
                checkScene(await read(write(model)), await read(model));
            });
        }
        test(`${name}: edges`, async () => {
            const model = featureModel(name);
            checkPositions((await read(runTool('edges', model))).parts, edges((await read(model)).parts));
        });
        test(`${name}: merge`, async () => {
            const model = featureModel(name);
            await checkMerged(runTool('merge', model), await read(model));
        });
    }

    for (const [verb, damages] of [['unstrip', triangleDamages], ['strip', stripDamages]]) {
        for (const [title, damage] of Object.entries(damages).filter(([title]) => !overlooked.includes(title))) {
            test(`notices ${title}`, async () => {
                const model = featureModel('textured');
                const file = damage(runTool(verb, model));
                await assert.rejects(async () => checkScene(await read(file), await read(model)),
                    complaints[title] && { message: complaints[title] });
            });
        }
    }

    for (const [title, { feature, damage }] of Object.entries(featureDamages)) {
        test(`notices ${title}`, async () => {
            const model = featureModel(feature);
            const file = runTool('strip', model);
            checkScene(await read(file), await read(model));
            damage(file);
            await assert.rejects(async () => checkScene(await read(file), await read(model)));
        });
    }

    test('notices a lost variant of merged models', async () => {
        const model = featureModel('variant');
        const file = featureDamages['a variant of another material'].damage(runTool('merge', model));
        await assert.rejects(checkMerged(file, await read(model)));
    });
}
