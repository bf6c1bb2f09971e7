// Small models, each with a feature of glTF that the models from elsewhere lack or that one of them has alone.

import { writeGlb } from './glb.js';

const arrays = { Int8Array: 5120, Uint8Array: 5121, Int16Array: 5122, Uint16Array: 5123, Float32Array: 5126 };
const components = { SCALAR: 1, VEC2: 2, VEC3: 3, VEC4: 4, MAT4: 16 };
const picture = Buffer.from('iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg==',
    'base64');

/// Squares in a row of rows.
const size = 6;
const places = Array.from({ length: (size + 1) ** 2 }, (_, i) => [i % (size + 1), Math.floor(i / (size + 1))]);

class Model {
    constructor() {
        this.json = {
            asset: { version: '2.0' },
            scene: 0,
            scenes: [{ nodes: [0] }],
            nodes: [{ name: 'grid', mesh: 0, translation: [1, 2, 3], rotation: [0, 0.6, 0, 0.8] }],
            meshes: [{ primitives: [] }],
            accessors: [],
            bufferViews: [],
        };
        this.binary = Buffer.alloc(0);
        const indices = places.filter(([x, y]) => x < size && y < size).flatMap(([x, y]) => {
            const corner = y * (size + 1) + x;
            const above = corner + size + 1;
            return [corner, corner + 1, above, corner + 1, above + 1, above];
        });
        this.json.meshes[0].primitives.push({
            attributes: {
                POSITION: this.addVertices('VEC3', new Float32Array(places.flatMap(([x, y]) => [x, y, x * y / 8]))),
                TEXCOORD_0: this.addVertices('VEC2', new Float32Array(places.flatMap(([x, y]) => [x / size, y / size]))),
            },
            indices: this.add('SCALAR', new Uint16Array(indices), { target: 34963 }),
        });
    }

    get primitive() {
        return this.json.meshes[0].primitives[0];
    }

    addView(bytes, members = {}) {
        this.binary = Buffer.concat([this.binary, Buffer.alloc(-this.binary.length & 3)]);
        this.json.bufferViews.push({
            buffer: 0, byteOffset: this.binary.length, byteLength: bytes.byteLength, ...members,
        });
        this.binary = Buffer.concat([this.binary, Buffer.from(bytes.buffer, bytes.byteOffset, bytes.byteLength)]);
        return this.json.bufferViews.length - 1;
    }

    add(type, values, { target, normalized, bounds, stride } = {}) {
        const componentsOfAll = stride === undefined ? components[type] : stride / values.BYTES_PER_ELEMENT;
        const view = this.addView(values, { ...(target && { target }), ...(stride && { byteStride: stride }) });
        this.json.accessors.push({
            bufferView: view,
            componentType: arrays[values.constructor.name],
            count: values.length / componentsOfAll,
            type,
            ...(normalized && { normalized }),
            ...bounds,
        });
        return this.json.accessors.length - 1;
    }

    addVertices(type, values, options = {}) {
        const width = options.stride ? options.stride / values.BYTES_PER_ELEMENT : components[type];
        const axis = (i) => values.filter((_, at) => at % width === i);
        const range = (pick) => Array.from({ length: components[type] }, (_, i) => pick(...axis(i)));
        const bounds = type === 'VEC3' ? { min: range(Math.min), max: range(Math.max) } : {};
        return this.add(type, values, { target: 34962, bounds, ...options });
    }

    use(...extensions) {
        this.json.extensionsUsed = [...(this.json.extensionsUsed ?? []), ...extensions];
        return this;
    }
}

function skinned() {
    const model = new Model();
    const { json, primitive } = model;
    primitive.attributes.JOINTS_0 = model.addVertices('VEC4', new Uint8Array(places.flatMap(() => [0, 1, 0, 0])));
    primitive.attributes.WEIGHTS_0 = model.addVertices('VEC4',
        new Float32Array(places.flatMap(([x]) => [1 - x / 8, x / 8, 0, 0])));
    const identity = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1];
    json.nodes[0] = { name: 'grid', mesh: 0, skin: 0 };
    json.nodes.push({ name: 'shoulder', children: [2] }, { name: 'elbow', translation: [3, 0, 0] });
    json.scenes[0].nodes = [0, 1];
    json.skins = [{
        joints: [1, 2],
        inverseBindMatrices: model.add('MAT4', new Float32Array([...identity, ...identity.map((value, i) => (i === 12 ? -3 : value))])),
    }];
    json.animations = [{
        name: 'bend',
        samplers: [{
            input: model.add('SCALAR', new Float32Array([0, 1]), { bounds: { min: [0], max: [1] } }),
            output: model.add('VEC4', new Float32Array([0, 0, 0, 1, 0, 0, 0.6, 0.8])),
        }],
        channels: [{ sampler: 0, target: { node: 2, path: 'rotation' } }],
    }];
    return model;
}

