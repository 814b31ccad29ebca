// The page's modules that need no browser, under node's own test runner.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { deflateSync } from 'node:zlib';

import { Scale, bandsIn, paint, tableOf } from '../../page/src/colours.js';
import { bytesOf, numbersOf, realsOf } from '../../page/src/decode.js';
import { indicationsOf, isIn } from '../../page/src/indications.js';
import { LengthAxis, axesOf } from '../../page/src/lengthaxis.js';
import { circleOn, lengthOf, profileOf, shortestWay } from '../../page/src/measure.js';
import { Picker } from '../../page/src/picking.js';
import { Scan } from '../../page/src/scan.js';
import { histogramOf, statisticsOf } from '../../page/src/statistics.js';
import { ScanSurface } from '../../page/src/surface.js';
import { plain, text, ticksBetween } from '../../page/src/ticks.js';

/** The coding of the page, from its definition. */
function code(numbers, width, mask) {
    const rests = [];
    let last = 0;
    numbers.forEach((number, i) => {
        const has = (other) => other >= 0 && mask[other] === 1;
        if (mask[i] === 0) {
            return;
        }
        const hasLeft = i % width > 0 && has(i - 1);
        const hasLower = has(i - width);
        const plane = hasLeft && hasLower && has(i - width - 1);
        const prediction = plane
            ? numbers[i - 1] + numbers[i - width] - numbers[i - width - 1]
            : hasLeft
              ? numbers[i - 1]
              : hasLower
                ? numbers[i - width]
                : last;
        const difference = (number - prediction) | 0;
        rests.push(((difference << 1) ^ (difference >> 31)) >>> 0);
        last = number;
    });
    const planes = Math.max(0, ...rests.map((rest) => Math.ceil(Math.log2(rest + 1) / 8)));
    const bytes = Uint8Array.from(
        { length: planes * rests.length },
        (_, i) => (rests[i % rests.length] >>> (8 * Math.floor(i / rests.length))) & 255,
    );
    return {
        coded: { width, size: numbers.length, planes, section: 0, mask: 1 },
        sections: [bytes, Uint8Array.from(mask)],
    };
}

/** A scan whose nodes are given by a formula of (u, v); `isThere` says which pixels have surface. */
function scanOf(width, height, nodeAt, isThere = () => true) {
    const scan = Object.create(Scan.prototype);
    const nodes = [
        new Float64Array((width + 1) * (height + 1)),
        new Float64Array((width + 1) * (height + 1)),
        new Float64Array((width + 1) * (height + 1)),
    ];
    for (let v = 0; v <= height; ++v) {
        for (let u = 0; u <= width; ++u) {
            nodeAt(u, v).forEach((coordinate, axis) => (nodes[axis][v * (width + 1) + u] = coordinate));
        }
    }
    const states = Uint8Array.from({ length: width * height }, (_, i) =>
        isThere(i % width, Math.floor(i / width)) ? 3 : 0,
    );
    return Object.assign(scan, {
        json: { move: [0, 0, 0], unit: 'mm' },
        unit: 'mm',
        width,
        height,
        size: width * height,
        states,
        patchNumbers: null,
        filling: null,
        values: [],
        patches: [{ left: 0, bottom: 0, width, height, nodes, isTurned: false, name: 'patch' }],
    });
}

const flat = (u, v) => [0.5 * u, 0.5 * v, 0];
const cylinder = (radius, pixel) => (u, v) => [
    radius * Math.cos((pixel * u) / radius),
    radius * Math.sin((pixel * u) / radius),
    pixel * v,
];

/** Seen along its axis, a cap of a sphere of radius 50 over 2 radians each way, by its angles from two great circles. */
const cap = (u, v) => {
    const [x, y] = [Math.tan((u - 100) / 125), Math.tan((v - 100) / 125)];
    const length = Math.hypot(x, y, 1);
    return [(50 * x) / length, (50 * y) / length, 50 / length];
};

test('numbers come back as they were coded, wherever some are missing', () => {
    const width = 23;
    const numbers = Array.from({ length: width * 17 }, (_, i) => (i * i * 7919) % (i % 5 === 0 ? 4294967291 : 300));
    const mask = numbers.map((_, i) => ((i * 31) % 7 === 0 ? 0 : 1));
    const { coded, sections } = code(numbers, width, mask);
    const read = numbersOf(coded, sections);
    numbers.forEach((number, i) => assert.equal(read.numbers[i], mask[i] ? number : 0));
    const reals = realsOf({ ...coded, low: -3, step: 0.25 }, sections);
    numbers.forEach((number, i) => assert.equal(reals[i], mask[i] ? -3 + 0.25 * number : NaN));
});

