// The page's data: triangles, where they are drawn, and the parts that they are cut into.

const kinds = ['Strip', 'Fan', 'Left over'];
export const leftOver = 2;

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

async function inflate(bytes) {
    const stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream('deflate'));
    return new Uint8Array(await new Response(stream).arrayBuffer());
}

// A stream of numbers, as report/PictureData.cpp writes it.
class Reader {
    constructor(bytes) {
        this.bytes = bytes;
        this.at = 0;
    }

    get isAtEnd() {
        return this.at === this.bytes.length;
    }

    byte() {
        return this.bytes[this.at++];
    }

    number() {
        if (this.bytes[this.at] < 128) {
            return this.bytes[this.at++];
        }
        let value = 0;
        for (let factor = 1; ; factor *= 128) {
            const byte = this.byte();
            value += (byte & 127) * factor;
            if (byte < 128) {
                return value;
            }
        }
    }

    signedNumber() {
        const value = this.number();
        return value % 2 === 0 ? value / 2 : -(value - 1) / 2 - 1;
    }

    // Numbers that are written as differences, to the end of the stream.
    differences() {
        // None takes less than a byte.
        const values = new Uint32Array(this.bytes.length);
        let count = 0;
        let value = 0;
        while (!this.isAtEnd) {
            value += this.signedNumber();
            values[count++] = value;
        }
        return values.subarray(0, count);
    }
}

async function readStreams(facts) {
    const element = document.getElementById('data-picture');
    const bytes = await inflate(decode(element.textContent));
    const streams = new Map();
    let begin = 0;
    for (const [name, size] of facts.streams) {
        streams.set(name, bytes.subarray(begin, begin + size));
        begin += size;
    }
    return (name) => new Reader(streams.get(name));
}

// Three vertices per triangle, and three coordinates per vertex.
function readTriangles(facts, open) {
    const [links, vertices, residuals] = ['links', 'vertices', 'positions'].map(open);
    const corners = new Uint32Array(3 * facts.shown);
    // On the primitive's own grid, which has 16 bits.
    const grid = new Int32Array(3 * facts.primitives.reduce((sum, {vertices: count}) => sum + count, 0));
    let known = 0;
    // A vertex is new or counted backwards; a new one is a step away from a + b - c, which are places in the grid.
    const readVertex = (a, b, c) => {
        const vertex = known - vertices.number();
        if (vertex === known) {
            for (let axis = 0; axis < 3; ++axis) {
                const expected = a < 0 ? 0 : grid[a + axis] + grid[b + axis] - grid[c + axis];
                grid[3 * known + axis] = expected + residuals.signedNumber();
            }
            ++known;
        }
        return vertex;
    };
    let triangle = 0;
    for (const {triangles} of facts.primitives) {
        const first = known;
        for (const end = triangle + triangles; triangle < end; ++triangle) {
            const at = 3 * triangle;
            const link = links.byte();
            if (link === 3) {
                for (let i = 0; i < 3; ++i) {
                    const last = known > first ? 3 * (known - 1) : -1;
                    corners[at + i] = readVertex(last, last, last);
                }
            } else {
                const a = corners[at - 3 + link];
                const b = corners[at - 3 + ((link + 1) % 3)];
                const c = corners[at - 3 + ((link + 2) % 3)];
                corners[at] = b;
                corners[at + 1] = a;
                corners[at + 2] = readVertex(3 * a, 3 * b, 3 * c);
            }
        }
    }
    return {corners, positions: Float32Array.from(grid)};
}

// Matrices of four columns and three rows: where `inner` and then `outer` take a point.
function multiply(outer, inner) {
    const result = new Float64Array(12);
    for (let column = 0; column < 4; ++column) {
        for (let row = 0; row < 3; ++row) {
            let sum = column === 3 ? outer[9 + row] : 0;
            for (let i = 0; i < 3; ++i) {
                sum += outer[3 * i + row] * inner[3 * column + i];
            }
            result[3 * column + row] = sum;
        }
    }
    return result;
}

const scaling = (scale, [x, y, z]) => [scale, 0, 0, 0, scale, 0, 0, 0, scale, x, y, z];

