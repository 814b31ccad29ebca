// Lengths on the surface.
//
// A way over the surface is a list of places in pixels, (u, v), each on a quad. `lineBetween` is the straight line in
// the C-scan, cut at every half pixel; its length is along the surface, and no shortest way. `shortestWay` is: it
// begins with that line, or, where the line leaves the surface, with the shortest way over a coarse copy of the grid
// (Dijkstra 1959), in steps of 32 directions, so that no direction is favoured by more than a hundredth; of it only the
// places stay that no line on the surface can skip. Then it is pulled tight: each inner place moves to where it lies
// between its neighbours in space, by the metric of its quad, which lessens the sum of the squared steps and ends at a
// geodesic. Places are doubled again and again, so that far ones settle first. A place never leaves the surface: at
// holes the way hugs their rim. Cost: 20 ms, some tenths of a second around holes.

import { distance, dot, minus } from './scan.js';

const finestPlaces = 256;
const sweepsPerLevel = 60;

/** The length of a way along the surface, in steps of half a pixel; straight where it cuts a corner of a hole. */
export function lengthOf(scan, way) {
    let length = 0;
    let last = null;
    for (let i = 1; i < way.length; ++i) {
        for (const place of lineBetween(way[i - 1], way[i])) {
            const here = scan.placeAt(...place);
            length += last === null || here === null ? 0 : distance(last, here);
            last = here ?? last;
        }
    }
    return length;
}

/** Places on the straight line in the C-scan, half a pixel apart at most. */
function lineBetween(from, to) {
    const steps = Math.max(1, Math.ceil(2 * Math.max(Math.abs(to[0] - from[0]), Math.abs(to[1] - from[1]))));
    return Array.from({ length: steps + 1 }, (_, i) => mixed(from, to, i / steps));
}

/** Places of the shortest way, or null if the two do not hang together. */
export function shortestWay(scan, from, to) {
    const rough = isLineOn(scan, from, to) ? [from, to] : routeAround(scan, from, to);
    if (rough === null) {
        return null;
    }
    let way = straightened(scan, rough);
    pullTight(scan, way);
    while (way.length < finestPlaces) {
        way = doubled(scan, way);
        pullTight(scan, way);
    }
    return way;
}

const mixed = (a, b, share) => [a[0] + share * (b[0] - a[0]), a[1] + share * (b[1] - a[1])];

/** Of a way only the places that must stay: each next one is the last that a line on the surface reaches. */
function straightened(scan, way) {
    const kept = [way[0]];
    for (let i = 0; i + 1 < way.length;) {
        let next = way.length - 1;
        while (next > i + 1 && !isLineOn(scan, way[i], way[next])) {
            --next;
        }
        kept.push(way[next]);
        i = next;
    }
    return kept;
}

function doubled(scan, way) {
    const finer = [way[0]];
    for (let i = 1; i < way.length; ++i) {
        const middle = mixed(way[i - 1], way[i], 0.5);
        if (scan.placeAt(...middle) !== null) {
            finer.push(middle);
        }
        finer.push(way[i]);
    }
    return finer.length === way.length ? finer.flatMap((place) => [place, place]).slice(1) : finer;
}

function pullTight(scan, way) {
    for (let sweep = 0; sweep < sweepsPerLevel; ++sweep) {
        let moved = 0;
        for (let i = 1; i + 1 < way.length; ++i) {
            moved = Math.max(moved, settle(scan, way, i));
        }
        if (moved < 1e-4) {
            return;
        }
    }
}

