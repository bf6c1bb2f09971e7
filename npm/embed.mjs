// Writes a WebAssembly module, compressed, as a JavaScript module, which every bundler, browser and server loads alike.
// usage: embed.mjs MODULE.wasm OUT.js

import { readFileSync, writeFileSync } from 'node:fs';
import { gzipSync } from 'node:zlib';

const [from, to] = process.argv.slice(2);
writeFileSync(to, `export default '${gzipSync(readFileSync(from), { level: 9 }).toString('base64')}';\n`);
