// The colours of triangles.
import {leftOver} from './model.js';

const splitOff = [0xd5, 0x5e, 0x00];
// From the first triangle of the input to the last: the lightness alone tells the order.
const ramp = ['#26406f', '#4c5a75', '#7d7c78', '#b8a364', '#f4d84e'].map(channels);

function channels(colour) {
    return [1, 3, 5].map((at) => parseInt(colour.slice(at, at + 2), 16));
}

function onRamp(share) {
    const place = share * (ramp.length - 1);
    const step = Math.min(Math.floor(place), ramp.length - 2);
    return ramp[step].map((value, i) => value + (ramp[step + 1][i] - value) * (place - step));
}

function orderColours(model) {
    const last = Math.max(model.triangles - 1, 1);
    const bytes = new Uint8Array(3 * model.shown);
    for (let i = 0; i < model.shown; ++i) {
        bytes.set(onRamp(model.order[i] / last), 3 * i);
    }
    return bytes;
}

// Light for short strips, dark for long ones, in steps that double, as in the plot of lengths.
function lengthColour(drawing) {
    const strips = drawing.parts.filter((part) => part.kind !== leftOver);
    const longest = strips.reduce((most, part) => Math.max(most, Math.log2(part.triangles)), 1);
    return (part) => onRamp(1 - Math.log2(part.triangles) / longest);
}

// Three bytes for each triangle of the model in a view of a drawing.
//
// look: {lengths: whether colours say how long strips are, level: of the groups that have a colour of their own otherwise}
export function drawingColours(model, drawing, look) {
    if (drawing.parts === null) {
        return orderColours(model);
    }
    const palette = model.palette.map(channels);
    const grey = channels(model.leftOver);
    const paint = look.lengths ? lengthColour(drawing) : (part) => palette[part.colours[look.level] % palette.length];
    const bytes = new Uint8Array(3 * model.shown);
    for (const part of drawing.parts) {
        const colour = part.kind === leftOver ? grey : paint(part);
        for (let i = part.first; i < part.first + part.shown; ++i) {
            bytes.set(colour, 3 * drawing.triangles[i]);
        }
    }
    if (!look.lengths) {
        for (const triangle of model.splitOff) {
            bytes.set(splitOff, 3 * triangle);
        }
    }
    return bytes;
}

// Groups of strips should cover about this many pixels.
const groupPixels = 120;
// Triangles of the groups of level l: `first` * `factor` ** l.
const first = 16;
const factor = 4;

// The level of groups that can be told apart, if a triangle covers so many pixels.
export function levelFor(model, drawing, pixelsPerTriangle) {
    let size = model.shown / Math.max(drawing.parts.length, 1);
    let level = 0;
    while (level + 1 < model.levels && size * pixelsPerTriangle < groupPixels) {
        ++level;
        size = first * factor ** level;
    }
    return level;
}

// The page's colours for lines, which follow its light or dark style.
export function lineColours() {
    const style = getComputedStyle(document.documentElement);
    return {
        border: style.getPropertyValue('--border-edge').trim(),
        nonManifold: style.getPropertyValue('--non-manifold-edge').trim(),
    };
}
