// The part in space, by WebGL. What is drawn may be coarser than the data: quads are joined until at most `mostQuads`
// remain, fewer while the view turns. Colours are not: they are a texture with a texel a pixel. Marks that move with the
// pointer are drawn on a canvas above, so that the surface is drawn again only when the view or the colours change.

import {
    BufferAttribute,
    BufferGeometry,
    Color,
    DataTexture,
    DoubleSide,
    Float32BufferAttribute,
    Line,
    LineBasicMaterial,
    LineSegments,
    LinearMipmapLinearFilter,
    Mesh,
    NearestFilter,
    OrthographicCamera,
    Points,
    PointsMaterial,
    Quaternion,
    RGBAFormat,
    Scene,
    ShaderMaterial,
    UnsignedByteType,
    Vector3,
    WebGLRenderer,
} from 'three';
import { label, stroke } from './cscan.js';
import { dot } from './scan.js';
import { ticksBetween, withUnit } from './ticks.js';

export const mostQuads = 250000;
const mostQuadsWhileDragging = 40000;
const slowFrame = 83; // milliseconds

const vertexShader = `
    varying vec2 texel;
    varying vec3 turned;
    void main() {
        texel = uv;
        turned = normalMatrix * normal;
        gl_Position = projectionMatrix * modelViewMatrix * vec4(position, 1.0);
    }`;
const fragmentShader = `
    uniform sampler2D colours;
    uniform bool hasColours;
    uniform float shading;
    uniform float side;
    varying vec2 texel;
    varying vec3 turned;
    void main() {
        vec4 colour = hasColours ? texture2D(colours, texel) : vec4(0.72, 0.75, 0.78, 1.0);
        if (colour.a < 0.5) discard;
        float facing = abs(normalize(turned).z);
        vec3 lit = colour.rgb * mix(1.0, 0.45 + 0.55 * facing, shading);
        bool isBack = gl_FrontFacing != (side > 0.0);
        gl_FragColor = vec4(isBack ? mix(lit, vec3(0.35, 0.37, 0.40), 0.6) : lit, 1.0);
    }`;

/** Whether the browser offers WebGL 2. */
export function hasWebGl() {
    try {
        return document.createElement('canvas').getContext('webgl2') !== null;
    } catch {
        return false;
    }
}

export class SpaceView {
    /** `surface` gives geometries, extent and what rays meet; see surface.js. */
    constructor(canvas, overlay, surface, listener) {
        this.canvas = canvas;
        this.overlay = overlay;
        this.surface = surface;
        this.listener = listener;
        this.marks = {};
        this.renderer = new WebGLRenderer({ canvas, antialias: true, powerPreference: 'high-performance' });
        this.renderer.setClearColor(new Color(0x262a30), 1);
        this.scene = new Scene();
        this.camera = new OrthographicCamera();
        this.uniforms = {
            colours: { value: null },
            hasColours: { value: surface.hasColours },
            shading: { value: 0.7 },
        };
        this.drawn = surface.meshesOf(mostQuads).map((part) => this.meshOf(part));
        this.coarse = surface.meshesOf(mostQuadsWhileDragging).map((part) => this.meshOf(part));
        this.drawnQuads = quadsIn(this.drawn);
        this.coarseQuads = quadsIn(this.coarse);
        this.scene.add(...this.drawn, ...this.coarse);
        this.showDetail(true);
        this.turn = new Quaternion();
        this.centre = new Vector3();
        this.span = 1; // half the height that is seen
        this.lines = [];
        this.frames = 0;
        this.lookAlong(surface.facing);
        this.fit();
        this.listen();
    }

    meshOf({ positions, normals, texels, corners, isTurned }) {
        const geometry = new BufferGeometry();
        geometry.setAttribute('position', new BufferAttribute(positions, 3));
        geometry.setAttribute('normal', new BufferAttribute(normals, 3));
        geometry.setAttribute('uv', new BufferAttribute(texels, 2));
        geometry.setIndex(new BufferAttribute(corners, 1));
        const material = new ShaderMaterial({
            uniforms: { ...this.uniforms, side: { value: isTurned ? -1 : 1 } },
            vertexShader,
            fragmentShader,
            side: DoubleSide,
            polygonOffset: true,
            polygonOffsetFactor: 1,
            polygonOffsetUnits: 1,
        });
        const mesh = new Mesh(geometry, material);
        mesh.frustumCulled = false;
        return mesh;
    }

