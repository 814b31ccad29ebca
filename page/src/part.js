// A part of triangles in space: no pixels, no values.

import { numbersOf, realsOf } from './decode.js';
import { distanceToTriangle } from './picking.js';
import { cross, minus } from './scan.js';

const runLength = 64;

export class PartSurface {
    constructor(json, sections) {
        this.json = json;
        this.unit = json.unit || 'units';
        this.hasColours = false;
        this.places = json.places.map((coded) => realsOf(coded, sections));
        this.corners = numbersOf(json.corners, sections).numbers;
        this.low = this.places.map((coordinates) => coordinates.reduce((a, b) => Math.min(a, b), Infinity));
        this.high = this.places.map((coordinates) => coordinates.reduce((a, b) => Math.max(a, b), -Infinity));
        this.middle = this.low.map((coordinate, axis) => 0.5 * (coordinate + this.high[axis]));
        this.radius = 0.5 * Math.hypot(...this.low.map((low, axis) => this.high[axis] - low)) || 1;
        this.facing = [0.5, -0.8, 0.5];
        this.boxes = this.runBoxes();
    }

    get triangleCount() {
        return this.corners.length / 3;
    }

    pointOf(number) {
        return [this.places[0][number], this.places[1][number], this.places[2][number]];
    }

    triangleOf(index) {
        return [0, 1, 2].map((corner) => this.pointOf(this.corners[3 * index + corner]));
    }

    area() {
        let area = 0;
        for (let i = 0; i < this.triangleCount; ++i) {
            const [a, b, c] = this.triangleOf(i);
            area += 0.5 * Math.hypot(...cross(minus(b, a), minus(c, a)));
        }
        return area;
    }

    localOf(place) {
        return place.map((coordinate, axis) => coordinate - this.middle[axis]);
    }

    fileOf(place) {
        return place.map((coordinate, axis) => coordinate + this.middle[axis]);
    }

    partPlace(place) {
        return place.map((coordinate, axis) => coordinate - this.json.move[axis]);
    }

    /** Boxes of runs of triangles, which in most files lie near each other. */
    runBoxes() {
        const boxes = [];
        for (let begin = 0; begin < this.triangleCount; begin += runLength) {
            const box = { low: [Infinity, Infinity, Infinity], high: [-Infinity, -Infinity, -Infinity] };
            for (let i = 3 * begin; i < Math.min(3 * (begin + runLength), this.corners.length); ++i) {
                for (let axis = 0; axis < 3; ++axis) {
                    const coordinate = this.places[axis][this.corners[i]];
                    box.low[axis] = Math.min(box.low[axis], coordinate);
                    box.high[axis] = Math.max(box.high[axis], coordinate);
                }
            }
            boxes.push(box);
        }
        return boxes;
    }

    pick(origin, direction) {
        let best = null;
        this.boxes.forEach((box, run) => {
            if (!meets(box, origin, direction)) {
                return;
            }
            for (let i = run * runLength; i < Math.min((run + 1) * runLength, this.triangleCount); ++i) {
                const distance = distanceToTriangle(origin, direction, ...this.triangleOf(i));
                if (distance !== null && (best === null || distance < best.distance)) {
                    best = { triangle: i, distance };
                }
            }
        });
        return best === null
            ? null
            : { ...best, place: origin.map((coordinate, axis) => coordinate + best.distance * direction[axis]) };
    }

    normalOf(triangle) {
        const [a, b, c] = this.triangleOf(triangle);
        const normal = cross(minus(b, a), minus(c, a));
        const length = Math.hypot(...normal) || 1;
        return normal.map((component) => component / length);
    }

    /** Two triangles count as a quad. Points that share a cell of a lattice become one where there are too many. */
    meshesOf(mostQuads) {
        let plain = { places: this.places, corners: this.corners };
        for (
            let cells = Math.round(Math.sqrt(mostQuads));
            plain.corners.length > 6 * mostQuads && cells > 4;
            cells *= 0.8
        ) {
            plain = this.clustered(Math.round(cells));
        }
        return [this.meshOf(plain)];
    }

    clustered(cells) {
        const side = (2 * this.radius) / cells;
        const numbers = new Map();
        const places = [[], [], []];
        const numberOf = (point) => {
            const key = [0, 1, 2].reduce(
                (sum, axis) => sum * 4096 + Math.floor((this.places[axis][point] - this.low[axis]) / side),
                0,
            );
            if (!numbers.has(key)) {
                numbers.set(key, places[0].length);
                places.forEach((coordinates, axis) => coordinates.push(this.places[axis][point]));
            }
            return numbers.get(key);
        };
        const corners = [];
        for (let i = 0; i < this.corners.length; i += 3) {
            const [a, b, c] = [numberOf(this.corners[i]), numberOf(this.corners[i + 1]), numberOf(this.corners[i + 2])];
            if (a !== b && b !== c && c !== a) {
                corners.push(a, b, c);
            }
        }
        return { places, corners };
    }

    meshOf({ places, corners }) {
        const count = places[0].length;
        const positions = new Float32Array(3 * count);
        for (let i = 0; i < count; ++i) {
            for (let axis = 0; axis < 3; ++axis) {
                positions[3 * i + axis] = places[axis][i] - this.middle[axis];
            }
        }
        const normals = new Float32Array(3 * count);
        const at = (corner) => [0, 1, 2].map((axis) => positions[3 * corner + axis]);
        for (let i = 0; i < corners.length; i += 3) {
            const [a, b, c] = [at(corners[i]), at(corners[i + 1]), at(corners[i + 2])];
            const normal = cross(minus(b, a), minus(c, a));
            for (let corner = 0; corner < 3; ++corner) {
                normal.forEach((component, axis) => (normals[3 * corners[i + corner] + axis] += component));
            }
        }
        return {
            positions,
            normals,
            texels: new Float32Array(2 * count),
            corners: Uint32Array.from(corners),
            isTurned: false,
        };
    }
}

function meets({ low, high }, origin, direction) {
    let enter = 0;
    let leave = Infinity;
    for (let axis = 0; axis < 3; ++axis) {
        if (direction[axis] === 0) {
            if (low[axis] > origin[axis] || high[axis] < origin[axis]) {
                return false;
            }
            continue;
        }
        const a = (low[axis] - origin[axis]) / direction[axis];
        const b = (high[axis] - origin[axis]) / direction[axis];
        enter = Math.max(enter, Math.min(a, b));
        leave = Math.min(leave, Math.max(a, b));
    }
    return enter <= leave;
}
