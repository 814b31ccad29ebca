// The C-scan: the pixels as they are, u to the right and v upwards, with axes that tell lengths on the part along a row
// and a column, and the numbers of the pixel that is pointed at. Zoomed out, screen pixels blend the data
// under them, which the view says; zoomed in, each pixel is a rectangle of one colour.

import { axesOf } from './lengthaxis.js';
import { circleOn } from './measure.js';
import { ticksBetween } from './ticks.js';

const margin = { left: 56, right: 10, top: 8, bottom: 34 };
const mostZoom = 60;

export class CScanView {
    constructor(canvas, scan, listener) {
        this.canvas = canvas;
        this.scan = scan;
        this.listener = listener;
        [this.alongU, this.alongV] = axesOf(scan);
        this.image = null;
        this.marks = {};
        this.zoom = 1; // screen pixels a pixel
        this.left = 0; // (u, v) at the plot's low left
        this.bottom = 0;
        this.isFitted = true;
        this.listen();
    }

    setImage(pixels) {
        const { width, height } = this.scan;
        const flipped = new ImageData(width, height);
        for (let v = 0; v < height; ++v) {
            flipped.data.set(pixels.subarray(4 * width * v, 4 * width * (v + 1)), 4 * width * (height - 1 - v));
        }
        this.image = document.createElement('canvas');
        this.image.width = width;
        this.image.height = height;
        this.image.getContext('2d').putImageData(flipped, 0, 0);
        this.draw();
    }

    setMarks(marks) {
        this.marks = marks;
        this.draw();
    }

    get plot() {
        return {
            width: Math.max(10, this.canvas.clientWidth - margin.left - margin.right),
            height: Math.max(10, this.canvas.clientHeight - margin.top - margin.bottom),
        };
    }

    get fitZoom() {
        return Math.min(this.plot.width / this.scan.width, this.plot.height / this.scan.height);
    }

    fit() {
        this.zoom = this.fitZoom;
        this.left = (this.scan.width - this.plot.width / this.zoom) / 2;
        this.bottom = (this.scan.height - this.plot.height / this.zoom) / 2;
        this.isFitted = true;
        this.draw();
    }

    /** Keeps the place under the screen position where it is. */
    zoomBy(factor, x = margin.left + this.plot.width / 2, y = margin.top + this.plot.height / 2) {
        const [u, v] = this.placeAt(x, y);
        this.zoom = Math.min(mostZoom, Math.max(this.fitZoom / 2, this.zoom * factor));
        this.left += u - this.placeAt(x, y)[0];
        this.bottom += v - this.placeAt(x, y)[1];
        this.isFitted = false;
        this.draw();
    }

    pan(x, y) {
        this.left -= x / this.zoom;
        this.bottom += y / this.zoom;
        this.isFitted = false;
        this.draw();
    }

    /** Shows a pixel, in the middle if it was out of sight. */
    reveal(pixel) {
        const [x, y] = this.screenOf([(pixel % this.scan.width) + 0.5, Math.floor(pixel / this.scan.width) + 0.5]);
        const { width, height } = this.plot;
        if (x < margin.left || y < margin.top || x > margin.left + width || y > margin.top + height) {
            this.pan(margin.left + width / 2 - x, margin.top + height / 2 - y);
        }
    }

    screenOf([u, v]) {
        return [
            margin.left + (u - this.left) * this.zoom,
            margin.top + this.plot.height - (v - this.bottom) * this.zoom,
        ];
    }

    placeAt(x, y) {
        return [
            this.left + (x - margin.left) / this.zoom,
            this.bottom + (margin.top + this.plot.height - y) / this.zoom,
        ];
    }

    /** The pixel at a place of the screen that has surface, or -1. */
    pixelAt(x, y) {
        const [u, v] = this.placeAt(x, y).map(Math.floor);
        const isInPlot = x >= margin.left && y <= margin.top + this.plot.height;
        return isInPlot && this.scan.hasSurfaceAt(u, v) ? v * this.scan.width + u : -1;
    }

