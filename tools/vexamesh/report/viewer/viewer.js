// The picture: one eye, one or two views, drawn whenever something has changed.
import {MOUSE, TOUCH} from 'three';
import {OrbitControls} from 'three/addons/controls/OrbitControls.js';
import {boundsOf, Eye, layout} from './camera.js';
import {lengthColours, orderColours, stripColours} from './colours.js';
import {GpuPainter} from './gpu.js';
import {listenToKeys} from './keyboard.js';
import {readModel} from './model.js';
import {listenToPointer, Selection} from './pointing.js';
import {Replay} from './replay.js';
import {SoftwarePainter} from './software.js';

// Without WebGL more triangles than these take too long to follow the pointer.
const mostTurnedWithoutGpu = 60000;

const element = (id) => document.getElementById(id);

function hasGpu() {
    const context = document.createElement('canvas').getContext('webgl2');
    context?.getExtension('WEBGL_lose_context')?.loseContext();
    return context !== null;
}

class Viewer {
    constructor() {
        this.model = readModel();
        this.canvas = element('canvas');
        this.state = {count: this.model.shown, wireframe: false, edges: true, lengths: false, selected: null};
        this.isSideBySide = true;
        const colours = {after: stripColours(this.model), before: orderColours(this.model)};
        const isGpu = hasGpu();
        this.painter = new (isGpu ? GpuPainter : SoftwarePainter)(this.canvas, this.model, colours);
        this.isStill = !isGpu && this.model.shown > mostTurnedWithoutGpu;
        if (!isGpu) {
            this.explainMissingGpu();
        }
        this.eye = new Eye(boundsOf(this.model.corners));
        this.resize();
        this.reset();
    }

    explainMissingGpu() {
        const note = element('still-note');
        note.textContent = this.isStill
            ? 'There is no WebGL here: this is a still picture.'
            : 'There is no WebGL here: the picture is drawn without it, more slowly.';
        note.hidden = false;
        for (const id of ['wireframe', 'edges']) {
            element(id).hidden = true;
        }
    }

    start() {
        this.selection = new Selection(this);
        this.replay = new Replay(this);
        if (!this.isStill) {
            this.addOrbit();
        }
        listenToPointer(this);
        listenToKeys(this);
        for (const [id, action] of Object.entries({
            side: () => this.toggleSideBySide(),
            wireframe: () => this.toggle('wireframe'),
            edges: () => this.toggle('edges'),
            lengths: () => this.toggleLengths(),
            reset: () => this.reset(),
        })) {
            element(id).addEventListener('click', action);
        }
        new ResizeObserver(() => this.resize()).observe(element('stage'));
        this.followStyle();
        this.drawNow();
        this.canvas.dataset.ready = 'true';
    }

    addOrbit() {
        this.orbit = new OrbitControls(this.eye.camera, this.canvas);
        this.orbit.target = this.eye.target;
        this.orbit.update();
        this.orbit.minDistance = this.eye.sphere.radius * 0.05;
        this.orbit.maxDistance = this.eye.sphere.radius * 40;
        this.orbit.mouseButtons = {LEFT: MOUSE.ROTATE, MIDDLE: MOUSE.DOLLY, RIGHT: MOUSE.PAN};
        this.orbit.touches = {ONE: TOUCH.ROTATE, TWO: TOUCH.DOLLY_PAN};
        this.orbit.addEventListener('change', () => this.redraw());
    }

    // Light, dark and print have their own colours of lines.
    followStyle() {
        const refresh = () => {
            this.painter.refreshColours();
            this.drawNow();
        };
        for (const query of ['(prefers-color-scheme: dark)', 'print']) {
            window.matchMedia(query).addEventListener('change', refresh);
        }
    }

    get views() {
        return layout(this.width, this.height, this.isSideBySide);
    }

    viewAt(x, y) {
        return this.views.find((view) => x >= view.x && x < view.x + view.width && y >= view.y && y < view.y + view.height);
    }

    resize() {
        const {clientWidth, clientHeight} = element('stage');
        if (clientWidth > 0 && clientHeight > 0 && (clientWidth !== this.width || clientHeight !== this.height)) {
            [this.width, this.height] = [clientWidth, clientHeight];
            this.painter.resize(clientWidth, clientHeight);
            this.placeLabels();
            this.drawNow();
        }
    }

    placeLabels() {
        element('label-before').hidden = !this.isSideBySide;
        for (const view of this.views) {
            Object.assign(element(`label-${view.name}`).style, {left: `${view.x}px`, top: `${view.y}px`});
        }
        element('stage').dataset.layout = this.views.length === 1 ? 'one' : this.views[1].x > 0 ? 'beside' : 'below';
    }

    toggle(name) {
        this.state[name] = !this.state[name];
        element(name).setAttribute('aria-pressed', this.state[name]);
        this.redraw();
    }

    toggleLengths() {
        this.toggle('lengths');
        this.painter.tint((this.state.lengths ? lengthColours : stripColours)(this.model));
        element('legend-strips').hidden = this.state.lengths;
        element('legend-lengths').hidden = !this.state.lengths;
    }

    toggleSideBySide() {
        this.isSideBySide = !this.isSideBySide;
        element('side').setAttribute('aria-pressed', this.isSideBySide);
        this.placeLabels();
        this.redraw();
    }

    reset() {
        const [view] = this.views;
        this.eye.reset(view.width / view.height);
        this.redraw();
    }

    redraw() {
        this.pending ??= requestAnimationFrame(() => this.drawNow());
    }

    drawNow() {
        cancelAnimationFrame(this.pending);
        this.pending = undefined;
        this.painter.draw(this.eye, this.views, this.state);
    }
}

export function startViewer() {
    new Viewer().start();
}