test('sections are inflated', async () => {
    const bytes = Uint8Array.from({ length: 5000 }, (_, i) => (i * i) % 251);
    const read = await bytesOf(`\n${deflateSync(bytes).toString('base64')}\n`);
    assert.deepEqual(read, bytes);
});

test('the shortest way over a cylinder is a helix', () => {
    const scan = scanOf(200, 120, cylinder(30, 0.4));
    const way = shortestWay(scan, [5.5, 4.5], [190.5, 110.5]);
    const expected = 0.4 * Math.hypot(185, 106);
    assert.ok(Math.abs(lengthOf(scan, way) - expected) < 2e-4 * expected, `${lengthOf(scan, way)} for ${expected}`);
});

test('the shortest way over a sphere is a great circle, although the C-scan stretches it', () => {
    const scan = scanOf(200, 200, cap);
    const [from, to] = [
        [20.5, 30.5],
        [150.5, 190.5],
    ];
    const [a, b] = [scan.placeAt(...from), scan.placeAt(...to)];
    const expected = 50 * Math.acos((a[0] * b[0] + a[1] * b[1] + a[2] * b[2]) / (Math.hypot(...a) * Math.hypot(...b)));
    const way = shortestWay(scan, from, to);
    assert.ok(Math.abs(lengthOf(scan, way) - expected) < 5e-4 * expected, `${lengthOf(scan, way)} for ${expected}`);
});

test('the shortest way goes around a hole, along its rim', () => {
    const scan = scanOf(200, 200, flat, (u, v) => Math.hypot(u + 0.5 - 100, v + 0.5 - 100) > 40);
    const way = shortestWay(scan, [20, 100.5], [180, 100.5]);
    const [radius, away] = [20, 40]; // in space: half a unit a pixel
    const angle = Math.PI - 2 * Math.acos(radius / away);
    const expected = 2 * Math.sqrt(away ** 2 - radius ** 2) + radius * angle;
    assert.ok(way.every((place) => scan.placeAt(...place) !== null));
    const length = lengthOf(scan, way);
    assert.ok(length > 0.995 * expected && length < 1.01 * expected, `${length} for ${expected}`);
});

test('the shortest way touches a hole that is a little in its way', () => {
    const scan = scanOf(240, 160, flat, (u, v) => Math.hypot(u + 0.5 - 170, v + 0.5 - 110) > 18);
    const [from, to] = [
        [20.5, 140.5],
        [230.5, 80.5],
    ];
    const straight = 0.5 * Math.hypot(210, 60);
    const length = lengthOf(scan, shortestWay(scan, from, to));
    assert.ok(length > straight && length < 1.006 * straight, `${length} for ${straight}`);
});

test('there is no way between pieces that do not hang together', () => {
    const scan = scanOf(60, 40, flat, (u) => u < 20 || u > 40);
    assert.equal(shortestWay(scan, [5.5, 5.5], [55.5, 5.5]), null);
});

test('a profile tells pixels once, and the length along the surface', () => {
    const scan = scanOf(100, 50, cylinder(30, 0.4));
    const values = Float64Array.from({ length: scan.size }, (_, i) => i % 100);
    const profile = profileOf(scan, values, [0.5, 20.5], [99.5, 20.5]);
    assert.deepEqual(
        profile.samples.map((sample) => sample.value),
        Array.from({ length: 100 }, (_, i) => i),
    );
    assert.ok(Math.abs(profile.length - 0.4 * 99) < 1e-3);
    assert.ok(profile.samples.every((sample, i) => i === 0 || sample.length > profile.samples[i - 1].length));
});

test('a circle on stretched and sheared pixels is round in space', () => {
    const scan = scanOf(100, 100, (u, v) => [0.9 * u + 0.3 * v, 0.4 * v, 1]);
    const centre = scan.placeAt(50.5, 50.5);
    for (const place of circleOn(scan, 50 * 100 + 50, 6)) {
        const [x, y] = scan.placeAt(...place);
        assert.ok(Math.abs(Math.hypot(x - centre[0], y - centre[1]) - 3) < 1e-9);
    }
});

