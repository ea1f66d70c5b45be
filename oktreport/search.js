// SPDX-License-Identifier: MIT
// The search. It looks at what is shown: titles, parameters, figures in the unit of the page. What is folded away (ids, bytes) is
// looked at where the reader has unfolded it or asks for it. Names come before values, values before all else.

const kInName = 0, kInValue = 1, kElsewhere = 2, kFolded = 3, kNowhere = 4;
const kRankTitles = ['In names', 'In values', 'In expressions and descriptions', 'In ids and bytes'];
const kHitsAtOnce = 20;

let isSearching = false;
let scrolledBefore = 0;
let focusedBefore = null;

/// Without accents and capitals, so that buegel finds Bügel as far as possible.
const folded = text => text.normalize('NFKD').replace(/[\u0300-\u036f]/g, '').toLowerCase();

// What there is to be found

/// The lines of a part, of what is made of it or will be, always in the same order.
const kLines = '.made, .unread li, .values tbody:not(.group) tr:not(.category)';
const kFoldedLines = 'tbody tr, li, dd, p:not(.keys, .readout)';

function linesOf(part, selector) {
    const noscript = part.querySelector(':scope > noscript:not(.images)');
    return all(selector, noscript ? contentsOf(noscript) : part);
}

/// The text of an element without what is folded away in it.
function shownText(from) {
    const closed = from?.querySelector('details:not([open])');
    return (closed ? closed.querySelector('summary') : from)?.textContent ?? '';
}

/// A line of what is folded away, in one text.
function plainText(line) {
    const pieces = line.matches('tr') ? Array.from(line.cells) : line.matches('dd') ? [line.previousElementSibling, line] : [line];
    return pieces.map(piece => piece.textContent.trim()).filter(Boolean).join(' \u00b7 ');
}

/// A line as it is looked through: name, value, all else. A value that the unit of the page changes is one for each unit.
function entryOf(line) {
    if (line.matches('.made')) {
        const figures = all('[data-mm]', line);
        const value = unit => folded(figures.map(figure => figure.dataset[unit]).join(' '));
        return { name: folded(line.previousElementSibling.textContent), values: byUnit(value), rest: '' };
    }
    if (!line.matches('tr'))
        return { name: folded(line.textContent), value: '', rest: '' };
    const [name, value, unit, ...others] = line.children;
    const category = line.closest('tbody').querySelector('.category');
    const entry = { name: folded(shownText(name)), rest: folded([...others, category].map(shownText).join(' ')) };
    if (value?.dataset.mm === undefined)
        entry.value = folded(shownText(value) + ' ' + shownText(unit));
    else
        entry.values = byUnit(unit => folded(value.dataset[unit] + ' ' + unit));
    return entry;
}

const byUnit = value => Object.fromEntries(kUnits.map(unit => [unit, value(unit)]));

/// What a template shows. Known until the reader folds or unfolds something.
function entriesOf(template) {
    template.entries ??= linesOf(template.element, kLines).map(entryOf);
    return template.entries;
}

/// While the reader begins to type, what will be looked through is made ready.
function readAhead(rest) {
    window.requestIdleCallback?.(deadline => {
        for (const template of rest) {
            entriesOf(template);
            if (deadline.timeRemaining() < 4) {
                readAhead(rest);
                return;
            }
        }
    });
}

/// The lines of what can be folded away: of what is unfolded, or of all of it.
function foldedEntries(template, takesAll) {
    const parts = all('details.part', template.element).filter(part => takesAll || part.open);
    if (parts.length === 0)
        return [];
    template.folded ??= new Map();
    return parts.flatMap(part => {
        if (!template.folded.has(part))
            template.folded.set(part, linesOf(part, kFoldedLines).map((line, at) => ({ part, at, folded: folded(plainText(line)) })));
        return template.folded.get(part);
    });
}

// Finding

function rankOf(entry, word) {
    if (entry.part)
        return entry.folded.includes(word) ? kFolded : kNowhere;
    const value = entry.value ?? entry.values[root.dataset.unit];
    return entry.name.includes(word) ? kInName : value.includes(word) ? kInValue : entry.rest.includes(word) ? kElsewhere : kNowhere;
}