    setImage(pixels, width, height) {
        const { data, columns, rows } = this.fittingTexture(pixels, width, height);
        this.uniforms.colours.value?.dispose();
        const texture = new DataTexture(data, columns, rows, RGBAFormat, UnsignedByteType);
        texture.magFilter = NearestFilter;
        texture.minFilter = LinearMipmapLinearFilter;
        texture.generateMipmaps = true;
        texture.anisotropy = Math.min(4, this.renderer.capabilities.getMaxAnisotropy());
        texture.needsUpdate = true;
        this.uniforms.colours.value = texture;
        this.draw();
    }

    /** Every so many pixels where the device takes no texture of their number. */
    fittingTexture(pixels, width, height) {
        const stride = Math.ceil(Math.max(width, height) / this.renderer.capabilities.maxTextureSize);
        if (stride === 1) {
            return { data: new Uint8Array(pixels.buffer), columns: width, rows: height };
        }
        const [columns, rows] = [Math.ceil(width / stride), Math.ceil(height / stride)];
        const source = new Uint32Array(pixels.buffer);
        const data = new Uint32Array(columns * rows);
        for (let i = 0; i < data.length; ++i) {
            data[i] = source[Math.floor(i / columns) * stride * width + (i % columns) * stride];
        }
        return { data: new Uint8Array(data.buffer), columns, rows };
    }

    setShading(share) {
        this.uniforms.shading.value = share;
        this.draw();
    }

    /** Lines and dots that stay on the surface: [{kind: 'line' | 'segments' | 'dots', places, colour}]. */
    setLines(lines) {
        this.lines.forEach((object) => {
            this.scene.remove(object);
            object.geometry.dispose();
        });
        this.lines = lines.map(({ kind, places, colour }) => {
            const geometry = new BufferGeometry();
            const flat = places.flatMap((place) => this.surface.localOf(place));
            geometry.setAttribute('position', new Float32BufferAttribute(flat, 3));
            const object =
                kind === 'dots'
                    ? new Points(geometry, new PointsMaterial({ color: colour, size: 2.5, sizeAttenuation: false }))
                    : new (kind === 'line' ? Line : LineSegments)(geometry, new LineBasicMaterial({ color: colour }));
            object.frustumCulled = false;
            return object;
        });
        this.lines.forEach((object) => this.scene.add(object));
        this.draw();
    }

    setMarks(marks) {
        this.marks = marks;
        this.drawOverlay();
    }

    /** Looks against a direction, with the greatest of the other axes' upward. */
    lookAlong(direction) {
        const back = new Vector3(...direction).normalize();
        const up = Math.abs(back.z) > 0.9 ? new Vector3(0, 1, 0) : new Vector3(0, 0, 1);
        const right = new Vector3().crossVectors(up, back).normalize();
        const upward = new Vector3().crossVectors(back, right);
        this.scratch ??= new Mesh();
        this.scratch.matrix.makeBasis(right, upward, back);
        this.turn.setFromRotationMatrix(this.scratch.matrix);
        this.draw();
    }

    /** All that is drawn, by some thousand of its points. */
    fit() {
        const toEye = this.turn.clone().invert();
        const low = new Vector3(Infinity, Infinity, Infinity);
        const top = new Vector3(-Infinity, -Infinity, -Infinity);
        for (const { geometry } of this.drawn) {
            const { array, count } = geometry.attributes.position;
            const stride = Math.max(1, Math.floor(count / 5000));
            for (let i = 0; i < count; i += stride) {
                const seen = new Vector3().fromArray(array, 3 * i).applyQuaternion(toEye);
                low.min(seen);
                top.max(seen);
            }
        }
        this.centre.addVectors(low, top).multiplyScalar(0.5).applyQuaternion(this.turn);
        this.span = 0.55 * Math.max(top.y - low.y, (top.x - low.x) / this.aspect, 1e-9);
        this.draw();
    }

    get aspect() {
        return Math.max(1, this.canvas.clientWidth) / Math.max(1, this.canvas.clientHeight);
    }

