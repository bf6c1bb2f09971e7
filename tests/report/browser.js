// A browser that draws in software, with an empty profile, and the messages it emits while showing a page.

import { chromium } from 'playwright-core';

const program = process.env.VEXAMESH_CHROMIUM ?? '/usr/bin/chromium';
const quiet = [
    '--no-sandbox',
    '--disable-background-networking',
    '--disable-component-update',
    '--disable-default-apps',
    '--disable-sync',
    '--no-first-run',
    '--force-color-profile=srgb',
];
const softwareWebGl = ['--use-gl=angle', '--use-angle=swiftshader', '--enable-unsafe-swiftshader'];
// Drawing in software is slow on a loaded machine.
const patience = 240000;
const noWebGl = ['--disable-gpu', '--disable-3d-apis'];

export function launch({ webGl = true } = {}) {
    const args = [...quiet, ...(webGl ? softwareWebGl : noWebGl)];
    return chromium.launch({ executablePath: program, args, timeout: patience });
}

/// Opens a report; `unwanted` collects everything that must not happen: messages, errors, and requests for anything but the page.
export async function open(browser, file, options = {}) {
    const page = await browser.newPage({ viewport: { width: 1280, height: 900 }, colorScheme: 'light', ...options });
    page.setDefaultTimeout(patience);
    const url = `file://${file}`;
    page.unwanted = [];
    page.on('console', (message) => page.unwanted.push(`console ${message.type()}: ${message.text()}`));
    page.on('pageerror', (error) => page.unwanted.push(`error: ${error.stack}`));
    page.on('dialog', (dialog) => {
        page.unwanted.push(`dialog: ${dialog.message()}`);
        dialog.dismiss();
    });
    page.on('request', (request) => {
        if (request.url() !== url && !request.url().startsWith('data:')) {
            page.unwanted.push(`request: ${request.url()}`);
        }
    });
    await page.goto(url);
    await page.waitForSelector('#canvas[data-ready]');
    return page;
}

/// A screenshot of the view without the texts on it.
export async function pictureOf(page) {
    const hiding = await page.addStyleTag({ content: '.view-label, .tip, .still-note, #wipe, [data-layout="wipe"]::after { visibility: hidden }' });
    await settled(page);
    const picture = await page.locator('#stage').screenshot();
    await hiding.evaluate((style) => style.remove());
    return picture;
}

/// Waits until pending drawing is finished.
export function settled(page) {
    return page.evaluate(() => new Promise((done) => {
        requestAnimationFrame(() => requestAnimationFrame(() => requestAnimationFrame(done)));
    }));
}