// Where each primitive is drawn: matrices from its grid to a scene of about unit size around the origin, so that the
// numbers of the picture are neither large nor small whatever those of the model are.
function readPlaces(primitives, values) {
    let next = 0;
    const places = primitives.map(({placements, origin, step}) => Array.from({length: placements}, () => {
        const matrix = values.subarray(next, next += 12);
        return multiply(matrix, scaling(step, origin));
    }));
    const low = [Infinity, Infinity, Infinity];
    const high = [-Infinity, -Infinity, -Infinity];
    primitives.forEach(({size}, i) => {
        for (const matrix of places[i]) {
            for (let axis = 0; axis < 3; ++axis) {
                for (let corner = 0; corner < 8; ++corner) {
                    const value = [0, 1, 2].reduce((sum, j) => sum + (corner >> j & 1 ? matrix[3 * j + axis] * size[j] : 0), matrix[9 + axis]);
                    low[axis] = Math.min(low[axis], value);
                    high[axis] = Math.max(high[axis], value);
                }
            }
        }
    });
    const scale = 2 / Math.max(...high.map((value, axis) => value - low[axis])) || 1;
    const usable = Number.isFinite(scale) ? scale : 1;
    const centre = high.map((value, axis) => -usable * (value / 2 + low[axis] / 2));
    return places.map((matrices) => matrices.map((matrix) => multiply(scaling(usable, centre), matrix)));
}

// The corners of every triangle, or the ends of every edge, so that each can have a colour of its own.
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

// Points `from` to `end` of an array, moved by a matrix of four columns and three rows.
function place(points, from, end, matrix, result = points, at = from) {
    for (let i = from; i < end; ++i, ++at) {
        const [x, y, z] = [points[3 * i], points[3 * i + 1], points[3 * i + 2]];
        for (let row = 0; row < 3; ++row) {
            result[3 * at + row] = matrix[row] * x + matrix[3 + row] * y + matrix[6 + row] * z + matrix[9 + row];
        }
    }
}

// Triangles that are drawn together: those of neighbouring primitives that have one place each, in the coordinates of the
// scene, or those of one primitive, with the matrices of its places.
function makeBatches(primitives, corners) {
    const batches = [];
    let first = 0;
    for (const {triangles, places} of primitives) {
        const last = batches.at(-1);
        if (places.length > 1) {
            batches.push({first, count: triangles, places});
        } else {
            place(corners, 3 * first, 3 * (first + triangles), places[0]);
            if (last && last.places === null) {
                last.count += triangles;
            } else {
                batches.push({first, count: triangles, places: null});
            }
        }
        first += triangles;
    }
    return batches;
}

// The ends of edges in the scene, once for each place of their primitive.
function placeEdges(primitives, ends, countOf) {
    const size = primitives.reduce((sum, primitive) => sum + 2 * countOf(primitive) * primitive.places.length, 0);
    const result = new Float32Array(3 * size);
    let from = 0;
    let at = 0;
    for (const primitive of primitives) {
        const count = 2 * countOf(primitive);
        for (const matrix of primitive.places) {
            place(ends, from, from + count, matrix, result, at);
            at += count;
        }
        from += count;
    }
    return result;
}

function readParts(reader, colours, count, levels) {
    const numbers = [0, 0, 0];
    const parts = [];
    let first = 0;
    for (let i = 0; i < count; ++i) {
        const [shown, triangles, indices, swaps, primitive, kind] = Array.from({length: 6}, () => reader.number());
        const number = ++numbers[kind];
        if (shown > 0) {
            const byLevel = Array.from({length: levels}, (_, level) => colours.bytes[level * count + i]);
            parts.push({kind, number, first, shown, triangles, indices, swaps, primitive, colours: byLevel});
        }
        first += shown;
    }
    return {parts, totals: numbers};
}

// Numbers the places of the input that are shown, which may leave out some.
function rankPlaces(order, count) {
    const ranks = new Uint32Array(count);
    for (const place of order) {
        ranks[place] = 1;
    }
    let rank = 0;
    for (let i = 0; i < count; ++i) {
        rank += ranks[i];
        ranks[i] = rank - ranks[i];
    }
    return ranks;
}

// An order in which to draw the triangles. `triangles[i]` is the one drawn as number i, `ranks` the inverse.
class Drawing {
    // totals: numbers of strips and fans of the whole model, of which the picture may show a part
    constructor(name, triangles, parts = null, totals = []) {
        this.name = name;
        this.totals = totals;
        this.triangles = triangles;
        this.parts = parts;
        this.ranks = new Uint32Array(triangles.length);
        triangles.forEach((triangle, i) => {
            this.ranks[triangle] = i;
        });
    }

