// Lengths on the part along one row or column of pixels, for the axes of the C-scan: the one with most surface, of
// equal ones that nearest to the middle. The way goes from centre to centre, over a gap in the surface straight, shared
// out evenly; before the first centre and behind the last it goes on by half a step. Pictures have the same axes.

import { distance } from './scan.js';

export class LengthAxis {
    /** Of places in space, one a pixel; null where there is no surface. */
    constructor(number, places) {
        this.number = number;
        const steps = stepsAlong(places);
        this.lengths = [0]; // at the pixels' rims
        for (let i = 0; i < places.length; ++i) {
            const before = steps[Math.max(i - 1, 0)] ?? 1;
            const behind = steps[Math.min(i, steps.length - 1)] ?? 1;
            this.lengths.push(this.lengths[i] + 0.5 * (before + behind));
        }
    }

    /** How far a place, in pixels, is along the axis. */
    lengthAt(place) {
        const last = this.lengths.length - 2;
        const i = Math.min(Math.max(Math.floor(place), 0), last);
        const share = Math.min(Math.max(place - i, 0), 1);
        return this.lengths[i] + share * (this.lengths[i + 1] - this.lengths[i]);
    }

    /** Where a length is, in pixels. */
    placeOf(length) {
        let [low, high] = [0, this.lengths.length - 1];
        while (high - low > 1) {
            const middle = (low + high) >> 1;
            this.lengths[middle] <= length ? (low = middle) : (high = middle);
        }
        const step = this.lengths[high] - this.lengths[low];
        return low + (step > 0 ? Math.min(Math.max((length - this.lengths[low]) / step, 0), 1) : 0);
    }
}

/** Along u on a row, and along v on a column. */
export function axesOf(scan) {
    const { width, height } = scan;
    const alongU = (row, column) => row * width + column;
    const alongV = (column, row) => row * width + column;
    return [axisOf(scan, height, width, alongU), axisOf(scan, width, height, alongV)];
}

function axisOf(scan, lineCount, length, pixelOf) {
    const middle = Math.floor(lineCount / 2);
    let [best, most] = [middle, 0];
    for (let number = 0; number < lineCount; ++number) {
        let surface = 0;
        for (let i = 0; i < length; ++i) {
            surface += scan.hasSurface(pixelOf(number, i)) ? 1 : 0;
        }
        const isNearer = Math.abs(number - middle) < Math.abs(best - middle);
        if (surface > most || (surface > 0 && surface === most && isNearer)) {
            [best, most] = [number, surface];
        }
    }
    const places = Array.from({ length }, (_, i) => {
        const pixel = pixelOf(best, i);
        return scan.hasSurface(pixel) ? scan.centreOf(pixel) : null;
    });
    return new LengthAxis(best, places);
}

/** From centre to centre; where no surface tells, the mean of the others. */
function stepsAlong(places) {
    const steps = new Array(Math.max(places.length - 1, 0)).fill(null);
    let last = -1;
    places.forEach((place, i) => {
        if (place === null) {
            return;
        }
        if (last >= 0) {
            steps.fill(distance(places[last], place) / (i - last), last, i);
        }
        last = i;
    });
    const known = steps.filter((step) => step !== null);
    const mean = known.length > 0 ? known.reduce((sum, step) => sum + step, 0) / known.length : 1;
    return steps.map((step) => step ?? mean);
}
