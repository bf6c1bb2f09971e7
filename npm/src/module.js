// The WebAssembly module, and the way of arrays into it and out of it.

import encoded from './wasm.js';

let progress = null;
let thrown = null;

const imports = {
    vexamesh: {
        // An exception must not cross the module, which would then be left in the middle of its work.
        onProgress(fraction) {
            if (progress === null) {
                return 1;
            }
            try {
                return progress(fraction) === false ? 0 : 1;
            } catch (error) {
                thrown = { error };
                return 0;
            }
        },
    },
    wasi_snapshot_preview1: {
        clock_time_get(id, precision, result) {
            const nanoseconds = BigInt(Math.round(performance.now() * 1e6));
            new DataView(calls.memory.buffer).setBigUint64(result, nanoseconds, true);
            return 0;
        },
        fd_close: () => 8,
        fd_write: () => 8,
        fd_read: () => 8,
        fd_seek: () => 8,
        environ_sizes_get(count, size) {
            new DataView(calls.memory.buffer).setUint32(count, 0, true);
            new DataView(calls.memory.buffer).setUint32(size, 0, true);
            return 0;
        },
        environ_get: () => 0,
        proc_exit(code) {
            throw new Error(`vexamesh: the module ended with code ${code}`);
        },
    },
    env: { emscripten_notify_memory_growth() {} },
};

const packed = new Blob([Uint8Array.from(atob(encoded), (letter) => letter.charCodeAt(0))]);
const unpacked = new Response(packed.stream().pipeThrough(new DecompressionStream('gzip')));
const { instance } = await WebAssembly.instantiate(await unpacked.arrayBuffer(), imports);
const calls = instance.exports;
calls._initialize?.();

function textAt(address) {
    const memory = new Uint8Array(calls.memory.buffer);
    return new TextDecoder().decode(memory.subarray(address, memory.indexOf(0, address)));
}

/// Calls a function of the module. Typed arrays and texts among the arguments are copied into the module's memory, and
/// freed afterwards.
export function call(name, ...values) {
    const addresses = [];
    const place = (bytes) => {
        const address = calls.vexaAllocate(Math.max(bytes.byteLength, 1));
        if (address === 0) {
            throw new RangeError('not enough memory');
        }
        addresses.push(address);
        new Uint8Array(calls.memory.buffer).set(
            new Uint8Array(bytes.buffer, bytes.byteOffset, bytes.byteLength), address >>> 0);
        return address;
    };
    try {
        const words = values.map((value) => {
            if (typeof value === 'string') {
                return place(new TextEncoder().encode(`${value}\0`));
            }
            return ArrayBuffer.isView(value) ? place(value) : value;
        });
        if (!calls[name](...words)) {
            throw new Error(textAt(calls.vexaError()));
        }
    } finally {
        addresses.forEach((address) => calls.vexaFree(address));
    }
}

/// The same for a search, which reports its progress.
export function callWithProgress(onProgress, name, ...values) {
    const before = progress;
    progress = onProgress ?? null;
    thrown = null;
    try {
        call(name, ...values);
    } finally {
        progress = before;
    }
    if (thrown !== null) {
        throw thrown.error;
    }
}

/// A copy of a result of the last call, as an array of a type.
export function result(i, Type) {
    const begin = calls.vexaResult(i) >>> 0;
    const copy = calls.memory.buffer.slice(begin, begin + (calls.vexaResultSize(i) >>> 0));
    return new Type(copy);
}

export function textResult(i) {
    return new TextDecoder().decode(result(i, Uint8Array));
}

/// Frees the results of the last call.
export function clear() {
    calls.vexaClear();
}

export function forgetMeshes() {
    calls.vexaForgetMeshes();
}
