// Whole pages in a headless Chromium: browser_test.mjs SAMPLEPAGES DIRECTORY [CHROMIUM]. Ends with 77 without a browser.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { existsSync, mkdirSync, writeFileSync } from 'node:fs';
import { join, resolve } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { pathToFileURL } from 'node:url';

import { Browser } from './browser.mjs';

const [samplePages, directory, chromium] = process.argv.slice(2);
if (!chromium || !existsSync(chromium)) {
    console.log('Skipped: there is no Chromium; install the package chromium to test pages in it');
    process.exit(77);
}
mkdirSync(directory, { recursive: true });
execFileSync(samplePages, [directory]);
execFileSync(samplePages, [directory, '360000']);
const addressOf = (name) => pathToFileURL(resolve(join(directory, name))).href;

// The sheet of the samples by its formulas.
const [width, height] = [240, 160];
const pixelOf = (u, v) => v * width + u;

function nodeOf(u, v) {
    const along = 0.5 * (v - 0.5 * height);
    const angle = (0.5 * u) / 100;
    const radius = 100 + 2 * Math.cos(0.02 * along);
    return [radius * Math.sin(angle), -radius * Math.cos(angle), along];
}

function smoothNoise(u, v) {
    let sum = 0;
    for (let wave = 1; wave <= 5; ++wave) {
        const turn = 2.4 * wave;
        sum += Math.sin((0.11 + 0.05 * wave) * (u * Math.cos(turn) + v * Math.sin(turn)) + wave);
    }
    return sum / 5;
}

const plainAmplitude = (u, v) => 55 + 12 * Math.sin(0.004 * u) + 3 * smoothNoise(u, v);
const isInDisc = (u, v, toU, toV, radius) => Math.hypot(u + 0.5 - toU, v + 0.5 - toV) < radius;

function stateOf(u, v) {
    return isInDisc(u, v, 170, 110, 18) || u + v < 40
        ? 0
        : isInDisc(u, v, 60, 50, 8)
          ? 2
          : u >= 100 && u < 130 && v >= 20 && v < 30
            ? 1
            : u >= 200 && u < 225 && v >= 30 && v < 36
              ? 5
              : isInDisc(u, v, 120, 110, 6)
                ? 4
                : 3;
}

function amplitudeOf(u, v) {
    const state = stateOf(u, v);
    const isFlaw = isInDisc(u, v, 60, 120, 10) || isInDisc(u, v, 140, 60, 7);
    return state === 4 ? 100 : state === 3 ? plainAmplitude(u, v) - (isFlaw ? 35 : 0) : NaN;
}

const allPixels = Array.from({ length: width * height }, (_, i) => [i % width, Math.floor(i / width)]);
const distance = (a, b) => Math.hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);

/** What the panel says of something, by the name in its row. */
const panel = (tab, table, name) =>
    tab.evaluate(`[...document.querySelectorAll('#${table} tr')]
    .find((row) => row.firstChild.textContent === '${name}')?.lastChild.textContent`);

/** Where a canvas's own place is in the window. */
const onScreen = (tab, canvas, place) =>
    tab.evaluate(`(() => {
    const box = document.getElementById('${canvas}').getBoundingClientRect();
    const [x, y] = ${place};
    return [box.left + x, box.top + y];
})()`);

/** How many of the picture's pixels are not of the background, and how many colours there are. */
const drawnIn3D = (tab) =>
    tab.evaluate(`(() => {
    const { space } = window.page;
    space.drawNow();
    const gl = space.renderer.getContext();
    const [wide, high] = [gl.drawingBufferWidth, gl.drawingBufferHeight];
    const bytes = new Uint8Array(4 * wide * high);
    gl.readPixels(0, 0, wide, high, gl.RGBA, gl.UNSIGNED_BYTE, bytes);
    const colours = new Set();
    let drawn = 0;
    for (let i = 0; i < bytes.length; i += 4) {
        const colour = (bytes[i] << 16) | (bytes[i + 1] << 8) | bytes[i + 2];
        colours.add(colour);
        drawn += colour === 0x262a30 ? 0 : 1;
    }
    return { share: drawn / (wide * high), colours: colours.size };
})()`);

function assertQuiet(tab, name) {
    assert.deepEqual(tab.complaints, []);
    assert.deepEqual(tab.requests, [addressOf(name)], 'nothing but the file is asked for');
}

