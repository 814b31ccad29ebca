// Numbers for people: round steps of axes, and texts of values.

/** Round places from low to high, about `wanted` of them. */
export function ticksBetween(low, high, wanted) {
    if (!(high > low)) {
        return [low];
    }
    const rough = (high - low) / Math.max(1, wanted);
    const power = 10 ** Math.floor(Math.log10(rough));
    const step = power * (rough < 1.5 * power ? 1 : rough < 3.5 * power ? 2 : rough < 7.5 * power ? 5 : 10);
    const ticks = [];
    for (let i = Math.ceil(low / step - 1e-9); i * step <= high + 1e-9 * step; ++i) {
        ticks.push(Number((i * step).toPrecision(12)));
    }
    return ticks;
}

/** A value with so many significant digits, without an exponent where that can be read. */
export function text(value, digits = 5) {
    if (!Number.isFinite(value)) {
        return '–';
    }
    const size = Math.abs(value);
    if (size !== 0 && (size < 1e-4 || size >= 1e7)) {
        return value.toExponential(digits - 1).replace('-', '−');
    }
    const decimals = size === 0 ? 0 : Math.min(8, Math.max(0, digits - 1 - Math.floor(Math.log10(size))));
    return value.toFixed(decimals).replace(/^-/, '−');
}

/** A number that a control takes and shows again. */
export const plain = (value, digits = 6) => String(Number(value.toPrecision(digits)));

export const withUnit = (value, unit, digits) =>
    unit && Number.isFinite(value) ? `${text(value, digits)} ${unit}` : text(value, digits);

/** 12345 as 12 345. */
export const count = (number) => String(number).replace(/\B(?=(\d{3})+$)/g, '\u202f');
