// Ratios between two benchmarks.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { compare, meanTime } from '../../bench/compare/ratios.mjs';

// Results in which every contender is named after its measurement, or as given: {measurement: {contender: fields}}.
function results(measurements) {
    return {
        measurements: Object.entries(measurements).map(([name, contenders]) => ({
            name,
            contenders: Object.entries(contenders).map(([contender, fields]) => ({ name: contender, role: 'own', ...fields })),
        })),
    };
}

const timed = (seconds) => results({ dragon: { graph: { medianSeconds: seconds } } });

test('a time ratio is the median over the pairs of runs', () => {
    const [row] = compare([
        { before: timed(1), after: timed(2) },
        { before: timed(2), after: timed(3) },
        { before: timed(1), after: timed(9) },
    ]);
    assert.equal(row.name, 'dragon: graph');
    assert.deepEqual([row.time, row.lowest, row.highest], [2, 1.5, 9]);
    assert.equal(row.milliseconds, 3000);
});

test('rows that only one of the benchmarks has are left out', () => {
    const both = { medianSeconds: 1 };
    const before = results({ dragon: { graph: both, old: both }, bunny: { graph: both } });
    const after = results({ dragon: { graph: both, new: both } });
    assert.deepEqual(compare([{ before, after }]).map(({ name }) => name), ['dragon: graph']);
});

test('memory and indices have ratios where both were measured', () => {
    const before = results({ dragon: { graph: { medianSeconds: 1, peakBytesPerElement: 200, indices: null } } });
    const after = results({ dragon: { graph: { medianSeconds: 1, peakBytesPerElement: 150, indices: 7 } } });
    const [row] = compare([{ before, after }]);
    assert.equal(row.memory, 0.75);
    assert.equal(row.indices, null);
});

test('the mean of ratios is geometric', () => {
    assert.equal(meanTime([{ time: 4 }, { time: 1 }]), 2);
    assert.equal(meanTime([]), null);
});
