// The edges that CesiumJS draws of marked triangles, without a browser: it decodes the marks on the processor, and the
// buffers that it would give to WebGL show which edges it draws.

import ShaderBuilder from '@cesium/engine/Source/Renderer/ShaderBuilder.js';
import EdgeVisibilityPipelineStage from '@cesium/engine/Source/Scene/Model/EdgeVisibilityPipelineStage.js';
import { indicesOf } from './glb.js';

export const edgeVisibility = 'EXT_mesh_primitive_edge_visibility';

/// Accepts every call of WebGL, and keeps the contents of buffers.
function recordingContext() {
    const contents = [];
    const known = { createBuffer: () => ({}), bufferData: (target, data) => contents.push(data) };
    const gl = new Proxy(known, { get: (target, name) => target[name] ?? (() => ({})) });
    return { contents, context: { _gl: gl, webgl2: true, _webgl2: true, vertexArrayObject: false } };
}

function floatsOf({ json, binary }, accessorNumber) {
    const { bufferView, byteOffset = 0, count } = json.accessors[accessorNumber];
    const { byteOffset: start = 0, byteStride = 12 } = json.bufferViews[bufferView];
    return Float32Array.from({ length: 3 * count }, (_, i) =>
        binary.readFloatLE(start + byteOffset + Math.floor(i / 3) * byteStride + i % 3 * 4));
}

function primitiveOf(glb, { attributes, indices, extensions }) {
    const { visibility, silhouetteNormals } = extensions[edgeVisibility];
    const positions = floatsOf(glb, attributes.POSITION);
    return {
        attributes: [{ semantic: 'POSITION', typedArray: positions, count: positions.length / 3 }],
        indices: { typedArray: indices === undefined ?
            Uint32Array.from({ length: positions.length / 3 }, (_, i) => i) : indicesOf(glb, indices) },
        edgeVisibility: {
            visibility: indicesOf(glb, visibility),
            silhouetteNormals: silhouetteNormals === undefined ? undefined : floatsOf(glb, silhouetteNormals),
        },
    };
}

/// The edges of all meshes of a file, with the ends and the two normals that CesiumJS finds for each.
export function drawnEdges(glb) {
    const marked = glb.json.meshes.flatMap(({ primitives }) => primitives)
        .filter(({ extensions }) => extensions?.[edgeVisibility] !== undefined);
    return marked.flatMap((source) => {
        const primitive = primitiveOf(glb, source);
        const { contents, context } = recordingContext();
        EdgeVisibilityPipelineStage.process({
            shaderBuilder: new ShaderBuilder(), runtimePrimitive: { primitive }, uniformMap: {},
        }, primitive, { context, pixelRatio: 1 });
        const [from, types, first, second, to] = contents;
        const vector = (values, edge) => values.subarray(12 * edge, 12 * edge + 3);
        return Array.from({ length: types.length / 4 }, (_, edge) => ({
            ends: [vector(from, edge), vector(to, edge)],
            isHard: Math.round(types[4 * edge] * 255) === 2,
            normals: [vector(first, edge), vector(second, edge)],
        }));
    });
}
