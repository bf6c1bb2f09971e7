// The picture: one eye and two views, drawn whenever something has changed.
import {MOUSE, TOUCH} from 'three';
import {OrbitControls} from 'three/addons/controls/OrbitControls.js';
import {boundsOf, Eye, layout} from './camera.js';
import {drawingColours, levelFor} from './colours.js';
import {GpuPainter} from './gpu.js';
import {listenToKeys} from './keyboard.js';
import {drawingName, readModel} from './model.js';
import {Passes} from './passes.js';
import {listenToPointer, Selection} from './pointing.js';
import {Replay} from './replay.js';
import {canSaveReplay, savePicture, saveReplay} from './save.js';
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
    constructor(model) {
        this.model = model;
        this.canvas = element('canvas');
        this.state = {count: model.shown, wireframe: false, edges: true, selected: null, selectedIn: null};
        this.look = {lengths: false, level: -1};
        // The drawings of the left and the right view; the first of all drawings is the input.
        this.shown = [model.drawings[0], model.drawings[1]];
        // Where the left view ends and the right one begins, as a share of the width, if both are in the same place.
        this.wipe = null;
        const isGpu = hasGpu();
        this.painter = new (isGpu ? GpuPainter : SoftwarePainter)(this.canvas, model);
        this.drawnTriangles = model.batches.reduce((sum, {count, places}) => sum + count * (places?.length ?? 1), 0);
        this.isStill = !isGpu && this.drawnTriangles > mostTurnedWithoutGpu;
        if (!isGpu) {
            this.explainMissingGpu();
        }
        this.eye = new Eye(boundsOf(model), model.home);
        this.resize();
        this.reset();
    }

    // The strips that keys step through and the replay names: those on the right, unless that is the input.
    get stripDrawing() {
        return [...this.shown].reverse().find(({parts}) => parts !== null) ?? this.model.drawings[1];
    }

    explainMissingGpu() {
        const note = element('still-note');
        note.textContent = this.isStill
            ? 'WebGL is not available: this is a still picture.'
            : 'WebGL is not available: the picture is drawn without it, more slowly.';
        note.hidden = false;
        for (const id of ['wireframe', 'edges']) {
            element(id).hidden = true;
        }
    }

    start() {
        this.selection = new Selection(this);
        this.replay = new Replay(this);
        this.passes = new Passes(this);
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
            'save-picture': () => savePicture(this),
            'save-replay': () => this.saveReplay(),
        })) {
            element(id).addEventListener('click', action);
        }
        element('save-replay').hidden = !canSaveReplay || this.isStill;
        element('wipe').addEventListener('input', ({target}) => this.setWipe(target.value / target.max));
        this.offerDrawings();
        new ResizeObserver(() => this.resize()).observe(element('stage'));
        this.followStyle();
        this.isStarted = true;
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
        return layout(this.width, this.height, this.shown, this.wipe);
    }

    viewAt(x, y) {
        return this.views.find(({clip, y: top, height}) => x >= clip.x && x < clip.x + clip.width && y >= top && y < top + height);
    }

    // If there are several strips to compare, lets each view show any of them.
    offerDrawings() {
        const {drawings, steps} = this.model;
        // Those of passes are the last.
        const offered = drawings.slice(0, drawings.length - Math.max(steps.length - 1, 0));
        element('compared').hidden = offered.length < 3;
        ['left', 'right'].forEach((side, i) => {
            const select = element(side);
            select.replaceChildren(...offered.map((drawing) => new Option(drawingName(drawing))));
            select.selectedIndex = i;
            select.addEventListener('change', () => {
                this.showDrawing(i, offered[select.selectedIndex]);
                this.passes.describe(this.shown[1] === drawings[1] ? steps.length - 1 : -1);
            });
        });
    }

    // side: 0 for the left view, 1 for the right one
    showDrawing(side, drawing) {
        this.selection.clear();
        this.shown[side] = drawing;
        this.tint();
        this.placeLabels();
        this.replay.show(this.state.count);
    }

    resize() {
        const {clientWidth, clientHeight} = element('stage');
        if (clientWidth > 0 && clientHeight > 0 && (clientWidth !== this.width || clientHeight !== this.height)) {
            [this.width, this.height] = [clientWidth, clientHeight];
            this.painter.resize(clientWidth, clientHeight);
            this.refit();
            this.placeLabels();
            if (this.isStarted) {
                this.drawNow();
            }
        }
    }

    placeLabels() {
        const views = this.views;
        for (const {name, drawing, x, y} of views) {
            const label = element(`label-${name}`);
            label.textContent = drawingName(drawing);
            const isAtRight = this.wipe !== null && name === 'right';
            Object.assign(label.style, {left: isAtRight ? 'auto' : `${x}px`, right: isAtRight ? '0' : 'auto', top: `${y}px`});
        }
        const stage = element('stage');
        stage.dataset.layout = this.wipe !== null ? 'wipe' : views[1].x > 0 ? 'beside' : 'below';
        stage.style.setProperty('--wipe', `${100 * (this.wipe ?? 0.5)}%`);
    }

    toggle(name) {
        this.state[name] = !this.state[name];
        element(name).setAttribute('aria-pressed', this.state[name]);
        this.redraw();
    }

    toggleLengths() {
        this.look.lengths = !this.look.lengths;
        element('lengths').setAttribute('aria-pressed', this.look.lengths);
        this.tint();
        // Triangles that are split off have the colours of their strips' lengths, too.
        for (const [id, isShown] of [['legend-strips', !this.look.lengths], ['legend-lengths', this.look.lengths],
            ['legend-split-off', !this.look.lengths]]) {
            element(id)?.toggleAttribute('hidden', !isShown);
        }
        this.redraw();
    }

    toggleSideBySide() {
        const {value, max} = element('wipe');
        this.setWipe(this.wipe === null ? value / max : null);
    }

    moveWipe(by) {
        if (this.wipe !== null) {
            this.setWipe(Math.min(Math.max(this.wipe + by, 0), 1));
        }
    }

    // A share of the width, or null for two views.
    setWipe(wipe) {
        this.wipe = wipe;
        const slider = element('wipe');
        slider.hidden = wipe === null;
        // Switched off, it keeps its place.
        slider.value = wipe === null ? slider.value : wipe * slider.max;
        element('side').setAttribute('aria-pressed', wipe === null);
        this.refit();
        this.placeLabels();
        this.redraw();
    }

    refit() {
        const [{width, height}] = this.views;
        const aspect = width / height;
        if (this.isStarted && aspect !== this.aspect) {
            this.eye.refit(this.aspect, aspect);
        }
        this.aspect = aspect;
    }

    saveReplay() {
        if (this.onDrawn) {
            this.replay.stop();
        } else {
            saveReplay(this, element('save-replay'));
        }
    }

    tint() {
        for (const drawing of new Set(this.shown)) {
            this.painter.tint(drawing, drawingColours(this.model, drawing, this.look));
        }
    }

    // Where strips are too small to be told apart, groups of them share a colour.
    chooseLevel() {
        const level = levelFor(this.model, this.stripDrawing, this.eye.pixelsPerTriangle(this.views[0], this.drawnTriangles));
        if (level !== this.look.level) {
            this.look.level = level;
            this.state.level = level;
            this.canvas.dataset.level = level;
            element('legend-text').textContent = level === 0
                ? 'a strip or a fan, neighbours in different colours'
                : 'a group of neighbouring strips; closer, each strip has a colour';
            this.tint();
        }
    }

    reset() {
        const [view] = this.views;
        this.eye.reset(view.width / view.height);
        this.redraw();
    }

    redraw() {
        if (!this.isStarted) {
            return;
        }
        this.pending ??= requestAnimationFrame(() => this.drawNow());
    }

    drawNow() {
        cancelAnimationFrame(this.pending);
        this.pending = undefined;
        this.chooseLevel();
        this.painter.draw(this.eye, this.views, this.state);
        this.onDrawn?.();
    }
}

export async function startViewer() {
    if (typeof DecompressionStream === 'undefined') {
        const note = element('still-note');
        note.textContent = 'This browser is too old to unpack the picture.';
        note.hidden = false;
        return;
    }
    new Viewer(await readModel()).start();
}
