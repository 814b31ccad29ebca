// The values along a line of the C-scan, over the length along the surface. Values are those of pixels, none between
// them; gaps stay gaps. The strip below shows the states.

import { ECHO, NO_ECHO, cssOf, stateColours, stateNames } from './colours.js';
import { plain, text, ticksBetween } from './ticks.js';

const margin = { left: 62, right: 14, top: 10, bottom: 44 };
const stripHeight = 6;

export class ProfileView {
    constructor(canvas, listener) {
        this.canvas = canvas;
        this.listener = listener;
        this.profile = null;
        this.at = -1;
        this.listen();
    }

    /** `profile` of measure.js with the value's `title` and the scale's limits. */
    set(profile, title, scale, unit) {
        Object.assign(this, { profile, title, scale, unit });
        this.draw();
    }

    setPixel(pixel) {
        this.at = this.profile === null ? -1 : this.profile.samples.findIndex((sample) => sample.pixel === pixel);
        this.draw();
    }

    get plot() {
        return {
            width: Math.max(10, this.canvas.clientWidth - margin.left - margin.right),
            height: Math.max(10, this.canvas.clientHeight - margin.top - margin.bottom),
        };
    }

    range() {
        const values = this.profile.samples.map((sample) => sample.value).filter((value) => !Number.isNaN(value));
        let low = values.reduce((a, b) => Math.min(a, b), Infinity);
        let high = values.reduce((a, b) => Math.max(a, b), -Infinity);
        if (values.length === 0) {
            [low, high] = [0, 1];
        }
        const room = 0.06 * (high - low) || 0.5 * Math.abs(high) || 0.5;
        return [low - room, high + room];
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
        this.canvas.width = Math.round(clientWidth * ratio);
        this.canvas.height = Math.round(clientHeight * ratio);
        const context = this.canvas.getContext('2d');
        context.setTransform(ratio, 0, 0, ratio, 0, 0);
        context.font = '11px system-ui, sans-serif';
        if (this.profile === null) {
            context.fillStyle = '#4b535d';
            context.fillText('No profile', margin.left, 24);
            return;
        }
        const [low, high] = this.range();
        const { width, height } = this.plot;
        this.x = (length) => margin.left + (width * length) / (this.profile.length || 1);
        this.y = (value) => margin.top + (height * (high - value)) / (high - low);
        this.drawLimits(context, low, high, width);
        this.drawAxes(context, low, high, width, height);
        this.drawStates(context, height);
        this.drawValues(context);
        this.drawCursor(context, height);
    }

    drawLimits(context, low, high, width) {
        context.strokeStyle = '#b42318';
        context.setLineDash([5, 4]);
        for (const limit of [this.scale.low, this.scale.high]) {
            if (limit > low && limit < high) {
                line(context, margin.left, this.y(limit), margin.left + width, this.y(limit));
            }
        }
        context.setLineDash([]);
    }

    drawAxes(context, low, high, width, height) {
        context.textAlign = 'right';
        context.textBaseline = 'middle';
        for (const value of ticksBetween(low, high, height / 28)) {
            context.strokeStyle = '#dfe3e8';
            line(context, margin.left, this.y(value), margin.left + width, this.y(value));
            context.fillStyle = '#1c2127';
            context.fillText(plain(value), margin.left - 6, this.y(value));
        }
        context.textAlign = 'center';
        context.textBaseline = 'top';
        for (const length of ticksBetween(0, this.profile.length, width / 80)) {
            context.strokeStyle = '#dfe3e8';
            line(context, this.x(length), margin.top, this.x(length), margin.top + height);
            context.fillText(plain(length), this.x(length), margin.top + height + stripHeight + 4);
        }
        context.strokeStyle = '#4b535d';
        context.strokeRect(margin.left + 0.5, margin.top + 0.5, width, height);
        context.textBaseline = 'bottom';
        context.fillText(
            `length along the surface [${this.unit}]`,
            margin.left + width / 2,
            margin.top + height + margin.bottom,
        );
        context.save();
        context.translate(10, this.canvas.clientHeight / 2);
        context.rotate(-Math.PI / 2);
        context.textBaseline = 'middle';
        context.fillText(this.title, 0, 0, this.canvas.clientHeight - 6);
        context.restore();
    }

