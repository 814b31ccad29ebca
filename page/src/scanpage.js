// A C-scan: its panel, and the link between the views. A pixel is marked by pointing at it, in any view or by keys; a click
// keeps it marked when the pointer leaves.

import {
    ECHO,
    NO_ECHO,
    NOT_REACHED,
    NO_SURFACE,
    REFUSED,
    SATURATED,
    Scale,
    bandsIn,
    cssOf,
    mapNames,
    paint,
    stateColours,
    stateNames,
} from './colours.js';
import { CScanView } from './cscan.js';
import { indicationsOf, isIn } from './indications.js';
import { Layers, closed, isShown, layerNames } from './layers.js';
import { drawLegend } from './legend.js';
import { circleOn, lengthOf, profileOf, shortestWay } from './measure.js';
import { ProfileView } from './profile.js';
import { centreIn, distance } from './scan.js';
import { byId, chooseTool, fillTable, isTyping, listenToLook, tool } from './shell.js';
import { histogramOf, statisticsOf } from './statistics.js';
import { count, plain, text, withUnit } from './ticks.js';

/** Of the full range: where 98 % of the values take less of it, the rest are outliers. */
const outlierShare = 0.25;

export class ScanPage {
    constructor(model, scan, surface, makeSpace) {
        Object.assign(this, { model, scan, surface });
        this.isGrid = model.kind === 'grid';
        this.marked = -1; // the pixel that all views mark
        this.kept = -1; // the one that stays marked when the pointer leaves
        this.ruler = { ends: [], way: null };
        this.profileEnds = [];
        this.indications = indicationsOf(scan, model.indications ?? []);
        this.chosen = -1;
        const pointing = { chosen: (pixel) => this.choose(pixel), left: () => this.mark(this.kept) };
        this.cscan = new CScanView(byId('cscan'), scan, {
            ...pointing,
            pointed: (pixel) => this.mark(pixel >= 0 ? pixel : this.kept),
            moved: (u, v) => this.moveBy(u, v),
        });
        this.profile = new ProfileView(byId('profile'), {
            ...pointing,
            pointed: (pixel) => this.mark(pixel),
            chosen: (pixel) => this.keep(pixel),
        });
        this.space = makeSpace({
            pointed: (hit) => this.mark(hit?.pixel ?? this.kept),
            chosen: (hit) => this.choose(hit?.pixel ?? -1),
            left: pointing.left,
        });
        this.layers = new Layers(model, scan, surface, this.indications);
        this.fillChoices();
        this.listen();
        this.chooseValue();
        this.fillIndications();
        this.fillFigures();
        this.cscan.fit();
        this.keep(this.firstPixel());
    }

    /** Near the middle of the raster. */
    firstPixel() {
        const middle = Math.floor(this.scan.height / 2) * this.scan.width + Math.floor(this.scan.width / 2);
        for (let away = 0; away < this.scan.size; ++away) {
            for (const pixel of [middle + away, middle - away]) {
                if (this.scan.hasSurface(pixel)) {
                    return pixel;
                }
            }
        }
        return -1;
    }

    get value() {
        return this.scan.values[byId('value').value] ?? null;
    }

    get valueTitle() {
        return this.value === null ? 'no value' : `${this.value.name}${this.value.unit ? ` [${this.value.unit}]` : ''}`;
    }

    // The panel.

    fillChoices() {
        byId('value').replaceChildren(
            ...this.scan.values.map(
                (value, i) => new Option(value.unit ? `${value.name} [${value.unit}]` : value.name, i),
            ),
        );
        byId('map').replaceChildren(...Object.entries(mapNames).map(([name, label]) => new Option(label, name)));
        byId('states-title').textContent = this.isGrid ? 'Pixels' : 'States of pixels';
        document.querySelectorAll('.of-result').forEach((element) => (element.hidden = this.isGrid));
        byId('filling-label').hidden = this.scan.filling === null;
        this.layers.fillPanel();
    }

