// The expected screenshots of reports: their contents and how to take them.

import { launch, open, pictureOf, settled } from './browser.js';
import { lookWith } from './images.js';
import { models, report } from './reports.js';

const spider = [`${models}/OBJ/spider.obj`];
const engine = [`${models}/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb`];

/// The view alone (`#stage`, without its texts) or the page from its top.
export const pictures = [
    { name: 'small-light', model: spider, scheme: 'light', width: 1280 },
    { name: 'small-dark', model: spider, scheme: 'dark', width: 1280 },
    { name: 'small-narrow', model: spider, scheme: 'light', width: 400 },
    { name: 'small-without-webgl', model: spider, scheme: 'light', width: 1280, webGl: false },
    { name: 'large-light', model: engine, scheme: 'light', width: 1280 },
    { name: 'large-dark', model: engine, scheme: 'dark', width: 1280 },
    { name: 'page-light', model: spider, scheme: 'light', width: 1280, isPage: true },
    { name: 'page-dark', model: spider, scheme: 'dark', width: 1280, isPage: true },
];

/// A screenshot as PNG.
export async function take({ model, scheme, width, webGl = true, isPage = false }, height = 900) {
    const browser = await launch({ webGl });
    try {
        await lookWith(browser);
        const { file } = report(...model);
        const page = await open(browser, file, { viewport: { width, height }, colorScheme: scheme });
        if (!isPage) {
            return await pictureOf(page);
        }
        await settled(page);
        return await page.screenshot();
    } finally {
        await browser.close();
    }
}
