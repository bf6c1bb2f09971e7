// Strips, edges and meshes of typed arrays. index.d.ts describes every function.

import { call, callWithProgress, clear, forgetMeshes, result, textResult } from './module.js';

export const RESTART_INDEX = 0xffffffff;

const restartOf = new Map([[Uint8Array, 0xff], [Uint16Array, 0xffff], [Uint32Array, RESTART_INDEX]]);

/// Indices as the module takes them. In strips, the largest number of a narrow type restarts.
function toIndices(values, what, isStrip = false) {
    if (values instanceof Uint32Array) {
        return values;
    }
    if (!Array.isArray(values) && !(ArrayBuffer.isView(values) && !(values instanceof DataView))) {
        throw new TypeError(`${what}: expected an array of indices`);
    }
    const restart = isStrip ? restartOf.get(values.constructor) : undefined;
    return Uint32Array.from(values, (index, i) => {
        if (!Number.isInteger(index) || index < 0 || index > RESTART_INDEX) {
            throw new RangeError(`${what}: ${index} at ${i} is not an index`);
        }
        return index === restart ? RESTART_INDEX : index;
    });
}

function toType(indices, Type = Uint32Array) {
    const restart = restartOf.get(Type);
    if (restart === undefined) {
        throw new TypeError('type: expected Uint8Array, Uint16Array or Uint32Array');
    }
    if (Type === Uint32Array) {
        return indices;
    }
    return Type.from(indices, (index) => {
        if (index >= restart && index !== RESTART_INDEX) {
            throw new RangeError(`type: index ${index} does not fit into ${Type.name}, in which ${restart} restarts strips`);
        }
        return index === RESTART_INDEX ? restart : index;
    });
}

function numberOf(name, value, low, high = RESTART_INDEX) {
    if (!Number.isInteger(value) || value < low || value > high) {
        throw new RangeError(`${name}: expected an integer from ${low} to ${high}, not ${value}`);
    }
    return value;
}

function isDegenerate(join) {
    if (join !== 'restart' && join !== 'degenerate') {
        throw new RangeError(`join: expected "restart" or "degenerate", not ${JSON.stringify(join)}`);
    }
    return join === 'degenerate';
}

function searchOf({
    effort = 2, microsecondsPerTriangle = 10, annealingPasses = 0, seed = 1, maxTriangles = 0, forVertexCache = false,
}) {
    return [
        microsecondsPerTriangle,
        numberOf('seed', seed, 0) | 0,
        numberOf('maxTriangles', maxTriangles, 0) | 0,
        forVertexCache ? 1 : 0,
        numberOf('annealingPasses', annealingPasses, 0) | 0,
        numberOf('effort', effort, 0, 4),
    ];
}

/// Runs a function and frees the module's results.
function taking(read) {
    try {
        return read();
    } finally {
        clear();
    }
}

export function strip(triangles, options = {}) {
    const indices = toIndices(triangles, 'triangles');
    const [microseconds, seed, maxTriangles, forVertexCache, annealingPasses, effort] = searchOf(options);
    const degenerate = isDegenerate(options.join ?? 'restart');
    return taking(() => {
        callWithProgress(options.onProgress, 'vexaStrip', indices, indices.length, effort, degenerate ? 1 : 0, microseconds,
            seed, maxTriangles, forVertexCache, annealingPasses);
        return toType(result(0, Uint32Array), options.type);
    });
}

export function strips(triangles, options = {}) {
    const indices = toIndices(triangles, 'triangles');
    const [microseconds, seed, maxTriangles, forVertexCache, annealingPasses, effort] = searchOf(options);
    return taking(() => {
        callWithProgress(options.onProgress, 'vexaStrips', indices, indices.length, effort, microseconds, seed, maxTriangles,
            forVertexCache, annealingPasses);
        const all = toType(result(0, Uint32Array), options.type);
        let begin = 0;
        return Array.from(result(1, Uint32Array), (count) => all.slice(begin, begin += count));
    });
}

export function unstrip(strip, options = {}) {
    const indices = toIndices(strip, 'strip', true);
    return taking(() => {
        call('vexaUnstrip', indices, indices.length);
        return toType(result(0, Uint32Array), options.type);
    });
}

export function minIndexCount(triangles, options = {}) {
    const indices = toIndices(triangles, 'triangles');
    const degenerate = isDegenerate(options.join ?? 'restart');
    const sweeps = numberOf('sweeps', options.sweeps ?? 32, 0);
    return taking(() => {
        callWithProgress(options.onProgress, 'vexaMinIndexCount', indices, indices.length, degenerate ? 1 : 0, sweeps);
        return result(0, Float64Array)[0];
    });
}

