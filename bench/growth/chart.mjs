// Draws how the cost per triangle changes with the number of triangles, from the results of a benchmark.

const area = 'growth/';
const colours = ['#0969da', '#1a7f37', '#8250df', '#bf3989', '#bc4c00', '#57606a', '#9a6700', '#cf222e'];
const frame = { left: 60, top: 40, width: 400, height: 260, gap: 90 };

const exponentText = (exponent) => `10<tspan font-size="8" dy="-4">${exponent}</tspan>`;
const range = (first, last) => Array.from({ length: last - first + 1 }, (_, i) => first + i);
const escape = (text) => text.replace(/[&<>]/g, (character) => `&#${character.charCodeAt(0)};`);

// Per contender, its points [triangles, amount per triangle] in ascending order, where the amount was measured.
export function curves(results, amountOf) {
    const found = new Map();
    for (const { name, contenders } of results.measurements) {
        if (!name.startsWith(area)) continue;
        for (const contender of contenders) {
            const amount = amountOf(contender);
            if (!(amount > 0)) continue;
            if (!found.has(contender.name)) found.set(contender.name, []);
            found.get(contender.name).push([contender.elements, amount]);
        }
    }
    for (const points of found.values()) points.sort(([a], [b]) => a - b);
    return found;
}

// A chart with logarithmic axes, as the body of an SVG group.
function chart(title, unit, lines, names) {
    const points = [...lines.values()].flat();
    const bounds = (index) => {
        const logs = points.map((point) => Math.log10(point[index]));
        return [Math.floor(Math.min(...logs) + 0.05), Math.ceil(Math.max(...logs) - 0.05)];
    };
    const [x0, x1] = bounds(0);
    const [y0, y1] = bounds(1);
    const x = (value) => ((Math.log10(value) - x0) / (x1 - x0 || 1)) * frame.width;
    const y = (value) => frame.height * (1 - (Math.log10(value) - y0) / (y1 - y0 || 1));
    const parts = [`<text x="0" y="-16" font-size="13">${escape(title)}</text>`];
    for (const exponent of range(x0, x1)) {
        const at = x(10 ** exponent).toFixed(1);
        parts.push(`<path d="M${at} 0V${frame.height}" stroke="#d0d7de"/>`);
        parts.push(`<text x="${at}" y="${frame.height + 18}" text-anchor="middle">${exponentText(exponent)}</text>`);
    }
    for (const value of range(y0, y1).flatMap((exponent) => [1, 2, 5].map((digit) => digit * 10 ** exponent))) {
        if (value > 10 ** y1) continue;
        const at = y(value).toFixed(1);
        parts.push(`<path d="M0 ${at}H${frame.width}" stroke="#d0d7de"/>`);
        parts.push(`<text x="-6" y="${Number(at) + 4}" text-anchor="end">${value}</text>`);
    }
    parts.push(`<text x="${frame.width / 2}" y="${frame.height + 36}" text-anchor="middle">triangles</text>`);
    parts.push(`<text x="-42" y="${frame.height / 2}" text-anchor="middle" transform="rotate(-90 -42 ${frame.height / 2})">${escape(unit)}</text>`);
    for (const [name, line] of lines) {
        const path = line.map(([count, amount]) => `${x(count).toFixed(1)} ${y(amount).toFixed(1)}`).join('L');
        parts.push(`<path d="M${path}" fill="none" stroke="${colours[names.indexOf(name) % colours.length]}" stroke-width="2"/>`);
    }
    return parts.join('\n');
}

// Time and memory per triangle side by side, with a legend below.
export function draw(results) {
    const times = curves(results, (contender) => contender.nanosecondsPerElement);
    // Less than a byte is what the kernel rounds by.
    const memory = curves(results, ({ peakBytesPerElement }) => (peakBytesPerElement >= 1 ? peakBytesPerElement : 0));
    if (times.size === 0) throw new Error('the results have no measurement of growth');
    const names = [...times.keys()];
    const charts = [chart('Time', 'nanoseconds per triangle', times, names)];
    if (memory.size > 0) charts.push(chart('Peak memory beyond the input', 'bytes per triangle', memory, names));
    const step = frame.width + frame.gap;
    const width = frame.left + step * charts.length;
    const legendTop = frame.top + frame.height + 60;
    const perRow = 4;
    const rows = Math.ceil(names.length / perRow);
    const legend = names.map((name, i) => {
        const left = frame.left + (i % perRow) * 230;
        const top = legendTop + Math.floor(i / perRow) * 20;
        return `<path d="M${left} ${top}h20" stroke="${colours[i % colours.length]}" stroke-width="2"/>\n` +
            `<text x="${left + 26}" y="${top + 4}">${escape(name)}</text>`;
    });
    return [
        `<svg xmlns="http://www.w3.org/2000/svg" width="${width}" height="${legendTop + 20 * rows}" font-family="sans-serif" font-size="11" fill="#1f2328">`,
        '<rect width="100%" height="100%" fill="#fff"/>',
        ...charts.map((body, i) => `<g transform="translate(${frame.left + i * step} ${frame.top})">\n${body}\n</g>`),
        ...legend,
        '</svg>\n',
    ].join('\n');
}
