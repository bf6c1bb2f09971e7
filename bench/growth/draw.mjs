// Draws the growth of costs: node draw.mjs RESULTS.json PICTURE.svg. Draws nothing if the run did not measure it, or wrote
// its results elsewhere.

import { existsSync, readFileSync, writeFileSync } from 'node:fs';
import { draw } from './chart.mjs';

const [source, target] = process.argv.slice(2);
const results = existsSync(source) ? JSON.parse(readFileSync(source, 'utf8')) : { measurements: [] };
if (results.measurements.some(({ name }) => name.startsWith('growth/'))) {
    writeFileSync(target, draw(results));
    console.log(`\n${target} shows how the costs grow`);
}
