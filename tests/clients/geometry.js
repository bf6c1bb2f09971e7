// The contents of a file, as every reader returns them: a list of parts, each with world positions (x, y, z per vertex,
// in a Float64Array that parts may share) and the vertex numbers of its triangles and lines. Those with two equal
// corners draw nothing and are left out.

export class Part {
    constructor(positions) {
        this.positions = positions;
        this.triangles = [];
        this.lines = [];
    }

    addTriangle(...vertices) {
        this.add(this.triangles, vertices);
    }

    addLine(...vertices) {
        this.add(this.lines, vertices);
    }

    add(list, vertices) {
        const count = this.positions.length / 3;
        const outside = vertices.find((vertex) => !(vertex < count));
        if (outside !== undefined) {
            throw new RangeError(`there is no vertex ${outside}, but only ${count}`);
        }
        if (new Set(vertices).size === vertices.length) {
            list.push(vertices);
        }
    }

    position(vertex) {
        return this.positions.subarray(3 * vertex, 3 * vertex + 3);
    }
}

/// Positions times a matrix of four columns, in double precision.
export function transform(matrix, positions) {
    const result = new Float64Array(positions.length);
    for (let i = 0; i < positions.length; i += 3) {
        for (let row = 0; row < 3; ++row) {
            result[i + row] = matrix[row] * positions[i] + matrix[4 + row] * positions[i + 1] +
                matrix[8 + row] * positions[i + 2] + matrix[12 + row];
        }
    }
    return result;
}

/// The parts mirrored: at the opposite x, with the winding reversed, and then moved along x.
export function mirrored(parts, move) {
    return parts.map((part) => {
        const result = new Part(transform([-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, move, 0, 0, 1], part.positions));
        result.triangles = part.triangles.map(([a, b, c]) => [b, a, c]);
        result.lines = part.lines;
        return result;
    });
}

/// The edges of the triangles as lines, each once; with `borderOnly` those without an opposite half-edge.
export function edges(parts, borderOnly = false) {
    return parts.map((part) => {
        const sides = part.triangles.flatMap(([a, b, c]) => [[a, b], [b, c], [c, a]]);
        const passed = new Set(sides.map(([a, b]) => `${a} ${b}`));
        const result = new Part(part.positions);
        for (const [a, b] of sides) {
            const isBorder = !passed.has(`${b} ${a}`);
            if (isBorder || (a < b && !borderOnly)) {
                result.addLine(a, b);
            }
        }
        return result;
    });
}

const subtract = (a, b) => [a[0] - b[0], a[1] - b[1], a[2] - b[2]];
const dot = (a, b) => a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
const cross = (a, b) => [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]];
const length = (a) => Math.sqrt(dot(a, a));

/// Counts and sums over the parts. The volume is that between the triangles and the origin: reversing a triangle
/// flips its sign, which the area would not show; `largestVolume` is the volume if every
/// triangle as far from the origin as its first corner.
export function figures(parts) {
    const sums = { triangles: 0, area: 0, volume: 0, largestVolume: 0, lines: 0, length: 0 };
    for (const part of parts) {
        for (const [a, b, c] of part.triangles.map((triangle) => triangle.map((vertex) => part.position(vertex)))) {
            sums.triangles += 1;
            sums.area += length(cross(subtract(b, a), subtract(c, a))) / 2;
            sums.volume += dot(a, cross(b, c)) / 6;
            sums.largestVolume += length(a) * length(cross(b, c)) / 6;
        }
        for (const [a, b] of part.lines) {
            sums.lines += 1;
            sums.length += length(subtract(part.position(b), part.position(a)));
        }
    }
    return sums;
}

/// Numbers positions so that two have the same number if they differ only by the rounding of a transformation.
class PositionNumbers {
    constructor(parts) {
        let largest = 0;
        for (const { positions } of parts) {
            largest = positions.reduce((a, b) => Math.max(a, Math.abs(b)), largest);
        }
        this.tolerance = largest * 2 ** -21;
        this.cells = new Map();
        this.count = 0;
    }

    numberOf(position) {
        const cell = Array.from(position, (value) => Math.floor(value / this.tolerance / 4));
        return this.find(position, cell, [0]) ?? this.find(position, cell, [-1, 0, 1]) ?? this.insert(position, cell);
    }

    find(position, [x, y, z], offsets) {
        for (const i of offsets) {
            for (const j of offsets) {
                for (const k of offsets) {
                    for (const [known, number] of this.cells.get(`${x + i} ${y + j} ${z + k}`) ?? []) {
                        if (known.every((value, axis) => Math.abs(value - position[axis]) <= this.tolerance)) {
                            return number;
                        }
                    }
                }
            }
        }
        return undefined;
    }

    insert(position, cell) {
        const key = cell.join(' ');
        this.cells.set(key, [...(this.cells.get(key) ?? []), [position, this.count]]);
        return this.count++;
    }
}

/// The same for every rotation, even if numbers are equal.
function rotationKey([a, b, c]) {
    return [`${a} ${b} ${c}`, `${b} ${c} ${a}`, `${c} ${a} ${b}`].sort()[0];
}

/// How often each triangle occurs, whichever corner comes first, and each line, whichever end does.
function tally(parts, numbers) {
    const counts = new Map();
    const count = (key) => counts.set(key, (counts.get(key) ?? 0) + 1);
    const known = new Map();
    for (const part of parts) {
        const vertexNumbers = known.get(part.positions) ?? [];
        known.set(part.positions, vertexNumbers);
        const numberOf = (vertex) => (vertexNumbers[vertex] ??= numbers.numberOf(part.position(vertex)));
        part.triangles.forEach((triangle) => count(`triangle ${rotationKey(triangle.map(numberOf))}`));
        part.lines.forEach((line) => count(`line ${line.map(numberOf).sort((a, b) => a - b).join(' ')}`));
    }
    return counts;
}

/// How many oriented triangles and lines only one of the two sides has.
export function differences(expected, actual) {
    const numbers = new PositionNumbers(expected);
    const before = tally(expected, numbers);
    const after = tally(actual, numbers);
    const surplus = (of, over) =>
        [...of].reduce((sum, [key, count]) => sum + Math.max(0, count - (over.get(key) ?? 0)), 0);
    return { missing: surplus(before, after), added: surplus(after, before) };
}
