// Figures of the pixels that hold a value; always of all of them.

export function statisticsOf(values) {
    const sorted = values.filter((value) => !Number.isNaN(value)).sort(); // a typed array sorts by number
    let sum = 0;
    for (const value of sorted) {
        sum += value;
    }
    const at = (share) => (sorted.length === 0 ? NaN : sorted[Math.round(share * (sorted.length - 1))]);
    const mean = sum / sorted.length;
    let squares = 0;
    for (const value of sorted) {
        squares += (value - mean) ** 2;
    }
    return {
        count: sorted.length,
        low: at(0),
        high: at(1),
        median: at(0.5),
        mean,
        deviation: Math.sqrt(squares / sorted.length),
        at,
    };
}

/** How many values lie in each of equally wide bins from low to high, and how many beyond. */
export function histogramOf(values, low, high, binCount) {
    const bins = new Uint32Array(binCount);
    let below = 0;
    let above = 0;
    for (const value of values) {
        if (value < low) {
            ++below;
        } else if (value > high) {
            ++above;
        } else if (value >= low) {
            ++bins[high > low ? Math.min(binCount - 1, Math.floor((binCount * (value - low)) / (high - low))) : 0];
        }
    }
    return { bins, below, above };
}
