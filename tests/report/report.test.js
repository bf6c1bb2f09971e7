// The behaviour of a report in a browser.

import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { after, before, describe, test } from 'node:test';
import { launch, open, pictureOf, settled } from './browser.js';
import { distance, filmOf, inspect, lookWith } from './images.js';
import { models, placedTwice, report, threeWings, twoStrips, wideGrid, writeObj } from './reports.js';

const isRed = '(r, g, b) => r > 170 && g < 70 && b < 70';
const alike = 0.001;

const png = (data) => ({ type: 'png', data });
const infoOf = (page) => page.locator('#info').textContent();

async function setSlider(page, value) {
    await page.locator('#replay').fill(String(value));
    await settled(page);
}

/// The texts shown at a grid of points of the view: [x, text], from left to right; `from` and `to` are shares of it.
async function pointAround(page, from, to) {
    const box = await page.locator('#canvas').boundingBox();
    const found = [];
    for (let column = 0; column < 24; ++column) {
        const x = box.x + box.width * (from + ((to - from) * (column + 0.5)) / 24);
        for (let row = 0; row < 5; ++row) {
            await page.mouse.move(x, box.y + box.height * (0.42 + row * 0.04));
            await settled(page);
            if (await page.locator('#tip').isVisible()) {
                found.push(await infoOf(page));
            }
        }
    }
    return found;
}

