// Draws the first triangles only: the strips in the order in which they were built, the input in its own.
import {format, partName} from './model.js';

const seconds = 12;

export class Replay {
    constructor(viewer) {
        this.viewer = viewer;
        this.slider = document.getElementById('replay');
        this.button = document.getElementById('play');
        this.text = document.getElementById('replay-text');
        this.slider.max = viewer.model.shown;
        this.slider.min = 0;
        this.slider.addEventListener('input', () => {
            this.stop();
            this.show(Number(this.slider.value));
        });
        this.button.addEventListener('click', () => this.toggle());
        this.show(viewer.model.shown);
    }

    show(count) {
        const {model, state} = this.viewer;
        state.count = Math.min(Math.max(Math.round(count), 0), model.shown);
        this.slider.value = state.count;
        const {stripDrawing} = this.viewer;
        const isPartial = state.count > 0 && state.count < model.shown;
        const part = isPartial ? stripDrawing.parts[stripDrawing.partAt(state.count - 1)] : null;
        this.text.textContent = `${format(state.count)} of ${format(model.shown)}${part ? ` · ${partName(part)}` : ''}`;
        this.slider.setAttribute('aria-valuetext', this.text.textContent);
        this.viewer.redraw();
    }

    step(by) {
        this.stop();
        this.show(this.viewer.state.count + by);
    }

    toggle() {
        if (this.frame) {
            this.stop();
        } else {
            const {model, state} = this.viewer;
            this.play(state.count === model.shown ? 0 : state.count);
        }
    }

    // Draws more and more triangles; `onEnd` is called when all are drawn, or when something else stops it.
    play(from, onEnd = () => {}) {
        const {model} = this.viewer;
        const begin = performance.now();
        const advance = (now) => {
            const count = from + ((now - begin) / 1000 / seconds) * model.shown;
            this.show(count);
            if (count < model.shown) {
                this.frame = requestAnimationFrame(advance);
            } else {
                this.stop();
            }
        };
        this.stop();
        this.onEnd = onEnd;
        this.button.setAttribute('aria-pressed', 'true');
        this.button.textContent = 'Pause';
        this.frame = requestAnimationFrame(advance);
    }

    stop() {
        cancelAnimationFrame(this.frame);
        this.frame = undefined;
        this.button.setAttribute('aria-pressed', 'false');
        this.button.textContent = 'Replay';
        const {onEnd} = this;
        this.onEnd = undefined;
        onEnd?.();
    }
}
