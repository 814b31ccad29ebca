// The scale of colours with a histogram above it and the limits below.

import { cssOf } from './colours.js';
import { plain, text, ticksBetween } from './ticks.js';

const barHeight = 14;
const barTop = 40;

export function drawLegend(canvas, scale, { bins, below, above }, title) {
    const ratio = window.devicePixelRatio || 1;
    const width = canvas.clientWidth;
    canvas.width = Math.round(width * ratio);
    canvas.height = Math.round(canvas.clientHeight * ratio);
    const context = canvas.getContext('2d');
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    const left = 16;
    const plot = width - 2 * left;
    drawHistogram(context, bins, left, plot);
    drawBar(context, scale, left, plot);
    for (const [colour, x, number] of [
        [scale.below, 0, below],
        [scale.above, width - 13, above],
    ]) {
        context.fillStyle = number > 0 ? cssOf(colour) : '#eef1f4';
        context.fillRect(x, barTop, 13, barHeight);
        context.strokeStyle = '#5c6670';
        context.strokeRect(x + 0.5, barTop + 0.5, 12, barHeight - 1);
    }
    drawTicks(context, scale, left, plot);
    canvas.setAttribute('aria-label', `${title}: colours from ${text(scale.low)} to ${text(scale.high)}`);
}

function drawHistogram(context, bins, left, plot) {
    const most = bins.reduce((a, b) => Math.max(a, b), 1);
    context.fillStyle = '#7d8b99';
    bins.forEach((number, i) => {
        const height = number === 0 ? 0 : Math.max(1, (number / most) * (barTop - 4));
        context.fillRect(left + (plot * i) / bins.length, barTop - 2 - height, plot / bins.length, height);
    });
}

function drawBar(context, scale, left, plot) {
    for (let x = 0; x < plot; ++x) {
        const value = scale.low + ((x + 0.5) / plot) * (scale.high - scale.low);
        context.fillStyle = cssOf(scale.colourOf(value));
        context.fillRect(left + x, barTop, 1.5, barHeight);
    }
    context.strokeStyle = '#5c6670';
    context.strokeRect(left + 0.5, barTop + 0.5, plot - 1, barHeight - 1);
}

function drawTicks(context, scale, left, plot) {
    const ticks = scale.bands ?? ticksBetween(scale.low, scale.high, 4);
    context.fillStyle = '#14181d';
    context.strokeStyle = '#14181d';
    context.font = '11px system-ui, sans-serif';
    context.textBaseline = 'top';
    context.textAlign = 'center';
    let end = -Infinity;
    for (const tick of ticks) {
        const x = left + (scale.high > scale.low ? (plot * (tick - scale.low)) / (scale.high - scale.low) : plot / 2);
        context.beginPath();
        context.moveTo(x, barTop + barHeight);
        context.lineTo(x, barTop + barHeight + 4);
        context.stroke();
        const half = context.measureText(plain(tick)).width / 2;
        const at = Math.min(Math.max(x, half), plot + 2 * left - half);
        if (at - half > end + 4) {
            context.fillText(plain(tick), at, barTop + barHeight + 6);
            end = at + half;
        }
    }
}