for (const webGl of [true, false]) {
    describe(webGl ? 'with WebGL' : 'without WebGL', () => {
        let browser;
        let page;

        before(async () => {
            browser = await launch({ webGl });
            await lookWith(browser);
            page = await open(browser, report(twoStrips()).file);
        });
        after(() => browser.close());

        test('the console stays empty and nothing is loaded', () => assert.deepEqual(page.unwanted, []));

        test('a note appears if WebGL is missing', async () => {
            assert.equal(await page.locator('#still-note').isVisible(), !webGl);
        });

        test('both views show something', async () => {
            const box = await page.locator('#canvas').boundingBox();
            await pictureOf(page);
            for (const share of [0, 0.5]) {
                const clip = { x: box.x + share * box.width + 2, y: box.y, width: box.width / 2 - 4, height: box.height };
                const { covered, colours } = await inspect(await page.screenshot({ clip }));
                assert.ok(covered > 0.03 && covered < 0.7, `covered: ${covered}`);
                assert.ok(colours > 1);
            }
        });

        for (const [view, from, to] of [['before', 0, 0.5], ['after', 0.5, 1]]) {
            test(`pointing distinguishes the strips, ${view}`, async () => {
                const texts = await pointAround(page, from, to);
                const short = texts.findLastIndex((text) => /^Strip \d+ · 2 triangles · 0 swaps · 4 indices/.test(text));
                const long = texts.findIndex((text) => /^Strip \d+ · 8 triangles · 1 swap · 11 indices/.test(text));
                assert.ok(short >= 0 && long >= 0, texts.join('\n'));
                assert.ok(short < long, 'the short strip is on the left');
                assert.notEqual(texts[short].split(' · ')[0], texts[long].split(' · ')[0]);
            });
        }

        test('pointing next to the model shows nothing', async () => {
            const box = await page.locator('#canvas').boundingBox();
            await page.mouse.move(box.x + box.width * 0.75, box.y + 5);
            await settled(page);
            assert.equal(await page.locator('#tip').isVisible(), false);
            assert.match(await infoOf(page), /^Point at a triangle/);
        });

        test('the slider draws as many triangles as it shows', async () => {
            const covered = [];
            for (const count of [0, 2, 6, 10]) {
                await setSlider(page, count);
                assert.match(await page.locator('#replay-text').textContent(), new RegExp(`^${count} of 10`));
                await page.locator('#edges').evaluate((button) => {
                    if (button.getAttribute('aria-pressed') === 'true') {
                        button.click();
                    }
                });
                covered.push((await inspect(await pictureOf(page))).covered);
            }
            assert.ok(covered[0] < 0.01, `nothing: ${covered[0]}`);
            for (let i = 1; i < covered.length; ++i) {
                assert.ok(covered[i] > covered[i - 1] + 0.005, covered.join(', '));
            }
        });

        test('replay starts with an empty view and can be stopped', async () => {
            await setSlider(page, 10);
            await page.locator('#play').click();
            await page.waitForFunction(() => {
                const count = Number(document.getElementById('replay').value);
                return count > 0 && count < 10;
            });
            await page.locator('#play').click();
            assert.equal(await page.locator('#play').getAttribute('aria-pressed'), 'false');
            await setSlider(page, 10);
        });

        test('keys turn the view and reset it', async () => {
            await page.locator('#canvas').focus();
            // The first key makes the focus visible, too.
            await page.keyboard.press('0');
            const before = await pictureOf(page);
            for (const key of ['ArrowRight', 'ArrowUp', '+', 'Shift+ArrowLeft']) {
                const last = await pictureOf(page);
                await page.keyboard.press(key);
                assert.ok((await distance(png(last), png(await pictureOf(page)))) > alike, key);
            }
            await page.keyboard.press('0');
            assert.ok((await distance(png(before), png(await pictureOf(page)))) < alike);
        });

        test('keys step through the strips and the triangles', async () => {
            await page.locator('#canvas').focus();
            await page.keyboard.press('n');
            assert.match(await infoOf(page), /^Strip 1 · /);
            await page.keyboard.press('n');
            assert.match(await infoOf(page), /^Strip 2 · /);
            await page.keyboard.press('p');
            assert.match(await infoOf(page), /^Strip 1 · /);
            await page.keyboard.press('Escape');
            assert.match(await infoOf(page), /^Point at/);
            await page.keyboard.press(',');
            assert.match(await page.locator('#replay-text').textContent(), /^9 of 10 · Strip 2/);
            await page.keyboard.press('.');
            assert.match(await page.locator('#replay-text').textContent(), /^10 of 10/);
        });

        test('a slider divides one view into before and after', async () => {
            await page.locator('#side').click();
            assert.equal(await page.locator('#stage').getAttribute('data-layout'), 'wipe');
            const shot = async (share) => {
                await page.locator('#wipe').fill(String(1000 * share));
                return await pictureOf(page);
            };
            const [before, half, after] = [await shot(1), await shot(0.5), await shot(0)];
            const isRamp = '(r, g, b) => r > 200 && g > 180 && b < 120';
            assert.ok((await inspect(before)).covered > 0.01);
            assert.ok((await distance(png(before), png(after))) > 4 * alike);
            assert.ok((await distance(png(before), png(half))) > alike / 5);
            assert.ok((await distance(png(half), png(after))) > alike / 5);
            assert.ok((await inspect(before, isRamp)).wanted > 0, 'the order of the input has its own colours');
            await page.locator('#canvas').focus();
            await page.keyboard.press(']');
            assert.equal(await page.locator('#wipe').inputValue(), '50');
            await page.locator('#side').click();
            assert.equal(await page.locator('#stage').getAttribute('data-layout'), 'beside');
            assert.equal(await page.locator('#wipe').isVisible(), false);
        });

        test('the picture can be saved at twice its size', async () => {
            const [download] = await Promise.all([page.waitForEvent('download'), page.locator('#save-picture').click()]);
            assert.equal(download.suggestedFilename(), 'two-strips.png');
            const data = await readFile(await download.path());
            const box = await page.locator('#stage').boundingBox();
            assert.deepEqual([data.readUInt32BE(16), data.readUInt32BE(20)], [2 * box.width, 2 * box.height].map(Math.round));
            assert.ok((await inspect(data)).covered > 0.03);
            assert.ok((await distance(png(data), png(await page.locator('#stage').screenshot()))) < 0.01);
        });

        test('the replay can be saved as a film', async () => {
            const [download] = await Promise.all([page.waitForEvent('download'), page.locator('#save-replay').click()]);
            assert.equal(download.suggestedFilename(), 'two-strips.webm');
            const film = await filmOf(await readFile(await download.path()));
            assert.ok(film.seconds > 1, `${film.seconds} s`);
            assert.ok(film.last > film.first + 0.02, `covered: ${film.first} to ${film.last}`);
            assert.equal(await page.locator('#save-replay').getAttribute('aria-pressed'), 'false');
        });

        test('strips can be coloured by their length', async () => {
            const shot = async () => png(await pictureOf(page));
            const toggle = async () => {
                await page.locator('#lengths').click();
                await settled(page);
            };
            await toggle();
            await toggle();
            const before = await shot();
            await toggle();
            assert.equal(await page.locator('#legend-lengths').isVisible(), true);
            assert.equal(await page.locator('#legend-strips').isVisible(), false);
            assert.ok((await distance(before, await shot())) > alike);
            await toggle();
            assert.equal(await page.locator('#legend-strips').isVisible(), true);
            assert.ok((await distance(before, await shot())) < alike);
        });

        test('dragging turns the view', async () => {
            const before = await pictureOf(page);
            const box = await page.locator('#canvas').boundingBox();
            await page.mouse.move(box.x + 200, box.y + 200);
            await page.mouse.down();
            await page.mouse.move(box.x + 320, box.y + 230, { steps: 4 });
            await page.mouse.up();
            assert.ok((await distance(png(before), png(await pictureOf(page)))) > 0.01);
            await page.locator('#reset').click();
            assert.ok((await distance(png(before), png(await pictureOf(page)))) < alike);
        });

        test('the console is still empty at the end', () => assert.deepEqual(page.unwanted, []));
    });
}