    draw() {
        this.isDue ??= requestAnimationFrame(() => {
            this.isDue = undefined;
            this.drawNow();
        });
    }

    drawNow() {
        const ratio = window.devicePixelRatio || 1;
        const { clientWidth, clientHeight } = this.canvas;
        if (clientWidth === 0 || clientHeight === 0) {
            return;
        }
        if (
            this.canvas.width !== Math.round(clientWidth * ratio) ||
            this.canvas.height !== Math.round(clientHeight * ratio)
        ) {
            this.canvas.width = Math.round(clientWidth * ratio);
            this.canvas.height = Math.round(clientHeight * ratio);
            if (this.isFitted) {
                this.fit();
            }
        }
        const context = this.canvas.getContext('2d');
        context.setTransform(ratio, 0, 0, ratio, 0, 0);
        context.clearRect(0, 0, clientWidth, clientHeight);
        this.drawPixels(context);
        this.drawMarks(context);
        this.drawAxes(context);
    }

    inPlot(context, draw) {
        context.save();
        context.beginPath();
        context.rect(margin.left, margin.top, this.plot.width, this.plot.height);
        context.clip();
        draw();
        context.restore();
    }

    drawPixels(context) {
        this.inPlot(context, () => {
            context.fillStyle = '#262a30';
            context.fillRect(margin.left, margin.top, this.plot.width, this.plot.height);
            if (this.image === null) {
                return;
            }
            const [x, y] = this.screenOf([0, this.scan.height]);
            context.imageSmoothingEnabled = this.zoom * (window.devicePixelRatio || 1) < 1;
            context.imageSmoothingQuality = 'high';
            context.drawImage(this.image, x, y, this.scan.width * this.zoom, this.scan.height * this.zoom);
        });
    }

    drawAxes(context) {
        const { width, height } = this.plot;
        context.strokeStyle = '#9aa3ad';
        context.fillStyle = '#e8ebef';
        context.font = '11px system-ui, sans-serif';
        context.lineWidth = 1;
        context.strokeRect(margin.left - 0.5, margin.top - 0.5, width + 1, height + 1);
        context.textAlign = 'center';
        context.textBaseline = 'top';
        for (const { place, length } of this.ticksAlongU()) {
            const x = this.screenOf([place, 0])[0];
            line(context, x, margin.top + height, x, margin.top + height + 5);
            context.fillText(String(length), x, margin.top + height + 7);
        }
        context.textAlign = 'right';
        context.textBaseline = 'middle';
        for (const { place, length } of this.ticksAlongV()) {
            const y = this.screenOf([0, place])[1];
            line(context, margin.left - 5, y, margin.left, y);
            context.fillText(String(length), margin.left - 8, y);
        }
        this.drawTitles(context, width, height);
        this.drawPointed(context);
    }

    /** Round lengths on the part that are in sight, and where they are in pixels. */
    ticksAlongU() {
        return ticksAlong(this.alongU, this.left, this.left + this.plot.width / this.zoom, this.plot.width / 80);
    }

    ticksAlongV() {
        return ticksAlong(this.alongV, this.bottom, this.bottom + this.plot.height / this.zoom, this.plot.height / 50);
    }

    get titles() {
        const unit = `[${this.scan.unit}]`;
        return [
            `length along row v = ${this.alongU.number} ${unit}`,
            `length along column u = ${this.alongV.number} ${unit}`,
        ];
    }

    /** What stands on the axes of the pixel that is pointed at, and where on the screen. */
    pointedLabels() {
        const { pixel } = this.marks;
        if (!(pixel >= 0)) {
            return [];
        }
        const [u, v] = [pixel % this.scan.width, Math.floor(pixel / this.scan.width)];
        const [x, y] = this.screenOf([u + 0.5, v + 0.5]);
        const { width, height } = this.plot;
        const isInSight = [x >= margin.left && x <= margin.left + width, y >= margin.top && y <= margin.top + height];
        return [
            { text: `u ${u}`, at: [x, margin.top + height + 12] },
            { text: `v ${v}`, at: [margin.left - 23, y] },
        ].filter((_, i) => isInSight[i]);
    }

