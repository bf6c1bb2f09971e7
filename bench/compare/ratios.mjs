// Ratios between the results of two benchmarks, each run several times in turn.

const medianOf = (values) => {
    const sorted = [...values].sort((a, b) => a - b);
    const middle = sorted.length >> 1;
    return sorted.length % 2 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
};

const geometricMean = (values) => Math.exp(values.reduce((sum, value) => sum + Math.log(value), 0) / values.length);

// Every contender of a run by its name.
function contendersOf(results) {
    const found = new Map();
    for (const { name, contenders } of results.measurements) {
        for (const contender of contenders) found.set(`${name}: ${contender.name}`, contender);
    }
    return found;
}

const ratioOf = (after, before) => (before > 0 && after > 0 ? after / before : null);

// One row per contender that both benchmarks have, with its ratios after to before: of times, the median over the pairs of
// runs; of memory and indices, those of the first pair.
//
// runs: pairs of results {before, after}
export function compare(runs) {
    const pairs = runs.map(({ before, after }) => [contendersOf(before), contendersOf(after)]);
    const [first, firstAfter] = pairs[0];
    const isShared = (name) => pairs.every(([before, after]) => before.has(name) && after.has(name));
    return [...first.keys()].filter(isShared).map((name) => {
        const amount = (key) => ratioOf(firstAfter.get(name)[key], first.get(name)[key]);
        const times = pairs.map(([before, after]) => after.get(name).medianSeconds / before.get(name).medianSeconds);
        return {
            name,
            role: firstAfter.get(name).role,
            milliseconds: 1e3 * medianOf(pairs.map(([, after]) => after.get(name).medianSeconds)),
            time: medianOf(times),
            lowest: Math.min(...times),
            highest: Math.max(...times),
            memory: amount('peakBytesPerElement'),
            indices: amount('indices'),
        };
    });
}

// The geometric mean of the time ratios of some rows; null without rows.
export function meanTime(rows) {
    return rows.length === 0 ? null : geometricMean(rows.map(({ time }) => time));
}
