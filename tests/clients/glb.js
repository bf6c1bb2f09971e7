// Splits and assembles binary glTF files without checking their contents.
// Indices are those of accessors that are not sparse, as the tool writes them.

import { readFileSync, writeFileSync } from 'node:fs';

const jsonChunk = 0x4e4f534a;
const binaryChunk = 0x004e4942;

export function readGlb(file) {
    const bytes = readFileSync(file);
    const jsonLength = bytes.readUInt32LE(12);
    return {
        json: JSON.parse(bytes.toString('utf8', 20, 20 + jsonLength)),
        binary: bytes.subarray(28 + jsonLength),
    };
}

function chunk(type, content, padding) {
    const padded = Buffer.concat([content, Buffer.alloc(-content.length & 3, padding)]);
    const header = Buffer.alloc(8);
    header.writeUInt32LE(padded.length, 0);
    header.writeUInt32LE(type, 4);
    return Buffer.concat([header, padded]);
}

export function writeGlb(file, { json, binary }) {
    const chunks = Buffer.concat([
        chunk(jsonChunk, Buffer.from(JSON.stringify(json)), ' '),
        chunk(binaryChunk, binary, 0),
    ]);
    const header = Buffer.from('glTF\u0002\0\0\0\0\0\0\0');
    header.writeUInt32LE(header.length + chunks.length, 8);
    writeFileSync(file, Buffer.concat([header, chunks]));
}

const indexArrays = { 5121: Uint8Array, 5123: Uint16Array, 5125: Uint32Array };

/// A copy of the indices of an accessor.
export function indicesOf({ json, binary }, accessorNumber) {
    const { bufferView, byteOffset = 0, componentType, count } = json.accessors[accessorNumber];
    const start = (json.bufferViews[bufferView].byteOffset ?? 0) + byteOffset;
    const IndexArray = indexArrays[componentType];
    return new IndexArray(Uint8Array.from(binary.subarray(start, start + count * IndexArray.BYTES_PER_ELEMENT)).buffer);
}

/// Replaces the indices of an accessor by as many or fewer.
export function replaceIndices({ json, binary }, accessorNumber, indices) {
    const accessor = json.accessors[accessorNumber];
    const start = (json.bufferViews[accessor.bufferView].byteOffset ?? 0) + (accessor.byteOffset ?? 0);
    binary.set(new Uint8Array(indices.buffer, indices.byteOffset, indices.byteLength), start);
    accessor.count = indices.length;
    delete accessor.min;
    delete accessor.max;
}
