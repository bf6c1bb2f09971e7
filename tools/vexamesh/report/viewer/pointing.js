// Which part is pointed at, or chosen with the keys, and what the page says of it.
import {describe} from './model.js';

const tip = document.getElementById('tip');
const info = document.getElementById('info');
const hint = info?.textContent;

export class Selection {
    constructor(viewer) {
        this.viewer = viewer;
        this.index = -1;
        this.drawing = null;
    }

    show(index, triangle = -1, drawing = this.viewer.stripDrawing) {
        const {model, state} = this.viewer;
        const isOther = index !== this.index || drawing !== this.drawing;
        this.index = index;
        this.drawing = drawing;
        state.selected = index < 0 ? null : drawing.parts[index];
        state.selectedIn = drawing;
        const [name, ...rest] = index < 0 ? [hint] : describe(model, drawing, index, triangle);
        info.replaceChildren(name);
        if (index >= 0) {
            const strong = document.createElement('strong');
            strong.textContent = name;
            info.replaceChildren(strong, ` · ${rest.join(' · ')}`);
        }
        // Redrawing a still picture is too slow for hovering.
        if (isOther && !this.viewer.isStill) {
            this.viewer.redraw();
        }
    }

    step(by) {
        const drawing = this.viewer.stripDrawing;
        const {length} = drawing.parts;
        const from = this.index < 0 && by < 0 ? 0 : this.index;
        this.hideTip();
        this.show((from + by + length) % length, -1, drawing);
    }

    // Beside the pointer, within the picture.
    showTip(x, y, triangle) {
        const [name, ...rest] = describe(this.viewer.model, this.drawing, this.index, triangle);
        const strong = document.createElement('strong');
        strong.textContent = name;
        tip.replaceChildren(strong, document.createElement('br'), rest.slice(0, 2).join(' · '));
        tip.hidden = false;
        const left = x + 14 + tip.offsetWidth > this.viewer.width ? x - 14 - tip.offsetWidth : x + 14;
        const top = Math.min(y + 14, this.viewer.height - tip.offsetHeight - 4);
        Object.assign(tip.style, {left: `${left}px`, top: `${top}px`});
    }

    hideTip() {
        tip.hidden = true;
    }

    clear() {
        this.hideTip();
        if (this.index >= 0) {
            this.show(-1);
        }
    }
}

export function listenToPointer(viewer) {
    const {canvas, selection} = viewer;
    let latest = null;
    const point = () => {
        const event = latest;
        latest = null;
        if (event === null) {
            return;
        }
        const box = canvas.getBoundingClientRect();
        const [x, y] = [event.clientX - box.left, event.clientY - box.top];
        const view = viewer.viewAt(x, y);
        const triangle = view ? viewer.painter.pick(viewer.eye, view, x, y, viewer.state) : -1;
        if (triangle < 0) {
            selection.clear();
        } else {
            // The order of the input is not cut into parts.
            const drawing = view.drawing.parts === null ? viewer.stripDrawing : view.drawing;
            selection.show(drawing.partOf(triangle), triangle, drawing);
            selection.showTip(x, y, triangle);
        }
    };
    canvas.addEventListener('pointermove', (event) => {
        // While a button turns the picture nothing is pointed at.
        if (event.buttons !== 0) {
            selection.hideTip();
            return;
        }
        if (latest === null) {
            requestAnimationFrame(point);
        }
        latest = event;
    });
    canvas.addEventListener('pointerleave', () => {
        latest = null;
        selection.clear();
    });
}
