// Indications as a table lists them, placed on the pixels. An outline is drawn where the table brings one; else a circle
// as wide as the indication is long, dashed.

import { circleOn } from './measure.js';
import { text } from './ticks.js';

export function indicationsOf(scan, rows) {
    return rows.map((row, i) => indicationOf(scan, row, i));
}

function indicationOf(scan, row, index) {
    const pixel = pixelOf(scan, row);
    const place = [(pixel % scan.width) + 0.5, Math.floor(pixel / scan.width) + 0.5];
    const given = outlineIn(row.outline);
    const diameter = firstOf(row.length, row.width, 2 * Math.sqrt((row.area ?? NaN) / Math.PI));
    const circle = pixel >= 0 && diameter > 0 ? circleOn(scan, pixel, diameter) : [];
    const unit = scan.json.unit;
    return {
        number: String(row.number ?? index + 1),
        pixel,
        place,
        outline: given ?? (circle.length > 0 ? [[...circle, circle[0]]] : []),
        isDashed: given === null,
        words: [row.state, isNumber(row.peak) ? `peak ${text(row.peak, 4)}` : null].filter(Boolean).join(', '),
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
