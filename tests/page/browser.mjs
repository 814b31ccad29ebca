// A headless Chromium, driven over a pipe by its DevTools protocol.

import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const commonArguments = [
    '--headless=new',
    '--remote-debugging-pipe',
    '--no-first-run',
    '--disable-extensions',
    '--mute-audio',
    '--disable-background-networking',
    '--disable-component-update',
    '--disable-dev-shm-usage',
    '--hide-scrollbars',
    '--force-device-scale-factor=1',
];
const softwareWebGl = ['--use-gl=angle', '--use-angle=swiftshader', '--enable-unsafe-swiftshader'];
const noWebGl = ['--disable-gpu', '--disable-3d-apis'];
const callLimit = 180000;

export class Browser {
    constructor(program, { isWithWebGl = true, width = 1366, height = 768 } = {}) {
        this.profile = mkdtempSync(join(tmpdir(), 'qelt-browser-'));
        const isRoot = process.getuid?.() === 0; // Chromium's sandbox refuses root
        const size = [`--window-size=${width},${height}`, `--user-data-dir=${this.profile}`];
        this.size = { width, height };
        this.process = spawn(
            program,
            [
                ...commonArguments,
                ...(isWithWebGl ? softwareWebGl : noWebGl),
                ...size,
                ...(isRoot ? ['--no-sandbox'] : []),
                'about:blank',
            ],
            { stdio: ['ignore', 'ignore', 'ignore', 'pipe', 'pipe'] },
        );
        this.waiting = new Map();
        this.listeners = [];
        this.last = 0;
        this.rest = '';
        this.process.stdio[4].setEncoding('utf8');
        this.process.stdio[4].on('data', (text) => this.take(text));
        this.process.stdio[3].on('error', () => {});
        this.ended = new Promise((resolve) => this.process.on('exit', resolve));
    }

    take(text) {
        const messages = (this.rest + text).split('\0');
        this.rest = messages.pop();
        for (const message of messages.map((json) => JSON.parse(json))) {
            if (message.id === undefined) {
                this.listeners.forEach((listener) => listener(message));
            } else {
                const { resolve, reject } = this.waiting.get(message.id);
                this.waiting.delete(message.id);
                message.error ? reject(new Error(message.error.message)) : resolve(message.result);
            }
        }
    }

    send(method, params = {}, sessionId = undefined) {
        const id = ++this.last;
        this.process.stdio[3].write(`${JSON.stringify({ id, method, params, sessionId })}\0`);
        return new Promise((resolve, reject) => {
            const timer = setTimeout(() => reject(new Error(`no answer to ${method}`)), callLimit);
            const settle = (act) => (value) => {
                clearTimeout(timer);
                act(value);
            };
            this.waiting.set(id, { resolve: settle(resolve), reject: settle(reject) });
        });
    }

    /** Opens an address in a new tab and waits until the page says that it is ready. */
    async open(address) {
        const { targetId } = await this.send('Target.createTarget', { url: 'about:blank' });
        const { sessionId } = await this.send('Target.attachToTarget', { targetId, flatten: true });
        const tab = new Tab(this, sessionId);
        await tab.begin(address);
        return tab;
    }

    async close() {
        this.send('Browser.close').catch(() => {});
        const timer = setTimeout(() => this.process.kill('SIGKILL'), 5000);
        await this.ended;
        clearTimeout(timer);
        rmSync(this.profile, { recursive: true, force: true, maxRetries: 5 });
    }
}

const keyCodes = {
    Tab: 9,
    Enter: 13,
    Escape: 27,
    ' ': 32,
    End: 35,
    Home: 36,
    ArrowLeft: 37,
    ArrowUp: 38,
    ArrowRight: 39,
    ArrowDown: 40,
};

class Tab {
    constructor(browser, sessionId) {
        this.browser = browser;
        this.sessionId = sessionId;
        this.complaints = []; // errors and warnings of the console, exceptions
        this.requests = []; // addresses of everything that was asked for
        browser.listeners.push((message) => this.hear(message));
    }