/** Moves one place towards the middle of its neighbours and tells how far, in pixels. */
function settle(scan, way, i) {
    const [u, v] = way[i];
    const before = scan.placeAt(...way[i - 1]);
    const after = scan.placeAt(...way[i + 1]);
    const here = scan.placeAt(u, v);
    const pixel = Math.min(Math.floor(v), scan.height - 1) * scan.width + Math.min(Math.floor(u), scan.width - 1);
    const [a, b, c, d] = scan.cornersOf(pixel);
    const alongU = [0, 1, 2].map((axis) => 0.5 * (b[axis] - a[axis] + c[axis] - d[axis]));
    const alongV = [0, 1, 2].map((axis) => 0.5 * (d[axis] - a[axis] + c[axis] - b[axis]));
    const wanted = [0, 1, 2].map((axis) => 0.5 * (before[axis] + after[axis]) - here[axis]);
    const [uu, uv, vv] = [dot(alongU, alongU), dot(alongU, alongV), dot(alongV, alongV)];
    const determinant = uu * vv - uv * uv;
    if (!(determinant > 0)) {
        return 0;
    }
    const [x, y] = [dot(alongU, wanted), dot(alongV, wanted)];
    const step = [(vv * x - uv * y) / determinant, (uu * y - uv * x) / determinant];
    for (let share = 1; share > 0.05; share /= 2) {
        const place = [u + share * step[0], v + share * step[1]];
        if (isLineOn(scan, way[i - 1], place) && isLineOn(scan, place, way[i + 1])) {
            way[i] = place;
            return share * Math.hypot(...step);
        }
    }
    return 0;
}

/** Whether the straight line in the C-scan between two places lies on the surface. */
function isLineOn(scan, from, to) {
    const steps = Math.max(1, Math.ceil(2 * Math.max(Math.abs(to[0] - from[0]), Math.abs(to[1] - from[1]))));
    for (let i = 0; i <= steps; ++i) {
        const u = from[0] + (i / steps) * (to[0] - from[0]);
        const v = from[1] + (i / steps) * (to[1] - from[1]);
        if (!scan.hasSurfaceAt(Math.floor(u), Math.floor(v))) {
            return false;
        }
    }
    return true;
}

const routeCells = 100;

/** A way over cells of a coarse copy, of which each must have surface in its middle. */
function routeAround(scan, from, to) {
    const cell = Math.max(1, Math.ceil(Math.max(scan.width, scan.height) / routeCells));
    for (let size = cell; size >= 1; size = size === 1 ? 0 : Math.floor(size / 2)) {
        const route = routeOver(scan, from, to, size);
        if (route !== null || size * size * 4 * routeCells * routeCells < scan.size) {
            return route;
        }
    }
    return null;
}

function routeOver(scan, from, to, cell) {
    const columns = Math.ceil(scan.width / cell);
    const rows = Math.ceil(scan.height / cell);
    const cellOf = (place) =>
        Math.min(Math.floor(place[1] / cell), rows - 1) * columns + Math.min(Math.floor(place[0] / cell), columns - 1);
    const [start, goal] = [cellOf(from), cellOf(to)];
    const placeOf = (index) =>
        index === start
            ? from
            : index === goal
              ? to
              : [
                    Math.min((index % columns) * cell + cell / 2, scan.width - 0.5),
                    Math.min(Math.floor(index / columns) * cell + cell / 2, scan.height - 0.5),
                ];
    return start === goal ? null : (dijkstra(scan, placeOf, columns, rows, start, goal)?.map(placeOf) ?? null);
}

function dijkstra(scan, placeOf, columns, rows, start, goal) {
    const count = columns * rows;
    const lengths = new Float64Array(count).fill(Infinity);
    const before = new Int32Array(count).fill(-1);
    const places = Array.from({ length: count }, (_, i) => scan.placeAt(...placeOf(i)));
    const heap = new Heap();
    lengths[start] = 0;
    heap.push(0, start);
    while (heap.size > 0) {
        const [length, index] = heap.pop();
        if (index === goal) {
            return backFrom(goal, before);
        }
        if (length > lengths[index]) {
            continue;
        }
        for (const other of neighboursOf(index, columns, rows)) {
            const longer = length + (places[other] === null ? Infinity : distance(places[index], places[other]));
            if (longer < lengths[other] && isLineOn(scan, placeOf(index), placeOf(other))) {
                lengths[other] = longer;
                before[other] = index;
                heap.push(longer, other);
            }
        }
    }
    return null;
}

function backFrom(goal, before) {
    const way = [];
    for (let index = goal; index >= 0; index = before[index]) {
        way.push(index);
    }
    return way.reverse();
}

