// Draws with WebGL.
import {
    BufferAttribute, BufferGeometry, DataTexture, InstancedMesh, LineBasicMaterial, LineSegments, Matrix4, Mesh,
    RedIntegerFormat, Scene, UnsignedIntType, WebGLRenderTarget, WebGLRenderer,
} from 'three';
import {LineMaterial} from 'three/addons/lines/LineMaterial.js';
import {LineSegments2} from 'three/addons/lines/LineSegments2.js';
import {LineSegmentsGeometry} from 'three/addons/lines/LineSegmentsGeometry.js';
import {lineColours} from './colours.js';
import {numberMaterial, surfaceMaterial} from './shaders.js';

// Bold lines are drawn as rectangles, which are too many beyond this.
const mostBoldEdges = 200000;

// Three bytes per triangle become three per corner.
function perCorner(colours) {
    const result = new Uint8Array(3 * colours.length);
    for (let i = 0; i < colours.length; i += 3) {
        for (let corner = 0; corner < 3; ++corner) {
            result.set(colours.subarray(i, i + 3), 3 * i + 3 * corner);
        }
    }
    return new BufferAttribute(result, 3, true);
}

function lines(positions, width) {
    if (positions.length / 6 > mostBoldEdges) {
        const geometry = new BufferGeometry().setAttribute('position', new BufferAttribute(positions, 3));
        return new LineSegments(geometry, new LineBasicMaterial());
    }
    const geometry = new LineSegmentsGeometry().setPositions(positions);
    return new LineSegments2(geometry, new LineMaterial({linewidth: width}));
}

// The places of the triangles in a drawing, as texels.
function rankTexture({ranks}) {
    const width = Math.min(Math.max(ranks.length, 1), 4096);
    const texels = new Uint32Array(width * Math.ceil(Math.max(ranks.length, 1) / width));
    texels.set(ranks);
    const texture = new DataTexture(texels, width, texels.length / width, RedIntegerFormat, UnsignedIntType);
    texture.internalFormat = 'R32UI';
    texture.needsUpdate = true;
    return texture;
}

// The corners of the triangles in the order of a drawing.
function drawingIndex({triangles}) {
    const index = new Uint32Array(3 * triangles.length);
    for (let i = 0; i < triangles.length; ++i) {
        const corner = 3 * triangles[i];
        index[3 * i] = corner;
        index[3 * i + 1] = corner + 1;
        index[3 * i + 2] = corner + 2;
    }
    return new BufferAttribute(index, 1);
}

// The object that draws a batch from a geometry.
function batchObject({places}, geometry, material) {
    if (places === null) {
        return new Mesh(geometry, material);
    }
    const object = new InstancedMesh(geometry, material, places.length);
    places.forEach((m, i) => object.setMatrixAt(i, new Matrix4().set(
        m[0], m[3], m[6], m[9], m[1], m[4], m[7], m[10], m[2], m[5], m[8], m[11], 0, 0, 0, 1,
    )));
    return object;
}

export class GpuPainter {
    constructor(canvas, model) {
        // The drawing buffer is kept for printing.
        this.renderer = new WebGLRenderer({canvas, antialias: true, alpha: true, preserveDrawingBuffer: true});
        this.renderer.autoClear = false;
        // Otherwise black before the first view is drawn.
        this.renderer.setClearColor(0x000000, 0);
        this.surface = surfaceMaterial();
        this.number = numberMaterial();
        this.target = new WebGLRenderTarget(1, 1);
        this.scene = new Scene();
        this.model = model;
        this.position = new BufferAttribute(model.corners, 3);
        // Per drawing that was shown, its objects and the texture of its ranks.
        this.drawings = new Map();
        this.border = this.addLines(model.border, 2.4);
        this.nonManifold = this.addLines(model.nonManifold, 4);
        this.refreshColours();
    }

    // Gives the triangles of a drawing their colours, three bytes each.
    tint(drawing, colours) {
        const tint = perCorner(colours);
        if (!this.drawings.has(drawing)) {
            const index = drawingIndex(drawing);
            const objects = this.model.batches.map((batch) => {
                const geometry = new BufferGeometry().setAttribute('position', this.position).setIndex(index);
                const object = batchObject(batch, geometry, this.surface);
                object.frustumCulled = false;
                object.userData = batch;
                this.scene.add(object);
                return object;
            });
            this.drawings.set(drawing, {objects, ranks: rankTexture(drawing)});
        }
        const {objects} = this.drawings.get(drawing);
        objects.forEach(({geometry}) => geometry.setAttribute('tint', tint));
    }

    addLines(positions, width) {
        const object = lines(positions, width);
        object.frustumCulled = false;
        // A line lies in its triangles and is wider than they leave room for.
        Object.assign(object.material, {polygonOffset: true, polygonOffsetFactor: -2, polygonOffsetUnits: -8});
        object.isEmpty = positions.length === 0;
        this.scene.add(object);
        return object;
    }

    refreshColours() {
        const colours = lineColours();
        this.border.material.color.set(colours.border);
        this.nonManifold.material.color.set(colours.nonManifold);
    }

    resize(width, height) {
        this.height = height;
        this.renderer.setPixelRatio(Math.min(window.devicePixelRatio, 2));
        this.renderer.setSize(width, height, false);
    }

    // Draws at as many pixels per CSS pixel, until the next `resize`.
    enlarge(ratio) {
        this.renderer.setPixelRatio(ratio);
    }

    show(view, state) {
        for (const [drawing, {objects}] of this.drawings) {
            for (const object of objects) {
                const {first, count} = object.userData;
                const shown = Math.min(Math.max(state.count - first, 0), count);
                object.visible = drawing === view.drawing && shown > 0;
                object.geometry.setDrawRange(3 * first, 3 * shown);
            }
        }
        // From afar they would hide the strips.
        this.border.visible = state.edges && state.level === 0 && !this.border.isEmpty;
        this.nonManifold.visible = state.edges && !this.nonManifold.isEmpty;
    }

    draw(eye, views, state) {
        const {uniforms} = this.surface;
        uniforms.wireframe.value = state.wireframe ? 1 : 0;
        uniforms.selected.value = state.selected ? [state.selected.first, state.selected.shown] : [0, 0];
        uniforms.ranks.value = this.drawings.get(state.selectedIn ?? views[0].drawing).ranks;
        this.renderer.setScissorTest(false);
        this.renderer.clear();
        this.renderer.setScissorTest(true);
        for (const view of views) {
            this.renderer.setViewport(view.x, this.height - view.y - view.height, view.width, view.height);
            const {clip} = view;
            this.renderer.setScissor(clip.x, this.height - view.y - view.height, clip.width, view.height);
            this.show(view, state);
            if (clip.width > 0) {
                this.renderer.render(this.scene, eye.lookThrough(view));
            }
        }
    }

    // The triangle at a place of a view, or -1.
    pick(eye, view, x, y, state) {
        const camera = eye.lookThrough(view);
        camera.setViewOffset(view.width, view.height, Math.floor(x - view.x), Math.floor(y - view.y), 1, 1);
        this.show(view, {...state, edges: false});
        this.renderer.setRenderTarget(this.target);
        this.renderer.clear();
        this.scene.overrideMaterial = this.number;
        this.renderer.render(this.scene, camera);
        this.scene.overrideMaterial = null;
        const pixel = new Uint8Array(4);
        this.renderer.readRenderTargetPixels(this.target, 0, 0, 1, 1, pixel);
        this.renderer.setRenderTarget(null);
        camera.clearViewOffset();
        return (pixel[0] | (pixel[1] << 8) | (pixel[2] << 16)) - 1;
    }
}
