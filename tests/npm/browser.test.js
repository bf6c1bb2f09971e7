// A browser loads the package as it is, without a bundler.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { chromium } from 'playwright-core';
import { strip } from 'vexamesh';
import { grid } from './shapes.js';

const origin = 'http://vexamesh.test/';
let browser;
let page;
const messages = [];

before(async () => {
    browser = await chromium.launch({
        executablePath: process.env.VEXAMESH_CHROMIUM ?? '/usr/bin/chromium',
        args: ['--no-sandbox', '--disable-gpu', '--no-first-run'],
        timeout: 120000,
    });
    page = await browser.newPage();
    page.on('console', (message) => messages.push(message.text()));
    page.on('pageerror', (error) => messages.push(String(error)));
    await page.route('**/*', (route) => {
        const path = route.request().url().slice(origin.length);
        return path === '' ? route.fulfill({ contentType: 'text/html', body: '<!doctype html><title>vexamesh</title>' })
                           : route.fulfill({ contentType: 'text/javascript', body: readFileSync(join('node_modules/vexamesh/src', path)) });
    });
    await page.goto(origin);
});

after(() => browser?.close());

test('strips and meshes are those of Node.js', async () => {
    const triangles = grid(50, 50);
    const found = await page.evaluate(async (list) => {
        const { strip, weld } = await import('/index.js');
        const corners = Float32Array.from([0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 1, 1, 0]);
        const { remap } = weld({ attributes: { position: { array: corners, itemSize: 3 } } });
        return { strip: Array.from(strip(list, { effort: 3 })), remap: Array.from(remap) };
    }, Array.from(triangles));
    assert.deepEqual(found.strip, Array.from(strip(triangles, { effort: 3 })));
    assert.deepEqual(found.remap, [0, 1, 2, 2, 1, 3]);
    assert.deepEqual(messages, []);
});

test('errors have their messages', async () => {
    const message = await page.evaluate(async () => {
        const { strip } = await import('/index.js');
        try {
            return strip([0, 1]);
        } catch (error) {
            return error.message;
        }
    });
    assert.match(message, /2 indices are not a whole number of triangles/);
});