    drawPointed(context) {
        for (const { text, at } of this.pointedLabels()) {
            label(context, text, ...at, false);
        }
    }

    drawTitles(context, width, height) {
        context.textAlign = 'center';
        context.textBaseline = 'bottom';
        const note = this.zoom < 0.999 ? `; a screen pixel blends ${(1 / this.zoom ** 2).toFixed(1)} pixels` : '';
        context.fillText(`u: ${this.titles[0]}${note}`, margin.left + width / 2, margin.top + height + margin.bottom - 1);
        context.save();
        context.translate(11, margin.top + height / 2);
        context.rotate(-Math.PI / 2);
        context.textBaseline = 'middle';
        context.fillText(`v: ${this.titles[1]}`, 0, 0);
        context.restore();
    }

    drawMarks(context) {
        const { marks } = this;
        this.inPlot(context, () => {
            this.drawDots(context, marks.shots, '#ffffff');
            this.drawWay(context, marks.path, '#d8b4fe', 1.25);
            (marks.footprints ?? []).forEach((circle) => this.drawWay(context, circle, '#ffffff', 1));
            (marks.indications ?? []).forEach((indication) => this.drawIndication(context, indication));
            this.drawWay(context, marks.way, '#ffffff', 2, true);
            this.drawWay(context, marks.line, '#ff9f1c', 1, true);
            (marks.ends ?? []).forEach((place) => this.drawEnd(context, place));
            if (marks.beam && marks.pixel >= 0) {
                const circle = circleOn(this.scan, marks.pixel, marks.beam);
                this.drawWay(context, [...circle, circle[0]], '#ffffff', 1.5, true);
            }
            this.drawCross(context, marks.pixel);
        });
    }

    drawDots(context, places, colour) {
        context.fillStyle = colour;
        for (const place of places ?? []) {
            const [x, y] = this.screenOf(place);
            context.fillRect(x - 0.75, y - 0.75, 1.5, 1.5);
        }
    }

    drawWay(context, way, colour, width, hasHalo = false) {
        if (!way || way.length === 0) {
            return;
        }
        context.beginPath();
        let isDown = false;
        for (const place of way) {
            if (place === null) {
                isDown = false;
                continue;
            }
            const [x, y] = this.screenOf(place);
            isDown ? context.lineTo(x, y) : context.moveTo(x, y);
            isDown = true;
        }
        stroke(context, colour, width, hasHalo);
    }

    drawIndication(context, { outline, place, number, isChosen, isDashed }) {
        context.setLineDash(isDashed ? [4, 3] : []);
        outline.forEach((way) =>
            this.drawWay(context, way, isChosen ? '#ffdd00' : '#ffffff', isChosen ? 2.5 : 1.5, true),
        );
        context.setLineDash([]);
        const top = outline.flat().reduce((best, other) => (other[1] > best[1] ? other : best), place);
        const [x, y] = this.screenOf(top);
        label(context, number, x, Math.max(y - 9, margin.top + 9), isChosen);
    }

    drawEnd(context, place) {
        const [x, y] = this.screenOf(place);
        context.beginPath();
        context.arc(x, y, 4, 0, 2 * Math.PI);
        stroke(context, '#ffffff', 2, true);
    }

    drawCross(context, pixel) {
        if (!(pixel >= 0)) {
            return;
        }
        const [u, v] = [pixel % this.scan.width, Math.floor(pixel / this.scan.width)];
        const [left, top] = this.screenOf([u, v + 1]);
        const [x, y] = this.screenOf([u + 0.5, v + 0.5]);
        const gap = Math.max(6, this.zoom / 2 + 2);
        context.beginPath();
        for (const [a, b] of [
            [1, 0],
            [-1, 0],
            [0, 1],
            [0, -1],
        ]) {
            context.moveTo(x + a * gap, y + b * gap);
            context.lineTo(x + a * (gap + 12), y + b * (gap + 12));
        }
        if (this.zoom > 4) {
            context.rect(left, top, this.zoom, this.zoom);
        }
        stroke(context, '#ffffff', 1.5, true);
    }

