// Reads files with three, without a browser.

import { readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { LoadingManager, Texture } from 'three';
import { GLTFLoader } from 'three/addons/loaders/GLTFLoader.js';
import { OBJLoader } from 'three/addons/loaders/OBJLoader.js';
import { Part, transform } from './geometry.js';

// Browsers have it, and three creates one whenever a part of a file has loaded.
globalThis.ProgressEvent ??= Event;

// Decoding images needs a browser; comparing triangles does not.
const withoutImages = () => ({ name: 'withoutImages', loadTexture: () => Promise.resolve(new Texture()) });

function partOf(object) {
    const { index, attributes: { position } } = object.geometry;
    const positions = Array.from({ length: 3 * position.count }, (_, i) =>
        position.getComponent(Math.floor(i / 3), i % 3));
    const part = new Part(transform(object.matrixWorld.elements, positions));
    const count = index === null ? position.count : index.count;
    const vertex = (i) => (index === null ? i : index.getX(i));
    if (object.isMesh) {
        for (let i = 0; i + 2 < count; i += 3) {
            part.addTriangle(vertex(i), vertex(i + 1), vertex(i + 2));
        }
    } else if (object.isLineSegments) {
        for (let i = 0; i + 1 < count; i += 2) {
            part.addLine(vertex(i), vertex(i + 1));
        }
    } else if (object.isLine) {
        for (let i = 0; i + 1 < count + (object.isLineLoop ? 1 : 0); ++i) {
            part.addLine(vertex(i), vertex((i + 1) % count));
        }
    }
    return part;
}

function partsOf(scene) {
    const parts = [];
    scene.updateMatrixWorld(true);
    scene.traverse((object) => {
        if (object.geometry !== undefined) {
            parts.push(partOf(object));
        }
    });
    return parts;
}

export async function readGltf(file) {
    // Relative references would be fetched over a network.
    const manager = new LoadingManager().setURLModifier((url) => (url.startsWith('data:') ? url :
        `data:application/octet-stream;base64,${readFileSync(join(dirname(file), url), 'base64')}`));
    const loader = new GLTFLoader(manager).register(withoutImages);
    const { scene } = await loader.parseAsync(Uint8Array.from(readFileSync(file)).buffer, '');
    return partsOf(scene);
}

export function readObj(file) {
    return partsOf(new OBJLoader().parse(readFileSync(file, 'utf8')));
}
