// SPDX-License-Identifier: MIT
// The drawings of a template, made of what the page tells of it: the graph of what is tied to what, and the map of its file.

/// An element of a drawing, with attributes, and texts or elements in it.
function drawn(name, attributes = {}, ...contents) {
    const made = document.createElementNS(document.querySelector('svg').namespaceURI, name);
    for (const [key, value] of Object.entries(attributes))
        made.setAttribute(key, value);
    made.append(...contents);
    return made;
}

// The graph

const kBoxKinds = ['group', 'category', 'parameter', 'relation'];
const kTies = [
    { kind: 'lists', text: 'lists', isArrow: false },
    { kind: 'ties', text: 'is tied by a relation', isArrow: false },
    { kind: 'uses', text: 'uses', isArrow: true },
    { kind: 'named', text: 'names in its expression', isArrow: true }
];
const kBoxHeight = 20, kBoxMargin = 9, kLongestLabel = 30;

/// A line through points: straight on along a row, in a curve between two.
function curve(points) {
    let path = `M${points[0]} ${points[1]}`;
    for (let i = 2; i < points.length; i += 2) {
        const [x, y, toX, toY] = points.slice(i - 2, i + 2);
        const middle = (x + toX) / 2;
        path += y === toY ? `H${toX}` : `C${middle} ${y} ${middle} ${toY} ${toX} ${toY}`;
    }
    return path;
}

function drawTie([kind, from, to, ...points], boxes) {
    if (points.length === 0)
        points = [boxes[from][1] + boxes[from][3], boxes[from][2], boxes[to][1], boxes[to][2]];
    const path = drawn('path', { class: kTies[kind].kind, 'data-from': from, 'data-to': to, d: curve(points) });
    if (kTies[kind].isArrow)
        path.setAttribute('marker-end', 'url(#arrow)');
    return path;
}

function drawBox([kind, x, y, width, label], index, anchor) {
    const name = kBoxKinds[kind];
    const place = { group: 'parameters', category: 'parameters', parameter: index, relation: 'relations' }[name];
    const box = drawn('a', { class: 'node ' + name, 'data-node': index, href: `#${anchor}-${place}`, 'aria-label': name + ' ' + label });
    const letters = Array.from(label);
    if (letters.length > kLongestLabel)
        box.append(drawn('title', {}, label));
    box.append(
        drawn('rect', { x, y: y - kBoxHeight / 2, width, height: kBoxHeight, rx: 4 }),
        drawn('text', { x: x + kBoxMargin, y: y + 4 },
            letters.length > kLongestLabel ? letters.slice(0, kLongestLabel).join('') + '\u2026' : label));
    return box;
}

/// Shows a box with all that it is tied to.
function watchBoxes(graph) {
    const ties = all('path[data-from]', graph);
    const boxes = all('.node', graph);
    const pick = box => {
        graph.classList.toggle('picking', Boolean(box));
        const near = new Set();
        for (const tie of ties) {
            const isNear = Boolean(box) && (tie.dataset.from === box.dataset.node || tie.dataset.to === box.dataset.node);
            tie.classList.toggle('near', isNear);
            if (isNear)
                near.add(tie.dataset.from).add(tie.dataset.to);
        }
        for (const other of boxes)
            other.classList.toggle('near', other === box || near.has(other.dataset.node));
    };
    graph.addEventListener('pointerover', event => pick(event.target.closest('.node')));
    graph.addEventListener('pointerleave', () => pick(null));
    graph.addEventListener('focusin', event => pick(event.target.closest('.node')));
    graph.addEventListener('focusout', () => pick(null));
}

function drawGraph({ size: [width, height], boxes, ties }, anchor) {
    const title = 'Graph of ' + boxes.length + ' objects of ' + document.getElementById(anchor + '-title').textContent;
    const graph = drawn('svg', { class: 'graph', role: 'group', 'aria-label': title, width, height, viewBox: `0 0 ${width} ${height}` },
        ...ties.map(tie => drawTie(tie, boxes)), ...boxes.map((box, index) => drawBox(box, index, anchor)));
    watchBoxes(graph);
    const keys = element('p', { class: 'keys' });
    for (const [kind, tie] of kTies.entries()) {
        if (!ties.some(drawnTie => drawnTie[0] === kind))
            continue;
        const line = drawn('path', { class: tie.kind, d: 'M1 4H29' });
        if (tie.isArrow)
            line.setAttribute('marker-end', 'url(#arrow)');
        keys.append(element('span', {},
            drawn('svg', { class: 'graph', width: 30, height: 8, viewBox: '0 0 30 8', 'aria-hidden': 'true' }, line), ' ' + tie.text));
    }
    const frame = element('div', { class: 'scroll', tabindex: 0, role: 'region', 'aria-label': title });
    frame.append(graph);
    return element('div', { class: 'drawing' }, frame, keys);
}

// The map of the bytes

