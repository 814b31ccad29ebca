// What all pages share: dialogs, the split between the views, tables.

import { text } from './ticks.js';

export const byId = (id) => document.getElementById(id);

/** Fills a table with rows of texts; a row may bring a colour for a swatch. Texts are never taken for HTML. */
export function fillTable(table, rows) {
    table.replaceChildren(
        ...rows.map(({ name, cells, colour, stripe, isChosen, title }) => {
            const row = document.createElement('tr');
            row.classList.toggle('chosen', Boolean(isChosen));
            const head = document.createElement('th');
            head.scope = 'row';
            if (colour) {
                const swatch = document.createElement('span');
                swatch.className = 'swatch';
                swatch.style.background =
                    stripe && stripe !== colour
                        ? `repeating-linear-gradient(45deg, ${colour} 0 3px, ${stripe} 3px 6px)`
                        : colour;
                head.append(swatch);
            }
            head.append(name);
            row.append(
                head,
                ...cells.map((cell) => {
                    const element = document.createElement('td');
                    element.className = 'value';
                    element.textContent = cell;
                    return element;
                }),
            );
            if (title) {
                row.title = title;
            }
            return row;
        }),
    );
}

export function fillAbout(model) {
    byId('about-text').textContent =
        `Made by ${model.program} of ${model.title}. Numbers in it are held in ${model.precision}: ` +
        `places within ${text(model.placeError, 2)} ${model.unit || 'units'}` +
        (model.values ? `, normals within ${text(model.normalError, 2)}°` : '') +
        (model.values ?? [])
            .map(
                (value) =>
                    `, ${value.name} within ${value.error === 0 ? '0 (exact)' : `${text(value.error, 2)} ${value.unit}`}`,
            )
            .join('') +
        ' of the input.';
}

export function fillOrigin(model) {
    const lines = [...(model.origin ?? [])];
    if (model.record) {
        lines.push(...linesOf(model.record));
    }
    byId('origin-section').hidden = lines.length === 0;
    byId('origin').replaceChildren(
        ...lines.flatMap(([name, value]) => {
            const [term, definition] = [document.createElement('dt'), document.createElement('dd')];
            term.textContent = name;
            definition.textContent = value;
            return [term, definition];
        }),
    );
}

function linesOf(record) {
    try {
        return Object.entries(JSON.parse(record)).map(([name, value]) => [
            name,
            typeof value === 'string' ? value : JSON.stringify(value, null, 1),
        ]);
    } catch {
        return [['record', record]];
    }
}

export function listenToDialogs() {
    for (const name of ['help', 'about']) {
        byId(`${name}-button`).addEventListener('click', () => byId(name).showModal());
    }
}

export function listenToSplit() {
    const split = byId('split');
    const views = byId('views');
    const set = (share) => {
        const bounded = Math.min(85, Math.max(15, Math.round(share)));
        views.style.setProperty('--share', `${bounded}fr`);
        views.style.setProperty('--rest', `${100 - bounded}fr`);
        split.setAttribute('aria-valuenow', bounded);
    };
    split.addEventListener('pointerdown', (event) => split.setPointerCapture(event.pointerId));
    split.addEventListener('pointermove', (event) => {
        if (split.hasPointerCapture(event.pointerId)) {
            const box = views.getBoundingClientRect();
            set((100 * (event.clientX - box.left)) / box.width);
        }
    });
    split.addEventListener('keydown', (event) => {
        const step = { ArrowLeft: -5, ArrowRight: 5 }[event.key];
        if (step) {
            set(Number(split.getAttribute('aria-valuenow')) + step);
            event.preventDefault();
        }
    });
}

/** Whether a key press is meant for a field and not for the page. */
export const isTyping = (event) =>
    event.target.matches('input:not([type]), select, textarea') || event.ctrlKey || event.metaKey || event.altKey;

/** The tool that a click uses: mark, ruler or profile. */
export const tool = () => document.querySelector('input[name="tool"]:checked').value;

export function chooseTool(name) {
    const input = document.querySelector(`input[name="tool"][value="${name}"]`);
    if (input !== null && input.offsetParent !== null) {
        input.checked = true;
    }
}

/** Where to look from: the select's value as a direction, or null for the rest. */
export function listenToLook(space, surface, markedNormal) {
    byId('look').addEventListener('change', (event) => {
        const { value } = event.target;
        const direction =
            value === 'facing' ? surface.facing : value === 'marked' ? markedNormal() : value.split(',').map(Number);
        if (direction !== null) {
            space.lookAlong(direction);
            if (value !== 'marked') {
                space.fit();
            }
        }
    });
    byId('space-fit').addEventListener('click', () => space.fit());
    byId('shading').addEventListener('change', (event) => space.setShading(event.target.checked ? 0.7 : 0));
}
