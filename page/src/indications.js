// Indications as a table lists them, placed on the pixels. Outlined are the pixels around the peak that are beyond the
// level of the table, in the value that has the peak there, or without an echo around a lost one; but only if their area
// is about the table's. Else a dashed circle stands there, as wide as the indication is long. A column "outline" counts
// before both.

import { NO_ECHO } from './colours.js';
import { circleOn } from './measure.js';
import { text } from './ticks.js';

export function indicationsOf(scan, rows) {
    return rows.map((row, i) => indicationOf(scan, row, i));
}

function indicationOf(scan, row, index) {
    const pixel = pixelOf(scan, row);
    const place = [(pixel % scan.width) + 0.5, Math.floor(pixel / scan.width) + 0.5];
    const given = outlineIn(row.outline) ?? outlineAround(scan, row, pixel);
    const diameter = firstOf(row.length, row.width, 2 * Math.sqrt((row.area ?? NaN) / Math.PI));
    const circle = pixel >= 0 && diameter > 0 ? circleOn(scan, pixel, diameter) : [];
    const unit = scan.json.unit;
    return {
        number: String(row.number ?? index + 1),
        pixel,
        place,
        outline: given ?? (circle.length > 0 ? [[...circle, circle[0]]] : []),
        isDashed: given === null,
        words: [
            row.state,
            isNumber(row.peak) ? `peak ${text(row.peak, 4)}` : null,
            row.touches ? `touches ${row.touches}` : null,
            row.under_beam === 1 ? "under the beam's width" : null,
        ]
            .filter(Boolean)
            .join(', '),
        size:
            isNumber(row.length) && isNumber(row.width)
                ? `${text(row.length, 3)} × ${text(row.width, 3)} ${unit}`
                : isNumber(row.area)
                  ? `${text(row.area, 3)} ${unit}²`
                  : '',
    };
}

/** Whether a pixel's centre lies in the outline, by the number of times a line from it crosses that. */
export function isIn(indication, [u, v]) {
    let isInside = false;
    for (const way of indication.outline) {
        for (let i = 1; i < way.length; ++i) {
            const [[fromU, fromV], [toU, toV]] = [way[i - 1], way[i]];
            const isCrossed = fromV > v !== toV > v && u < fromU + ((v - fromV) / (toV - fromV)) * (toU - fromU);
            isInside = isInside !== isCrossed;
        }
    }
    return isInside;
}

const isNumber = (value) => typeof value === 'number' && Number.isFinite(value);
const firstOf = (...values) => values.find((value) => isNumber(value) && value > 0) ?? 0;

/** The pixel of the table's u and v, or the one nearest to its x, y and z; -1 if there is none. */
function pixelOf(scan, row) {
    if (isNumber(row.u) && isNumber(row.v)) {
        const [u, v] = [Math.floor(row.u), Math.floor(row.v)];
        if (scan.hasSurfaceAt(u, v)) {
            return v * scan.width + u;
        }
    }
    return [row.x, row.y, row.z].every(isNumber) ? nearestPixel(scan, row) : -1;
}

function nearestPixel(scan, { x, y, z }) {
    const target = [x, y, z].map((coordinate, axis) => coordinate + scan.json.move[axis]);
    let best = -1;
    let least = Infinity;
    for (let pixel = 0; pixel < scan.size; ++pixel) {
        if (scan.hasSurface(pixel)) {
            const centre = scan.centreOf(pixel);
            const apart = Math.hypot(centre[0] - target[0], centre[1] - target[1], centre[2] - target[2]);
            if (apart < least) {
                [best, least] = [pixel, apart];
            }
        }
    }
    return best;
}

/** Closed ways of pixel corners: "u v u v ...", several with "|" between; null where the field is none. */
function outlineIn(field) {
    if (typeof field !== 'string' || field.trim() === '') {
        return null;
    }
    return field.split('|').map((way) => {
        const numbers = way.trim().split(/\s+/).map(Number);
        const places = [];
        for (let i = 0; i + 1 < numbers.length; i += 2) {
            places.push([numbers[i], numbers[i + 1]]);
        }
        return [...places, places[0]];
    });
}

/** How far the outlined area may be from the table's, as a share of that. */
const areaTolerance = 0.4;

/** The outline of the pixels that belong to an indication; null where they do not have its area. */
function outlineAround(scan, row, pixel) {
    const peak = pixelOf(scan, { u: row.peak_u, v: row.peak_v });
    const start = peak >= 0 ? peak : pixel;
    const belongs = start < 0 ? null : belongingTo(scan, row, start);
    if (belongs === null || !belongs(start) || !isNumber(row.area)) {
        return null;
    }
    const pixels = connectedTo(scan, start, belongs);
    const area = pixels.reduce((sum, one) => sum + scan.areaOf(one), 0);
    return Math.abs(area - row.area) <= areaTolerance * row.area ? outlineOf(scan, new Set(pixels)) : null;
}

function belongingTo(scan, row, start) {
    if (!isNumber(row.peak)) {
        return (pixel) => scan.states[pixel] === NO_ECHO;
    }
    const { reals } = scan.values.find(
        (value) => Math.abs(value.reals[start] - row.peak) <= value.error + 1e-5 * Math.abs(row.peak),
    ) ?? { reals: null };
    if (reals === null || !isNumber(row.level)) {
        return null;
    }
    return row.peak < row.level
        ? (pixel) => reals[pixel] <= row.level || scan.states[pixel] === NO_ECHO
        : (pixel) => reals[pixel] >= row.level;
}

/** Over sides and corners of pixels. */
function connectedTo(scan, start, belongs) {
    const found = new Set([start]);
    const open = [start];
    while (open.length > 0) {
        const pixel = open.pop();
        const [u, v] = [pixel % scan.width, Math.floor(pixel / scan.width)];
        for (let y = v - 1; y <= v + 1; ++y) {
            for (let x = u - 1; x <= u + 1; ++x) {
                const other = y * scan.width + x;
                if (scan.hasSurfaceAt(x, y) && !found.has(other) && belongs(other)) {
                    found.add(other);
                    open.push(other);
                }
            }
        }
    }
    return [...found];
}

/** Closed ways along the sides of pixels that have no neighbour in the set, the set on the left. */
function outlineOf(scan, pixels) {
    const next = new Map(); // from a corner to those that sides lead to
    for (const pixel of pixels) {
        const [u, v] = [pixel % scan.width, Math.floor(pixel / scan.width)];
        const has = (x, y) => x >= 0 && x < scan.width && pixels.has(y * scan.width + x);
        const sides = [
            [has(u, v - 1), [u, v], [u + 1, v]],
            [has(u + 1, v), [u + 1, v], [u + 1, v + 1]],
            [has(u, v + 1), [u + 1, v + 1], [u, v + 1]],
            [has(u - 1, v), [u, v + 1], [u, v]],
        ];
        for (const [isInner, from, to] of sides) {
            if (!isInner) {
                next.set(from.join(), [...(next.get(from.join()) ?? []), to]);
            }
        }
    }
    const ways = [];
    for (const start of next.keys()) {
        while (next.get(start).length > 0) {
            const way = [start.split(',').map(Number)];
            while (way.length === 1 || way[way.length - 1].join() !== start) {
                way.push(next.get(way[way.length - 1].join()).pop());
            }
            ways.push(way);
        }
    }
    return ways;
}
