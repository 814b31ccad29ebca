// Makes one page of the sources beside this file and of the packages they use.
// Usage: node build.mjs NODE_MODULES PAGE.html

import { readFile, writeFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';

const sources = join(dirname(fileURLToPath(import.meta.url)), 'src');
const packages = resolve(process.argv[2]);
const target = resolve(process.argv[3]);
const { build } = createRequire(join(packages, 'none.js'))('esbuild');

async function bundled(entry) {
    const result = await build({
        entryPoints: [join(sources, entry)],
        nodePaths: [packages],
        bundle: true,
        minify: true,
        write: false,
        charset: 'ascii',
        format: 'iife',
        target: ['chrome103', 'firefox113', 'safari16.4'],
        legalComments: 'none', // the licences stand in the page as a whole
    });
    return result.outputFiles[0].text.trim();
}

async function licences() {
    const text = await readFile(join(packages, 'three', 'LICENSE'), 'utf8');
    const version = JSON.parse(await readFile(join(packages, 'three', 'package.json'), 'utf8')).version;
    return `three.js ${version}\n\n${text.trim()}`.replaceAll('&', '&amp;').replaceAll('<', '&lt;');
}

function replaceOnce(text, mark, replacement) {
    if (text.split(mark).length !== 2) {
        throw new Error(`${mark} does not stand in the page once`);
    }
    return text.replace(mark, () => replacement);
}

const script = await bundled('main.js');
for (const forbidden of ['<!--', '</script']) {
    if (script.includes(forbidden)) {
        throw new Error(`the bundle holds ${forbidden}, which would end or hide its element`);
    }
}
let page = await readFile(join(sources, 'page.html'), 'utf8');
page = replaceOnce(page, '<!--STYLE-->', `<style>${await bundled('style.css')}</style>`);
page = replaceOnce(page, '<!--LICENCES-->', await licences());
page = replaceOnce(page, '<!--SCRIPT-->', `<script>${script}</script>`);
await writeFile(target, page);