describe('a report', () => {
    let browser;

    before(async () => {
        browser = await launch();
        await lookWith(browser);
    });
    after(() => browser.close());

    test('shows edges of more than two triangles in red', async () => {
        const page = await open(browser, report(threeWings()).file);
        assert.ok((await inspect(await pictureOf(page), isRed)).wanted > 0.001);
        await page.locator('#canvas').focus();
        await page.keyboard.press('e');
        assert.equal((await inspect(await pictureOf(page), isRed)).wanted, 0);
        await page.close();
    });

    for (const webGl of [true, false]) {
        test(`draws a mesh in each of its places, ${webGl ? 'with' : 'without'} WebGL`, async () => {
            const other = await launch({ webGl });
            const page = await open(other, report(placedTwice()).file);
            await page.locator('#edges').evaluate((button) => button.click());
            const box = await page.locator('#canvas').boundingBox();
            const names = [];
            for (const share of [0.6, 0.9]) {
                let found = '';
                for (let row = 0; row < 20 && found === ''; ++row) {
                    await page.mouse.move(box.x + box.width * share, box.y + box.height * (0.3 + 0.02 * row));
                    await settled(page);
                    found = await page.locator('#tip').isVisible() ? await infoOf(page) : '';
                }
                names.push(found.split(' · ')[0]);
            }
            assert.deepEqual(names, ['Strip 1', 'Strip 1']);
            const clip = { ...box, x: box.x + box.width * 0.73, width: box.width * 0.04 };
            await page.mouse.move(box.x + 5, box.y + 5);
            await settled(page);
            assert.equal((await inspect(await page.screenshot({ clip }))).covered, 0, 'nothing between the places');
            await other.close();
        });
    }

    test('shows the whole model in views of every shape', async () => {
        const page = await open(browser, report(twoStrips()).file, { viewport: { width: 390, height: 844 } });
        await page.locator('#edges').evaluate((button) => button.click());
        const coveredAt = async (from, to) => {
            await settled(page);
            await page.locator('#stage').scrollIntoViewIfNeeded();
            const { x, y, width, height } = await page.locator('#canvas').boundingBox();
            const clip = { x: x + from * width, y: y + 0.3 * height, width: (to - from) * width, height: 0.4 * height };
            return (await inspect(await page.screenshot({ clip }))).covered;
        };
        await page.locator('#side').click();
        for (const width of [390, 1280, 500]) {
            await page.setViewportSize({ width, height: 844 });
            assert.ok((await coveredAt(0.1, 0.4)) > 0.01, `the model at ${width}`);
            assert.equal(await coveredAt(0, 0.03), 0, `beside it at ${width}`);
            assert.equal(await coveredAt(0.97, 1), 0, `beside it at ${width}`);
        }
        await page.close();
    });

    test('names the colours that are drawn and no others', async () => {
        const page = await open(browser, report(threeWings()).file);
        const named = () => page.locator('.legend li:visible').evaluateAll((items) => items.map(({ id }) => id).filter(Boolean));
        assert.deepEqual(await named(), ['legend-strips', 'legend-split-off']);
        await page.locator('#lengths').click();
        assert.deepEqual(await named(), ['legend-lengths']);
        await page.locator('#lengths').click();
        assert.deepEqual(await named(), ['legend-strips', 'legend-split-off']);
        await page.close();
    });

    test('shows groups of strips from afar and single strips close by', async () => {
        const page = await open(browser, report(wideGrid()).file);
        const level = async () => Number(await page.locator('#canvas').getAttribute('data-level'));
        const first = await level();
        await page.locator('#canvas').focus();
        const afar = await inspect(await pictureOf(page));
        for (let i = 0; i < 24; ++i) {
            await page.keyboard.press('-');
        }
        await settled(page);
        assert.ok((await level()) > first, `level ${await level()} after ${first}`);
        assert.match(await page.locator('#legend-text').textContent(), /^a group of neighbouring strips/);
        for (let i = 0; i < 48; ++i) {
            await page.keyboard.press('+');
        }
        await settled(page);
        assert.equal(await level(), 0);
        assert.match(await page.locator('#legend-text').textContent(), /^a strip or a fan/);
        assert.ok(afar.colours > 1);
        await page.close();
    });

    test('shows the strips of other efforts beside these', async () => {
        const page = await open(browser, report(wideGrid(), '--compare', '0', '--effort', '3').file);
        const names = await page.locator('#left option').allTextContents();
        assert.equal(names.length, 3);
        assert.match(names[0], /^Before/);
        assert.match(names[1], /^After: [\d,]+ strip/);
        assert.match(names[2], /^Effort 0: [\d,]+ strips/);
        const before = await pictureOf(page);
        await page.locator('#left').selectOption({ index: 2 });
        assert.equal(await page.locator('#label-left').textContent(), names[2]);
        assert.ok((await distance(png(before), png(await pictureOf(page)))) > alike);
        const box = await page.locator('#canvas').boundingBox();
        await page.mouse.move(box.x + box.width / 4, box.y + box.height / 2);
        await settled(page);
        assert.match(await infoOf(page), /^(Strip|Left over)/);
        assert.ok((await distance(png(before), png(await pictureOf(page)))) > 0.01, 'the rest turns grey in both views');
        assert.deepEqual(page.unwanted, []);
        await page.close();
    });

    test('steps through the passes of the search', async () => {
        const page = await open(browser, report(wideGrid(), '--compare', '0').file);
        const pass = page.locator('#pass');
        const text = () => page.locator('#pass-text').textContent();
        const label = () => page.locator('#label-right').textContent();
        const indices = async () => Number((await text()).match(/([\d,]+) indices/)[1].replaceAll(',', ''));
        assert.match(await text(), /^2 of 2 · Tunnelling · [\d,]+ indices, 1\.\d{3} a triangle$/);
        assert.match(await label(), /^After: /);
        const [last, after] = [await indices(), await pictureOf(page)];
        await pass.fill('0');
        assert.match(await text(), /^1 of 2 · Flow · /);
        assert.match(await label(), /^Flow: [\d,]+ strips/);
        assert.ok((await indices()) > last);
        assert.ok((await distance(png(after), png(await pictureOf(page)))) > alike);
        await page.locator('#canvas').focus();
        await page.keyboard.press('PageDown');
        assert.match(await text(), /^2 of 2/);
        assert.match(await label(), /^After: /);
        await page.locator('#right').selectOption({ index: 2 });
        assert.equal(await text(), '', 'strips of another effort are not those of a pass');
        assert.deepEqual(page.unwanted, []);
        await page.close();
    });

    test('offers no passes if there is only one', async () => {
        const page = await open(browser, report(wideGrid(), '--effort', '0').file);
        assert.equal(await page.locator('#passes').isVisible(), false);
        await page.close();
    });

    for (const [name, size, offset] of [['tiny', 1e-30, 0], ['huge', 1e38, 0], ['far away', 1, 5e6]]) {
        test(`draws a model that is ${name} as any other`, async () => {
            const place = ([x, y, z]) => [x * size + offset, y * size, z * size + offset];
            const vertices = [[0, 0, 0], [1, 0, 0], [0, 1, 0], [1, 1, 0]].map(place);
            const page = await open(browser, report(writeObj('square', vertices, [[0, 1, 2], [2, 1, 3]])).file);
            await page.locator('#edges').click();
            const { covered, colours } = await inspect(await pictureOf(page));
            assert.ok(covered > 0.1 && colours > 1, `covered: ${covered}, colours: ${colours}`);
            await page.close();
        });
    }

    test('is whole after it was saved from a browser', async () => {
        const { file } = report(twoStrips());
        const page = await open(browser, file);
        const saved = file.replace('.html', '-saved.html');
        await writeFile(saved, await page.content());
        await page.close();
        const again = await open(browser, saved);
        assert.ok((await inspect(await pictureOf(again))).covered > 0.03);
        assert.deepEqual(again.unwanted, []);
        await again.close();
    });

    test('cuts no table off', async () => {
        const page = await open(browser, report(`${models}/OBJ/spider.obj`).file, { viewport: { width: 1200, height: 900 } });
        const tables = await page.locator('.scroll').evaluateAll((list) => list.map((scroll) => [scroll.ariaLabel, scroll.scrollWidth - scroll.clientWidth]));
        assert.ok(tables.length >= 3);
        assert.deepEqual(tables.filter(([, hidden]) => hidden > 0), []);
        await page.close();
    });

    test('draws the sides of triangles as a wireframe', async () => {
        const page = await open(browser, report(`${models}/OBJ/spider.obj`).file);
        const before = await pictureOf(page);
        await page.locator('#wireframe').click();
        const difference = await distance(png(before), png(await pictureOf(page)));
        assert.ok(difference > 0.002, `difference: ${difference}`);
        await page.close();
    });

    test('shows names verbatim, whatever they contain', async () => {
        const name = '</script><script>alert(1)</script><img src=x onerror=alert(2)>';
        const page = await open(browser, report(threeWings(name)).file);
        await page.locator('#canvas').focus();
        await page.keyboard.press('n');
        assert.ok((await page.locator('body').textContent()).includes(name));
        assert.equal(await page.locator('img').count(), 0);
        assert.deepEqual(page.unwanted, []);
        await page.close();
    });

    test('shows the figures that --json prints', async () => {
        const { file, facts } = report(`${models}/OBJ/WusonOBJ.obj`, '--fans', '5');
        const page = await open(browser, file);
        const numbers = await page.locator('.metrics data').evaluateAll((list) => list.map((data) => Number(data.value)));
        const { total } = facts;
        assert.deepEqual(numbers, [
            total.indicesBefore, total.indicesAfter, total.primitivesBefore, total.primitivesAfter, total.bytesBefore,
            total.bytesAfter, facts.report.listBytes, facts.file.after.bytes, total.strips, total.fans, total.leftOver,
        ]);
        assert.deepEqual(JSON.parse(await page.locator('#json').textContent()), facts);
        await page.close();
    });

    test('says that it shows only a part', async () => {
        const page = await open(browser, report(twoStrips(), '--show', '5').file);
        assert.match(await page.locator('#part').textContent(), /the first 5 of 10 triangles/);
        assert.match(await page.locator('#replay-text').textContent(), /^5 of 5/);
        await page.close();
    });

    test('can be printed', async () => {
        const page = await open(browser, report(twoStrips()).file, { colorScheme: 'dark' });
        assert.ok((await page.pdf()).length > 10000);
        await page.emulateMedia({ media: 'print' });
        await settled(page);
        assert.equal(await page.locator('.toolbar').isVisible(), false);
        assert.equal(await page.evaluate(() => getComputedStyle(document.body).backgroundColor), 'rgb(255, 255, 255)');
        assert.ok((await inspect(await pictureOf(page))).covered > 0.03);
        await page.close();
    });

    test('follows the light or dark style while it is open', async () => {
        const page = await open(browser, report(twoStrips()).file);
        const light = await pictureOf(page);
        await page.emulateMedia({ colorScheme: 'dark' });
        assert.ok((await distance(png(light), png(await pictureOf(page)))) > 0.1);
        await page.close();
    });

    for (const width of [360, 700, 1600]) {
        test(`fits a window of ${width} pixels`, async () => {
            const page = await open(browser, report(twoStrips()).file, { viewport: { width, height: 800 } });
            const wider = await page.evaluate(() => document.documentElement.scrollWidth - window.innerWidth);
            assert.ok(wider <= 0, `${wider} pixels too wide`);
            await page.close();
        });
    }

    test('names every control', async () => {
        const page = await open(browser, report(twoStrips()).file);
        const nameless = await page.locator('button, input, canvas, svg').evaluateAll((list) => list
            .filter((item) => !(item.textContent.trim() || item.ariaLabel || item.labels?.length))
            .map((item) => item.outerHTML.slice(0, 80)));
        assert.deepEqual(nameless, []);
        await page.close();
    });
});
