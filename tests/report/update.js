// Regenerates the expected screenshots, for a person to approve: node update.js SOURCE_DIRECTORY

import { mkdirSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { launch } from './browser.js';
import { lookWith, shrink } from './images.js';
import { pictures, take } from './pictures.js';
import { models } from './reports.js';

const [source] = process.argv.slice(2);
if (source === undefined) {
    throw new Error('usage: node update.js SOURCE_DIRECTORY');
}

const folder = join(source, 'tests/report/expected');
mkdirSync(folder, { recursive: true });
for (const picture of pictures) {
    const data = await take(picture);
    const browser = await launch();
    await lookWith(browser);
    writeFileSync(join(folder, `${picture.name}.webp`), await shrink(data, Math.min(picture.width, 480)));
    await browser.close();
    console.log(picture.name);
}
const readme = { model: [`${models}/OBJ/WusonOBJ.obj`, '--iterations', '50'], scheme: 'light', width: 1280, isPage: true };
writeFileSync(join(source, 'docs/report.png'), await take(readme, 1240));
console.log('docs/report.png');
