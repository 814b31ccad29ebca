// What the 3D view draws of a C-scan: its quads, of which neighbours are joined until few enough remain. Joined are
// only squares of pixels that all have surface; at rims and holes quads stay single, so that no pixel is lost.

import { Picker } from './picking.js';
import { dot } from './scan.js';

export class ScanSurface {
    constructor(scan) {
        this.scan = scan;
        this.unit = scan.unit;
        this.hasColours = true;
        this.picker = new Picker(scan);
        const { low, high } = boxOf(scan);
        this.low = low;
        this.high = high;
        this.middle = low.map((coordinate, axis) => 0.5 * (coordinate + high[axis]));
        this.radius = 0.5 * Math.hypot(...low.map((coordinate, axis) => high[axis] - coordinate)) || 1;
        this.facing = facingOf(scan);
    }

    localOf(place) {
        return place.map((coordinate, axis) => coordinate - this.middle[axis]);
    }

    fileOf(place) {
        return place.map((coordinate, axis) => coordinate + this.middle[axis]);
    }

    pick(origin, direction) {
        return this.picker.pick(origin, direction);
    }

    /** Geometry of each patch, at most so many quads in all where the rim leaves that. */
    meshesOf(mostQuads) {
        let stride = Math.max(1, Math.floor(Math.sqrt(this.scan.size / mostQuads)));
        let plans = this.plansWith(stride);
        while (countOf(plans) > mostQuads && stride < 64) {
            ++stride;
            plans = this.plansWith(stride);
        }
        if (countOf(plans) > mostQuads) {
            plans = this.plansWith(stride, true);
        }
        return plans.map((plan, index) => this.meshOf(this.scan.patches[index], plan));
    }

    plansWith(stride, isRough = false) {
        return this.scan.patches.map((patch, index) => planOf(this.scan, patch, index, stride, isRough));
    }

    meshOf(patch, plan) {
        const numbers = new Int32Array(patch.nodes[0].length).fill(-1);
        const corners = new Uint32Array(6 * plan.length);
        const nodes = [];
        const numberOf = (node) => {
            if (numbers[node] < 0) {
                numbers[node] = nodes.push(node) - 1;
            }
            return numbers[node];
        };
        const rowLength = patch.width + 1;
        plan.forEach(({ node, side }, i) => {
            const [a, b] = [numberOf(node), numberOf(node + side)];
            const [c, d] = [numberOf(node + side * rowLength + side), numberOf(node + side * rowLength)];
            corners.set([a, b, d, b, c, d], 6 * i);
        });
        return { ...this.vertices(patch, nodes), corners, isTurned: patch.isTurned };
    }

    vertices(patch, nodes) {
        const positions = new Float32Array(3 * nodes.length);
        const normals = new Float32Array(3 * nodes.length);
        const texels = new Float32Array(2 * nodes.length);
        nodes.forEach((node, i) => {
            for (let axis = 0; axis < 3; ++axis) {
                positions[3 * i + axis] = patch.nodes[axis][node] - this.middle[axis];
            }
            normals.set(normalAtNode(patch, node), 3 * i);
            texels[2 * i] = (patch.left + (node % (patch.width + 1))) / this.scan.width;
            texels[2 * i + 1] = (patch.bottom + Math.floor(node / (patch.width + 1))) / this.scan.height;
        });
        return { positions, normals, texels };
    }
}

const countOf = (plans) => plans.reduce((sum, plan) => sum + plan.length, 0);

/** The quads to draw of a patch: their low nodes and sides in pixels. */
function planOf(scan, patch, index, stride, isRough) {
    const quads = [];
    const rowLength = patch.width + 1;
    for (let v = 0; v < patch.height; v += stride) {
        for (let u = 0; u < patch.width; u += stride) {
            const inside = pixelsWithSurface(scan, patch, index, u, v, stride);
            if (inside === stride * stride || (isRough && inside > 0 && hasNodes(patch, u, v, stride))) {
                quads.push({ node: v * rowLength + u, side: stride });
            } else if (!isRough && inside > 0) {
                forEachPixel(patch, u, v, stride, (x, y) => {
                    if (isOf(scan, patch, index, x, y)) {
                        quads.push({ node: y * rowLength + x, side: 1 });
                    }
                });
            }
        }
    }
    return quads;
}

function isOf(scan, patch, index, u, v) {
    const pixel = (patch.bottom + v) * scan.width + patch.left + u;
    return scan.hasSurface(pixel) && (scan.patchNumbers === null || scan.patchNumbers[pixel] === index);
}

function pixelsWithSurface(scan, patch, index, left, bottom, stride) {
    let number = 0;
    forEachPixel(patch, left, bottom, stride, (u, v) => (number += isOf(scan, patch, index, u, v) ? 1 : 0));
    return number;
}

function forEachPixel(patch, left, bottom, stride, visit) {
    for (let v = bottom; v < Math.min(bottom + stride, patch.height); ++v) {
        for (let u = left; u < Math.min(left + stride, patch.width); ++u) {
            visit(u, v);
        }
    }
}

function hasNodes(patch, u, v, stride) {
    return (
        u + stride <= patch.width &&
        v + stride <= patch.height &&
        [
            [0, 0],
            [stride, 0],
            [stride, stride],
            [0, stride],
        ].every(([x, y]) => !Number.isNaN(patch.nodes[0][(v + y) * (patch.width + 1) + u + x]))
    );
}

/** Across the lines to the neighbours that there are; of no length where there are none. */
function normalAtNode(patch, node) {
    const rowLength = patch.width + 1;
    const column = node % rowLength;
    const at = (other, isInside) => (isInside && !Number.isNaN(patch.nodes[0][other]) ? other : node);
    const left = at(node - 1, column > 0);
    const right = at(node + 1, column < patch.width);
    const lower = at(node - rowLength, node >= rowLength);
    const upper = at(node + rowLength, node + rowLength < patch.nodes[0].length);
    const [x, y, z] = patch.nodes;
    const u = [x[right] - x[left], y[right] - y[left], z[right] - z[left]];
    const v = [x[upper] - x[lower], y[upper] - y[lower], z[upper] - z[lower]];
    const normal = [u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]];
    const length = Math.hypot(...normal) || 1;
    return normal.map((component) => component / length);
}

function boxOf(scan) {
    const low = [Infinity, Infinity, Infinity];
    const high = [-Infinity, -Infinity, -Infinity];
    for (const patch of scan.patches) {
        for (let axis = 0; axis < 3; ++axis) {
            for (const coordinate of patch.nodes[axis]) {
                low[axis] = coordinate < low[axis] ? coordinate : low[axis];
                high[axis] = coordinate > high[axis] ? coordinate : high[axis];
            }
        }
    }
    return { low, high };
}

/** The mean of some hundred normals; where they cancel out, one of them. */
function facingOf(scan) {
    const sum = [0, 0, 0];
    let last = [0, 0, 1];
    const stride = Math.max(1, Math.floor(scan.size / 997));
    for (let pixel = 0; pixel < scan.size; pixel += stride) {
        if (scan.hasSurface(pixel)) {
            const normal = scan.normalOf(pixel);
            if (normal.every(Number.isFinite)) {
                last = normal;
                normal.forEach((component, axis) => (sum[axis] += component));
            }
        }
    }
    return dot(sum, sum) > 1 ? sum : last;
}
