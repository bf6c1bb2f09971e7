// The page's data: arrays of numbers as Base64, and the triangles of each part.

const kinds = ['Strip', 'Fan', 'Left over'];
const partFields = 6;

function decode(text) {
    if (Uint8Array.fromBase64) {
        return Uint8Array.fromBase64(text);
    }
    const binary = atob(text);
    const bytes = new Uint8Array(binary.length);
    for (let i = 0; i < bytes.length; ++i) {
        bytes[i] = binary.charCodeAt(i);
    }
    return bytes;
}

function read(name, Type) {
    const element = document.getElementById(`data-${name}`);
    const values = new Type(decode(element.textContent).buffer);
    // A large model's text takes more memory than its numbers.
    element.remove();
    return values;
}

function readParts() {
    const table = read('parts', Uint32Array);
    const numbers = [0, 0, 0];
    const parts = [];
    let first = 0;
    for (let i = 0; i < table.length; i += partFields) {
        const [shown, triangles, indices, swaps, primitive, look] = table.subarray(i, i + partFields);
        const kind = look & 255;
        parts.push({
            kind, first, shown, triangles, indices, swaps, primitive,
            number: ++numbers[kind],
            colour: look >> 8,
        });
        first += shown;
    }
    return parts;
}

// The corners of every triangle, so that each can have a colour of its own.
function spread(positions, vertices) {
    const result = new Float32Array(3 * vertices.length);
    for (let i = 0; i < vertices.length; ++i) {
        const from = 3 * vertices[i];
        result[3 * i] = positions[from];
        result[3 * i + 1] = positions[from + 1];
        result[3 * i + 2] = positions[from + 2];
    }
    return result;
}

// Where each triangle of the input stands among those that are drawn, in the order of the input.
function inInputOrder(order) {
    const places = order.map((_, i) => i);
    return places.sort((a, b) => order[a] - order[b]);
}

export function readModel() {
    const facts = JSON.parse(document.getElementById('data-facts').textContent);
    const positions = read('positions', Float32Array);
    const corners = read('corners', Uint32Array);
    const order = read('order', Uint32Array);
    return {
        ...facts,
        parts: readParts(),
        order,
        fromInput: inInputOrder(order),
        corners: spread(positions, corners),
        splitOff: new Set(read('split-off', Uint32Array)),
        border: spread(positions, read('border', Uint32Array)),
        nonManifold: spread(positions, read('non-manifold', Uint32Array)),
    };
}

// The part that a triangle belongs to.
export function partOf(model, triangle) {
    let low = 0;
    let high = model.parts.length - 1;
    while (low < high) {
        const middle = (low + high + 1) >> 1;
        if (model.parts[middle].first <= triangle) {
            low = middle;
        } else {
            high = middle - 1;
        }
    }
    return low;
}

const number = new Intl.NumberFormat('en');

export function format(value) {
    return number.format(value);
}

function counted(count, noun) {
    return `${format(count)} ${noun}${count === 1 ? '' : 's'}`;
}

export function partName(part) {
    return part.kind === 2 ? kinds[2] : `${kinds[part.kind]} ${format(part.number)}`;
}

// The description of a part, and of one of its triangles if one is given.
export function describe(model, index, triangle = -1) {
    const part = model.parts[index];
    const texts = [partName(part), counted(part.triangles, 'triangle')];
    if (part.kind === 0) {
        texts.push(counted(part.swaps, 'swap'));
    }
    texts.push(part.indices === 1 ? '1 index' : `${format(part.indices)} indices`);
    if (model.primitives.length > 1) {
        texts.push(model.primitives[part.primitive]);
    }
    if (triangle >= 0) {
        texts.push(`triangle ${format(triangle - part.first + 1)} of it, ${format(model.order[triangle] + 1)} of the input`);
        if (model.splitOff.has(triangle)) {
            texts.push('split off by the half-edge graph');
        }
    }
    return texts;
}
