// Draws the growth of costs: node draw.mjs RESULTS.json PICTURE.svg

import { readFileSync, writeFileSync } from 'node:fs';
import { draw } from './chart.mjs';

const [source, target] = process.argv.slice(2);
const results = JSON.parse(readFileSync(source, 'utf8'));
if (results.measurements.some(({ name }) => name.startsWith('growth/'))) {
    writeFileSync(target, draw(results));
    console.log(`\n${target} shows how the costs grow`);
}