    zoomBy(factor, x = this.canvas.clientWidth / 2, y = this.canvas.clientHeight / 2) {
        const before = this.offsetOf(x, y);
        const radius = this.surface.radius;
        this.span = Math.min(4 * radius, Math.max(radius / 2000, this.span / factor));
        const after = this.offsetOf(x, y);
        this.centre.add(before.sub(after).applyQuaternion(this.turn));
        this.draw();
    }

    /** From the middle of the view to a place on the screen, in the eye's axes. */
    offsetOf(x, y) {
        const perPixel = (2 * this.span) / Math.max(1, this.canvas.clientHeight);
        return new Vector3(
            (x - this.canvas.clientWidth / 2) * perPixel,
            (this.canvas.clientHeight / 2 - y) * perPixel,
            0,
        );
    }

    pan(x, y) {
        const perPixel = (2 * this.span) / Math.max(1, this.canvas.clientHeight);
        this.centre.add(new Vector3(-x * perPixel, y * perPixel, 0).applyQuaternion(this.turn));
        this.draw();
    }

    rotate(x, y) {
        const speed = 0.008;
        const turn = new Quaternion()
            .setFromAxisAngle(new Vector3(0, 1, 0), -x * speed)
            .multiply(new Quaternion().setFromAxisAngle(new Vector3(1, 0, 0), -y * speed));
        this.turn.multiply(turn).normalize();
        this.draw();
    }

    /** The ray through a place on the screen, in the file's places. */
    rayAt(x, y) {
        const direction = new Vector3(0, 0, -1).applyQuaternion(this.turn);
        const origin = this.offsetOf(x, y)
            .applyQuaternion(this.turn)
            .add(this.centre)
            .addScaledVector(direction, -4 * this.surface.radius);
        return { origin: this.surface.fileOf(origin.toArray()), direction: direction.toArray() };
    }

    pick(x, y) {
        const { origin, direction } = this.rayAt(x, y);
        return this.surface.pick(origin, direction);
    }

    /** Where a place of the file appears. */
    screenOf(place) {
        const seen = new Vector3(...this.surface.localOf(place))
            .sub(this.centre)
            .applyQuaternion(this.turn.clone().invert());
        const perPixel = (2 * this.span) / Math.max(1, this.canvas.clientHeight);
        return [this.canvas.clientWidth / 2 + seen.x / perPixel, this.canvas.clientHeight / 2 - seen.y / perPixel];
    }

    isHidden(place) {
        const direction = new Vector3(0, 0, 1).applyQuaternion(this.turn).toArray();
        const lifted = place.map((coordinate, axis) => coordinate + 1e-3 * this.surface.radius * direction[axis]);
        return this.surface.pick(lifted, direction) !== null;
    }

    /** Turns so that a place with a normal is seen, unless it is already. */
    reveal(place, normal) {
        const eye = new Vector3(0, 0, 1).applyQuaternion(this.turn).toArray();
        if (dot(eye, normal) < 0.15 || this.isHidden(place)) {
            this.lookAlong(normal);
        }
        const [x, y] = this.screenOf(place);
        const { clientWidth, clientHeight } = this.canvas;
        if (x < 0 || y < 0 || x > clientWidth || y > clientHeight) {
            this.pan(clientWidth / 2 - x, clientHeight / 2 - y);
        }
        this.draw();
    }

    showDetail(isFull) {
        this.isDragged = !isFull;
        const hasCoarse = this.coarseQuads < this.drawnQuads;
        this.drawn.forEach((mesh) => (mesh.visible = isFull || !hasCoarse));
        this.coarse.forEach((mesh) => (mesh.visible = !isFull && hasCoarse));
    }

    /** Where the view turns at fewer than 12 pictures a second, they are drawn with half as many pixels each way. */
    timeDragging() {
        const now = performance.now();
        if (this.isDragged && this.lastDragged > 0) {
            this.isSlow = this.isSlow || now - this.lastDragged > slowFrame;
        }
        this.lastDragged = this.isDragged ? now : 0;
    }

    draw() {
        this.isDue ??= requestAnimationFrame(() => {
            this.isDue = undefined;
            this.drawNow();
        });
    }