    send(method, params) {
        return this.browser.send(method, params, this.sessionId);
    }

    hear({ method, params, sessionId }) {
        if (sessionId !== this.sessionId) {
            return;
        }
        if (method === 'Runtime.exceptionThrown') {
            const { text, exception } = params.exceptionDetails;
            this.complaints.push(`${text} ${exception?.description ?? ''}`);
        } else if (method === 'Runtime.consoleAPICalled' && ['error', 'warning', 'assert'].includes(params.type)) {
            this.complaints.push(params.args.map((argument) => argument.value ?? argument.description).join(' '));
        } else if (method === 'Log.entryAdded' && ['error', 'warning'].includes(params.entry.level)) {
            this.complaints.push(params.entry.text);
        } else if (method === 'Network.requestWillBeSent') {
            this.requests.push(params.request.url);
        }
    }

    async begin(address) {
        await Promise.all(['Page', 'Runtime', 'Log', 'Network'].map((domain) => this.send(`${domain}.enable`)));
        const { width, height } = this.browser.size;
        await this.send('Emulation.setDeviceMetricsOverride', { width, height, deviceScaleFactor: 1, mobile: false });
        await this.send('Page.navigate', { url: address });
        await this.until('document.documentElement?.dataset.state');
    }

    async evaluate(expression) {
        const { result, exceptionDetails } = await this.send('Runtime.evaluate', {
            expression,
            returnByValue: true,
            awaitPromise: true,
        });
        if (exceptionDetails) {
            throw new Error(exceptionDetails.exception?.description ?? exceptionDetails.text);
        }
        return result.value;
    }

    async until(expression, limit = 180000) {
        const end = Date.now() + limit;
        while (Date.now() < end) {
            if (await this.evaluate(`Boolean(${expression})`)) {
                return;
            }
            await new Promise((resolve) => setTimeout(resolve, 50));
        }
        throw new Error(`did not come true: ${expression}`);
    }

    /** Waits for two frames, so that what is due has been drawn. */
    settle() {
        return this.evaluate(
            'new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(() => done(true))))',
        );
    }

    async mouse(type, x, y, buttons = 0) {
        await this.send('Input.dispatchMouseEvent', {
            type,
            x,
            y,
            button: buttons || type === 'mouseReleased' ? 'left' : 'none',
            buttons,
            clickCount: 1,
        });
    }

    async point(x, y) {
        await this.mouse('mouseMoved', x, y);
        await this.settle();
    }

    async click(x, y) {
        await this.mouse('mouseMoved', x, y);
        await this.mouse('mousePressed', x, y, 1);
        await this.mouse('mouseReleased', x, y);
        await this.settle();
    }

    async drag(x, y, toX, toY) {
        await this.mouse('mouseMoved', x, y);
        await this.mouse('mousePressed', x, y, 1);
        for (let i = 1; i <= 5; ++i) {
            await this.mouse('mouseMoved', x + ((toX - x) * i) / 5, y + ((toY - y) * i) / 5, 1);
            await this.settle();
        }
        await this.mouse('mouseReleased', toX, toY);
        await this.settle();
    }

    /** `modifiers`: 1 Alt, 2 Control, 8 Shift. */
    async key(key, modifiers = 0) {
        const text = key === 'Enter' ? '\r' : key.length === 1 && modifiers % 8 === 0 ? key : undefined;
        const code = keyCodes[key] ?? key.toUpperCase().charCodeAt(0);
        await this.send('Input.dispatchKeyEvent', {
            type: text ? 'keyDown' : 'rawKeyDown',
            key,
            text,
            modifiers,
            windowsVirtualKeyCode: code,
        });
        await this.send('Input.dispatchKeyEvent', { type: 'keyUp', key, modifiers, windowsVirtualKeyCode: code });
        await this.settle();
    }

    async screenshot() {
        const { data } = await this.send('Page.captureScreenshot', { format: 'png' });
        return Buffer.from(data, 'base64');
    }
}
