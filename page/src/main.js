// Puts the page together: reads its data, fills the panel, and links the views.

import { bytesOf } from './decode.js';
import { Scan } from './scan.js';
import { ScanSurface } from './surface.js';
import { PartSurface } from './part.js';
import { hasWebGl, SpaceView } from './space.js';
import { ScanPage } from './scanpage.js';
import { PartPage } from './partpage.js';
import { byId, fillAbout, fillOrigin, listenToDialogs, listenToSplit } from './shell.js';

async function sectionsOf() {
    const elements = [...document.querySelectorAll('script[id^="section"]')];
    const sections = await Promise.all(elements.map((element) => bytesOf(element.textContent)));
    elements.forEach((element) => element.remove()); // their text is no longer needed
    return sections;
}

async function start() {
    const begin = performance.now();
    const model = JSON.parse(byId('model').textContent);
    byId('title').textContent = model.title;
    const sections = await sectionsOf();
    const isPart = model.kind === 'part';
    const data = isPart ? new PartSurface(model, sections) : new Scan(model, sections);
    const surface = isPart ? data : new ScanSurface(data);
    byId('loading').hidden = true;
    byId('main').hidden = false;
    fillAbout(model);
    fillOrigin(model);
    listenToDialogs();
    listenToSplit();
    const makeSpace = (listener) => spaceViewOf(surface, listener);
    const page = isPart ? new PartPage(model, data, makeSpace) : new ScanPage(model, data, surface, makeSpace);
    page.loadSeconds = (performance.now() - begin) / 1000;
    window.page = page; // for those who look at it with the browser's tools
    document.documentElement.dataset.state = 'ready';
}

/** Null without WebGL, or where setting it up fails. */
function spaceViewOf(surface, listener) {
    if (hasWebGl()) {
        try {
            return new SpaceView(byId('space'), byId('space-overlay'), surface, listener);
        } catch (error) {
            console.warn(`The part cannot be drawn: ${error.message}`);
        }
    }
    byId('space').hidden = true;
    byId('space-overlay').hidden = true;
    byId('no-webgl').hidden = false;
    byId('views').classList.add('no-space');
    for (const control of document.querySelectorAll('#space-pane label, #space-pane button')) {
        control.hidden = true;
    }
    return null;
}

start().catch((error) => {
    byId('loading').hidden = false;
    byId('loading').textContent = `The data of this page cannot be read: ${error.message}`;
    document.documentElement.dataset.state = 'failed';
    throw error;
});