    chooseValue() {
        this.statistics = statisticsOf(this.value?.reals ?? new Float64Array());
        const { count: number, low, high, median, mean, deviation } = this.statistics;
        const unit = this.value?.unit ?? '';
        byId('limits-unit').textContent = unit;
        byId('bands').value = '';
        fillTable(byId('statistics'), [
            { name: 'Pixels with a value', cells: [count(number)] },
            { name: 'Lowest, highest', cells: [`${text(low)}, ${withUnit(high, unit)}`] },
            { name: 'Median, mean', cells: [`${text(median)}, ${withUnit(mean, unit)}`] },
            { name: 'Standard deviation', cells: [withUnit(deviation, unit)] },
            {
                name: 'Error of holding it',
                cells: [
                    this.value === null
                        ? '–'
                        : this.value.error === 0
                          ? 'none'
                          : `± ${withUnit(this.value.error, unit, 2)}`,
                ],
            },
            ...(this.value?.ceiling === undefined
                ? []
                : [{ name: 'Saturated from', cells: [withUnit(this.value.ceiling, unit)] }]),
        ]);
        const [first, last] = [this.statistics.at(0.01), this.statistics.at(0.99)];
        // A few degenerate quads would take all the colours of a grid; of what was measured nothing is left out unasked.
        const isStretched = this.isGrid && last - first < outlierShare * (high - low);
        this.setLimits(...(isStretched ? [first, last] : [low, high]));
    }

    setLimits(low, high) {
        byId('low').value = Number.isFinite(low) ? plain(low, 7) : 0;
        byId('high').value = Number.isFinite(high) ? plain(high, 7) : 1;
        // The texts are rounded: the limits of the full range are not, so that nothing is beyond them.
        this.exact = { low, high, texts: byId('low').value + byId('high').value };
        this.paint();
    }

    limits() {
        const texts = byId('low').value + byId('high').value;
        if (this.exact.texts === texts && Number.isFinite(this.exact.low)) {
            return [this.exact.low, this.exact.high];
        }
        const [low, high] = [byId('low'), byId('high')].map((input) =>
            Number(input.value.trim().replace(',', '.') || NaN),
        );
        if (!Number.isFinite(low) || !Number.isFinite(high) || low > high) {
            throw new Error('limits are two numbers, the lower one first');
        }
        return [low, high];
    }

    paint() {
        try {
            this.scale = new Scale(byId('map').value, ...this.limits(), bandsIn(byId('bands').value));
            byId('complaint').textContent = '';
        } catch (error) {
            byId('complaint').textContent = error.message;
            return;
        }
        const shown = {
            isSaturationMarked: !this.isGrid && byId('mark-saturated').checked,
            isFillingShown: byId('show-filling').checked,
        };
        const image = paint(this.scan, this.value?.reals ?? null, this.scale, shown);
        this.cscan.setImage(image);
        this.space?.setImage(image, this.scan.width, this.scan.height);
        const bins = histogramOf(this.value?.reals ?? [], this.scale.low, this.scale.high, 128);
        drawLegend(byId('legend'), this.scale, bins, this.valueTitle);
        this.fillClipping(bins);
        this.fillStates();
        this.showProfile();
    }

    fillClipping({ below, above }) {
        const share = (number) =>
            `${count(number)} px (${((100 * number) / Math.max(1, this.statistics.count)).toFixed(2)} %)`;
        fillTable(byId('clipping'), [
            { name: 'Below the limits', cells: [share(below)], colour: cssOf(this.scale.below) },
            { name: 'Above the limits', cells: [share(above)], colour: cssOf(this.scale.above) },
        ]);
    }

