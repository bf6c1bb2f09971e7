// Saves what the picture shows: as it is, or as a film of the replay.

const pixelRatio = 2;
const framesPerSecond = 30;

// Names files after the model.
function fileName(extension) {
    const [title] = document.title.split(' – ');
    return `${title.replace(/\.[^.]*$/, '').replace(/[^\p{L}\p{N}_.-]+/gu, '-') || 'model'}.${extension}`;
}

function download(blob, name) {
    const link = document.createElement('a');
    link.href = URL.createObjectURL(blob);
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 60000);
}

// The picture on the page's colours, with the names of the views.
function compose(viewer, canvas, ratio) {
    const context = canvas.getContext('2d');
    const stage = document.getElementById('stage');
    context.fillStyle = getComputedStyle(stage).backgroundColor;
    context.fillRect(0, 0, canvas.width, canvas.height);
    context.drawImage(viewer.canvas, 0, 0, canvas.width, canvas.height);
    drawDivider(viewer, context, ratio);
    context.font = `${13 * ratio}px system-ui, sans-serif`;
    context.textBaseline = 'top';
    for (const {name, x, y} of viewer.views) {
        const label = document.getElementById(`label-${name}`);
        const style = getComputedStyle(label);
        const left = name === 'right' && viewer.wipe !== null ? viewer.width - 20 - label.offsetWidth : x;
        context.fillStyle = style.color;
        context.fillText(label.textContent, (left + 19) * ratio, (y + 12) * ratio);
    }
}

// The line between the views.
function drawDivider({views: [, right], wipe}, context, ratio) {
    const style = getComputedStyle(document.documentElement);
    context.fillStyle = style.getPropertyValue(wipe === null ? '--line' : '--accent');
    const [x, y] = [(wipe === null ? right.x : right.clip.x) * ratio, right.y * ratio];
    if (y > 0) {
        context.fillRect(0, y, context.canvas.width, ratio);
    } else {
        context.fillRect(x - ratio / 2, 0, ratio, context.canvas.height);
    }
}

function canvasFor(viewer, ratio) {
    const canvas = document.createElement('canvas');
    canvas.width = viewer.width * ratio;
    canvas.height = viewer.height * ratio;
    return canvas;
}

export function savePicture(viewer) {
    viewer.painter.enlarge(pixelRatio);
    viewer.drawNow();
    const canvas = canvasFor(viewer, pixelRatio);
    compose(viewer, canvas, pixelRatio);
    viewer.painter.resize(viewer.width, viewer.height);
    viewer.drawNow();
    canvas.toBlob((blob) => download(blob, fileName('png')), 'image/png');
}

export const canSaveReplay = typeof MediaRecorder !== 'undefined' && MediaRecorder.isTypeSupported('video/webm');

// Replays from the beginning and saves what has been seen when that ends.
export function saveReplay(viewer, button) {
    const canvas = canvasFor(viewer, 1);
    const recorder = new MediaRecorder(canvas.captureStream(framesPerSecond), {mimeType: 'video/webm', videoBitsPerSecond: 8e6});
    const pieces = [];
    recorder.addEventListener('dataavailable', ({data}) => pieces.push(data));
    recorder.addEventListener('stop', () => download(new Blob(pieces, {type: 'video/webm'}), fileName('webm')));
    recorder.start();
    viewer.onDrawn = () => compose(viewer, canvas, 1);
    button.setAttribute('aria-pressed', 'true');
    viewer.replay.play(0, () => {
        viewer.drawNow();
        viewer.onDrawn = undefined;
        button.setAttribute('aria-pressed', 'false');
        // The last frame is still on its way.
        setTimeout(() => recorder.stop(), 200);
    });
}
