// The arrays of a page: base64, deflated, predicted from their neighbours.

/** The bytes of a section as its element holds them. */
export async function bytesOf(text) {
    const packed = packedBytesOf(text.trim());
    const stream = new Blob([packed]).stream().pipeThrough(new DecompressionStream('deflate'));
    return new Uint8Array(await new Response(stream).arrayBuffer());
}

function packedBytesOf(text) {
    if (Uint8Array.fromBase64) {
        return Uint8Array.fromBase64(text);
    }
    const binary = atob(text);
    const bytes = new Uint8Array(binary.length);
    for (let i = 0; i < binary.length; ++i) {
        bytes[i] = binary.charCodeAt(i);
    }
    return bytes;
}

/**
 * Whole numbers, row by row, and a mask of 0 and 1 where some are missing, else null.
 * Each is predicted by the plane through its left, lower and lower left neighbour, else by the left, else by the
 * lower one, else by the one before; what is kept is the folded difference, its bytes in planes.
 */
export function numbersOf(coded, sections) {
    const { width, size, planes } = coded;
    const bytes = sections[coded.section];
    const mask = coded.mask === undefined ? null : sections[coded.mask];
    const count = planes === 0 ? 0 : bytes.length / planes;
    const numbers = new Int32Array(size);
    let next = 0;
    let last = 0;
    let column = 0;
    for (let i = 0; i < size; ++i) {
        const hasLeft = column > 0 && (mask === null || mask[i - 1] === 1);
        column = column + 1 === width ? 0 : column + 1;
        if (mask !== null && mask[i] === 0) {
            continue;
        }
        let rest = 0;
        for (let plane = 0; plane < planes; ++plane) {
            rest |= bytes[plane * count + next] << (8 * plane);
        }
        ++next;
        const hasLower = i >= width && (mask === null || mask[i - width] === 1);
        let prediction = last;
        if (hasLeft && hasLower && (mask === null || mask[i - width - 1] === 1)) {
            prediction = numbers[i - 1] + numbers[i - width] - numbers[i - width - 1];
        } else if (hasLeft) {
            prediction = numbers[i - 1];
        } else if (hasLower) {
            prediction = numbers[i - width];
        }
        last = (prediction + ((rest >>> 1) ^ -(rest & 1))) | 0;
        numbers[i] = last;
    }
    return { numbers: new Uint32Array(numbers.buffer), mask };
}

/** Numbers as a Float64Array, NaN where there is none. */
export function realsOf(coded, sections) {
    const { numbers, mask } = numbersOf(coded, sections);
    const floats = coded.isFloat ? new Float32Array(numbers.buffer) : null;
    const reals = new Float64Array(numbers.length);
    for (let i = 0; i < reals.length; ++i) {
        if (mask !== null && mask[i] === 0) {
            reals[i] = NaN;
        } else if (floats !== null) {
            reals[i] = floats[i];
        } else {
            reals[i] = coded.table ? coded.table[numbers[i]] : coded.low + coded.step * numbers[i];
        }
    }
    return reals;
}