test('axes tell lengths on the surface along the row and the column with most of it', () => {
    const [alongU, alongV] = axesOf(scanOf(40, 30, flat, (u, v) => v !== 15 || u > 5));
    assert.equal(alongU.number, 14, 'the fuller row nearest to the middle');
    assert.equal(alongV.number, 20);
    assert.ok(Math.abs(alongU.lengthAt(40) - 20) < 1e-12 && Math.abs(alongV.lengthAt(30) - 15) < 1e-12);
    assert.equal(alongU.lengthAt(-3), 0);

    // Columns of width 1, 2, 3, ...: the centre of column u lies at (u + 1)^2 / 2.
    const [uneven] = axesOf(scanOf(40, 3, (u, v) => [0.5 * u * (u + 1), v, 0]));
    assert.ok(Math.abs(uneven.lengthAt(30.5) - uneven.lengthAt(10.5) - 0.5 * (31 ** 2 - 11 ** 2)) < 1e-9);
    for (const place of [0, 0.25, 7, 19.75, 40]) {
        assert.ok(Math.abs(uneven.placeOf(uneven.lengthAt(place)) - place) < 1e-12);
    }
});

test('an axis bridges a gap straight, and measures arcs by their chords', () => {
    const places = [[0, 0, 0], [1, 0, 0], null, null, [4, 0, 0], [4, 1, 0]];
    assert.deepEqual(new LengthAxis(0, places).lengths, [0, 1, 2, 3, 4, 5, 6]);
    assert.deepEqual(new LengthAxis(0, [null, null]).lengths, [0, 1, 2], 'of no surface: pixels');
    assert.deepEqual(new LengthAxis(0, [[0, 0, 0]]).lengths, [0, 1]);
    const [, alongV] = axesOf(scanOf(30, 4, cylinder(10, 0.5)));
    assert.ok(Math.abs(alongV.lengthAt(4) - 2) < 1e-12);
    const [around] = axesOf(scanOf(30, 4, cylinder(10, 0.5)));
    assert.ok(Math.abs(around.lengthAt(30) - 15) < 0.01, 'an arc of 15, cut by short chords');
});

test('a ray meets the first of all quads', () => {
    const scan = scanOf(90, 70, cylinder(12, 0.5), (u, v) => (u * 7 + v * 3) % 11 !== 0);
    const picker = new Picker(scan);
    let hits = 0;
    for (let i = 0; i < 200; ++i) {
        const origin = [40 * Math.cos(i), 40 * Math.sin(i), (i * 13) % 35];
        const direction = [
            -Math.cos(i + 0.1 * Math.sin(3 * i)),
            -Math.sin(i + 0.1 * Math.sin(3 * i)),
            0.05 * Math.cos(i),
        ];
        let expected = null;
        for (let pixel = 0; pixel < scan.size; ++pixel) {
            const distance = scan.hasSurface(pixel) ? picker.distanceTo(pixel, origin, direction) : null;
            expected =
                distance !== null && (expected === null || distance < expected.distance)
                    ? { pixel, distance }
                    : expected;
        }
        const hit = picker.pick(origin, direction);
        assert.equal(hit?.pixel, expected?.pixel);
        hits += hit === null ? 0 : 1;
    }
    assert.ok(hits > 100);
});

test('at most so many quads are drawn, and together they cover every pixel once', () => {
    const scan = scanOf(400, 300, flat, (u, v) => Math.hypot(u - 200, v - 150) > 60 && u + v > 50);
    const surface = new ScanSurface(scan);
    const [mesh] = surface.meshesOf(20000);
    assert.ok(mesh.corners.length / 6 <= 20000);
    let area = 0;
    for (let i = 0; i < mesh.corners.length; i += 3) {
        const [a, b, c] = [0, 1, 2].map((k) =>
            mesh.positions.subarray(3 * mesh.corners[i + k], 3 * mesh.corners[i + k] + 2),
        );
        area += 0.5 * ((b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]));
    }
    const expected = 0.25 * scan.states.reduce((sum, state) => sum + (state === 0 ? 0 : 1), 0);
    assert.ok(Math.abs(area - expected) < 1e-2, `${area} for ${expected}`);
});

test('colours grow in lightness along the uniform maps, and not along turbo', () => {
    const luminance = (map) =>
        Array.from({ length: 256 }, (_, i) => {
            const [r, g, b] = tableOf(map).subarray(3 * i, 3 * i + 3);
            return 0.2126 * (r / 255) ** 2.2 + 0.7152 * (g / 255) ** 2.2 + 0.0722 * (b / 255) ** 2.2;
        });
    for (const map of ['viridis', 'cividis', 'grey']) {
        const steps = luminance(map);
        assert.ok(
            steps.every((value, i) => i === 0 || value > steps[i - 1] - 2e-3),
            map,
        );
        assert.ok(steps[255] - steps[0] > 0.5, map);
    }
    assert.ok(luminance('turbo')[255] < luminance('turbo')[128]);
});

