// Meshes for the tests.

/// The triangles of a grid of squares.
export function grid(columns, rows) {
    const triangles = [];
    for (let y = 0; y < rows; ++y) {
        for (let x = 0; x < columns; ++x) {
            const corner = y * (columns + 1) + x;
            triangles.push(corner, corner + 1, corner + columns + 1, corner + 1, corner + columns + 2, corner + columns + 1);
        }
    }
    return Uint32Array.from(triangles);
}

/// Positions of its vertices.
export function gridPositions(columns, rows) {
    return Float32Array.from({ length: 3 * (columns + 1) * (rows + 1) }, (_, i) => {
        const vertex = Math.floor(i / 3);
        return [vertex % (columns + 1), Math.floor(vertex / (columns + 1)), 0][i % 3];
    });
}

/// Triangles as sorted texts, each beginning at its lowest corner: equal for equal sets with equal windings.
export function sorted(triangles) {
    const texts = [];
    for (let i = 0; i < triangles.length; i += 3) {
        const corners = Array.from(triangles.slice(i, i + 3));
        const first = corners.indexOf(Math.min(...corners));
        texts.push([0, 1, 2].map((k) => corners[(first + k) % 3]).join(' '));
    }
    return texts.sort();
}
