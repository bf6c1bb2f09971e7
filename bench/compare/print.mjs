// Prints the ratios of a comparison: node print.mjs DIRECTORY RUNS, with before-N.json and after-N.json in the directory.

import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { compare, meanTime } from './ratios.mjs';

const [directory, count] = process.argv.slice(2);
const read = (name, number) => JSON.parse(readFileSync(join(directory, `${name}-${number}.json`), 'utf8'));
const numbers = Array.from({ length: Number(count) }, (_, i) => i + 1);
const rows = compare(numbers.map((number) => ({ before: read('before', number), after: read('after', number) })));

const decimals = (value) => (value === null ? '-' : value.toFixed(2));
const line = (name, ...cells) => console.log(name.padEnd(64) + cells.map((cell) => cell.padStart(9)).join(''));

console.log(`\nThis tree to the other revision; times are medians of ${count} pairs of runs, with the lowest and the highest`);
line('', 'ms', 'time', 'lowest', 'highest', 'memory', 'indices');
for (const row of rows.filter(({ role }) => role === 'own')) {
    line(row.name, decimals(row.milliseconds), ...['time', 'lowest', 'highest', 'memory', 'indices'].map((key) => decimals(row[key])));
}
console.log();
line('geometric mean of these', '', decimals(meanTime(rows.filter(({ role }) => role === 'own'))));
line('geometric mean of the other libraries, which did not change', '', decimals(meanTime(rows.filter(({ role }) => role === 'peer'))));
