// Draws without WebGL: every triangle into pixels with depths, on a plain canvas.
import {Matrix4, Vector4} from 'three';

export class SoftwarePainter {
    constructor(canvas, model, colours) {
        this.context = canvas.getContext('2d');
        this.canvas = canvas;
        this.model = model;
        this.colours = colours;
    }

    tint(colours) {
        this.colours.after = colours;
    }

    refreshColours() {}

    resize(width, height) {
        this.canvas.width = width;
        this.canvas.height = height;
        this.triangles = new Int32Array(width * height);
    }

    draw(eye, views, state) {
        const {width, height} = this.canvas;
        this.image = this.context.createImageData(width, height);
        this.pixels = new Uint32Array(this.image.data.buffer);
        this.depths = new Float32Array(width * height).fill(Infinity);
        this.triangles.fill(-1);
        for (const view of views) {
            this.drawView(eye.lookThrough(view), view, state);
        }
        this.context.putImageData(this.image, 0, 0);
    }

    drawView(camera, view, state) {
        const matrix = new Matrix4().multiplyMatrices(camera.projectionMatrix, camera.matrixWorldInverse);
        const corners = [new Vector4(), new Vector4(), new Vector4()];
        const colours = this.colours[view.name];
        const positions = this.model.corners;
        for (let i = 0; i < state.count; ++i) {
            const triangle = view.name === 'before' ? this.model.fromInput[i] : i;
            for (let c = 0; c < 3; ++c) {
                const at = 9 * triangle + 3 * c;
                corners[c].set(positions[at], positions[at + 1], positions[at + 2], 1).applyMatrix4(matrix);
                this.toPixels(corners[c], view);
            }
            if (corners.every((corner) => corner.w > 0)) {
                const colour = this.dim(colours.subarray(3 * triangle, 3 * triangle + 3), triangle, state.selected);
                this.fill(triangle, corners, view, this.shade(corners, colour));
            }
        }
    }

    toPixels(corner, view) {
        corner.x = view.x + (corner.x / corner.w + 1) * 0.5 * view.width;
        corner.y = view.y + (1 - corner.y / corner.w) * 0.5 * view.height;
        corner.z /= corner.w;
    }

    // Everything that is not selected turns grey.
    dim(colour, triangle, selected) {
        const isQuiet = selected && (triangle < selected.first || triangle >= selected.first + selected.shown);
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

    fill(triangle, [a, b, c], view, colour) {
        const area = (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
        if (!(Math.abs(area) > 1e-9)) {
            return;
        }
        const left = Math.max(Math.floor(Math.min(a.x, b.x, c.x)), view.x);
        const right = Math.min(Math.ceil(Math.max(a.x, b.x, c.x)), view.x + view.width);
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