    drawNow() {
        const { clientWidth, clientHeight } = this.canvas;
        if (clientWidth === 0 || clientHeight === 0) {
            return;
        }
        this.timeDragging();
        const ratio = (window.devicePixelRatio || 1) * (this.isDragged && this.isSlow ? 0.5 : 1);
        this.renderer.setPixelRatio(ratio);
        if (
            this.canvas.width !== Math.floor(clientWidth * ratio) ||
            this.canvas.height !== Math.floor(clientHeight * ratio)
        ) {
            this.renderer.setSize(clientWidth, clientHeight, false);
        }
        const radius = this.surface.radius;
        Object.assign(this.camera, {
            left: -this.span * this.aspect,
            right: this.span * this.aspect,
            top: this.span,
            bottom: -this.span,
            near: 0.01 * radius,
            far: 12 * radius,
        });
        this.camera.quaternion.copy(this.turn);
        this.camera.position.copy(new Vector3(0, 0, 6 * radius).applyQuaternion(this.turn).add(this.centre));
        this.camera.updateProjectionMatrix();
        this.renderer.render(this.scene, this.camera);
        ++this.frames;
        this.drawOverlay();
    }

    drawOverlay() {
        const ratio = window.devicePixelRatio || 1;
        const { clientWidth, clientHeight } = this.overlay;
        this.overlay.width = Math.round(clientWidth * ratio);
        this.overlay.height = Math.round(clientHeight * ratio);
        const context = this.overlay.getContext('2d');
        context.setTransform(ratio, 0, 0, ratio, 0, 0);
        this.drawWay(context, this.marks.way, '#ffffff');
        this.drawWay(context, this.marks.straight, '#ffdd00', [5, 4]);
        this.drawWay(context, this.marks.line, '#ff9f1c', [], 1);
        this.drawWay(context, this.marks.beam, '#ffffff');
        (this.marks.ends ?? []).forEach((place) => this.drawEnd(context, place));
        (this.marks.indications ?? []).forEach((indication) => this.drawNumber(context, indication));
        this.drawMarker(context, this.marks.marker);
        this.drawTriad(context, clientHeight);
        this.drawRuler(context, clientWidth, clientHeight);
    }

    drawWay(context, places, colour, dashes = [], width = 2) {
        if (!places || places.length < 2) {
            return;
        }
        context.beginPath();
        places.forEach((place, i) => {
            const [x, y] = this.screenOf(place);
            i === 0 ? context.moveTo(x, y) : context.lineTo(x, y);
        });
        context.setLineDash(dashes);
        stroke(context, colour, width, true);
        context.setLineDash([]);
    }

    drawEnd(context, place) {
        context.beginPath();
        context.arc(...this.screenOf(place), 4, 0, 2 * Math.PI);
        stroke(context, '#ffffff', 2, true);
    }

    /** Above the outline; not where the surface turns away. */
    drawNumber(context, { place, around, normal, number, isChosen }) {
        if (dot(new Vector3(0, 0, 1).applyQuaternion(this.turn).toArray(), normal) > 0) {
            const tops = around.map((other) => this.screenOf(other)[1]);
            const [x, y] = this.screenOf(place);
            label(context, number, x, Math.min(y, ...tops) - 10, isChosen);
        }
    }

    /** A cross where the pixel is and its normal; dashed if the surface hides it. */
    drawMarker(context, marker) {
        if (!marker) {
            return;
        }
        const [x, y] = this.screenOf(marker.place);
        const tip = marker.place.map((coordinate, axis) => coordinate + 0.12 * this.span * marker.normal[axis]);
        context.setLineDash(this.isHidden(marker.place) ? [3, 3] : []);
        context.beginPath();
        for (const [a, b] of [
            [1, 0],
            [-1, 0],
            [0, 1],
            [0, -1],
        ]) {
            context.moveTo(x + a * 6, y + b * 6);
            context.lineTo(x + a * 18, y + b * 18);
        }
        stroke(context, '#ffffff', 1.5, true);
        context.beginPath();
        context.moveTo(x, y);
        context.lineTo(...this.screenOf(tip));
        stroke(context, '#ff9f1c', 2, true);
        context.setLineDash([]);
    }