function morphed() {
    const model = new Model();
    model.primitive.targets = [1, 2].map((height) => ({
        POSITION: model.addVertices('VEC3', new Float32Array(places.flatMap(([x]) => [0, 0, height * x]))),
    }));
    model.json.meshes[0].weights = [0.25, 0.5];
    model.json.meshes[0].extras = { targetNames: ['low', 'high'] };
    return model;
}

function sparse() {
    const model = new Model();
    const accessor = model.json.accessors[model.primitive.attributes.POSITION];
    accessor.sparse = {
        count: 2,
        indices: { bufferView: model.addView(new Uint16Array([3, 20])), componentType: 5123 },
        values: { bufferView: model.addView(new Float32Array([3, 0, 5, 6, 2, -4])) },
    };
    accessor.min[2] = -4;
    return model;
}

function quantised() {
    const model = new Model().use('KHR_mesh_quantization');
    model.json.extensionsRequired = ['KHR_mesh_quantization'];
    model.json.nodes[0].scale = [6, 6, 6];
    model.primitive.attributes = {
        POSITION: model.addVertices('VEC3',
            new Int16Array(places.flatMap(([x, y]) => [x * 5000, y * 5000, x * y * 500, 0])),
            { normalized: true, stride: 8 }),
        NORMAL: model.addVertices('VEC3', new Int8Array(places.flatMap(() => [0, 0, 127, 0])),
            { normalized: true, stride: 4, bounds: {} }),
        TEXCOORD_0: model.addVertices('VEC2', new Uint16Array(places.flatMap(([x, y]) => [x * 9000, y * 9000])),
            { normalized: true }),
    };
    return model;
}

const variantsExtension = 'KHR_materials_variants';

function variant() {
    const model = new Model().use(variantsExtension);
    model.json.materials = ['grey', 'red', 'blue'].map((name, i) => ({
        name, pbrMetallicRoughness: { baseColorFactor: [i / 2, 0.5, 0.25, 1] },
    }));
    model.json.extensions = { [variantsExtension]: { variants: [{ name: 'sunrise' }, { name: 'night' }] } };
    model.primitive.material = 0;
    model.primitive.extensions = {
        [variantsExtension]: { mappings: [{ material: 1, variants: [0] }, { material: 2, variants: [1] }] },
    };
    return model;
}

function instanced() {
    const model = new Model().use('EXT_mesh_gpu_instancing');
    model.json.extensionsRequired = ['EXT_mesh_gpu_instancing'];
    model.json.nodes[0].extensions = {
        EXT_mesh_gpu_instancing: {
            attributes: {
                TRANSLATION: model.add('VEC3', new Float32Array([0, 0, 0, 10, 0, 0, 0, 10, 5])),
                ROTATION: model.add('VEC4', new Float32Array([0, 0, 0, 1, 0, 0, 0.6, 0.8, 0.6, 0, 0, 0.8])),
                SCALE: model.add('VEC3', new Float32Array([1, 1, 1, 2, 2, 2, 1, 3, 1])),
            },
        },
    };
    return model;
}

function textured() {
    const model = new Model().use('KHR_texture_transform');
    model.json.images = [{ bufferView: model.addView(picture), mimeType: 'image/png' }];
    model.json.samplers = [{ wrapS: 33071 }];
    model.json.textures = [{ source: 0, sampler: 0 }];
    model.json.materials = [{
        name: 'painted',
        pbrMetallicRoughness: {
            baseColorTexture: { index: 0, extensions: { KHR_texture_transform: { offset: [0.5, 0], scale: [2, 2] } } },
        },
    }];
    model.primitive.material = 0;
    return model;
}

const makers = { skinned, morphed, sparse, quantised, variant, instanced, textured };

export const featureNames = Object.keys(makers);

/// Writes a model with a feature.
export function writeFeatureModel(name, file) {
    const { json, binary } = makers[name]();
    json.buffers = [{ byteLength: binary.length }];
    writeGlb(file, { json, binary });
    return file;
}