/// Where a template has the words; undefined where it has not all of them. Words of its title choose the template, the others
/// choose lines: those with all of them, or, where the words may stand apart, all that have one.
function hitsIn(template, words, { takesFolded, isApart }) {
    template.title ??= folded(all('h1, h2, .file', template.element.querySelector('header')).map(part => part.textContent).join(' '));
    const rest = words.filter(word => !template.title.includes(word));
    if (rest.length === 0)
        return { template, rank: kInName, hits: [] };
    const lines = entriesOf(template).map((entry, at) => ({ at, entry }))
        .concat(foldedEntries(template, takesFolded).map(entry => ({ at: entry.at, part: entry.part, entry })));
    const ranked = lines.map(({ at, part, entry }) => ({ at, part, ranks: rest.map(word => rankOf(entry, word)) }));
    const hits = !isApart ? ranked.filter(({ ranks }) => ranks.every(rank => rank < kNowhere)) :
        rest.every((word, i) => ranked.some(({ ranks }) => ranks[i] < kNowhere)) ?
            ranked.filter(({ ranks }) => ranks.some(rank => rank < kNowhere)) : [];
    if (hits.length === 0)
        return undefined;
    for (const hit of hits)
        hit.rank = Math.max(...hit.ranks.filter(rank => rank < kNowhere));
    hits.sort((a, b) => a.rank - b.rank);
    return { template, rank: hits[0].rank, hits };
}

/// What is found in all templates, the best first. Only where no line has all the words, they may stand in several.
function findAll(words, takesFolded) {
    const look = isApart => Array.from(templates.values(), template => hitsIn(template, words, { takesFolded, isApart })).filter(Boolean);
    const found = look(false);
    return (found.length > 0 ? found : look(true)).sort((a, b) => a.rank - b.rank);
}

// Showing

/// A found line as a row of a table. Its name leads to its place.
function rowOf(line, anchor) {
    const link = (id, text) => element('a', { href: '#' + id }, text);
    if (line.matches('.made'))
        return element('tr', {}, element('th', { scope: 'row' }, link(anchor, line.previousElementSibling.textContent)),
            element('td', { class: 'long' }, ...line.cloneNode(true).childNodes));
    if (!line.matches('.values tr'))
        return element('tr', {}, element('th', { scope: 'row' }, link(anchor, plainText(line))));
    const row = line.cloneNode(true);
    row.removeAttribute('id');
    row.cells[0].replaceChildren(link(line.id || anchor, shownText(row.cells[0])));
    const category = line.parentElement.querySelector('.category');
    if (category)
        row.cells[0].append(' ', element('span', { class: 'note' }, shownText(category)));
    return row;
}

function hitOf({ template, hits }) {
    const article = template.element;
    const title = element('a', { href: '#' + article.id }, article.querySelector('h1, h2').textContent);
    const made = element('div', { class: 'hit' }, element('h3', {}, title));
    const brief = template.links.map(link => link.querySelector('.note')).find(Boolean);
    if (brief)
        made.append(element('p', { class: 'note' }, ...brief.cloneNode(true).childNodes));
    if (hits.length > 0) {
        const lines = new Map([[undefined, linesOf(article, kLines)]]);
        for (const part of new Set(hits.map(hit => hit.part).filter(Boolean)))
            lines.set(part, linesOf(part, kFoldedLines));
        const rows = hits.map(({ at, part }) => rowOf(lines.get(part)[at], (part ?? article).id));
        const table = element('table', { class: 'values' }, element('tbody', {}, ...rows));
        keepRoles(table);
        made.append(table);
    }
    showUnit(made);
    return made;
}

/// Shows what was found, some at a time.
function showFound(found, results, words) {
    let next = 0;
    const more = element('div', { class: 'more' });
    const observer = new IntersectionObserver(entries => {
        if (entries.some(entry => entry.isIntersecting))
            showMore();
    }, { rootMargin: '100% 0px' });
    const showMore = () => {
        const end = Math.min(next + kHitsAtOnce, found.length);
        for (; next < end; ++next) {
            if (next === 0 || found[next].rank !== found[next - 1].rank)
                more.before(element('h2', {}, kRankTitles[found[next].rank]));
            more.before(hitOf(found[next]));
        }
        mark(words, results);
        observer.unobserve(more);
        if (next < found.length)
            observer.observe(more); // it tells again where it stands
    };
    results.append(more);
    showMore();
    return observer;
}