    /** One rectangle for each run of pixels of the same state. */
    drawStates(context, height) {
        const { samples, length } = this.profile;
        const top = margin.top + height + 1;
        for (let begin = 0, end = 0; begin < samples.length; begin = end) {
            const { state } = samples[begin];
            while (end < samples.length && samples[end].state === state) {
                ++end;
            }
            const left = this.x(samples[begin].length);
            const width = Math.max(1, this.x(samples[end]?.length ?? length) - left);
            context.fillStyle = state === ECHO ? '#7d8b99' : cssOf(stateColours[state][0]);
            context.fillRect(left, top, width, stripHeight);
            if (state === NO_ECHO) {
                // white on white
                context.strokeStyle = '#4b535d';
                context.strokeRect(left + 0.5, top + 0.5, width - 1, stripHeight - 1);
            }
        }
    }

    drawValues(context) {
        context.strokeStyle = '#0b4f8a';
        context.lineWidth = 1.5;
        context.beginPath();
        let isDown = false;
        this.profile.samples.forEach((sample, i) => {
            if (Number.isNaN(sample.value)) {
                isDown = false;
                return;
            }
            const end = this.profile.samples[i + 1]?.length ?? this.profile.length;
            const [x, toX, y] = [this.x(sample.length), this.x(end), this.y(sample.value)];
            isDown ? context.lineTo(x, y) : context.moveTo(x, y);
            context.lineTo(toX, y);
            isDown = true;
        });
        context.stroke();
        context.lineWidth = 1;
    }

    drawCursor(context, height) {
        const sample = this.profile.samples[this.at];
        if (!sample) {
            return;
        }
        const x = this.x(sample.length);
        context.strokeStyle = '#1c2127';
        line(context, x, margin.top, x, margin.top + height);
        const shown = Number.isNaN(sample.value) ? stateNames[sample.state] : text(sample.value);
        context.textAlign = x > margin.left + this.plot.width / 2 ? 'right' : 'left';
        context.textBaseline = 'top';
        const toX = x + (context.textAlign === 'right' ? -6 : 6);
        context.fillStyle = 'rgba(255,255,255,.85)';
        const wide = context.measureText(shown).width + 6;
        context.fillRect(context.textAlign === 'right' ? toX - wide + 3 : toX - 3, margin.top + 1, wide, 15);
        context.fillStyle = '#1c2127';
        context.fillText(shown, toX, margin.top + 3);
    }

    sampleAt(x) {
        const length = ((x - margin.left) / this.plot.width) * this.profile.length;
        let best = 0;
        this.profile.samples.forEach((sample, i) => (best = sample.length <= length ? i : best));
        return this.profile.samples[best];
    }

    listen() {
        this.canvas.addEventListener('pointermove', (event) => {
            if (this.profile !== null) {
                this.listener.pointed(this.sampleAt(event.clientX - this.canvas.getBoundingClientRect().left).pixel);
            }
        });
        this.canvas.addEventListener('click', (event) => {
            if (this.profile !== null) {
                this.listener.chosen(this.sampleAt(event.clientX - this.canvas.getBoundingClientRect().left).pixel);
            }
        });
        this.canvas.addEventListener('pointerleave', () => this.listener.left());
        this.canvas.addEventListener('keydown', (event) => {
            const step = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
            if (step && this.profile !== null) {
                const last = this.profile.samples.length - 1;
                const next = Math.min(last, Math.max(0, this.at + step * (event.shiftKey ? 10 : 1)));
                this.listener.chosen(this.profile.samples[next].pixel, true);
                event.preventDefault();
            }
        });
        new ResizeObserver(() => this.draw()).observe(this.canvas);
    }
}

function line(context, x, y, toX, toY) {
    context.beginPath();
    context.moveTo(x, y);
    context.lineTo(toX, toY);
    context.stroke();
}
