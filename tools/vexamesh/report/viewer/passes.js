// Steps through the passes of the search: the strips at the end of each, on the right.
import {format} from './model.js';

export class Passes {
    constructor(viewer) {
        this.viewer = viewer;
        this.steps = viewer.model.steps;
        this.slider = document.getElementById('pass');
        this.text = document.getElementById('pass-text');
        document.getElementById('passes').hidden = this.steps.length === 0;
        this.slider.max = this.steps.length - 1;
        this.slider.addEventListener('input', () => this.show(Number(this.slider.value)));
        this.describe(this.steps.length - 1);
    }

    // Says which pass the right view shows; -1 if it shows other strips.
    describe(number) {
        const {steps} = this;
        let text = '';
        if (number >= 0) {
            const {name, indices} = steps[number];
            const perTriangle = (indices / this.viewer.model.triangles).toFixed(3);
            text = `${number + 1} of ${steps.length} · ${name} · ${format(indices)} indices, ${perTriangle} a triangle`;
            this.slider.value = number;
        }
        this.text.textContent = text;
        this.slider.setAttribute('aria-valuetext', text);
    }

    show(number) {
        const {model} = this.viewer;
        this.viewer.showDrawing(1, model.drawings[1 + this.steps[number].drawing]);
        // Only the strips of the report are among those that can be chosen.
        document.getElementById('right').selectedIndex = this.steps[number].drawing === 0 ? 1 : -1;
        this.describe(number);
    }

    step(by) {
        if (this.steps.length > 0) {
            this.show(Math.min(Math.max(Number(this.slider.value) + by, 0), this.steps.length - 1));
        }
    }
}
