'use strict';
(function () {
    const holder = document.getElementById('plots');
    if (!holder) return;
    const data = JSON.parse(holder.textContent);
    const choice = document.getElementById('choice');
    const trend = document.getElementById('trend');
    const histogram = document.getElementById('histogram');
    const svgName = 'http://www.w3.org/2000/svg';
    const shown = (value) => value === null ? '-' : Number(value.toPrecision(7)).toString();
    let graph = null;

    function element(name, attributes, text) {
        const made = document.createElementNS(svgName, name);
        for (const key in attributes) made.setAttribute(key, attributes[key]);
        if (text !== undefined) made.textContent = text;
        return made;
    }

    function drawHistogram(series) {
        histogram.textContent = '';
        const values = series.values.filter((value) => value !== null);
        if (values.length < 2) return;
        let from = Infinity, to = -Infinity;
        for (const value of values.concat([series.lower, series.upper])) {
            if (value === null) continue;
            from = Math.min(from, value);
            to = Math.max(to, value);
        }
        const size = to > from ? to - from : 1;
        const count = Math.max(5, Math.min(40, Math.ceil(Math.sqrt(values.length))));
        const bins = new Array(count).fill(0);
        for (const value of values) bins[Math.min(count - 1, Math.floor((value - from) / size * count))] += 1;
        const most = Math.max.apply(null, bins);
        const svg = element('svg', { class: 'bars', viewBox: '0 0 300 280', width: '100%', height: '100%', role: 'img',
            'aria-label': 'Histogram of ' + series.name + ', ' + values.length + ' values from ' + shown(from) + ' to ' + shown(to) });
        const x = (value) => 10 + 280 * (value - from) / size;
        bins.forEach((bin, i) => {
            const height = 230 * bin / most;
            const bar = element('rect', { x: 10 + 280 * i / count, y: 250 - height, width: Math.max(1, 280 / count - 1), height: height });
            bar.appendChild(element('title', {}, bin + ' from ' + shown(from + size * i / count) + ' to ' + shown(from + size * (i + 1) / count)));
            svg.appendChild(bar);
        });
        for (const limit of [series.lower, series.upper]) {
            if (limit !== null) svg.appendChild(element('line', { x1: x(limit), x2: x(limit), y1: 10, y2: 250 }));
        }
        svg.appendChild(element('text', { x: 10, y: 268 }, shown(from)));
        svg.appendChild(element('text', { x: 290, y: 268, 'text-anchor': 'end' }, shown(to)));
        histogram.appendChild(svg);
    }

    function drawPlainTrend(series) {
        trend.textContent = '';
        const values = series.values;
        const set = values.filter((value) => value !== null);
        if (set.length === 0) return;
        const from = Math.min.apply(null, set), to = Math.max.apply(null, set), size = to > from ? to - from : 1;
        const first = data.places[0], span = data.places[data.places.length - 1] - first || 1;
        let path = '', isOpen = false;
        values.forEach((value, i) => {
            if (value === null) { isOpen = false; return; }
            path += (isOpen ? 'L' : 'M') + (10 + 580 * (data.places[i] - first) / span).toFixed(1) + ' ' + (250 - 230 * (value - from) / size).toFixed(1);
            isOpen = true;
        });
        const svg = element('svg', { class: 'bars', viewBox: '0 0 600 280', role: 'img', 'aria-label': 'Trend of ' + series.name });
        svg.appendChild(element('path', { d: path }));
        trend.appendChild(svg);
    }

    function drawTrend(series) {
        if (typeof Dygraph === 'undefined') { drawPlainTrend(series); return; }
        const rows = data.places.map((place, i) => [place, series.values[i]]);
        const label = series.name + (series.unit ? ', ' + series.unit : '');
        const style = getComputedStyle(document.documentElement);
        const colour = (name) => style.getPropertyValue(name).trim();
        const settings = {
            labels: [data.along, series.name], ylabel: label, xlabel: data.along, color: colour('--mark'), axisLabelColor: colour('--ink'),
            drawPoints: rows.length <= 500, pointSize: 2, connectSeparatedPoints: false, legend: 'always', axes: { y: { axisLabelWidth: 64 } }, yLabelWidth: 22,
            underlayCallback: function (context, area, plot) {
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
                    const [x, y] = plot.toDomCoords(data.places[at], series.values[at]);
                    if (x < area.x || x > area.x + area.w) continue;
                    context.beginPath();
                    context.arc(x, y, 6, 0, 2 * Math.PI);
                    context.stroke();
                }
            },
            legendFormatter: function (legend) {
                const note = document.createElement('span');
                if (legend.x !== undefined) {
                    const at = data.places.indexOf(legend.x);
                    const name = data.names.length > at && at >= 0 ? ' (' + data.names[at] + ')' : '';
                    const rules = series.findings.filter((finding) => finding[0] === at).map((finding) => '; ' + finding[1]).join('');
                    note.textContent = data.along + ' ' + shown(legend.x) + name + ': ' + label + ' ' + shown(series.values[at]) + rules;
                }
                return note.innerHTML;
            }
        };
        const span = data.places.length > 1 ? data.places[data.places.length - 1] - data.places[0] : 0;
        const edge = span > 0 ? 0.02 * span : 1;
        settings.dateWindow = [data.places[0] - edge, data.places[data.places.length - 1] + edge];
        const set = series.values.concat([series.lower, series.upper], series.control).filter((value) => value !== null);
        if (set.length > 0) {
            const low = Math.min.apply(null, set), high = Math.max.apply(null, set), rim = high > low ? 0.08 * (high - low) : 1;
            settings.valueRange = [low - rim, high + rim];
        }
        if (graph) graph.destroy();
        trend.textContent = '';
        graph = new Dygraph(trend, rows, settings);
    }

    function choose(index) {
        choice.value = String(index);
        drawTrend(data.series[index]);
        drawHistogram(data.series[index]);
    }

    data.series.forEach((series, i) => {
        const option = document.createElement('option');
        option.value = String(i);
        option.textContent = series.name;
        choice.appendChild(option);
    });
    choice.addEventListener('change', () => choose(Number(choice.value)));
    choose(0);
}());
