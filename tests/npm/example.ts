// Compiled, never run: the types allow the right uses and no others.

import { Document } from '@gltf-transform/core';
import { analyze, edges, merge, minIndexCount, RESTART_INDEX, strip, strips, unstrip, weld } from 'vexamesh';
import type { IndexedMesh, Mesh } from 'vexamesh';
import { strip as stripDocument, unstrip as unstripDocument } from 'vexamesh/gltf-transform';

const wide: Uint32Array = strip([0, 1, 2], { effort: 3, onProgress: (fraction) => fraction < 0.5 });
const narrow: Uint16Array = strip(new Uint16Array(3), { type: Uint16Array, join: 'degenerate' });
const counts: Uint32Array = edges(wide).triangleCounts;
const mesh: Mesh = { indices: narrow, attributes: { position: { array: new Float32Array(9), itemSize: 3 } } };
const welded: IndexedMesh = weld(mesh, { tolerance: 0.1 }).mesh;
const merged: IndexedMesh = merge([{ mesh: welded, placement: new Float32Array(16) }, { mesh }], { fillMissing: true });
const numbers: number[] = [minIndexCount(merged.indices), analyze(counts, { mode: 'strip' }).acmr, RESTART_INDEX];
numbers.push(unstrip(wide).length, strips(wide).length);
await new Document().transform(stripDocument({ effort: 2, all: true }), unstripDocument());

// @ts-expect-error
strip([0, 1, 2], { effort: 7 });
// @ts-expect-error
strip('012');
// @ts-expect-error
weld({ attributes: { position: { array: new Float64Array(3), itemSize: 3 } } });
// @ts-expect-error
stripDocument({ join: 'restart' });