test('limits clip, bands give one colour each, and what is neither is refused', () => {
    const scale = new Scale('viridis', 10, 20, null);
    assert.deepEqual(
        [9.99, 10, 20, 20.01].map((value) => scale.levelOf(value)),
        [-1, 0, 255, 256],
    );
    const banded = new Scale('grey', 10, 20, bandsIn('0, 1,2;4'));
    assert.deepEqual(
        [-1, 0, 0.99, 1, 3, 4, 5].map((value) => banded.levelOf(value)),
        [-1, 0, 0, 128, 255, 255, 256],
    );
    assert.equal(bandsIn('  '), null);
    for (const wrong of ['1', '2,1', '1,1', '1,b']) {
        assert.throws(() => bandsIn(wrong));
    }
});

test('states and filled pixels are painted apart from values', () => {
    const scan = scanOf(6, 1, flat);
    scan.states.set([0, 1, 2, 3, 4, 5]);
    scan.filling = { mask: Uint8Array.from([0, 0, 0, 0, 0, 0]), numbers: new Uint32Array(6) };
    const values = Float64Array.from([NaN, NaN, NaN, 5, 9, NaN]);
    const image = paint(scan, values, new Scale('viridis', 0, 10, null), {
        isSaturationMarked: true,
        isFillingShown: true,
    });
    const colours = Array.from({ length: 6 }, (_, i) => image.slice(4 * i, 4 * i + 4).join());
    assert.equal(new Set(colours).size, 6);
    assert.equal(image[3], 0);
    assert.ok(image.filter((_, i) => i % 4 === 3 && i > 3).every((alpha) => alpha === 255));
});

test('an indication is outlined by the pixels beyond its level, if they have its area', () => {
    const scan = scanOf(40, 30, flat);
    const isInRing = (u, v) => Math.hypot(u - 20, v - 15) < 6 && !(u === 20 && v === 15);
    const reals = Float64Array.from({ length: scan.size }, (_, i) => (isInRing(i % 40, Math.floor(i / 40)) ? 10 : 50));
    reals[15 * 40 + 22] = 5;
    scan.values = [{ reals, error: 0.001 }];
    const inside = reals.filter((value) => value < 30).length;
    const row = {
        number: 4,
        state: 'echo',
        peak: 5,
        level: 30,
        u: 20.5,
        v: 15.5,
        peak_u: 22.5,
        peak_v: 15.5,
        length: 6,
    };
    const [fitting, other] = indicationsOf(scan, [
        { ...row, area: 0.25 * inside },
        { ...row, area: 2 * inside },
    ]);
    assert.equal(fitting.isDashed, false);
    assert.equal(fitting.outline.length, 2, 'the rim and the hole');
    for (let pixel = 0; pixel < scan.size; ++pixel) {
        assert.equal(isIn(fitting, [(pixel % 40) + 0.5, Math.floor(pixel / 40) + 0.5]), reals[pixel] < 30, `${pixel}`);
    }
    assert.equal(other.isDashed, true);
});

test('figures are those of all values', () => {
    const values = Float64Array.from([3, NaN, 1, 2, 4, NaN]);
    const { count, low, high, median, mean, deviation } = statisticsOf(values);
    assert.deepEqual([count, low, high, mean], [4, 1, 4, 2.5]);
    assert.ok(median === 2 || median === 3);
    assert.ok(Math.abs(deviation - Math.sqrt(1.25)) < 1e-12);
    const { bins, below, above } = histogramOf(values, 2, 3, 2);
    assert.deepEqual([[...bins], below, above], [[1, 1], 1, 1]);
});

test('numbers for people', () => {
    assert.deepEqual(ticksBetween(0, 10, 5), [0, 2, 4, 6, 8, 10]);
    assert.deepEqual(ticksBetween(-0.3, 0.31, 3), [-0.2, 0, 0.2]);
    assert.deepEqual(ticksBetween(5, 5, 3), [5]);
    assert.equal(text(1234.5678), '1234.6');
    assert.equal(text(-0.5), '−0.50000');
    assert.equal(text(NaN), '–');
    assert.equal(plain(0.30000000000000004), '0.3');
});
