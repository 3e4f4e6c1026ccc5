'use strict';
(function () {
    const holder = document.getElementById('plots');
    const svgName = 'http://www.w3.org/2000/svg';
    const shown = (value) => value === null ? '-' : Number(value.toPrecision(7)).toString();
    const labelOf = (series) => series.name + (series.unit ? ', ' + series.unit : '');

    function element(parent, name, attributes, text) {
        const made = document.createElementNS(svgName, name);
        for (const key in attributes) made.setAttribute(key, attributes[key]);
        if (text !== undefined) made.textContent = text;
        return parent.appendChild(made);
    }

    // Least and greatest of numbers, without those that are missing; null without any.
    function rangeOf(values) {
        let from = Infinity, to = -Infinity;
        for (const value of values) {
            if (value === null) continue;
            from = Math.min(from, value);
            to = Math.max(to, value);
        }
        return from <= to ? { from: from, to: to, size: to > from ? to - from : 1 } : null;
    }

    // Round numbers, some four of them, within a range.
    function ticksOf(from, to) {
        const rough = (to - from) / 4, power = Math.pow(10, Math.floor(Math.log10(rough)));
        const step = [1, 2, 5, 10].find((factor) => factor * power >= rough) * power;
        const ticks = [];
        for (let i = Math.ceil(from / step); i * step <= to; ++i) ticks.push(Number((i * step).toPrecision(10)));
        return ticks;
    }

    function drawHistogram(parent, series) {
        parent.textContent = '';
        const values = series.values.filter((value) => value !== null);
        parent.hidden = values.length < 5;
        if (values.length < 5) return;
        const own = rangeOf(values), all = rangeOf(values.concat([series.lower, series.upper]));
        const count = Math.max(5, Math.min(40, Math.ceil(Math.sqrt(values.length))));
        const bins = new Array(count).fill(0);
        for (const value of values) bins[Math.min(count - 1, Math.floor((value - own.from) / own.size * count))] += 1;
        const most = Math.max.apply(null, bins);
        const svg = element(parent, 'svg', { class: 'bars', viewBox: '0 0 300 280', role: 'img',
            'aria-label': 'Histogram of ' + series.name + ', ' + values.length + ' values from ' + shown(own.from) + ' to ' + shown(own.to) });
        const x = (value) => 12 + 276 * (value - all.from) / all.size;
        const width = Math.max(1, 276 * own.size / all.size / count - 0.5);
        bins.forEach((bin, i) => {
            const from = own.from + own.size * i / count, height = 215 * bin / most;
            const bar = element(svg, 'rect', { x: x(from), y: 245 - height, width: width, height: height });
            element(bar, 'title', {}, bin + ' from ' + shown(from) + ' to ' + shown(own.from + own.size * (i + 1) / count));
        });
        element(svg, 'path', { d: 'M12 245H288' });
        for (const limit of [series.lower, series.upper])
            if (limit !== null) element(svg, 'line', { x1: x(limit), x2: x(limit), y1: 20, y2: 245 });
        element(svg, 'text', { x: 12, y: 262 }, shown(all.from));
        element(svg, 'text', { x: 288, y: 262, 'text-anchor': 'end' }, shown(all.to));
        element(svg, 'text', { x: 150, y: 277, 'text-anchor': 'middle' }, labelOf(series));
        element(svg, 'text', { x: 150, y: 14, 'text-anchor': 'middle' }, values.length + ' values');
    }

    // Of many values the least and the greatest of each pixel, so that the path stays short.
    function pathOf(series, places, x, y) {
        const kMost = 2400, stride = Math.ceil(2 * places.length / kMost);
        let path = '', isOpen = false;
        const go = (at) => {
            path += (isOpen ? 'L' : 'M') + x(places[at]).toFixed(1) + ' ' + y(series.values[at]).toFixed(1);
            isOpen = true;
        };
        for (let start = 0; start < places.length; start += stride) {
            let low = -1, high = -1;
            for (let i = start; i < Math.min(start + stride, places.length); ++i) {
                const value = series.values[i];
                if (value === null) { isOpen = false; continue; }
                if (low < 0 || value < series.values[low]) low = i;
                if (high < 0 || value > series.values[high]) high = i;
            }
            if (low < 0) continue;
            go(Math.min(low, high));
            if (low !== high) go(Math.max(low, high));
        }
        return path;
    }

    // A plot without zoom: on paper, and where there is no library of plots.
    function drawPlainTrend(parent, series, data) {
        const isCount = data.places.every(Number.isInteger);
        parent.textContent = '';
        const lines = [series.lower, series.upper, series.centre].concat(series.control);
        const range = rangeOf(series.values.concat(lines));
        if (range === null) return;
        const from = range.from - 0.06 * range.size, size = 1.12 * range.size;
        const first = data.places[0], span = data.places[data.places.length - 1] - first || 1;
        const x = (place) => 70 + 520 * (place - first) / span, y = (value) => 240 - 230 * (value - from) / size;
        const svg = element(parent, 'svg', { class: 'bars', viewBox: '0 0 600 280', role: 'img', 'aria-label': 'Trend of ' + series.name });
        for (const tick of ticksOf(from, from + size)) {
            element(svg, 'path', { class: 'grid', d: 'M66 ' + y(tick) + 'H594' });
            element(svg, 'text', { x: 62, y: y(tick) + 4, 'text-anchor': 'end' }, shown(tick));
        }
        for (const tick of ticksOf(first, first + span)) {
            if (isCount && !Number.isInteger(tick)) continue;
            element(svg, 'path', { class: 'grid', d: 'M' + x(tick) + ' 10V244' });
            element(svg, 'text', { x: x(tick), y: 257, 'text-anchor': 'middle' }, shown(tick));
        }
        element(svg, 'text', { x: 330, y: 274, 'text-anchor': 'middle' }, data.along);
        const line = (value, kind) => {
            if (value !== null) element(svg, 'line', { class: kind, x1: 66, x2: 594, y1: y(value), y2: y(value) });
        };
        for (const limit of [series.lower, series.upper]) line(limit, 'limit');
        for (const limit of series.control) line(limit, 'control');
        line(series.centre, 'centre');
        element(svg, 'path', { d: pathOf(series, data.places, x, y) });
        for (const [at] of series.findings)
            element(svg, 'circle', { cx: x(data.places[at]), cy: y(series.values[at]), r: 5 });
    }

    // A table that is too wide for paper, as several with the same first column.
    function splitForPaper(table) {
        const kMostColumns = 14, kOfPart = 9;
        const [head, ...rows] = table.rows, columns = head.cells.length, holder = table.parentElement;
        if (columns <= kMostColumns || holder.classList.contains('split')) return;
        holder.classList.add('split');
        let last = holder;
        for (let from = 1; from < columns; from += kOfPart) {
            const part = document.createElement('table'), body = part.createTBody(), parts = part.createTHead();
            part.className = 'part';
            const copy = (row, parent) => {
                const made = parent.appendChild(document.createElement('tr'));
                for (const cell of [row.cells[0], ...Array.from(row.cells).slice(from, from + kOfPart)]) made.appendChild(cell.cloneNode(true));
            };
            copy(head, parts);
            for (const row of rows) copy(row, body);
            last.after(part);
            last = part;
        }
    }

    // On paper closed parts are open, every value has its plot, and no table is cut.
    const closed = [];
    function prepareForPaper() {
        for (const table of document.querySelectorAll('.scroll > table')) splitForPaper(table);
        for (const part of document.querySelectorAll('details:not([open])')) {
            part.open = true;
            closed.push(part);
        }
        const paper = document.getElementById('paper');
        if (paper === null || paper.hasChildNodes()) return;
        const data = JSON.parse(holder.textContent);
        for (const series of data.series) {
            const block = paper.appendChild(document.createElement('div'));
            block.appendChild(document.createElement('h3')).textContent = labelOf(series);
            const row = block.appendChild(document.createElement('div'));
            row.className = 'plots';
            drawPlainTrend(row.appendChild(document.createElement('div')), series, data);
            const bars = row.appendChild(document.createElement('div'));
            if (data.histogram) drawHistogram(bars, series);
            if (!data.histogram || bars.hidden) { row.className = 'plots alone'; block.className = 'alone'; }
        }
    }
    window.addEventListener('beforeprint', prepareForPaper);
    window.addEventListener('afterprint', () => {
        for (const part of closed.splice(0)) part.open = false;
    });

    if (!holder) return;
    const data = JSON.parse(holder.textContent);
    const choice = document.getElementById('choice');
    const trend = document.getElementById('trend');
    const histogram = document.getElementById('histogram');
    const whole = document.getElementById('whole');
    const told = document.getElementById('told');
    const places = data.places;
    const isCount = places.every(Number.isInteger);
    let graph = null, current = 0, selected = -1, start = {};

    function tell(series, at) {
        if (at < 0) return 'Point at the plot, or step along it with the arrow keys. Drag, or press + and -, to zoom.';
        const name = data.names.length > at ? ' (' + data.names[at] + ')' : '';
        const rules = series.findings.filter((finding) => finding[0] === at).map((finding) => '; ' + finding[1]).join('');
        const value = series.values[at];
        return data.along + ' ' + shown(places[at]) + name + ': ' + series.name + ' ' + shown(value) +
            (series.unit && value !== null ? ' ' + series.unit : '') + rules;
    }

    function underlay(series, context, area, plot) {
        const style = getComputedStyle(document.documentElement);
        const colour = (name) => style.getPropertyValue(name).trim();
        const line = (value, dash, name) => {
            if (value === null) return;
            const y = plot.toDomYCoord(value);
            context.strokeStyle = colour(name);
            context.setLineDash(dash);
            context.beginPath();
            context.moveTo(area.x, y);
            context.lineTo(area.x + area.w, y);
            context.stroke();
        };
        for (const limit of [series.lower, series.upper]) line(limit, [5, 4], '--bad');
        for (const limit of series.control) line(limit, [1, 3], '--ink');
        line(series.centre, [], '--line');
        context.setLineDash([]);
        context.strokeStyle = colour('--bad');
        for (const [at] of series.findings) {
            const [x, y] = plot.toDomCoords(places[at], series.values[at]);
            if (x < area.x || x > area.x + area.w) continue;
            context.beginPath();
            context.arc(x, y, 6, 0, 2 * Math.PI);
            context.stroke();
        }
    }

    function drawTrend(series) {
        if (typeof Dygraph === 'undefined') { drawPlainTrend(trend, series, data); return; }
        const style = getComputedStyle(document.documentElement);
        const colour = (name) => style.getPropertyValue(name).trim();
        const span = places[places.length - 1] - places[0], edge = span > 0 ? 0.02 * span : 1;
        start = { dateWindow: [places[0] - edge, places[places.length - 1] + edge], valueRange: null };
        const range = rangeOf(series.values.concat([series.lower, series.upper], series.control));
        if (range !== null) start.valueRange = [range.from - 0.08 * range.size, range.to + 0.08 * range.size];
        if (graph) graph.destroy();
        trend.textContent = '';
        graph = new Dygraph(trend, places.map((place, i) => [place, series.values[i]]), Object.assign({
            labels: [data.along, series.name], ylabel: labelOf(series), xlabel: data.along, color: colour('--mark'), axisLabelColor: colour('--ink'),
            drawPoints: places.length <= 500, pointSize: 2, connectSeparatedPoints: false, legend: 'always', labelsDiv: told,
            axes: { x: { axisLabelFormatter: (value) => isCount && !Number.isInteger(value) ? '' : shown(value) }, y: { axisLabelWidth: 64 } }, yLabelWidth: 22, xLabelHeight: 20,
            underlayCallback: (context, area, plot) => underlay(series, context, area, plot),
            drawCallback: (plot) => { trend.dataset.range = plot.xAxisRange().join(' '); },
            highlightCallback: (event, x) => { selected = places.indexOf(x); },
            legendFormatter: (legend) => {
                const note = document.createElement('span');
                note.textContent = tell(series, legend.x === undefined ? -1 : places.indexOf(legend.x));
                return note.innerHTML;
            }
        }, start));
        graph.resetZoom = showAll;
    }

    function showAll() {
        if (graph) graph.updateOptions(start);
    }

    function zoom(factor) {
        const [from, to] = graph.xAxisRange();
        const isInside = selected >= 0 && places[selected] >= from && places[selected] <= to;
        const centre = isInside ? places[selected] : (from + to) / 2;
        const [first, last] = start.dateWindow;
        graph.updateOptions({ dateWindow: [Math.max(first, centre - factor * (centre - from)), Math.min(last, centre + factor * (to - centre))] });
    }

    function step(by) {
        selected = Math.max(0, Math.min(places.length - 1, selected < 0 && by < 0 ? places.length - 1 : selected + by));
        const [from, to] = graph.xAxisRange(), place = places[selected];
        const shift = place < from ? place - from : place > to ? place - to : 0;
        if (shift !== 0) graph.updateOptions({ dateWindow: [from + shift, to + shift] });
        if (data.series[current].values[selected] === null) graph.clearSelection(); else graph.setSelection(selected);
        told.textContent = tell(data.series[current], selected);
    }

    trend.addEventListener('keydown', (event) => {
        const actions = { ArrowRight: () => step(1), ArrowLeft: () => step(-1), '+': () => zoom(0.5), '=': () => zoom(0.5), '-': () => zoom(2),
            Home: showAll, Escape: showAll };
        if (!graph || event.ctrlKey || event.altKey || event.metaKey || !actions[event.key]) return;
        event.preventDefault();
        actions[event.key]();
    });

    function choose(index) {
        current = index;
        choice.value = String(index);
        drawTrend(data.series[index]);
        if (data.histogram) drawHistogram(histogram, data.series[index]);
        document.getElementById('screen').classList.toggle('alone', !data.histogram || histogram.hidden);
        if (graph) graph.resize();
    }

    data.series.forEach((series, i) => {
        const option = document.createElement('option');
        option.value = String(i);
        option.textContent = series.name;
        choice.appendChild(option);
    });
    choice.addEventListener('change', () => choose(Number(choice.value)));
    whole.addEventListener('click', showAll);
    choice.parentElement.hidden = data.series.length < 2;
    whole.hidden = typeof Dygraph === 'undefined';
    window.matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => choose(current));
    choose(0);
}());