export function edges(triangles) {
    const indices = toIndices(triangles, 'triangles');
    return taking(() => {
        call('vexaEdges', indices, indices.length);
        return { vertices: result(0, Uint32Array), triangleCounts: result(1, Uint32Array) };
    });
}

const statsNames = ['indexCount', 'vertexCount', 'triangleCount', 'degenerateCount', 'restartCount', 'stripCount',
    'maxStripTriangles', 'swapCount', 'cacheMisses', 'indicesPerTriangle', 'acmr', 'atvr'];

export function analyze(indices, { mode = 'triangles', cache = 'fifo', cacheSize = 16 } = {}) {
    if (mode !== 'triangles' && mode !== 'strip') {
        throw new RangeError(`mode: expected "triangles" or "strip", not ${JSON.stringify(mode)}`);
    }
    if (cache !== 'fifo' && cache !== 'lru') {
        throw new RangeError(`cache: expected "fifo" or "lru", not ${JSON.stringify(cache)}`);
    }
    const list = toIndices(indices, 'indices', mode === 'strip');
    return taking(() => {
        call('vexaAnalyze', list, list.length, mode === 'strip' ? 1 : 0, cache === 'lru' ? 1 : 0,
            numberOf('cacheSize', cacheSize, 3));
        const values = result(0, Float64Array);
        return Object.fromEntries(statsNames.map((name, i) => [name, values[i]]));
    });
}

// ---- Meshes

const componentTypes = new Map([[Int8Array, 5120], [Uint8Array, 5121], [Int16Array, 5122], [Uint16Array, 5123],
    [Int32Array, 5124], [Uint32Array, 5125], [Float32Array, 5126]]);
const arrayTypes = new Map([...componentTypes].map(([Type, code]) => [code, Type]));

function addMesh(mesh) {
    const attributes = Object.entries(mesh?.attributes ?? {});
    if (attributes.length === 0) {
        throw new TypeError('mesh: expected { indices, attributes } with at least one attribute');
    }
    for (const [name, { array, itemSize }] of attributes) {
        const type = componentTypes.get(array?.constructor);
        if (type === undefined) {
            throw new TypeError(`attribute ${name}: no attribute can hold ${array?.constructor?.name ?? array}`);
        }
        if (!Number.isInteger(itemSize) || itemSize < 1 || array.length % itemSize !== 0) {
            throw new RangeError(`attribute ${name}: ${array.length} numbers are not elements of ${itemSize}`);
        }
        call('vexaAddAttribute', name, type, itemSize, array, array.length / itemSize);
    }
    const [, first] = attributes[0];
    const count = first.array.length / first.itemSize;
    const indices = mesh.indices == null ? Uint32Array.from({ length: count }, (_, i) => i)
                                         : toIndices(mesh.indices, 'indices');
    call('vexaAddMesh', indices, indices.length);
}

function readMesh(first) {
    const attributes = {};
    textResult(first + 1).split('\n').slice(0, -1).forEach((line, i) => {
        const [, type, itemSize, name] = /^(\d+) (\d+) (.*)$/.exec(line);
        attributes[name] = { array: result(first + 2 + i, arrayTypes.get(Number(type))), itemSize: Number(itemSize) };
    });
    return { indices: result(first, Uint32Array), attributes };
}

/// Runs a function that describes meshes to the module, which must not keep them if one is refused.
function withMeshes(read) {
    try {
        return taking(read);
    } finally {
        forgetMeshes();
    }
}

export function weld(mesh, { tolerance, compare = [] } = {}) {
    if (tolerance !== undefined && !(Number.isFinite(tolerance) && tolerance >= 0)) {
        throw new RangeError(`tolerance: expected a number of at least 0, not ${tolerance}`);
    }
    return withMeshes(() => {
        addMesh(mesh);
        call('vexaWeld', tolerance ?? -1, compare.join('\n'));
        return { mesh: readMesh(1), remap: result(0, Uint32Array) };
    });
}

const identity = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1];

export function merge(instances, { fillMissing = false } = {}) {
    return withMeshes(() => {
        const placements = instances.flatMap(({ mesh, placement = identity }, i) => {
            if (placement.length !== 16) {
                throw new RangeError(`placement of instance ${i}: expected 16 numbers, column by column`);
            }
            addMesh(mesh);
            return Array.from(placement);
        });
        call('vexaMerge', Float32Array.from(placements), fillMissing ? 1 : 0);
        return readMesh(0);
    });
}
