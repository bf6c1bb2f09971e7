// Reports look as in their expected screenshots, which update.js takes and a person approves.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { after, before, test } from 'node:test';
import { launch } from './browser.js';
import { distance, lookWith } from './images.js';
import { pictures, take } from './pictures.js';

// Fonts and software drawing differ between machines.
const alike = { view: 0.02, page: 0.05 };
const expected = (name) => ({ type: 'webp', data: readFileSync(new URL(`expected/${name}.webp`, import.meta.url)) });

let browser;
before(async () => {
    browser = await launch();
});
after(() => browser.close());

for (const picture of pictures) {
    test(`${picture.name} matches its screenshot`, async () => {
        const data = await take(picture);
        await lookWith(browser);
        const far = await distance({ type: 'png', data }, expected(picture.name));
        assert.ok(far < (picture.isPage ? alike.page : alike.view), `distance: ${far}`);
    });
}

test('screenshots of different things do not match', async () => {
    await lookWith(browser);
    for (const [one, other] of [['small-light', 'large-light'], ['small-light', 'small-dark'], ['small-light', 'small-narrow']]) {
        const far = await distance(expected(one), expected(other));
        assert.ok(far > 2 * alike.view, `${one} and ${other}: ${far}`);
    }
});