    fillStates() {
        const { states } = this.model;
        const unit = this.model.unit ? `${this.model.unit}²` : '';
        const order = this.isGrid ? [ECHO, NO_SURFACE] : [ECHO, SATURATED, NO_ECHO, NOT_REACHED, REFUSED, NO_SURFACE];
        const rows = order.map((state) => {
            const colours = stateColours[state] ?? [scaleMiddle(this.scale), scaleMiddle(this.scale)];
            const name = this.isGrid && state === ECHO ? 'surface' : stateNames[state];
            const area = state === NO_SURFACE ? '' : withUnit(states[state].area, unit, 4);
            return {
                name,
                cells: [count(states[state].count), area],
                colour: cssOf(colours[0]),
                stripe: cssOf(colours[1]),
            };
        });
        if (this.scan.filling !== null) {
            const filled = this.scan.filling.mask.reduce((sum, one) => sum + one, 0);
            rows.push({ name: 'of them filled in', cells: [count(filled), ''] });
        }
        fillTable(byId('states'), rows);
    }

    fillFigures() {
        const { states, unit, placeError, normalError } = this.model;
        const surface = states
            .slice(1)
            .reduce((sum, state) => ({ count: sum.count + state.count, area: sum.area + state.area }), {
                count: 0,
                area: 0,
            });
        const reached = [ECHO, SATURATED, NO_ECHO].reduce((sum, state) => sum + states[state].area, 0);
        const side = Math.sqrt(surface.area / surface.count);
        const { low, high } = this.surface;
        const rows = [
            { name: 'Raster', cells: [`${this.scan.width} × ${this.scan.height}`] },
            { name: 'Pixels with surface', cells: [count(surface.count)] },
            { name: 'Area', cells: [withUnit(surface.area, unit ? `${unit}²` : '', 6)] },
            { name: 'Mean side of a pixel', cells: [withUnit(side, unit, 4)] },
            ...(this.isGrid
                ? []
                : [{ name: 'True area reached', cells: [`${((100 * reached) / surface.area).toFixed(2)} %`] }]),
            { name: 'Box', cells: [[0, 1, 2].map((axis) => text(high[axis] - low[axis], 4)).join(' × ')] },
            { name: 'Places held within', cells: [`± ${withUnit(placeError, unit, 2)}`] },
            { name: 'Normals held within', cells: [`${text(normalError, 2)}°`] },
            { name: 'Quads drawn', cells: [this.space === null ? 'none' : count(this.space.drawnQuads)] },
        ];
        fillTable(byId('figures'), rows);
        byId('subtitle').textContent =
            `${this.isGrid ? 'grid' : 'measured C-scan'}, ${this.scan.width} × ${this.scan.height} pixels of ${withUnit(side, unit, 3)}`;
    }

    // Marking.

    mark(pixel) {
        this.marked = pixel;
        this.fillPixel(pixel);
        this.showMarks();
        this.profile.setPixel(pixel);
        byId('look').querySelector('[value="marked"]').disabled = pixel < 0;
    }

    keep(pixel) {
        if (pixel >= 0) {
            this.kept = pixel;
            this.cscan.reveal(pixel);
            const kind = byId('profile-kind').value;
            if (kind !== 'points') {
                this.profileEnds = [];
            }
            this.mark(pixel);
            this.showProfile();
        }
    }

    moveBy(u, v) {
        const start = this.marked >= 0 ? this.marked : this.firstPixel();
        let [column, row] = [start % this.scan.width, Math.floor(start / this.scan.width)];
        do {
            // over holes to the next surface
            column += u;
            row += v;
        } while (
            column >= 0 &&
            row >= 0 &&
            column < this.scan.width &&
            row < this.scan.height &&
            !this.scan.hasSurfaceAt(column, row)
        );
        if (this.scan.hasSurfaceAt(column, row)) {
            this.keep(row * this.scan.width + column);
        }
    }

    choose(pixel) {
        if (pixel < 0) {
            return;
        }
        const place = centreIn(this.scan, pixel);
        if (tool() === 'ruler') {
            this.ruler.ends = this.ruler.ends.length === 2 ? [place] : [...this.ruler.ends, place];
            this.measure();
        } else if (tool() === 'profile') {
            this.profileEnds = this.profileEnds.length === 2 ? [place] : [...this.profileEnds, place];
            byId('profile-kind').value = 'points';
        }
        this.keep(pixel);
    }