    // The number of the part that a triangle belongs to.
    partOf(triangle) {
        return this.partAt(this.ranks[triangle]);
    }

    // The same for the triangle drawn as number `rank`.
    partAt(rank) {
        let low = 0;
        let high = this.parts.length - 1;
        while (low < high) {
            const middle = (low + high + 1) >> 1;
            if (this.parts[middle].first <= rank) {
                low = middle;
            } else {
                high = middle - 1;
            }
        }
        return low;
    }
}

// The drawings by strips, and before them that of the input. The triangles are numbered as the first strips draw them.
function readDrawings(facts, open, order) {
    const ranks = rankPlaces(order, facts.triangles);
    const byInput = new Uint32Array(facts.shown);
    order.forEach((place, triangle) => {
        byInput[ranks[place]] = triangle;
    });
    const drawings = [new Drawing('Input', byInput)];
    facts.drawings.forEach(({name, parts: count}, i) => {
        const {parts, totals} = readParts(open(`parts-${i}`), open(`colours-${i}`), count, facts.levels);
        const places = i === 0 ? order : open(`order-${i}`).differences();
        drawings.push(new Drawing(name, places.map((place) => byInput[ranks[place]]), parts, totals));
    });
    return drawings;
}

export async function readModel() {
    const facts = JSON.parse(document.getElementById('data-facts').textContent);
    const open = await readStreams(facts);
    const {corners, positions} = readTriangles(facts, open);
    const places = readPlaces(facts.primitives, new Float64Array(open('placements').bytes.slice().buffer));
    const primitives = facts.primitives.map((primitive, i) => ({...primitive, places: places[i]}));
    const spreadCorners = spread(positions, corners);
    const edges = (name, countOf) => placeEdges(primitives, spread(positions, open(name).differences()), countOf);
    const order = open('order-0').differences();
    return {
        ...facts,
        primitives,
        batches: makeBatches(primitives, spreadCorners),
        corners: spreadCorners,
        order,
        drawings: readDrawings(facts, open, order),
        splitOff: new Set(open('split-off').differences()),
        border: edges('border', ({border}) => border),
        nonManifold: edges('non-manifold', ({nonManifold}) => nonManifold),
    };
}

const number = new Intl.NumberFormat('en');

export function format(value) {
    return number.format(value);
}

function counted(count, noun) {
    return `${format(count)} ${noun}${count === 1 ? '' : 's'}`;
}

export function partName(part) {
    return part.kind === leftOver ? kinds[leftOver] : `${kinds[part.kind]} ${format(part.number)}`;
}

// The title of a view.
export function drawingName(drawing) {
    if (drawing.parts === null) {
        return 'Before: the order of the input';
    }
    const [strips, fans] = [0, 1].map((kind) => {
        const shown = drawing.parts.filter((part) => part.kind === kind).length;
        const text = counted(drawing.totals[kind], ['strip', 'fan'][kind]);
        return shown < drawing.totals[kind] ? `${format(shown)} of ${text}` : text;
    });
    const texts = [strips, ...(drawing.totals[1] > 0 ? [fans] : [])];
    return `${drawing.name === 'Strips' ? 'After' : drawing.name}: ${texts.join(', ')}`;
}

// The description of a part of a drawing, and of one of its triangles if one is given.
export function describe(model, drawing, index, triangle = -1) {
    const part = drawing.parts[index];
    const texts = [partName(part), counted(part.triangles, 'triangle')];
    if (part.kind === 0) {
        texts.push(counted(part.swaps, 'swap'));
    }
    texts.push(part.indices === 1 ? '1 index' : `${format(part.indices)} indices`);
    if (model.primitives.length > 1) {
        texts.push(model.primitives[part.primitive].name);
    }
    if (triangle >= 0) {
        const rank = drawing.ranks[triangle] - part.first;
        texts.push(`triangle ${format(rank + 1)} of it, ${format(model.order[triangle] + 1)} of the input`);
        if (model.splitOff.has(triangle)) {
            texts.push('split off by the half-edge graph');
        }
    }
    return texts;
}