const kMostRows = 12, kShortestRow = 512;
const kFinestPart = 400; // a stretch below this part of a row cannot be told from its neighbour
const kClassColours = {
    OKTDbParameter: 'c-parameter', OKTDbGroupParameter: 'c-parameter', OKTDbCategory: 'c-category', OKTDbGroupCategory: 'c-group',
    OKTDbRelation: 'c-relation', OKTDbParamRelation: 'c-relation', OKTDbPicture: 'c-picture'
};
const kOtherColours = 4;
const otherClasses = new Map(); // the same colours for every file of the page

function colourOf(className, style) {
    if (style)
        return 'c-' + style;
    if (Object.hasOwn(kClassColours, className))
        return kClassColours[className];
    if (!otherClasses.has(className))
        otherClasses.set(className, 'c-other' + otherClasses.size % kOtherColours);
    return otherClasses.get(className);
}

function grouped(number) {
    return String(number).replace(/\B(?=(\d{3})+$)/g, '\u202f');
}

/// The stretches of a table as cells of the map: neighbours that are too short to be told apart share one.
function cellsOf(table, row) {
    const cells = [];
    for (const line of table.tBodies[0].rows) {
        const [className, name, , , from, bytes] = Array.from(line.cells, cell => cell.textContent);
        const size = Number(bytes);
        if (size === 0)
            continue;
        const cell = { style: colourOf(className, line.className), label: className, from: Number(from), size, count: 1,
            text: className + (name ? ' \u201c' + name + '\u201d' : ''), isShort: size < row / kFinestPart };
        const last = cells.at(-1);
        const isAlike = last && last.style === cell.style && last.label === cell.label;
        // Different ones share a stretch until that can be seen.
        if (!last || !cell.isShort || !last.isShort || (!isAlike && last.size >= row / kFinestPart)) {
            cells.push(cell);
            continue;
        }
        if (!isAlike)
            [last.style, last.label] = ['c-mixed', 'objects of several classes'];
        last.size += size;
        last.count += 1;
        last.text = grouped(last.count) + ' \u00d7 ' + last.label;
    }
    return cells;
}

/// A map to scale: at most twelve rows of equally many bytes, a power of two.
function drawMap(table, sums) {
    const lines = Array.from(table.tBodies[0].rows);
    const size = lines.reduce((sum, line) => sum + Number(line.cells[5].textContent), 0);
    let row = kShortestRow;
    while (row * kMostRows < size)
        row *= 2;
    const cells = cellsOf(table, row);
    const map = element('div', { class: 'map', role: 'group', tabindex: 0,
        'aria-label': `Map of the file: ${grouped(size)} bytes in rows of ${grouped(row)}; arrow keys go through it` });
    let first = 0;
    for (let start = 0; start < size; start += row) {
        const end = Math.min(start + row, size);
        const drawing = drawn('svg', { viewBox: `0 0 ${row} 1`, preserveAspectRatio: 'none', 'aria-hidden': 'true' });
        while (first < cells.length && cells[first].from + cells[first].size <= start)
            ++first;
        for (let i = first; i < cells.length && cells[i].from < end; ++i) {
            const from = Math.max(cells[i].from, start);
            const to = Math.min(cells[i].from + cells[i].size, end);
            drawing.append(drawn('rect', { class: cells[i].style, 'data-cell': i, x: from - start, width: to - from, height: 1,
                'vector-effect': 'non-scaling-stroke' }));
        }
        map.append(element('div', { class: 'row' }, element('span', { class: 'offset' }, String(start)), drawing));
    }
    const readout = element('p', { class: 'readout', 'aria-live': 'polite' });
    watchMap(map, cells, readout);
    const split = element('div', { class: 'split' });
    sums.replaceWith(split);
    split.append(element('div', {}, map, readout), sums);
    for (const line of sums.tBodies[0].rows) {
        const name = line.cells[0];
        name.prepend(drawn('svg', { class: 'swatch', viewBox: '0 0 1 1', 'aria-hidden': 'true' },
            drawn('rect', { class: colourOf(name.textContent, line.className), width: 1, height: 1 })));
    }
}

/// Tells below the map what a cell is that is pointed at, or gone to by keys.
function watchMap(map, cells, readout) {
    let current = -1;
    const point = index => {
        current = index;
        for (const part of all('rect', map))
            part.classList.toggle('active', Number(part.dataset.cell) === index);
        const { text, from, size } = cells[index];
        readout.textContent = `${text}: ${grouped(size)}\u00a0${size === 1 ? 'byte' : 'bytes'}, ${from} to ${from + size - 1}`;
    };
    map.addEventListener('pointerover', event => {
        if (event.target.dataset?.cell !== undefined)
            point(Number(event.target.dataset.cell));
    });
    map.addEventListener('keydown', event => {
        const last = cells.length - 1;
        const next = { ArrowRight: current + 1, ArrowDown: current + 1, ArrowLeft: current - 1, ArrowUp: current - 1, Home: 0,
            End: last }[event.key];
        if (next === undefined || cells.length === 0)
            return;
        event.preventDefault();
        point(Math.min(Math.max(next, 0), last));
    });
    map.addEventListener('focus', () => {
        if (current < 0 && cells.length > 0)
            point(0);
    });
}
