// From values to colours. The tables are samples, between which colours are mixed: viridis (van der Walt, Smith 2015)
// and cividis (Nunez, Anderton, Renslow 2018) grow evenly in lightness; turbo (Mikhailov 2019) does not.

const samples = {
    viridis: `440154470d6048186a482374472d7b4537814240863e49893b528b375b8d33638d2f6b8e2c728e297a8e26828e23898e21918c
        1f988b1fa08822a78528ae8032b67a3fbc734ec36b5ec96270cf5784d44b98d83eaddc30c2df23d8e219ece51bfde725`,
    cividis: `00205100265d012b6508316911366c1c3c6e26426e31476e3c4d6e47536d51586e5a5e6e62646f6a6a707270717976737f7c75
        8682768c8877938e789a9478a19b78a9a177b2a874bbaf71c5b66dcebd68d8c462e2cb5cebd355f3da4ffae249fdea45`,
    grey: '1e1e1ef0f0f0',
    turbo: `23171b3e2a71493eae4a53d74569ee3c7ff83295f72ba9ef26bce125cdcf29dcbc32e9a73ff39350f98065fd6e7cfd5e95fb51
        adf545c5ec3cdae034ecd12efac029ffad24ff9821ff821dfd6c1af05616df4111cb2f0db61f07a31302950c00900c00`,
};

export const mapNames = {
    viridis: 'viridis (perceptually uniform)',
    cividis: 'cividis (uniform, also for colour-blind eyes)',
    grey: 'grey (uniform)',
    turbo: 'turbo (NOT uniform: edges it shows may not be in the data)',
};

const clipped = {
    viridis: { below: [0, 176, 255], above: [255, 64, 64] },
    cividis: { below: [0, 190, 255], above: [255, 64, 64] },
    grey: { below: [40, 120, 255], above: [255, 64, 64] },
    turbo: { below: [0, 0, 0], above: [255, 255, 255] },
};

export const stateNames = ['no surface', 'not reached', 'no echo', 'echo', 'saturated', 'refused'];
export const NO_SURFACE = 0;
export const NOT_REACHED = 1;
export const NO_ECHO = 2;
export const ECHO = 3;
export const SATURATED = 4;
export const REFUSED = 5;

/** Two colours a state, striped where they differ. An echo has the colour of its value. */
export const stateColours = {
    [NO_SURFACE]: [
        [38, 42, 48],
        [38, 42, 48],
    ],
    [NOT_REACHED]: [
        [66, 72, 80],
        [150, 156, 164],
    ],
    [NO_ECHO]: [
        [255, 255, 255],
        [255, 255, 255],
    ],
    [SATURATED]: [
        [255, 46, 220],
        [255, 46, 220],
    ],
    [REFUSED]: [
        [196, 106, 20],
        [140, 68, 6],
    ],
};
const filledColour = [120, 126, 134];

/** 256 colours of a map, 3 numbers each. */
export function tableOf(map) {
    const digits = samples[map].replace(/\s/g, '');
    const last = digits.length / 6 - 1;
    const table = new Uint8Array(768);
    for (let i = 0; i < 256; ++i) {
        const place = (i / 255) * last;
        const left = Math.min(Math.floor(place), last - 1);
        for (let channel = 0; channel < 3; ++channel) {
            const at = (sample) => parseInt(digits.substr(6 * sample + 2 * channel, 2), 16);
            table[3 * i + channel] = Math.round(at(left) + (place - left) * (at(left + 1) - at(left)));
        }
    }
    return table;
}

/** The numbers of "0,1,2,4", rising; null where the text is empty; throws where it is anything else. */
export function bandsIn(text) {
    if (text.trim() === '') {
        return null;
    }
    const numbers = text
        .split(/[,;\s]+/)
        .filter((field) => field !== '')
        .map(Number);
    if (
        numbers.length < 2 ||
        numbers.some((number, i) => !Number.isFinite(number) || (i > 0 && number <= numbers[i - 1]))
    ) {
        throw new Error('bands are two or more rising numbers, such as 0,1,2,4');
    }
    return numbers;
}

/** What gives each value its colour: limits or bands, a map, and the colours beyond. */
export class Scale {
    constructor(map, low, high, bands) {
        this.map = map;
        this.table = tableOf(map);
        this.bands = bands;
        this.low = bands === null ? low : bands[0];
        this.high = bands === null ? high : bands[bands.length - 1];
        this.below = clipped[map].below;
        this.above = clipped[map].above;
    }

    /** 0 to 255; -1 below the limits, 256 above. */
    levelOf(value) {
        if (value < this.low) {
            return -1;
        }
        if (value > this.high) {
            return 256;
        }
        if (this.bands !== null) {
            return this.levelOfBand(this.bandOf(value));
        }
        return this.high > this.low
            ? Math.min(255, Math.floor((256 * (value - this.low)) / (this.high - this.low)))
            : 128;
    }

    bandOf(value) {
        let band = 0;
        while (band + 2 < this.bands.length && value >= this.bands[band + 1]) {
            ++band;
        }
        return band;
    }

    levelOfBand(band) {
        const last = this.bands.length - 2;
        return last === 0 ? 128 : Math.round((255 * band) / last);
    }

    colourOf(value) {
        const level = this.levelOf(value);
        if (level < 0 || level > 255) {
            return level < 0 ? this.below : this.above;
        }
        return this.table.subarray(3 * level, 3 * level + 3);
    }
}

/** Colours of all pixels, 4 bytes each, row by row from v = 0. Transparent without surface. */
export function paint(scan, values, scale, shown) {
    const image = new Uint8ClampedArray(4 * scan.size);
    for (let pixel = 0; pixel < scan.size; ++pixel) {
        const state = scan.states[pixel];
        if (state === NO_SURFACE) {
            continue;
        }
        const colour = colourOfPixel(scan, values, scale, shown, pixel, state);
        image[4 * pixel] = colour[0];
        image[4 * pixel + 1] = colour[1];
        image[4 * pixel + 2] = colour[2];
        image[4 * pixel + 3] = 255;
    }
    return image;
}

function colourOfPixel(scan, values, scale, shown, pixel, state) {
    const column = pixel % scan.width;
    const row = (pixel - column) / scan.width;
    const value = values === null ? NaN : values[pixel];
    const stripe = ((column + row) >> 1) & 1;
    if (state === SATURATED && shown.isSaturationMarked) {
        return stateColours[SATURATED][0];
    }
    if (!Number.isNaN(value)) {
        return scale.colourOf(value);
    }
    const source = scan.sourceOf(pixel);
    if (shown.isFillingShown && values !== null && source >= 0 && !Number.isNaN(values[source])) {
        return (column + row) & 1 ? filledColour : scale.colourOf(values[source]);
    }
    return stateColours[state === ECHO || state === SATURATED ? NO_ECHO : state][stripe];
}

export const cssOf = (colour) => `rgb(${colour[0]},${colour[1]},${colour[2]})`;