    fillPixel(pixel) {
        const { unit } = this.model;
        const isThere = pixel >= 0;
        const place = isThere ? this.scan.partPlace(this.scan.centreOf(pixel)) : null;
        const normal = isThere ? this.scan.normalOf(pixel) : null;
        const state = isThere ? this.scan.states[pixel] : -1;
        const source = isThere ? this.scan.sourceOf(pixel) : -1;
        const patch = isThere && this.scan.patches.length > 1 ? ` of ${this.scan.patchOf(pixel).name}` : '';
        const stateText = !isThere
            ? '–'
            : this.isGrid
              ? 'surface'
              : stateNames[state] + (source >= 0 ? ', filled in' : '');
        const chosen = Number(byId('value').value);
        fillTable(
            byId('pixel'),
            [
                {
                    name: 'u, v',
                    cells: [
                        isThere ? `${pixel % this.scan.width}, ${Math.floor(pixel / this.scan.width)}${patch}` : '–',
                    ],
                },
                { name: 'x, y, z', cells: [isThere ? `${place.map((c) => text(c, 6)).join(', ')} ${unit}` : '–'] },
                { name: 'Normal', cells: [isThere ? normal.map((c) => text(c, 4)).join(', ') : '–'] },
                { name: 'State', cells: [stateText] },
                ...this.scan.values.map((value, i) => ({
                    name: value.name,
                    isChosen: i === chosen,
                    cells: [this.valueText(value, pixel, source)],
                })),
                { name: 'Indication', cells: [this.indicationText(pixel)] },
            ].slice(0, this.indications.length > 0 ? undefined : -1),
        );
    }

    valueText(value, pixel, source) {
        if (pixel < 0) {
            return '–';
        }
        if (Number.isNaN(value.reals[pixel]) && source >= 0 && !Number.isNaN(value.reals[source])) {
            return `(${withUnit(value.reals[source], value.unit)})`;
        }
        return value.statistic === 'count' && !Number.isNaN(value.reals[pixel])
            ? count(value.reals[pixel])
            : withUnit(value.reals[pixel], value.unit);
    }

    indicationText(pixel) {
        const found =
            pixel < 0
                ? []
                : this.indications.filter(
                      (indication) => indication.pixel === pixel || isIn(indication, centreIn(this.scan, pixel)),
                  );
        return found.length === 0 ? '–' : found.map((indication) => indication.number).join(', ');
    }

    showMarks() {
        const indications = isShown('indications')
            ? this.indications.map((indication, i) => ({ ...indication, isChosen: i === this.chosen }))
            : [];
        const ends = [...this.ruler.ends, ...(this.profileEnds.length > 0 ? this.profileEnds : [])];
        const line = this.profileLine;
        const beam = isShown('beam') ? this.model.beam : null;
        this.cscan.setMarks({
            pixel: this.marked,
            indications,
            ends,
            way: this.ruler.way,
            line,
            beam,
            ...this.layers.marks(),
        });
        const inSpace = (place) => this.scan.placeAt(...place);
        const placesOf = (way) => way?.map(inSpace).filter((place) => place !== null);
        this.space?.setMarks({
            marker:
                this.marked < 0
                    ? null
                    : { place: this.scan.centreOf(this.marked), normal: this.scan.normalOf(this.marked) },
            way: placesOf(this.ruler.way),
            straight: this.ruler.ends.length === 2 ? placesOf(this.ruler.ends) : null,
            line: placesOf(thinned(line)),
            ends: placesOf(ends),
            beam: beam && this.marked >= 0 ? placesOf(closed(circleOn(this.scan, this.marked, beam))) : null,
            indications: indications
                .filter((indication) => indication.pixel >= 0)
                .map((indication) => ({
                    ...indication,
                    place: this.scan.centreOf(indication.pixel),
                    around: placesOf(indication.outline.flat()),
                    normal: this.scan.normalOf(indication.pixel),
                })),
        });
    }

    // Measuring.

