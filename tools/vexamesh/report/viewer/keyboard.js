// Keys that work while the picture has the focus.
const turn = Math.PI / 24;
const shift = 0.05;
const zoom = 1.12;

function actionsOf(viewer) {
    const {eye, selection, replay, passes} = viewer;
    const seen = (change) => () => {
        if (!viewer.isStill) {
            change();
            viewer.redraw();
        }
    };
    return {
        'ArrowLeft': seen(() => eye.turn(-turn, 0)),
        'ArrowRight': seen(() => eye.turn(turn, 0)),
        'ArrowUp': seen(() => eye.turn(0, -turn)),
        'ArrowDown': seen(() => eye.turn(0, turn)),
        'Shift+ArrowLeft': seen(() => eye.move(-shift, 0)),
        'Shift+ArrowRight': seen(() => eye.move(shift, 0)),
        'Shift+ArrowUp': seen(() => eye.move(0, shift)),
        'Shift+ArrowDown': seen(() => eye.move(0, -shift)),
        '+': seen(() => eye.turn(0, 0, 1 / zoom)),
        '=': seen(() => eye.turn(0, 0, 1 / zoom)),
        '-': seen(() => eye.turn(0, 0, zoom)),
        '0': () => viewer.reset(),
        'Home': () => viewer.reset(),
        'n': () => selection.step(1),
        'p': () => selection.step(-1),
        'Escape': () => selection.clear(),
        ' ': () => replay.toggle(),
        '.': () => replay.step(1),
        ',': () => replay.step(-1),
        'PageUp': () => passes.step(-1),
        'PageDown': () => passes.step(1),
        's': () => viewer.toggleSideBySide(),
        '[': () => viewer.moveWipe(-0.05),
        ']': () => viewer.moveWipe(0.05),
        '<': () => viewer.moveWipe(-0.05),
        '>': () => viewer.moveWipe(0.05),
        'w': () => viewer.toggle('wireframe'),
        'e': () => viewer.toggle('edges'),
        'l': () => viewer.toggleLengths(),
    };
}

export function listenToKeys(viewer) {
    const actions = actionsOf(viewer);
    viewer.canvas.addEventListener('keydown', (event) => {
        if (event.ctrlKey || event.altKey || event.metaKey) {
            return;
        }
        const isArrow = event.key.startsWith('Arrow');
        const key = isArrow ? (event.shiftKey ? 'Shift+' : '') + event.key : event.key.length === 1 ? event.key.toLowerCase() : event.key;
        const action = actions[key];
        if (action) {
            event.preventDefault();
            action();
        }
    });
}
