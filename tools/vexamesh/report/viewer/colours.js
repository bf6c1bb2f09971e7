// Hues that people with the common kinds of colour blindness tell apart, each light and dark; the vermilion of the
// same family is kept for what is split off.
const parts = [
    0x56b4e9, 0xe69f00, 0x009e73, 0xf0e442, 0x0072b2, 0xcc79a7,
    0xb5dff5, 0x9a6a05, 0x86d3b8, 0x4d5f9e, 0xf6c98c, 0x8a4a70,
];
const leftOver = 0x9a9a9a;
const splitOff = 0xd55e00;
// From the first triangle of the input to the last: the lightness alone tells the order.
const ramp = [0x26406f, 0x4c5a75, 0x7d7c78, 0xb8a364, 0xf4d84e];

const channels = (colour) => [colour >> 16, (colour >> 8) & 255, colour & 255];

function onRamp(share) {
    const place = share * (ramp.length - 1);
    const step = Math.min(Math.floor(place), ramp.length - 2);
    const from = channels(ramp[step]);
    const to = channels(ramp[step + 1]);
    return from.map((value, i) => value + (to[i] - value) * (place - step));
}

// Three bytes for each triangle by `colourOf`.
function paint(count, colourOf) {
    const bytes = new Uint8Array(3 * count);
    for (let i = 0; i < count; ++i) {
        bytes.set(colourOf(i), 3 * i);
    }
    return bytes;
}

export function stripColours(model) {
    const bytes = new Uint8Array(3 * model.shown);
    for (const part of model.parts) {
        const colour = channels(part.kind === 2 ? leftOver : parts[part.colour % parts.length]);
        for (let i = part.first; i < part.first + part.shown; ++i) {
            bytes.set(colour, 3 * i);
        }
    }
    for (const triangle of model.splitOff) {
        bytes.set(channels(splitOff), 3 * triangle);
    }
    return bytes;
}

// Light for short strips, dark for long ones, in steps that double, as in the plot of lengths.
export function lengthColours(model) {
    const strips = model.parts.filter((part) => part.kind !== 2);
    const longest = strips.reduce((most, part) => Math.max(most, Math.log2(part.triangles)), 1);
    const bytes = stripColours(model);
    for (const part of strips) {
        const colour = onRamp(1 - Math.log2(part.triangles) / longest);
        for (let i = part.first; i < part.first + part.shown; ++i) {
            bytes.set(colour, 3 * i);
        }
    }
    return bytes;
}

export function orderColours(model) {
    const last = Math.max(model.triangles - 1, 1);
    return paint(model.shown, (i) => onRamp(model.order[i] / last));
}

// The page's colours for lines, which follow its light or dark style.
export function lineColours() {
    const style = getComputedStyle(document.documentElement);
    return {
        border: style.getPropertyValue('--border-edge').trim(),
        nonManifold: style.getPropertyValue('--non-manifold-edge').trim(),
    };
}
