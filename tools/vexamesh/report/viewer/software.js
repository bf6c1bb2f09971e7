// Draws without WebGL: every triangle into pixels with depths, on a plain canvas.
import {Matrix4, Vector4} from 'three';

export class SoftwarePainter {
    constructor(canvas, model) {
        this.context = canvas.getContext('2d');
        this.canvas = canvas;
        this.model = model;
        this.colours = new Map();
    }

    // Gives the triangles of a drawing their colours, three bytes each.
    tint(drawing, colours) {
        this.colours.set(drawing, colours);
    }

    refreshColours() {}

    resize(width, height) {
        this.size = {width, height};
        this.enlarge(1);
    }

    // Draws at as many pixels per CSS pixel, until the next `resize`.
    enlarge(ratio) {
        this.ratio = ratio;
        this.canvas.width = this.size.width * ratio;
        this.canvas.height = this.size.height * ratio;
        this.triangles = new Int32Array(this.canvas.width * this.canvas.height);
    }

    draw(eye, views, state) {
        const {width, height} = this.canvas;
        this.image = this.context.createImageData(width, height);
        this.pixels = new Uint32Array(this.image.data.buffer);
        this.depths = new Float32Array(width * height).fill(Infinity);
        this.triangles.fill(-1);
        for (const view of views) {
            this.drawView(eye.lookThrough(view), this.enlarged(view), state);
        }
        this.context.putImageData(this.image, 0, 0);
    }

    drawView(camera, view, state) {
        const seen = new Matrix4().multiplyMatrices(camera.projectionMatrix, camera.matrixWorldInverse);
        for (const {first, count, places} of this.model.batches) {
            const end = Math.min(first + count, state.count);
            for (const place of places ?? [null]) {
                const matrix = place === null ? seen : seen.clone().multiply(new Matrix4().set(
                    place[0], place[3], place[6], place[9], place[1], place[4], place[7], place[10],
                    place[2], place[5], place[8], place[11], 0, 0, 0, 1,
                ));
                this.drawTriangles(first, end, matrix, view, state);
            }
        }
    }

    // Draws the triangles of a range of ranks.
    drawTriangles(first, end, matrix, view, state) {
        const corners = [new Vector4(), new Vector4(), new Vector4()];
        const colours = this.colours.get(view.drawing);
        const positions = this.model.corners;
        for (let i = first; i < end; ++i) {
            const triangle = view.drawing.triangles[i];
            for (let c = 0; c < 3; ++c) {
                const at = 9 * triangle + 3 * c;
                corners[c].set(positions[at], positions[at + 1], positions[at + 2], 1).applyMatrix4(matrix);
                this.toPixels(corners[c], view);
            }
            if (corners.every((corner) => corner.w > 0)) {
                const colour = this.dim(colours.subarray(3 * triangle, 3 * triangle + 3), triangle, state);
                this.fill(triangle, corners, view.clip, this.shade(corners, colour), view);
            }
        }
    }

    // A view in pixels.
    enlarged(view) {
        const scale = ({x, y = 0, width, height = 0}) => ({
            x: x * this.ratio, y: y * this.ratio, width: width * this.ratio, height: height * this.ratio,
        });
        return {...view, ...scale(view), clip: scale(view.clip)};
    }

    toPixels(corner, view) {
        corner.x = view.x + (corner.x / corner.w + 1) * 0.5 * view.width;
        corner.y = view.y + (1 - corner.y / corner.w) * 0.5 * view.height;
        corner.z /= corner.w;
    }

    // Everything that is not selected turns grey.
    dim(colour, triangle, {selected, selectedIn}) {
        const rank = selected ? selectedIn.ranks[triangle] : 0;
        const isQuiet = selected && (rank < selected.first || rank >= selected.first + selected.shown);
        return isQuiet ? colour.map((value) => value * 0.28 + 150 * 0.72) : colour;
    }

    // Lighter the more of it is seen from the front; the slope of the depth tells that.
    shade([a, b, c], [red, green, blue]) {
        const area = (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
        const slopeX = ((b.w - a.w) * (c.y - a.y) - (c.w - a.w) * (b.y - a.y)) / area;
        const slopeY = ((c.w - a.w) * (b.x - a.x) - (b.w - a.w) * (c.x - a.x)) / area;
        const unit = (this.canvas.height * 1.5) / ((a.w + b.w + c.w) / 3);
        const front = 1 / Math.hypot(slopeX * unit, slopeY * unit, 1);
        const light = 0.66 + 0.34 * (Number.isFinite(front) ? front : 0);
        return (255 << 24) | ((blue * light) << 16) | ((green * light) << 8) | (red * light);
    }

    fill(triangle, [a, b, c], clip, colour, view) {
        const area = (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
        if (!(Math.abs(area) > 1e-9)) {
            return;
        }
        const left = Math.max(Math.floor(Math.min(a.x, b.x, c.x)), clip.x);
        const right = Math.min(Math.ceil(Math.max(a.x, b.x, c.x)), clip.x + clip.width);
        const top = Math.max(Math.floor(Math.min(a.y, b.y, c.y)), view.y);
        const bottom = Math.min(Math.ceil(Math.max(a.y, b.y, c.y)), view.y + view.height);
        for (let y = top; y < bottom; ++y) {
            for (let x = left; x < right; ++x) {
                const v = ((x + 0.5 - a.x) * (c.y - a.y) - (c.x - a.x) * (y + 0.5 - a.y)) / area;
                const w = ((b.x - a.x) * (y + 0.5 - a.y) - (x + 0.5 - a.x) * (b.y - a.y)) / area;
                const depth = a.z + v * (b.z - a.z) + w * (c.z - a.z);
                const at = y * this.canvas.width + x;
                if (v >= 0 && w >= 0 && v + w <= 1 && depth < this.depths[at]) {
                    this.depths[at] = depth;
                    this.pixels[at] = colour;
                    this.triangles[at] = triangle;
                }
            }
        }
    }

    pick(eye, view, x, y) {
        return this.triangles[Math.floor(y) * this.canvas.width + Math.floor(x)] ?? -1;
    }
}
