// What is shown besides the surface and the measures: places of shots, the path, footprints, outlines of indications.

import { circleOn } from './measure.js';
import { centreIn, distance } from './scan.js';
import { byId } from './shell.js';
import { count, plain } from './ticks.js';

export const layerNames = ['indications', 'shots', 'path', 'beam', 'footprints'];

const mostFootprints = 5000;
const mostFeet = 60; // lines from the path to the surface
const white = 0xffffff;
const violet = 0xd8b4fe;
const darkViolet = 0x9a7bc0;

export const isShown = (name) => byId(`show-${name}`).checked;

export const closed = (way) => [...way, way[0]];

export class Layers {
    constructor(model, scan, surface, indications) {
        Object.assign(this, { model, scan, surface, indications, near: 0.02 * surface.radius });
        const toFile = (place) => place.slice(0, 3).map((coordinate, axis) => coordinate + model.move[axis]);
        if (model.shots) {
            this.shotPlaces = model.shots.places.map(toFile);
            const pixels = model.shots.places
                .map((shot, i) => this.pixelTold(shot, this.shotPlaces[i]) ?? this.pixelNear(this.shotPlaces[i]))
                .filter((pixel) => pixel >= 0);
            this.shots = pixels.map((pixel) => centreIn(scan, pixel));
            this.circles = model.beam ? this.footprintsOn([...new Set(pixels)]) : undefined;
        }
        if (model.path) {
            this.pathPlaces = model.path.places.map(toFile);
            this.path = model.path.places.map((pose, i) => {
                const hit = surface.pick(this.pathPlaces[i], pose.slice(3, 6));
                return hit === null ? null : centreIn(scan, hit.pixel);
            });
        }
    }

    /** The pixel that a table names, if the place is there. */
    pixelTold([, , , u, v], place) {
        return this.scan.hasSurfaceAt(u, v) && distance(this.scan.centreOf(v * this.scan.width + u), place) < this.near
            ? v * this.scan.width + u
            : undefined;
    }

    /** The pixel of a place on the surface, by rays along the axes through it; -1 if none is near. */
    pixelNear(place) {
        const { near } = this;
        for (const axis of [2, 1, 0]) {
            for (const sign of [-1, 1]) {
                const direction = [0, 0, 0];
                direction[axis] = sign;
                const origin = place.map((coordinate, i) => coordinate - near * direction[i]);
                const hit = this.surface.pick(origin, direction);
                if (hit !== null && hit.distance < 2 * near) {
                    return hit.pixel;
                }
            }
        }
        return -1;
    }

    footprintsOn(pixels) {
        const stride = Math.ceil(pixels.length / mostFootprints);
        return pixels
            .filter((_, i) => i % stride === 0)
            .map((pixel) => closed(circleOn(this.scan, pixel, this.model.beam, 24)));
    }

    /** Offers in the panel what there is. */
    fillPanel() {
        const { shots, path, beam, unit } = this.model;
        const texts = {
            indications: this.indications.length > 0 ? 'Indications' : null,
            shots: shots ? thinnedText(shots, 'places of shots') : null,
            path: path ? thinnedText(path, 'poses of the path') : null,
            beam: beam ? `Beam of ${plain(beam)} ${unit} at the marked pixel` : null,
            footprints: this.circles ? 'Footprints of shots' : null,
        };
        for (const name of layerNames) {
            byId(`show-${name}-label`).hidden = texts[name] === null;
            byId(`show-${name}-label`).querySelector('span').textContent = texts[name] ?? '';
        }
        byId('layer-section').hidden = layerNames.every((name) => texts[name] === null);
    }

    /** For the C-scan. */
    marks() {
        return {
            shots: isShown('shots') ? this.shots : null,
            path: isShown('path') ? this.path : null,
            footprints: isShown('footprints') ? this.circles : null,
        };
    }

    /** For the view in space. */
    lines() {
        const lines = [];
        if (isShown('shots') && this.shotPlaces) {
            lines.push({ kind: 'dots', places: this.shotPlaces, colour: white });
        }
        if (isShown('path') && this.pathPlaces) {
            lines.push({ kind: 'line', places: this.pathPlaces, colour: violet });
            lines.push({ kind: 'segments', places: this.feet(), colour: darkViolet });
        }
        if (isShown('footprints') && this.circles) {
            lines.push({ kind: 'segments', places: this.segmentsOf(this.circles), colour: white });
        }
        if (isShown('indications')) {
            const outlines = this.indications.flatMap((indication) => indication.outline);
            lines.push({ kind: 'segments', places: this.segmentsOf(outlines), colour: white });
        }
        return lines.filter((line) => line.places.length > 0);
    }

    /** Ends of lines from some poses of the path to where they point at. */
    feet() {
        const met = this.path.flatMap((place, i) => (place === null ? [] : [[i, place]]));
        const stride = Math.ceil(met.length / mostFeet);
        return met
            .filter((_, i) => i % stride === 0)
            .flatMap(([i, place]) => [this.pathPlaces[i], this.scan.placeAt(...place)]);
    }

    /** Ends of the pieces of ways on the C-scan; pieces with an end off the surface are left out. */
    segmentsOf(ways) {
        const ends = [];
        for (const way of ways) {
            const places = way.map((place) => this.placeBeside(place));
            for (let i = 1; i < places.length; ++i) {
                if (places[i - 1] !== null && places[i] !== null) {
                    ends.push(places[i - 1], places[i]);
                }
            }
        }
        return ends;
    }

    /** The place at a corner of pixels, in any of these that has surface; null if none has. */
    placeBeside([u, v]) {
        for (const [x, y] of [
            [0, 0],
            [-1e-6, 0],
            [0, -1e-6],
            [-1e-6, -1e-6],
        ]) {
            const place = this.scan.hasSurfaceAt(Math.floor(u + x), Math.floor(v + y))
                ? this.scan.placeAt(u + x, v + y)
                : null;
            if (place !== null) {
                return place;
            }
        }
        return null;
    }
}

const thinnedText = ({ count: number, places, stride }, words) =>
    `${count(number)} ${words}` + (stride > 1 ? ` (${count(places.length)} drawn)` : '');