/** Steps of up to three cells in all directions, each direction once. */
const steps = [-3, -2, -1, 0, 1, 2, 3]
    .flatMap((x) => [-3, -2, -1, 0, 1, 2, 3].map((y) => [x, y]))
    .filter(([x, y]) => greatestDivisor(Math.abs(x), Math.abs(y)) === 1);

function greatestDivisor(a, b) {
    return b === 0 ? a : greatestDivisor(b, a % b);
}

function neighboursOf(index, columns, rows) {
    const [column, row] = [index % columns, Math.floor(index / columns)];
    return steps
        .map(([x, y]) => [column + x, row + y])
        .filter(([x, y]) => x >= 0 && y >= 0 && x < columns && y < rows)
        .map(([x, y]) => y * columns + x);
}

/** A binary heap of numbers with their keys, the least key first. */
class Heap {
    keys = [];
    items = [];

    get size() {
        return this.keys.length;
    }

    push(key, item) {
        let place = this.keys.length;
        while (place > 0 && this.keys[(place - 1) >> 1] > key) {
            this.set(place, (place - 1) >> 1);
            place = (place - 1) >> 1;
        }
        this.keys[place] = key;
        this.items[place] = item;
    }

    pop() {
        const top = [this.keys[0], this.items[0]];
        const key = this.keys.pop();
        const item = this.items.pop();
        const size = this.keys.length;
        let place = 0;
        while (2 * place + 1 < size) {
            let child = 2 * place + 1;
            child += child + 1 < size && this.keys[child + 1] < this.keys[child] ? 1 : 0;
            if (this.keys[child] >= key) {
                break;
            }
            this.set(place, child);
            place = child;
        }
        if (size > 0) {
            this.keys[place] = key;
            this.items[place] = item;
        }
        return top;
    }

    set(to, from) {
        this.keys[to] = this.keys[from];
        this.items[to] = this.items[from];
    }
}

/** Pixels under the straight line between two places of the C-scan, and how far along the surface each lies. */
export function profileOf(scan, values, from, to) {
    const way = lineBetween(from, to);
    const samples = [];
    let length = 0;
    let last = null;
    let lastPlace = way[0];
    for (const place of way) {
        const column = Math.min(Math.max(Math.floor(place[0]), 0), scan.width - 1);
        const row = Math.min(Math.max(Math.floor(place[1]), 0), scan.height - 1);
        const pixel = row * scan.width + column;
        const here = scan.placeAt(...place);
        if (here !== null && last !== null) {
            length += distance(last, here);
        }
        if (samples.length === 0 || samples[samples.length - 1].pixel !== pixel) {
            samples.push({ pixel, length, value: values === null ? NaN : values[pixel], state: scan.states[pixel] });
        }
        last = here ?? last;
        lastPlace = place;
    }
    return { samples, length, from, to: lastPlace };
}

/** The pixels' circle of a diameter around a pixel's centre, in pixels, by the metric of its quad. */
export function circleOn(scan, pixel, diameter, points = 48) {
    const [a, b, c, d] = scan.cornersOf(pixel);
    const alongU = [0, 1, 2].map((axis) => 0.5 * (b[axis] - a[axis] + c[axis] - d[axis]));
    const alongV = [0, 1, 2].map((axis) => 0.5 * (d[axis] - a[axis] + c[axis] - b[axis]));
    const uu = dot(alongU, alongU);
    const across = minus(
        alongV,
        alongU.map((component) => (component * dot(alongU, alongV)) / uu),
    );
    const [lengthU, lengthAcross] = [Math.sqrt(uu), Math.hypot(...across)];
    const [u, v] = [(pixel % scan.width) + 0.5, Math.floor(pixel / scan.width) + 0.5];
    return Array.from({ length: points }, (_, i) => {
        const angle = (2 * Math.PI * i) / points;
        const y = (0.5 * diameter * Math.sin(angle)) / lengthAcross;
        const x = (0.5 * diameter * Math.cos(angle)) / lengthU - (y * dot(alongU, alongV)) / uu;
        return [u + x, v + y];
    });
}