function mark(words, within) {
    if (!window.CSS?.highlights)
        return;
    CSS.highlights.delete('hit');
    const ranges = [];
    const walker = document.createTreeWalker(within, NodeFilter.SHOW_TEXT);
    for (let node = walker.nextNode(); node && ranges.length < 5000; node = walker.nextNode()) {
        const text = node.data.toLowerCase();
        if (text.length !== node.data.length)
            continue;
        for (const word of words) {
            for (let at = text.indexOf(word); at >= 0; at = text.indexOf(word, at + word.length)) {
                // Static: live ones would be looked at by each later change of the page.
                ranges.push(new StaticRange({ startContainer: node, startOffset: at, endContainer: node,
                    endOffset: at + word.length }));
            }
        }
    }
    if (ranges.length > 0)
        CSS.highlights.set('hit', new Highlight(...ranges));
}

let showing = null; // the observer of the results that are shown

function search() {
    const field = document.getElementById('search');
    const results = document.getElementById('results');
    const count = document.getElementById('found');
    const words = folded(field.value).split(/\s+/).filter(Boolean);
    if (words.length === 0 && !isSearching)
        return;
    showing?.disconnect();
    isSearching = words.length > 0;
    root.classList.toggle('searching', isSearching);
    results.hidden = !isSearching;
    const folds = results.querySelector('input');
    for (const row of all('#results > :not(.asked)'))
        row.remove();
    if (!isSearching) {
        folds.checked = false;
        count.textContent = '';
        for (const template of templates.values())
            showTemplate(template, true);
        mark([], results);
        scrollTo(0, scrolledBefore);
        return;
    }
    // Who looks for an id asks for ids.
    const takesFolded = folds.checked || words.some(word => /^\{?[0-9a-f]{8}-/.test(word));
    const found = findAll(words, takesFolded);
    const hit = new Set(found.map(({ template }) => template));
    for (const template of templates.values())
        showTemplate(template, hit.has(template));
    const rows = found.reduce((sum, hit) => sum + hit.hits.length, 0);
    count.textContent = found.length + ' of ' + templates.size + (rows > 0 ? ', ' + rows + (rows === 1 ? ' row' : ' rows') : '');
    scrollTo(0, 0);
    if (found.length === 0)
        results.append(element('p', { class: 'nothing' }, 'Nothing matches.'));
    showing = showFound(found, results, words);
}

/// At the side, and on paper.
function showTemplate(template, isShown) {
    template.element.classList.toggle('missed', !isShown);
    for (const link of template.links)
        link.hidden = !isShown;
}

/// The page as it was before the search.
function leaveSearch() {
    document.getElementById('search').value = '';
    search();
}

function startSearch() {
    // In no style sheet of the page: browsers that cannot mark, and checkers, do not know it.
    if (window.CSS?.highlights)
        document.styleSheets[0].insertRule('::highlight(hit) { background-color: var(--hit); color: var(--text); }');
    const field = document.getElementById('search');
    const folds = element('input', { type: 'checkbox' });
    document.getElementById('results').append(
        element('p', { class: 'asked' }, element('label', {}, folds, ' look at ids and bytes too, which are folded away')));
    let waiting = 0;
    // Ahead of the input: a browser may scroll to where one types.
    field.addEventListener('beforeinput', () => {
        if (!isSearching)
            scrolledBefore = scrollY;
    });
    field.addEventListener('input', () => {
        clearTimeout(waiting);
        waiting = setTimeout(search, 60);
    });
    folds.addEventListener('change', search);
    field.addEventListener('focus', event => {
        focusedBefore = event.relatedTarget;
        readAhead(templates.values());
    });
    document.addEventListener('keydown', event => {
        const isField = event.target === field;
        if (event.key === '/' && !isField && !event.ctrlKey && !event.metaKey && !event.altKey) {
            event.preventDefault();
            field.focus({ preventScroll: true });
            field.select();
        } else if (event.key === 'Enter' && isField) {
            clearTimeout(waiting);
            search();
            document.querySelector('#results a')?.focus();
        } else if (event.key === 'Escape' && (isSearching || isField)) {
            event.preventDefault();
            clearTimeout(waiting);
            leaveSearch();
            if (focusedBefore?.isConnected)
                focusedBefore.focus({ preventScroll: true });
            else
                document.activeElement.blur();
        }
    });
    if (field.value !== '')
        search();
}
