'use strict';
(function () {
    const kSteepest = Math.PI / 2;
    // Three numbers of 16 bits for each point, as parts of the box: along x, up, along the scan.
    function geometryOf(data) {
        const bytes = Uint8Array.from(atob(data.points), (letter) => letter.charCodeAt(0));
        const parts = new Uint16Array(bytes.buffer);
        const count = parts.length / 3, middle = data.size.map((size) => size / 2);
        const places = new Float32Array(parts.length), colours = new Uint8Array(parts.length);
        for (let i = 0; i < count; ++i) {
            for (let k = 0; k < 3; ++k) places[3 * i + k] = parts[3 * i + k] / 65535 * data.size[k] - middle[k];
            places[3 * i + 2] *= -1;
            const height = parts[3 * i + 1] / 65535, share = (height - data.colourFrom) / Math.max(1e-9, data.colourTo - data.colourFrom);
            const colour = data.colours[Math.round(Math.max(0, Math.min(1, share)) * (data.colours.length - 1))];
            for (let k = 0; k < 3; ++k) colours[3 * i + k] = parseInt(colour.substr(2 * k, 2), 16);
        }
        const geometry = new THREE.BufferGeometry();
        geometry.setAttribute('position', new THREE.BufferAttribute(places, 3));
        geometry.setAttribute('color', new THREE.BufferAttribute(colours, 3, true));
        return geometry;
    }

    function show(figure) {
        const data = JSON.parse(figure.querySelector('script').textContent);
        const view = figure.querySelector('.cloud');
        const canvas = view.querySelector('canvas');
        const context = canvas.getContext('webgl', { alpha: true, antialias: true, preserveDrawingBuffer: true });
        if (!context) {
            figure.querySelector('.without').hidden = false;
            figure.querySelector('.with').hidden = true;
            view.hidden = true;
            return;
        }
        const renderer = new THREE.WebGLRenderer({ canvas: canvas, context: context, alpha: true });
        renderer.setPixelRatio(window.devicePixelRatio);
        const scene = new THREE.Scene(), group = new THREE.Group();
        const camera = new THREE.OrthographicCamera(-1, 1, 1, -1, -10, 10);
        const geometry = geometryOf(data);
        const material = new THREE.PointsMaterial({ size: 2 * window.devicePixelRatio, sizeAttenuation: false, vertexColors: THREE.VertexColors });
        group.add(new THREE.Points(geometry, material));
        const box = new THREE.Box3(new THREE.Vector3(), new THREE.Vector3());
        box.setFromCenterAndSize(new THREE.Vector3(), new THREE.Vector3(data.size[0], data.size[1], data.size[2]));
        const frame = new THREE.Box3Helper(box, new THREE.Color('#808890'));
        group.add(frame);
        scene.add(group);
        const reach = Math.hypot(data.size[0], data.size[1], data.size[2]) / 2 || 1;
        const start = { turn: data.size[2] > 2 * data.size[0] ? -1.2 : -0.6, tilt: 0.7, zoom: 1 };
        const state = Object.assign({}, start);
        // How far the box reaches across and up, as it is seen first.
        group.rotation.set(start.tilt, start.turn, 0, 'XYZ');
        group.updateMatrixWorld();
        const seen = box.clone().applyMatrix4(group.matrixWorld).max;

        function draw() {
            const width = Math.max(1, view.clientWidth), height = Math.max(1, view.clientHeight);
            renderer.setSize(width, height, false);
            const aspect = width / height;
            const up = 1.05 * Math.max(seen.y, seen.x / aspect, 0.01 * reach) / state.zoom, across = up * aspect;
            camera.left = -across; camera.right = across; camera.top = up; camera.bottom = -up;
            camera.near = -4 * reach; camera.far = 4 * reach;
            camera.updateProjectionMatrix();
            group.rotation.set(state.tilt, state.turn, 0, 'XYZ');
            renderer.render(scene, camera);
            view.dataset.turn = state.turn.toFixed(3);
            view.dataset.zoom = state.zoom.toFixed(3);
        }
        function turn(sideways, upwards) {
            state.turn += sideways;
            state.tilt = Math.max(-kSteepest, Math.min(kSteepest, state.tilt + upwards));
            draw();
        }
        function zoom(factor) {
            state.zoom = Math.max(0.5, Math.min(200, state.zoom * factor));
            draw();
        }
        function reset() {
            Object.assign(state, start);
            draw();
        }
        const actions = { ArrowLeft: () => turn(-0.1, 0), ArrowRight: () => turn(0.1, 0), ArrowUp: () => turn(0, -0.1), ArrowDown: () => turn(0, 0.1),
            '+': () => zoom(1.25), '=': () => zoom(1.25), '-': () => zoom(0.8), Home: reset, Escape: reset };
        view.addEventListener('keydown', (event) => {
            if (event.ctrlKey || event.altKey || event.metaKey || !actions[event.key]) return;
            event.preventDefault();
            actions[event.key]();
        });
        const pressed = new Map();
        view.addEventListener('pointerdown', (event) => {
            pressed.set(event.pointerId, event);
            view.setPointerCapture(event.pointerId);
        });
        view.addEventListener('pointermove', (event) => {
            const before = pressed.get(event.pointerId);
            if (!before) return;
            if (pressed.size === 1) turn((event.clientX - before.clientX) * 0.01, (event.clientY - before.clientY) * 0.01);
            if (pressed.size === 2) {
                const other = Array.from(pressed.values()).find((one) => one.pointerId !== event.pointerId);
                const apart = (one) => Math.hypot(one.clientX - other.clientX, one.clientY - other.clientY) || 1;
                zoom(apart(event) / apart(before));
            }
            pressed.set(event.pointerId, event);
        });
        for (const name of ['pointerup', 'pointercancel']) view.addEventListener(name, (event) => pressed.delete(event.pointerId));
        view.addEventListener('wheel', (event) => {
            if (!event.ctrlKey && document.activeElement !== view) return;
            event.preventDefault();
            zoom(event.deltaY < 0 ? 1.15 : 1 / 1.15);
        }, { passive: false });
        for (const button of figure.querySelectorAll('button')) button.addEventListener('click', actions[button.dataset.key]);
        new ResizeObserver(draw).observe(view);
        draw();
    }

    if (typeof THREE === 'undefined') return;
    // Drawn once they come near the window.
    const observer = new IntersectionObserver((entries) => {
        for (const entry of entries) {
            if (!entry.isIntersecting) continue;
            observer.unobserve(entry.target);
            show(entry.target);
        }
    }, { rootMargin: '400px' });
    for (const figure of document.querySelectorAll('figure.turnable')) observer.observe(figure);
}());