    drawTriad(context, height) {
        const toEye = this.turn.clone().invert();
        const origin = [40, height - 40];
        context.font = 'bold 12px system-ui, sans-serif';
        context.textAlign = 'center';
        context.textBaseline = 'middle';
        ['x', 'y', 'z'].forEach((name, axis) => {
            const seen = new Vector3().setComponent(axis, 1).applyQuaternion(toEye);
            const [x, y] = [origin[0] + 26 * seen.x, origin[1] - 26 * seen.y];
            context.beginPath();
            context.moveTo(...origin);
            context.lineTo(x, y);
            stroke(context, ['#ff7b72', '#7ee787', '#79c0ff'][axis], 2, false);
            context.fillStyle = Math.hypot(seen.x, seen.y) > 0.25 ? '#fff' : 'transparent'; // not of what points at the eye
            context.fillText(name, origin[0] + 35 * seen.x, origin[1] - 35 * seen.y);
        });
    }

    /** A length in the plane of the screen. */
    drawRuler(context, width, height) {
        const perPixel = (2 * this.span) / Math.max(1, this.canvas.clientHeight);
        const ticks = ticksBetween(0, 0.25 * width * perPixel, 1);
        const length = ticks[ticks.length - 1];
        if (!(length > 0)) {
            return;
        }
        const right = width - 16;
        const left = right - length / perPixel;
        context.beginPath();
        context.moveTo(left, height - 22);
        context.lineTo(left, height - 16);
        context.lineTo(right, height - 16);
        context.lineTo(right, height - 22);
        stroke(context, '#fff', 1.5, true);
        context.fillStyle = '#fff';
        context.font = '12px system-ui, sans-serif';
        context.textAlign = 'center';
        context.textBaseline = 'bottom';
        context.fillText(withUnit(length, this.surface.unit, 3), (left + right) / 2, height - 20);
    }

    listen() {
        const at = (event) => {
            const box = this.canvas.getBoundingClientRect();
            return [event.clientX - box.left, event.clientY - box.top];
        };
        let pressed = null;
        const target = this.canvas;
        target.addEventListener('pointerdown', (event) => {
            pressed = { at: at(event), last: at(event), isMoved: false, isPan: event.shiftKey || event.button !== 0 };
            target.setPointerCapture(event.pointerId);
        });
        target.addEventListener('pointermove', (event) => {
            const here = at(event);
            if (pressed === null) {
                this.listener.pointed(this.pick(...here));
                return;
            }
            pressed.isMoved ||= Math.hypot(here[0] - pressed.at[0], here[1] - pressed.at[1]) > 4;
            if (pressed.isMoved) {
                this.showDetail(false);
                const [x, y] = [here[0] - pressed.last[0], here[1] - pressed.last[1]];
                pressed.isPan ? this.pan(x, y) : this.rotate(x, y);
            }
            pressed.last = here;
        });
        const release = (event) => {
            const was = pressed;
            pressed = null;
            this.showDetail(true);
            this.draw();
            if (was !== null && !was.isMoved && event.type === 'pointerup') {
                this.listener.chosen(this.pick(...at(event)));
            }
        };
        target.addEventListener('pointerup', release);
        target.addEventListener('pointercancel', release);
        target.addEventListener('contextmenu', (event) => event.preventDefault());
        target.addEventListener('pointerleave', () => this.listener.left());
        target.addEventListener(
            'wheel',
            (event) => {
                event.preventDefault();
                this.zoomBy(Math.exp(-0.0015 * event.deltaY), ...at(event));
            },
            { passive: false },
        );
        target.addEventListener('keydown', (event) => this.pressed(event));
        new ResizeObserver(() => this.draw()).observe(target);
    }

    pressed(event) {
        const arrows = { ArrowLeft: [-20, 0], ArrowRight: [20, 0], ArrowUp: [0, -20], ArrowDown: [0, 20] };
        if (arrows[event.key]) {
            event.shiftKey
                ? this.pan(...arrows[event.key].map((step) => -2 * step))
                : this.rotate(...arrows[event.key]);
        } else if (event.key === '+' || event.key === '=') {
            this.zoomBy(1.25);
        } else if (event.key === '-') {
            this.zoomBy(0.8);
        } else if (event.key === 'Home') {
            this.lookAlong(this.surface.facing);
            this.fit();
        } else if (event.key === 'Enter' || event.key === ' ') {
            this.listener.chosen(this.pick(this.canvas.clientWidth / 2, this.canvas.clientHeight / 2));
        } else {
            return;
        }
        event.preventDefault();
    }
}

const quadsIn = (meshes) => meshes.reduce((sum, mesh) => sum + mesh.geometry.index.count / 6, 0);
