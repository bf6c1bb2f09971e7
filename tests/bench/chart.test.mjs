// The picture of how costs grow.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { curves, draw } from '../../bench/growth/chart.mjs';

const contender = (name, elements, nanosecondsPerElement, peakBytesPerElement = null) => ({
    name, elements, nanosecondsPerElement, peakBytesPerElement,
});
const results = {
    measurements: [
        { name: 'growth/1000', contenders: [contender('graph', 1000, 100), contender('a & b', 1000, 50)] },
        { name: 'growth/100000', contenders: [contender('graph', 100000, 200, 210), contender('a & b', 100000, 60, 20)] },
        { name: 'growth/10000', contenders: [contender('graph', 10000, 120)] },
        { name: 'strips/dragon', contenders: [contender('graph', 5, 5, 5)] },
    ],
};

test('a curve has the points of its contender in ascending order', () => {
    const found = curves(results, (each) => each.nanosecondsPerElement);
    assert.deepEqual([...found.keys()], ['graph', 'a & b']);
    assert.deepEqual(found.get('graph'), [[1000, 100], [10000, 120], [100000, 200]]);
});

test('a curve leaves out what was not measured', () => {
    assert.deepEqual(curves(results, (each) => each.peakBytesPerElement).get('graph'), [[100000, 210]]);
});

test('the picture has a line per contender and chart, and its names as text', () => {
    const svg = draw(results);
    assert.equal(svg.match(/fill="none"/g).length, 4);
    assert.match(svg, />graph</);
    assert.match(svg, />a &#38; b</);
    assert.doesNotMatch(svg, /NaN|undefined|Infinity/);
});

test('more time is drawn higher, more triangles further right', () => {
    const [, time] = draw(results).match(/<path d="M([^"]*)" fill="none"/);
    const points = time.split('L').map((point) => point.split(' ').map(Number));
    for (let i = 1; i < points.length; ++i) {
        assert.ok(points[i][0] > points[i - 1][0]);
        assert.ok(points[i][1] < points[i - 1][1]);
    }
});

test('results without measurements of growth have no picture', () => {
    assert.throws(() => draw({ measurements: [] }), /no measurement of growth/);
});
