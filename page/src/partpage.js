// A part alone: triangles and their figures.

import { byId, chooseTool, fillTable, isTyping, listenToLook, tool } from './shell.js';
import { distance } from './scan.js';
import { count, text, withUnit } from './ticks.js';

export class PartPage {
    constructor(model, part, makeSpace) {
        this.model = model;
        this.part = part;
        this.ends = [];
        this.kept = null;
        for (const element of document.querySelectorAll('.of-scan, #cscan-pane, #profile-pane, #split')) {
            element.remove();
        }
        byId('views').classList.add('only-part');
        byId('subtitle').textContent = `${count(part.triangleCount)} triangles; a C-scan needs a grid`;
        this.space = makeSpace({
            pointed: (hit) => this.show(hit),
            chosen: (hit) => this.choose(hit),
            left: () => this.show(this.kept),
        });
        if (this.space !== null) {
            listenToLook(this.space, part, () => null);
        }
        byId('clear').addEventListener('click', () => this.clear());
        document.addEventListener('keydown', (event) => this.pressed(event));
        this.fillFigures();
        this.show(null);
        this.showRuler();
    }

    fillFigures() {
        const { low, high, json } = this.part;
        const unit = json.unit;
        fillTable(byId('figures'), [
            { name: 'Triangles', cells: [count(this.part.triangleCount)] },
            { name: 'Points', cells: [count(this.part.places[0].length)] },
            { name: 'Area', cells: [withUnit(this.part.area(), unit ? `${unit}²` : '')] },
            ...['x', 'y', 'z'].map((name, axis) => ({
                name: `${name} from, to`,
                cells: [`${text(low[axis] - json.move[axis])}, ${text(high[axis] - json.move[axis])}`],
            })),
            {
                name: 'Drawn',
                cells: [this.space === null ? 'nothing' : `${count(Math.round(2 * this.space.drawnQuads))} triangles`],
            },
        ]);
        byId('pixel-title').textContent = 'Place';
    }

    show(hit) {
        this.marked = hit;
        const unit = this.part.json.unit;
        const place = hit === null ? null : this.part.partPlace(hit.place);
        const normal = hit === null ? null : this.part.normalOf(hit.triangle);
        fillTable(byId('pixel'), [
            { name: 'Triangle', cells: [hit === null ? '–' : count(hit.triangle)] },
            { name: 'x, y, z', cells: [place === null ? '–' : `${place.map((c) => text(c, 6)).join(', ')} ${unit}`] },
            { name: 'Normal', cells: [normal === null ? '–' : normal.map((c) => text(c, 4)).join(', ')] },
        ]);
        this.space?.setMarks({
            marker: hit === null ? null : { place: hit.place, normal },
            ends: this.ends,
            straight: this.ends.length === 2 ? this.ends : null,
        });
    }

    choose(hit) {
        if (hit !== null && tool() === 'ruler') {
            this.ends = this.ends.length === 2 ? [hit.place] : [...this.ends, hit.place];
            this.showRuler();
        }
        this.kept = hit;
        this.show(hit);
    }

    showRuler() {
        const [from, to] = this.ends;
        fillTable(byId('ruler'), [
            { name: 'Straight', cells: [to ? withUnit(distance(from, to), this.part.json.unit, 6) : '–'] },
            { name: 'Along the surface', cells: ['needs a grid'] },
        ]);
    }

    clear() {
        this.ends = [];
        this.kept = null;
        this.showRuler();
        this.show(null);
    }

    pressed(event) {
        if (isTyping(event)) {
            return;
        }
        const actions = {
            '?': () => byId('help').showModal(),
            m: () => chooseTool('mark'),
            r: () => chooseTool('ruler'),
            Escape: () => this.clear(),
        };
        actions[event.key]?.();
    }
}
