// Draws with WebGL.
import {
    BufferAttribute, BufferGeometry, LineBasicMaterial, LineSegments, Mesh, Scene, WebGLRenderTarget, WebGLRenderer,
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

export class GpuPainter {
    constructor(canvas, model, colours) {
        // The drawing buffer is kept for printing.
        this.renderer = new WebGLRenderer({canvas, antialias: true, alpha: true, preserveDrawingBuffer: true});
        this.renderer.autoClear = false;
        this.surface = surfaceMaterial();
        this.number = numberMaterial();
        this.target = new WebGLRenderTarget(1, 1);
        this.scene = new Scene();
        this.addMeshes(model, colours);
        this.border = this.addLines(model.border, 2.4);
        this.nonManifold = this.addLines(model.nonManifold, 4);
        this.refreshColours();
    }

    addMeshes(model, colours) {
        const position = new BufferAttribute(model.corners, 3);
        const after = new BufferGeometry().setAttribute('position', position);
        after.setAttribute('tint', perCorner(colours.after));
        const before = new BufferGeometry().setAttribute('position', position);
        before.setAttribute('tint', perCorner(colours.before));
        const index = new Uint32Array(3 * model.shown);
        model.fromInput.forEach((triangle, i) => index.set([3 * triangle, 3 * triangle + 1, 3 * triangle + 2], 3 * i));
        before.setIndex(new BufferAttribute(index, 1));
        this.meshes = {before: new Mesh(before, this.surface), after: new Mesh(after, this.surface)};
        for (const mesh of Object.values(this.meshes)) {
            mesh.frustumCulled = false;
            this.scene.add(mesh);
        }
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

    // Gives the strips other colours.
    tint(colours) {
        this.meshes.after.geometry.setAttribute('tint', perCorner(colours));
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

    show(view, state) {
        for (const [name, mesh] of Object.entries(this.meshes)) {
            mesh.visible = name === view.name;
            mesh.geometry.setDrawRange(0, 3 * state.count);
        }
        this.border.visible = state.edges && !this.border.isEmpty;
        this.nonManifold.visible = state.edges && !this.nonManifold.isEmpty;
    }

    draw(eye, views, state) {
        this.surface.uniforms.wireframe.value = state.wireframe ? 1 : 0;
        this.surface.uniforms.selected.value = state.selected ? [state.selected.first, state.selected.shown] : [0, 0];
        this.renderer.setScissorTest(false);
        this.renderer.clear();
        this.renderer.setScissorTest(true);
        for (const view of views) {
            const bottom = this.height - view.y - view.height;
            this.renderer.setViewport(view.x, bottom, view.width, view.height);
            this.renderer.setScissor(view.x, bottom, view.width, view.height);
            this.show(view, state);
            this.renderer.render(this.scene, eye.lookThrough(view));
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