    listen() {
        const at = (event) => {
            const box = this.canvas.getBoundingClientRect();
            return [event.clientX - box.left, event.clientY - box.top];
        };
        let pressed = null;
        this.canvas.addEventListener('pointerdown', (event) => {
            pressed = { at: at(event), last: at(event), isMoved: false };
            this.canvas.setPointerCapture(event.pointerId);
        });
        this.canvas.addEventListener('pointermove', (event) => {
            const here = at(event);
            if (pressed === null) {
                this.listener.pointed(this.pixelAt(...here));
                return;
            }
            pressed.isMoved ||= Math.hypot(here[0] - pressed.at[0], here[1] - pressed.at[1]) > 4;
            if (pressed.isMoved) {
                this.pan(here[0] - pressed.last[0], here[1] - pressed.last[1]);
            }
            pressed.last = here;
        });
        this.canvas.addEventListener('pointerup', (event) => {
            const wasClick = pressed !== null && !pressed.isMoved;
            pressed = null;
            if (wasClick) {
                this.listener.chosen(this.pixelAt(...at(event)));
            }
        });
        this.canvas.addEventListener('pointercancel', () => (pressed = null));
        this.canvas.addEventListener('pointerleave', () => this.listener.left());
        this.canvas.addEventListener(
            'wheel',
            (event) => {
                event.preventDefault();
                this.zoomBy(Math.exp(-0.0015 * event.deltaY), ...at(event));
            },
            { passive: false },
        );
        this.canvas.addEventListener('keydown', (event) => this.pressed(event));
        new ResizeObserver(() => this.draw()).observe(this.canvas);
    }

    pressed(event) {
        const step = event.shiftKey ? 10 : 1;
        const moves = { ArrowLeft: [-step, 0], ArrowRight: [step, 0], ArrowUp: [0, step], ArrowDown: [0, -step] };
        if (moves[event.key] && (event.ctrlKey || event.altKey)) {
            this.pan(-40 * Math.sign(moves[event.key][0]), 40 * Math.sign(moves[event.key][1]));
        } else if (moves[event.key]) {
            this.listener.moved(...moves[event.key]);
        } else if (event.key === '+' || event.key === '=') {
            this.zoomBy(1.25);
        } else if (event.key === '-') {
            this.zoomBy(0.8);
        } else if (event.key === 'Home') {
            this.fit();
        } else if (event.key === 'Enter' || event.key === ' ') {
            this.listener.chosen(this.marks.pixel ?? -1);
        } else {
            return;
        }
        event.preventDefault();
    }
}

function ticksAlong(axis, low, high, wanted) {
    const ticks = ticksBetween(axis.lengthAt(low), axis.lengthAt(high), wanted);
    return ticks.map((length) => ({ length, place: axis.placeOf(length) }));
}

function line(context, x, y, toX, toY) {
    context.beginPath();
    context.moveTo(x, y);
    context.lineTo(toX, toY);
    context.stroke();
}

export function stroke(context, colour, width, hasHalo) {
    context.lineJoin = 'round';
    if (hasHalo) {
        context.strokeStyle = 'rgba(0,0,0,.75)';
        context.lineWidth = width + (width > 1 ? 2 : 1);
        context.stroke();
    }
    context.strokeStyle = colour;
    context.lineWidth = width;
    context.stroke();
}

export function label(context, text, x, y, isChosen) {
    context.font = 'bold 12px system-ui, sans-serif';
    const width = Math.max(16, context.measureText(text).width + 8);
    context.fillStyle = isChosen ? '#ffdd00' : '#ffffff';
    context.strokeStyle = '#000';
    context.lineWidth = 1;
    context.beginPath();
    context.rect(Math.round(x - width / 2) + 0.5, Math.round(y - 8) + 0.5, width, 16);
    context.fill();
    context.stroke();
    context.fillStyle = '#000';
    context.textAlign = 'center';
    context.textBaseline = 'middle';
    context.fillText(text, x, y + 0.5);
}