    measure() {
        const { ends } = this.ruler;
        this.ruler.way = ends.length === 2 ? shortestWay(this.scan, ...ends) : null;
        const unit = this.model.unit;
        const places = ends.map((place) => this.scan.placeAt(...place));
        const along =
            ends.length < 2
                ? '–'
                : this.ruler.way === null
                  ? 'not connected'
                  : withUnit(lengthOf(this.scan, this.ruler.way), unit, 6);
        fillTable(byId('ruler'), [
            { name: 'Along the surface', cells: [along] },
            { name: 'Straight', cells: [ends.length < 2 ? '–' : withUnit(distance(...places), unit, 6)] },
        ]);
        this.showMarks();
    }

    profileEndsNow() {
        if (byId('profile-kind').value === 'points') {
            return this.profileEnds.length === 2 ? this.profileEnds : null;
        }
        if (this.kept < 0) {
            return null;
        }
        const [u, v] = centreIn(this.scan, this.kept);
        return byId('profile-kind').value === 'row'
            ? [
                  [0.5, v],
                  [this.scan.width - 0.5, v],
              ]
            : [
                  [u, 0.5],
                  [u, this.scan.height - 0.5],
              ];
    }

    showProfile() {
        const ends = this.profileEndsNow();
        this.profileLine = ends;
        const isPoints = byId('profile-kind').value === 'points';
        if (ends === null) {
            this.profile.set(null);
            byId('profile-note').textContent = isPoints
                ? 'Set two points: choose “sets the ends of a profile”, then click or press Enter at each.'
                : '';
            this.profileLine = null;
        } else {
            const profile = trimmed(profileOf(this.scan, this.value?.reals ?? null, ...ends));
            this.profile.set(profile, this.valueTitle, this.scale, this.scan.unit);
            const [u, v] = ends[0].map(Math.floor);
            const [toU, toV] = ends[1].map(Math.floor);
            byId('profile-note').textContent =
                byId('profile-kind').value === 'row'
                    ? `v = ${v}`
                    : byId('profile-kind').value === 'column'
                      ? `u = ${u}`
                      : `(${u}, ${v}) to (${toU}, ${toV}), ${withUnit(profile.length, this.model.unit)}`;
        }
        this.profile.setPixel(this.marked);
        this.showMarks();
    }

    saveProfile() {
        if (this.profile.profile === null) {
            return;
        }
        const heading = `u,v,"length along the surface [${this.scan.unit}]",x,y,z,state,"${this.valueTitle.replaceAll('"', '""')}"`;
        const rows = this.profile.profile.samples.map(({ pixel, length, value, state }) => {
            const place = this.scan.hasSurface(pixel) ? this.scan.partPlace(this.scan.centreOf(pixel)) : ['', '', ''];
            return [
                pixel % this.scan.width,
                Math.floor(pixel / this.scan.width),
                length,
                ...place,
                stateNames[state],
                Number.isNaN(value) ? '' : value,
            ].join(',');
        });
        const link = document.createElement('a');
        link.href = URL.createObjectURL(new Blob([`${[heading, ...rows].join('\n')}\n`], { type: 'text/csv' }));
        link.download = `${this.model.title}-profile.csv`;
        link.click();
        URL.revokeObjectURL(link.href);
    }

    clear() {
        this.ruler = { ends: [], way: null };
        this.profileEnds = [];
        this.chosen = -1;
        this.pressIndications();
        this.measure();
        this.showProfile();
    }

    // What else is shown.

    showLines() {
        this.space?.setLines(this.layers.lines());
        this.showMarks();
    }

    fillIndications() {
        byId('indication-section').hidden = this.model.indications === undefined;
        if (this.indications.length === 0) {
            byId('indications').textContent = 'none';
        } else {
            byId('indications').replaceChildren(
                ...this.indications.map((indication, i) => {
                    const button = document.createElement('button');
                    button.type = 'button';
                    const [number, words, size] = ['b', 'span', 'span'].map((name) => document.createElement(name));
                    number.textContent = indication.number;
                    words.textContent = indication.words;
                    size.textContent = indication.size;
                    button.append(number, words, size);
                    button.addEventListener('click', () => this.goTo(i));
                    return button;
                }),
            );
        }
        this.pressIndications();
        this.showLines();
    }