async function focus(tab, id) {
    await tab.evaluate(`document.getElementById('${id}').focus()`);
    assert.equal(await tab.evaluate('document.activeElement.id'), id);
}

describe('a page with WebGL', () => {
    let browser;
    let tab;
    before(async () => {
        browser = new Browser(chromium);
        tab = await browser.open(addressOf('measured.html'));
    });
    after(async () => browser?.close());

    test('opens from a file without an error and without a request', async () => {
        assert.equal(await tab.evaluate('document.documentElement.dataset.state'), 'ready');
        await tab.settle();
        assertQuiet(tab, 'measured.html');
    });

    test('takes names for text', async () => {
        const name = 'sheet </script><b id="broken">&amp;';
        assert.equal(await tab.evaluate('document.title'), name);
        assert.equal(await tab.evaluate("document.getElementById('title').textContent"), name);
        assert.equal(await tab.evaluate("document.getElementById('broken')"), null);
    });

    test('holds every number within the error that it states', async () => {
        const { states, reals, error } = await tab.evaluate(`(() => {
            const { scan } = window.page;
            return { states: [...scan.states], error: scan.values[0].error,
                reals: [...scan.values[0].reals].map((value) => (Number.isNaN(value) ? null : value)) };
        })()`);
        const worst = allPixels
            .map(([u, v], i) => {
                assert.equal(states[i], stateOf(u, v));
                assert.equal(reals[i] === null, Number.isNaN(amplitudeOf(u, v)), `${u}, ${v}`);
                return reals[i] === null ? 0 : Math.abs(reals[i] - amplitudeOf(u, v));
            })
            .reduce((a, b) => Math.max(a, b));
        assert.ok(
            error > 0 && error < 1e-3 && worst <= error * 1.0000001 && worst > 0.9 * error,
            `${worst} of ${error}`,
        );
    });

    test('holds places and normals within the errors that it states', async () => {
        const { places, error } = await tab.evaluate(`(() => {
            const { scan, model } = window.page;
            const pixels = [${pixelOf(45, 10)}, ${pixelOf(239, 159)}, ${pixelOf(120, 80)}];
            return { places: pixels.map((pixel) => scan.cornersOf(pixel)), error: model.placeError };
        })()`);
        [
            [45, 10],
            [239, 159],
            [120, 80],
        ].forEach(([u, v], i) => {
            [
                [0, 0],
                [1, 0],
                [1, 1],
                [0, 1],
            ].forEach(([du, dv], corner) => {
                const apart = distance(places[i][corner], nodeOf(u + du, v + dv));
                assert.ok(apart < error + 1e-5, `${apart} of ${error}`); // and the rounding of the file's floats
            });
        });
        assert.ok(error < 1e-3);
    });

    test('draws the part in its colours', async () => {
        const { share, colours } = await drawnIn3D(tab);
        assert.ok(share > 0.3 && share < 0.95 && colours > 100, `${share}, ${colours}`);
    });

    test('marks in space what is pointed at in the C-scan, with its numbers', async () => {
        const [u, v] = [180, 40];
        await tab.point(...(await onScreen(tab, 'cscan', `window.page.cscan.screenOf([${u} + 0.5, ${v} + 0.5])`)));
        assert.equal(await panel(tab, 'pixel', 'u, v'), `${u}, ${v}`);
        assert.equal(await panel(tab, 'pixel', 'State'), 'echo');
        const amplitude = Number((await panel(tab, 'pixel', 'amplitude:max')).replace(' %FSH', ''));
        assert.ok(Math.abs(amplitude - amplitudeOf(u, v)) < 2e-3);
        const marker = await tab.evaluate('window.page.space.marks.marker.place');
        assert.ok(distance(marker, nodeOf(u + 0.5, v + 0.5)) < 0.01);
        const told = (await panel(tab, 'pixel', 'x, y, z'))
            .replace(' mm', '')
            .replaceAll('−', '-')
            .split(', ')
            .map(Number);
        assert.ok(distance(told, marker) < 1e-3);
    });

    test('the axes of the C-scan tell lengths on the part, and the numbers of the pixel pointed at', async () => {
        const count = (length, at) => Array.from({ length }, (_, i) => at(i)).filter(([u, v]) => stateOf(u, v) !== 0).length;
        // The fullest line, of equal ones that nearest to the middle.
        const fullest = (lines, countOf) =>
            Array.from({ length: lines }, (_, i) => i).reduce((best, i) => {
                const [more, off] = [countOf(i) - countOf(best), (line) => Math.abs(line - lines / 2)];
                return more > 0 || (more === 0 && off(i) < off(best)) ? i : best;
            });
        const row = fullest(height, (v) => count(width, (u) => [u, v]));
        const column = fullest(width, (u) => count(height, (v) => [u, v]));
        const texts = await tab.evaluate(`(() => {
            const { cscan } = window.page;
            const context = cscan.canvas.getContext('2d');
            const texts = [];
            context.fillText = (text, ...rest) => {
                texts.push(String(text));
                CanvasRenderingContext2D.prototype.fillText.call(context, text, ...rest);
            };
            cscan.drawNow();
            delete context.fillText;
            return texts;
        })()`);
        assert.ok(texts.some((text) => text.startsWith(`u: length along row v = ${row} [mm]`)), String(texts));
        assert.ok(texts.includes(`v: length along column u = ${column} [mm]`), String(texts));
        assert.ok(texts.includes('u 180') && texts.includes('v 40'), 'what the test before points at');

        const { alongU, alongV } = await tab.evaluate(
            '({ alongU: window.page.cscan.ticksAlongU(), alongV: window.page.cscan.ticksAlongV() })',
        );
        // The whole is shown: u over an arc of about 120 mm, v over 80.
        const wayTo = (place, at) => {
            let way = 0;
            for (let i = 0; i < 400; ++i) {
                way += distance(at((place * i) / 400), at((place * (i + 1)) / 400));
            }
            return way;
        };
        assert.ok(alongU.length >= 3 && alongV.length >= 3);
        for (const { length, place } of alongU) {
            assert.ok(texts.includes(String(length)));
            assert.ok(Math.abs(wayTo(place, (u) => nodeOf(u, row + 0.5)) - length) < 0.05, `${length} at ${place}`);
        }
        for (const { length, place } of alongV) {
            assert.ok(Math.abs(wayTo(place, (v) => nodeOf(column + 0.5, v)) - length) < 0.05, `${length} at ${place}`);
        }
    });

    test('marks in the C-scan what is pointed at in space', async () => {
        for (const [u, v] of [
            [30, 100],
            [140, 20],
            [220, 140],
        ]) {
            await tab.point(
                ...(await onScreen(
                    tab,
                    'space',
                    `window.page.space.screenOf(window.page.scan.centreOf(${pixelOf(u, v)}))`,
                )),
            );
            assert.equal(await tab.evaluate('window.page.cscan.marks.pixel'), pixelOf(u, v));
            assert.equal(await panel(tab, 'pixel', 'u, v'), `${u}, ${v}`);
        }
    });

    test('tells the state of every kind of pixel', async () => {
        const kinds = [
            [60, 50, 'no echo'],
            [115, 25, 'not reached'],
            [102, 25, 'not reached, filled in'],
            [210, 33, 'refused'],
            [120, 110, 'saturated'],
            [60, 120, 'echo'],
        ];
        for (const [u, v, state] of kinds) {
            await tab.point(...(await onScreen(tab, 'cscan', `window.page.cscan.screenOf([${u} + 0.5, ${v} + 0.5])`)));
            assert.equal(await panel(tab, 'pixel', 'State'), state);
        }
        const before = await tab.evaluate('window.page.marked');
        await tab.point(...(await onScreen(tab, 'cscan', 'window.page.cscan.screenOf([170, 110])')));
        const kept = await tab.evaluate('window.page.kept');
        assert.equal(await tab.evaluate('window.page.marked'), kept, 'a hole shows what was kept');
        assert.notEqual(before, kept);
    });

    test('does not draw the surface again for a pointer that moves', async () => {
        const frames = await tab.evaluate('window.page.space.frames');
        await tab.point(...(await onScreen(tab, 'cscan', 'window.page.cscan.screenOf([20.5, 90.5])')));
        await tab.point(...(await onScreen(tab, 'cscan', 'window.page.cscan.screenOf([220.5, 90.5])')));
        assert.equal(await tab.evaluate('window.page.space.frames'), frames);
    });

    test('counts what is beyond the limits', async () => {
        await focus(tab, 'low');
        await tab.evaluate("document.getElementById('low').value = '50'");
        await tab.evaluate("document.getElementById('low').dispatchEvent(new Event('change'))");
        const below = allPixels.filter(([u, v]) => amplitudeOf(u, v) < 50).length;
        const told = await panel(tab, 'clipping', 'Below the limits');
        assert.equal(Number(told.split(' px')[0].replace(/\D/g, '')), below);
        await tab.evaluate("document.getElementById('full').click()");
        assert.match(await panel(tab, 'clipping', 'Below the limits'), /^0 px/);
    });

    test('every control can be reached with the keyboard', async () => {
        await tab.evaluate('document.activeElement.blur()');
        const wanted = await tab.evaluate(`[...document.querySelectorAll(
            'button, select, input:not([type="radio"]), canvas[tabindex], [role="separator"], summary, input[type="radio"]:checked')]
            .filter((element) => element.checkVisibility() && !element.disabled)
            .map((element, i) => (element.id ||= 'unnamed' + i))`);
        assert.ok(wanted.length > 30, `${wanted.length} controls`);
        const reached = new Set();
        for (let i = 0; i < 2 * wanted.length && wanted.some((id) => !reached.has(id)); ++i) {
            await tab.key('Tab');
            reached.add(await tab.evaluate('document.activeElement.id'));
        }
        assert.deepEqual(
            wanted.filter((id) => !reached.has(id)),
            [],
        );
    });

    test('the C-scan is worked with keys', async () => {
        await tab.evaluate(`window.page.keep(${pixelOf(150, 30)})`);
        await focus(tab, 'cscan');
        await tab.key('ArrowRight');
        await tab.key('ArrowUp', 8);
        assert.equal(await panel(tab, 'pixel', 'u, v'), '151, 40');
        const zoom = await tab.evaluate('window.page.cscan.zoom');
        await tab.key('+');
        assert.ok((await tab.evaluate('window.page.cscan.zoom')) > zoom);
        await tab.key('Home');
        assert.ok(Math.abs((await tab.evaluate('window.page.cscan.zoom')) - zoom) < 1e-9);
    });

    test('a ruler set with keys measures along the surface', async () => {
        await focus(tab, 'cscan');
        await tab.key('r');
        await tab.evaluate(`window.page.keep(${pixelOf(20, 140)})`);
        await tab.key('Enter');
        await tab.evaluate(`window.page.keep(${pixelOf(230, 80)})`);
        await tab.key('Enter');
        const [along, straight] = await Promise.all([
            panel(tab, 'ruler', 'Along the surface'),
            panel(tab, 'ruler', 'Straight'),
        ]);
        const ends = [nodeOf(20.5, 140.5), nodeOf(230.5, 80.5)];
        assert.ok(Math.abs(Number.parseFloat(straight) - distance(...ends)) < 2e-3, straight);
        // The sheet is a cylinder of radius 100 and a little more: its bulge of 2 adds that much at most.
        const unrolled = Math.hypot(210 * 0.5 * 1.02, 60 * 0.5);
        assert.ok(
            Number.parseFloat(along) > 0.985 * unrolled && Number.parseFloat(along) < 1.002 * unrolled,
            `${along} of ${unrolled}`,
        );
        await tab.key('Escape');
        assert.equal(await panel(tab, 'ruler', 'Straight'), '–');
        await tab.key('m');
    });

    test('the part is turned and zoomed with keys, and a profile walked', async () => {
        await focus(tab, 'space');
        const turn = await tab.evaluate('window.page.space.turn.toArray()');
        const span = await tab.evaluate('window.page.space.span');
        await tab.key('ArrowLeft');
        await tab.key('+');
        assert.notDeepEqual(await tab.evaluate('window.page.space.turn.toArray()'), turn);
        assert.ok((await tab.evaluate('window.page.space.span')) < span);
        await tab.key('Home');
        await focus(tab, 'profile');
        const marked = await tab.evaluate('window.page.marked');
        await tab.key('ArrowRight');
        assert.equal(await tab.evaluate('window.page.marked'), marked + 1);
    });

    test('values, maps and indications are chosen with keys', async () => {
        await focus(tab, 'value');
        await tab.key('ArrowDown');
        assert.equal(
            await tab.evaluate("document.getElementById('value').selectedOptions[0].textContent"),
            'tof:min [us]',
        );
        assert.equal(await tab.evaluate('window.page.profile.title'), 'tof:min [us]');
        await tab.key('ArrowUp');
        await focus(tab, 'cscan');
        await tab.key('n');
        await tab.key('n');
        assert.equal(await panel(tab, 'pixel', 'u, v'), '60, 120');
        assert.equal(await panel(tab, 'pixel', 'Indication'), '2');
        assert.equal(
            await tab.evaluate("document.querySelector('#indications [aria-pressed=true] b').textContent"),
            '2',
        );
        await tab.key('?');
        assert.equal(await tab.evaluate("document.getElementById('help').open"), true);
        await tab.key('Escape');
        assert.equal(await tab.evaluate("document.getElementById('help').open"), false);
    });

    test('bands that are none are refused in words', async () => {
        await tab.evaluate("document.getElementById('bands').value = '3,1'");
        await tab.evaluate("document.getElementById('bands').dispatchEvent(new Event('change'))");
        assert.match(await tab.evaluate("document.getElementById('complaint').textContent"), /rising/);
        await tab.evaluate("document.getElementById('bands').value = '0,20,40,60,100'");
        await tab.evaluate("document.getElementById('bands').dispatchEvent(new Event('change'))");
        assert.equal(await tab.evaluate("document.getElementById('complaint').textContent"), '');
        assert.deepEqual(await tab.evaluate('window.page.scale.bands'), [0, 20, 40, 60, 100]);
    });

    test('nothing went wrong on the way', async () => {
        assertQuiet(tab, 'measured.html');
        writeFileSync(join(directory, 'measured.png'), await tab.screenshot());
    });

    test('a large page draws fewer quads, and fewer still while it turns', async () => {
        const large = await browser.open(addressOf('large.html'));
        const { drawn, coarse, quads } = await large.evaluate(`({ drawn: window.page.space.drawnQuads,
            coarse: window.page.space.coarseQuads, quads: window.page.model.states[3].count })`);
        assert.equal(quads, 360000);
        assert.ok(drawn <= 250000 && drawn > 50000 && coarse <= 40000 && coarse > 10000, `${drawn}, ${coarse}`);
        const [x, y] = await onScreen(large, 'space', '[200, 200]');
        await large.mouse('mouseMoved', x, y);
        await large.mouse('mousePressed', x, y, 1);
        await large.mouse('mouseMoved', x + 30, y + 10, 1);
        await large.settle();
        const visible = () =>
            large.evaluate('[window.page.space.drawn[0].visible, window.page.space.coarse[0].visible]');
        assert.deepEqual(await visible(), [false, true]);
        await large.mouse('mouseReleased', x + 30, y + 10);
        assert.deepEqual(await visible(), [true, false]);
        assertQuiet(large, 'large.html');
    });

    test('a part alone is drawn and measured', async () => {
        const part = await browser.open(addressOf('part.html'));
        const { share, colours } = await drawnIn3D(part);
        assert.ok(share > 0.1 && colours > 5, `${share}, ${colours}`);
        assert.equal(await panel(part, 'figures', 'Triangles'), '240');
        assert.equal(await part.evaluate("document.getElementById('cscan')"), null);
        assertQuiet(part, 'part.html');
    });
});

describe('a page without WebGL', () => {
    let browser;
    let tab;
    before(async () => {
        browser = new Browser(chromium, { isWithWebGl: false });
        tab = await browser.open(addressOf('measured.html'));
    });
    after(async () => browser?.close());

    test('says so and keeps its C-scan', async () => {
        assert.equal(await tab.evaluate('window.page.space'), null);
        assert.equal(await tab.evaluate("document.getElementById('no-webgl').checkVisibility()"), true);
        await tab.settle();
        const colours = await tab.evaluate(`(() => {
            const canvas = document.getElementById('cscan');
            const { data } = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
            return new Set(new Uint32Array(data.buffer)).size;
        })()`);
        assert.ok(colours > 100, `${colours}`);
        await focus(tab, 'cscan');
        await tab.evaluate(`window.page.keep(${pixelOf(150, 30)})`);
        await tab.key('ArrowRight');
        assert.equal(await panel(tab, 'pixel', 'u, v'), '151, 30');
        assertQuiet(tab, 'measured.html');
    });
});
