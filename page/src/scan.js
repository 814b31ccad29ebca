// A C-scan in memory: pixels, the nodes under them, values. Places are those of the file; `partPlace` makes them
// places in the part.

import { numbersOf, realsOf } from './decode.js';
import { NO_SURFACE } from './colours.js';

export class Scan {
    constructor(json, sections) {
        this.json = json;
        this.width = json.width;
        this.height = json.height;
        this.size = json.width * json.height;
        this.unit = json.unit || 'units';
        this.states = Uint8Array.from(numbersOf(json.pixelStates, sections).numbers);
        this.patchNumbers = json.patch ? Uint16Array.from(numbersOf(json.patch, sections).numbers) : null;
        this.filling = json.filledFrom ? numbersOf(json.filledFrom, sections) : null;
        this.patches = json.patches.map((patch) => patchOf(patch, sections));
        this.values = json.values.map((value) => ({ ...value, reals: realsOf(value.numbers, sections) }));
    }

    hasSurface(pixel) {
        return pixel >= 0 && pixel < this.size && this.states[pixel] !== NO_SURFACE;
    }

    hasSurfaceAt(u, v) {
        return u >= 0 && v >= 0 && u < this.width && v < this.height && this.hasSurface(v * this.width + u);
    }

    /** The pixel whose values may be shown instead, or -1. */
    sourceOf(pixel) {
        return this.filling !== null && this.filling.mask[pixel] === 1 ? this.filling.numbers[pixel] : -1;
    }

    patchOf(pixel) {
        return this.patches[this.patchNumbers === null ? 0 : this.patchNumbers[pixel]];
    }

    /** The number of the node at the low corner of a pixel's quad. */
    lowNodeOf(patch, pixel) {
        const u = (pixel % this.width) - patch.left;
        const v = Math.floor(pixel / this.width) - patch.bottom;
        return v * (patch.width + 1) + u;
    }

    /** The four corners of a pixel's quad: low, along u, opposite, along v. */
    cornersOf(pixel) {
        const patch = this.patchOf(pixel);
        const low = this.lowNodeOf(patch, pixel);
        return [low, low + 1, low + patch.width + 2, low + patch.width + 1].map((node) => nodeOf(patch, node));
    }

    /** The place at fractions of a pixel's sides, between its corners. */
    placeIn(pixel, s, t) {
        const [a, b, c, d] = this.cornersOf(pixel);
        return [0, 1, 2].map(
            (axis) => (1 - t) * ((1 - s) * a[axis] + s * b[axis]) + t * ((1 - s) * d[axis] + s * c[axis]),
        );
    }

    centreOf(pixel) {
        return this.placeIn(pixel, 0.5, 0.5);
    }

    /** The place at (u, v) in pixels, a pixel's centre being at a half; null without surface. */
    placeAt(u, v) {
        const column = Math.min(Math.max(Math.floor(u), 0), this.width - 1);
        const row = Math.min(Math.max(Math.floor(v), 0), this.height - 1);
        return this.hasSurfaceAt(column, row) ? this.placeIn(row * this.width + column, u - column, v - row) : null;
    }

    /** Outward, of unit length, from the diagonals of the quad. */
    normalOf(pixel) {
        const [a, b, c, d] = this.cornersOf(pixel);
        const normal = cross(minus(c, a), minus(d, b));
        const length = Math.hypot(...normal) * (this.patchOf(pixel).isTurned ? -1 : 1);
        return normal.map((component) => component / length);
    }

    /** Of the two triangles on either side of the diagonal from the u corner to the v corner. */
    areaOf(pixel) {
        const [a, b, c, d] = this.cornersOf(pixel);
        return 0.5 * (Math.hypot(...cross(minus(b, a), minus(d, a))) + Math.hypot(...cross(minus(c, b), minus(d, b))));
    }

    partPlace(place) {
        return place.map((coordinate, axis) => coordinate - this.json.move[axis]);
    }
}

function patchOf(json, sections) {
    return { ...json, nodes: json.places.map((coded) => realsOf(coded, sections)) };
}

function nodeOf(patch, node) {
    return [patch.nodes[0][node], patch.nodes[1][node], patch.nodes[2][node]];
}

/** The place of a pixel's centre on the C-scan. */
export const centreIn = (scan, pixel) => [(pixel % scan.width) + 0.5, Math.floor(pixel / scan.width) + 0.5];

export const minus = (a, b) => [a[0] - b[0], a[1] - b[1], a[2] - b[2]];
export const cross = (a, b) => [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]];
export const dot = (a, b) => a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
export const distance = (a, b) => Math.hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