    pressIndications() {
        [...byId('indications').querySelectorAll('button')].forEach((button, i) => {
            button.setAttribute('aria-pressed', String(i === this.chosen));
        });
    }

    goTo(index) {
        if (this.indications.length === 0) {
            return;
        }
        this.chosen = (index + this.indications.length) % this.indications.length;
        this.pressIndications();
        byId('indications').querySelectorAll('button')[this.chosen].scrollIntoView({ block: 'nearest' });
        const { pixel } = this.indications[this.chosen];
        this.keep(pixel);
        if (pixel >= 0) {
            this.space?.reveal(this.scan.centreOf(pixel), this.scan.normalOf(pixel));
        }
    }

    // Listening.

    listen() {
        const on = (id, event, act) => byId(id).addEventListener(event, act);
        on('value', 'change', () => {
            this.chooseValue();
            this.mark(this.marked);
        });
        for (const id of ['map', 'low', 'high', 'bands', 'mark-saturated', 'show-filling']) {
            on(id, 'change', () => this.paint());
        }
        on('full', 'click', () => this.setLimits(this.statistics.low, this.statistics.high));
        on('middle', 'click', () => this.setLimits(this.statistics.at(0.01), this.statistics.at(0.99)));
        on('clear', 'click', () => this.clear());
        on('cscan-fit', 'click', () => this.cscan.fit());
        on('cscan-in', 'click', () => this.cscan.zoomBy(1.5));
        on('cscan-out', 'click', () => this.cscan.zoomBy(1 / 1.5));
        on('place', 'change', () => this.goToPlace());
        on('profile-kind', 'change', () => this.showProfile());
        on('profile-save', 'click', () => this.saveProfile());
        on('profile-hide', 'click', () => this.toggleProfile());
        for (const name of layerNames) {
            on(`show-${name}`, 'change', () => this.showLines());
        }
        if (this.space !== null) {
            listenToLook(this.space, this.surface, () => (this.marked < 0 ? null : this.scan.normalOf(this.marked)));
        }
        document.addEventListener('keydown', (event) => this.pressed(event));
        this.measure();
    }

    goToPlace() {
        const [u, v] = byId('place')
            .value.split(/[,;\s]+/)
            .map((field) => Math.floor(Number(field)));
        if (this.scan.hasSurfaceAt(u, v)) {
            byId('complaint').textContent = '';
            this.keep(v * this.scan.width + u);
        } else {
            byId('complaint').textContent = `pixel ${byId('place').value} has no surface`;
        }
    }

    toggleProfile() {
        const isHidden = byId('views').classList.toggle('no-profile');
        byId('profile-hide').textContent = isHidden ? 'Show' : 'Hide';
        byId('profile-hide').setAttribute('aria-expanded', String(!isHidden));
    }

    pressed(event) {
        if (isTyping(event) || document.querySelector('dialog[open]') !== null) {
            return;
        }
        const actions = {
            '?': () => byId('help').showModal(),
            m: () => chooseTool('mark'),
            r: () => chooseTool('ruler'),
            p: () => chooseTool('profile'),
            n: () => this.goTo(this.chosen + 1),
            b: () => this.goTo(Math.max(this.chosen, 0) - 1),
            Escape: () => this.clear(),
        };
        actions[event.key]?.();
    }
}

const scaleMiddle = (scale) => scale.table.subarray(3 * 180, 3 * 180 + 3);

/** A line of the C-scan as enough places for the other view. */
function thinned(line) {
    return line === null || line === undefined
        ? null
        : Array.from({ length: 257 }, (_, i) => line[0].map((from, axis) => from + (i / 256) * (line[1][axis] - from)));
}

/** Without pixels off the surface at both ends. */
function trimmed(profile) {
    const isOn = profile.samples.map((sample) => sample.state !== NO_SURFACE);
    const first = isOn.indexOf(true);
    return first < 0 ? profile : { ...profile, samples: profile.samples.slice(first, isOn.lastIndexOf(true) + 1) };
}
