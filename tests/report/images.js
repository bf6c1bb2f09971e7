// Examines screenshots with the browser's own decoders.

let bench;

/// Screenshots are examined in a page of this browser.
export async function lookWith(browser) {
    bench = await browser.newPage();
}

/// The share of a screenshot not in its most frequent colour, its number of colours, and the share of
/// pixels of a wanted kind: `isWanted` is the text of a function of red, green and blue.
export function inspect(png, isWanted = '() => false') {
    return bench.evaluate(async ([data, wanted]) => {
        const bitmap = await createImageBitmap(await (await fetch(`data:image/png;base64,${data}`)).blob());
        const context = new OffscreenCanvas(bitmap.width, bitmap.height).getContext('2d');
        context.drawImage(bitmap, 0, 0);
        const pixels = context.getImageData(0, 0, bitmap.width, bitmap.height).data;
        const test = (0, eval)(wanted);
        const counts = new Map();
        let matches = 0;
        for (let i = 0; i < pixels.length; i += 4) {
            const colour = (pixels[i] << 16) | (pixels[i + 1] << 8) | pixels[i + 2];
            counts.set(colour, (counts.get(colour) ?? 0) + 1);
            matches += test(pixels[i], pixels[i + 1], pixels[i + 2]) ? 1 : 0;
        }
        const all = pixels.length / 4;
        return { covered: 1 - Math.max(...counts.values()) / all, colours: counts.size, wanted: matches / all };
    }, [png.toString('base64'), isWanted]);
}

/// How long a film is, and the share of its first and its last frame that is not in its most frequent colour.
export function filmOf(webm) {
    return bench.evaluate(async (data) => {
        const blob = await (await fetch(`data:video/webm;base64,${data}`)).blob();
        const video = document.createElement('video');
        video.src = URL.createObjectURL(blob);
        video.muted = true;
        const covered = () => {
            const context = new OffscreenCanvas(video.videoWidth, video.videoHeight).getContext('2d');
            context.drawImage(video, 0, 0);
            const { data: pixels } = context.getImageData(0, 0, video.videoWidth, video.videoHeight);
            const counts = new Map();
            for (let i = 0; i < pixels.length; i += 4) {
                const colour = (pixels[i] >> 3 << 10) | (pixels[i + 1] >> 3 << 5) | pixels[i + 2] >> 3;
                counts.set(colour, (counts.get(colour) ?? 0) + 1);
            }
            return 1 - Math.max(...counts.values()) / (pixels.length / 4);
        };
        const showing = (time) => new Promise((done) => {
            video.addEventListener('seeked', done, { once: true });
            video.currentTime = time;
        });
        await new Promise((done) => video.addEventListener('loadeddata', done, { once: true }));
        const first = covered();
        // The length of a recording is unknown until its end is looked for.
        await showing(1e6);
        const seconds = video.currentTime;
        await showing(Math.max(seconds - 0.1, 0));
        return { seconds, first, last: covered() };
    }, webm.toString('base64'));
}

/// The difference of two screenshots: 0 for equal ones, 1 for black and white. Both are scaled down first, so that
/// single pixels of edges and letters do not count.
export function distance(one, other) {
    return bench.evaluate(async (sources) => {
        const side = 96;
        const small = async (data) => {
            const bitmap = await createImageBitmap(await (await fetch(data)).blob());
            const context = new OffscreenCanvas(side, side).getContext('2d');
            context.imageSmoothingQuality = 'high';
            context.drawImage(bitmap, 0, 0, side, side);
            return context.getImageData(0, 0, side, side).data;
        };
        const [a, b] = await Promise.all(sources.map(small));
        let sum = 0;
        for (let i = 0; i < a.length; ++i) {
            sum += Math.abs(a[i] - b[i]);
        }
        return sum / (side * side * 3 * 255);
    }, [one, other].map(({ type, data }) => `data:image/${type};base64,${data.toString('base64')}`));
}

/// The same screenshot in fewer bytes.
export async function shrink(png, width, quality = 0.8) {
    const data = await bench.evaluate(async ([source, toWidth, toQuality]) => {
        const bitmap = await createImageBitmap(await (await fetch(`data:image/png;base64,${source}`)).blob());
        const canvas = document.createElement('canvas');
        canvas.width = toWidth;
        canvas.height = Math.round((bitmap.height * toWidth) / bitmap.width);
        const context = canvas.getContext('2d');
        context.imageSmoothingQuality = 'high';
        context.drawImage(bitmap, 0, 0, canvas.width, canvas.height);
        return canvas.toDataURL('image/webp', toQuality).split(',')[1];
    }, [png.toString('base64'), width, quality]);
    return Buffer.from(data, 'base64');
}
