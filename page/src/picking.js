// Where a ray meets the surface: boxes of 16 by 16 pixels first, then the two triangles of each of their quads, on either
// side of the diagonal from the u corner to the v corner. Always asked of all quads, however few are drawn.

import { cross, dot, minus } from './scan.js';

const blockSide = 16;

export class Picker {
    constructor(scan) {
        this.scan = scan;
        this.columns = Math.ceil(scan.width / blockSide);
        this.rows = Math.ceil(scan.height / blockSide);
        this.boxes = new Float64Array(6 * this.columns * this.rows);
        for (let block = 0; block < this.columns * this.rows; ++block) {
            this.measure(block);
        }
    }

    measure(block) {
        const { scan, boxes } = this;
        boxes.set([Infinity, Infinity, Infinity, -Infinity, -Infinity, -Infinity], 6 * block);
        this.forEachPixel(block, (pixel) => {
            const patch = scan.patchOf(pixel);
            const low = scan.lowNodeOf(patch, pixel);
            for (const node of [low, low + 1, low + patch.width + 1, low + patch.width + 2]) {
                for (let axis = 0; axis < 3; ++axis) {
                    const coordinate = patch.nodes[axis][node];
                    const place = 6 * block + axis;
                    boxes[place] = coordinate < boxes[place] ? coordinate : boxes[place];
                    boxes[place + 3] = coordinate > boxes[place + 3] ? coordinate : boxes[place + 3];
                }
            }
        });
    }

    forEachPixel(block, visit) {
        const left = (block % this.columns) * blockSide;
        const bottom = Math.floor(block / this.columns) * blockSide;
        for (let v = bottom; v < Math.min(bottom + blockSide, this.scan.height); ++v) {
            for (let u = left; u < Math.min(left + blockSide, this.scan.width); ++u) {
                const pixel = v * this.scan.width + u;
                if (this.scan.hasSurface(pixel)) {
                    visit(pixel);
                }
            }
        }
    }

    /** The first pixel along the ray, with the distance in lengths of the direction and the place; null if none. */
    pick(origin, direction) {
        let best = null;
        for (let block = 0; block < this.columns * this.rows; ++block) {
            if (this.meetsBox(block, origin, direction, best === null ? Infinity : best.distance)) {
                this.forEachPixel(block, (pixel) => {
                    const distance = this.distanceTo(pixel, origin, direction);
                    if (distance !== null && (best === null || distance < best.distance)) {
                        best = { pixel, distance };
                    }
                });
            }
        }
        return best === null
            ? null
            : { ...best, place: origin.map((coordinate, axis) => coordinate + best.distance * direction[axis]) };
    }

    meetsBox(block, origin, direction, farthest) {
        let enter = 0;
        let leave = farthest;
        for (let axis = 0; axis < 3; ++axis) {
            const low = this.boxes[6 * block + axis] - origin[axis];
            const high = this.boxes[6 * block + 3 + axis] - origin[axis];
            if (!(high >= low)) {
                return false;
            }
            if (direction[axis] === 0) {
                if (low > 0 || high < 0) {
                    return false;
                }
                continue;
            }
            const [a, b] = [low / direction[axis], high / direction[axis]];
            enter = Math.max(enter, Math.min(a, b));
            leave = Math.min(leave, Math.max(a, b));
        }
        return enter <= leave;
    }

    distanceTo(pixel, origin, direction) {
        const [a, b, c, d] = this.scan.cornersOf(pixel);
        return distanceToTriangle(origin, direction, a, b, d) ?? distanceToTriangle(origin, direction, b, c, d);
    }
}

/** By the determinants of Moeller and Trumbore (1997); edges belong to the triangle. */
export function distanceToTriangle(origin, direction, a, b, c) {
    const [alongB, alongC] = [minus(b, a), minus(c, a)];
    const across = cross(direction, alongC);
    const determinant = dot(alongB, across);
    if (determinant === 0) {
        return null;
    }
    const from = minus(origin, a);
    const shareB = dot(from, across) / determinant;
    const turned = cross(from, alongB);
    const shareC = dot(direction, turned) / determinant;
    const distance = dot(alongC, turned) / determinant;
    return shareB >= 0 && shareC >= 0 && shareB + shareC <= 1 && distance >= 0 ? distance : null;
}
