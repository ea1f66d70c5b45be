'use strict';
// The page is complete without this, in light colours: it adds dark ones, the search, the switches of unit and colours, and what
// pointing at things shows.
(function () {
    const root = document.documentElement;
    root.classList.add('js');

    // A page from a file may be refused a place to remember things.
    const remembered = {
        get(key) { try { return localStorage.getItem(key); } catch { return null; } },
        set(key, value) { try { localStorage.setItem(key, value); } catch { /* it is forgotten then */ } }
    };

    // At once, before anything is drawn: the colours that were chosen, or those of the system.
    let choice = remembered.get('okt-report-theme');
    const prefersDark = matchMedia('(prefers-color-scheme: dark)');
    const isDark = () => choice === 'dark' || (choice !== 'light' && prefersDark.matches);
    const colour = () => { root.dataset.theme = isDark() ? 'dark' : 'light'; };
    colour();

    const all = (selector, from = document) => Array.from(from.querySelectorAll(selector));

    // Without accents and capitals, so that buegel finds Bügel as far as possible.
    const folded = text => text.normalize('NFKD').replace(/[\u0300-\u036f]/g, '').toLowerCase();

    function start() {
        const templates = all('article.template').map(element => ({
            element,
            title: folded(all('h1, h2, .file', element.querySelector('header')).map(part => part.textContent).join(' ')),
            links: all('[data-of="' + element.id + '"]'),
            sections: all('section', element).map(section => ({ element: section, rows: all('.find', section).map(row) }))
        }));

        function row(element) {
            const category = element.closest('tbody')?.querySelector('.category');
            return { element, text: null, category: category ? category.textContent : '', body: category?.parentElement };
        }

        function textOf(entry) {
            entry.text ??= folded([entry.element.textContent, entry.category, entry.element.dataset.id ?? ''].join(' '));
            return entry.text;
        }

        // Search

        const search = document.getElementById('search');
        const found = document.getElementById('found');
        const nothing = document.getElementById('nothing');

        /// The rows that a template shows: null for all of it, undefined for none.
        function hits(template, words) {
            const rest = words.filter(word => !template.title.includes(word));
            if (rest.length === 0)
                return null;
            const rows = template.sections.flatMap(section => section.rows);
            const whole = rows.filter(entry => rest.every(word => textOf(entry).includes(word)));
            if (whole.length > 0)
                return new Set(whole);
            // The words stand in several rows.
            if (!rest.every(word => rows.some(entry => textOf(entry).includes(word))))
                return undefined;
            return new Set(rows.filter(entry => rest.some(word => textOf(entry).includes(word))));
        }

        function show(template, rows) {
            template.element.hidden = rows === undefined;
            for (const link of template.links)
                link.hidden = rows === undefined;
            template.element.classList.toggle('filtered', Boolean(rows));
            for (const section of template.sections) {
                const bodies = new Set();
                let any = !rows;
                for (const entry of section.rows) {
                    const isShown = !rows || rows.has(entry);
                    entry.element.hidden = !isShown;
                    any = any || isShown;
                    if (isShown && entry.body)
                        bodies.add(entry.body);
                }
                section.element.hidden = !any;
                for (const body of all('tbody', section.element))
                    if (body.querySelector('.category') || body.classList.contains('group'))
                        body.hidden = Boolean(rows) && !bodies.has(body);
            }
        }

        function mark(words) {
            if (!window.CSS?.highlights)
                return;
            CSS.highlights.delete('hit');
            if (words.length === 0)
                return;
            const ranges = [];
            const main = document.getElementById('content');
            const walker = document.createTreeWalker(main, NodeFilter.SHOW_TEXT);
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
            CSS.highlights.set('hit', new Highlight(...ranges));
        }

        function filter() {
            const words = folded(search.value).split(/\s+/).filter(Boolean);
            let count = 0;
            let rowCount = 0;
            for (const template of templates) {
                const rows = words.length === 0 ? null : hits(template, words);
                show(template, rows);
                count += rows === undefined ? 0 : 1;
                rowCount += rows ? rows.size : 0;
            }
            root.classList.toggle('searching', words.length > 0);
            nothing.hidden = count > 0;
            found.textContent = words.length === 0 ? '' : count + ' of ' + templates.length +
                (rowCount > 0 ? ', ' + rowCount + (rowCount === 1 ? ' row' : ' rows') : '');
            mark(words);
        }

        let waiting = 0;
        search.addEventListener('input', () => {
            clearTimeout(waiting);
            waiting = setTimeout(filter, 60);
        });
        document.addEventListener('keydown', event => {
            const isTyping = event.target instanceof HTMLInputElement && event.target.type === 'search';
            if (event.key === '/' && !isTyping && !event.ctrlKey && !event.metaKey && !event.altKey) {
                event.preventDefault();
                search.focus();
                search.select();
            } else if (event.key === 'Escape' && search.value !== '') {
                search.value = '';
                filter();
            }
        });

        // Units

        const lengths = all('[data-mm]');
        const unitCells = all('.of-length');

        function setUnit(unit) {
            root.dataset.unit = unit;
            for (const cell of lengths) {
                const exact = cell.dataset[unit + 'Exact'];
                cell.textContent = cell.dataset[unit];
                if (exact === undefined)
                    cell.removeAttribute('title');
                else
                    cell.title = exact + ' ' + unit;
            }
            for (const cell of unitCells)
                cell.textContent = unit;
            for (const template of templates)
                for (const section of template.sections)
                    for (const entry of section.rows)
                        entry.text = null;
            filter();
        }

        for (const button of all('input[name="unit"]'))
            button.addEventListener('change', () => setUnit(button.value));
        // A browser that restores a page restores what was chosen in it.
        const chosen = document.querySelector('input[name="unit"]:checked');
        if (chosen && chosen.value !== root.dataset.unit)
            setUnit(chosen.value);
        if (search.value !== '')
            filter();

        // Colours

        const themeButton = document.getElementById('theme');
        const tellTheme = () => {
            colour();
            themeButton.setAttribute('aria-pressed', String(isDark()));
        };
        tellTheme();
        prefersDark.addEventListener('change', tellTheme);
        themeButton.addEventListener('click', () => {
            choice = isDark() ? 'light' : 'dark';
            remembered.set('okt-report-theme', choice);
            tellTheme();
        });

        // The picture of a card is that of its template; the page holds each once.

        for (const thumb of all('.thumb[data-picture]')) {
            const image = new Image();
            image.alt = '';
            image.loading = 'lazy';
            image.src = document.getElementById(thumb.dataset.picture).src;
            thumb.append(image);
        }

        // Graphs: an object with all that it is tied to

        for (const graph of all('.drawing svg[role]')) {
            const edges = all('path[data-from]', graph);
            const nodes = all('.node', graph);
            const pick = node => {
                graph.classList.toggle('picking', Boolean(node));
                const near = new Set();
                for (const edge of edges) {
                    const isNear = Boolean(node) && (edge.dataset.from === node.dataset.node || edge.dataset.to === node.dataset.node);
                    edge.classList.toggle('near', isNear);
                    if (isNear)
                        near.add(edge.dataset.from).add(edge.dataset.to);
                }
                for (const other of nodes)
                    other.classList.toggle('near', other === node || near.has(other.dataset.node));
            };
            graph.addEventListener('pointerover', event => pick(event.target.closest('.node')));
            graph.addEventListener('pointerleave', () => pick(null));
            graph.addEventListener('focusin', event => pick(event.target.closest('.node')));
            graph.addEventListener('focusout', () => pick(null));
        }

        // Maps: what a stretch is, below the map

        for (const map of all('.map')) {
            const readout = map.nextElementSibling;
            let cells = null;
            let current = -1;
            const point = index => {
                cells ??= all('rect', map);
                for (const cell of cells)
                    cell.classList.toggle('active', cell.dataset.cell === String(index));
                current = index;
                const shown = cells.find(cell => cell.dataset.cell === String(index));
                readout.textContent = shown ? shown.firstChild.textContent : '';
            };
            map.addEventListener('pointerover', event => {
                if (event.target.dataset?.cell !== undefined)
                    point(Number(event.target.dataset.cell));
            });
            map.addEventListener('keydown', event => {
                cells ??= all('rect', map);
                if (cells.length === 0)
                    return;
                const last = Number(cells[cells.length - 1].dataset.cell);
                const next = { ArrowRight: current + 1, ArrowDown: current + 1, ArrowLeft: current - 1, ArrowUp: current - 1,
                    Home: 0, End: last }[event.key];
                if (next === undefined)
                    return;
                event.preventDefault();
                point(Math.min(Math.max(next, 0), last));
            });
            map.addEventListener('focus', () => { if (current < 0) point(0); });
        }

        // Where the reader is

        const links = new Map(all('nav.side li[data-of]').map(item => [item.dataset.of, item.firstChild]));
        if (links.size > 0 && 'IntersectionObserver' in window) {
            const side = document.querySelector('nav.side');
            const inSight = new Set();
            let here = null;
            const observer = new IntersectionObserver(entries => {
                for (const entry of entries)
                    inSight[entry.isIntersecting ? 'add' : 'delete'](entry.target);
                const first = templates.find(template => inSight.has(template.element));
                const link = first && links.get(first.element.id);
                if (!link || link === here)
                    return;
                here?.removeAttribute('aria-current');
                here = link;
                here.setAttribute('aria-current', 'true');
                const [box, frame] = [here.getBoundingClientRect(), side.getBoundingClientRect()];
                if (box.top < frame.top || box.bottom > frame.bottom)
                    side.scrollTop += box.top - frame.top - frame.height / 3;
            }, { rootMargin: '-15% 0px -75% 0px' });
            for (const template of templates)
                observer.observe(template.element);
        }

        // A table that is laid out as blocks on a narrow screen stays a table for those who hear it.

        const narrow = matchMedia('(max-width: 46rem)');
        const keepRoles = () => {
            if (!narrow.matches)
                return;
            for (const table of all('table.values')) {
                table.setAttribute('role', 'table');
                for (const body of all('thead, tbody', table))
                    body.setAttribute('role', 'rowgroup');
                for (const line of all('tr', table))
                    line.setAttribute('role', 'row');
                for (const cell of all('td', table))
                    cell.setAttribute('role', 'cell');
                for (const cell of all('tbody th', table))
                    cell.setAttribute('role', 'rowheader');
                for (const cell of all('thead th', table))
                    cell.setAttribute('role', 'columnheader');
            }
        };
        keepRoles();
        narrow.addEventListener('change', keepRoles);

        // Paper folds nothing.

        let opened = [];
        window.addEventListener('beforeprint', () => {
            opened = all('details:not([open])');
            for (const details of opened)
                details.open = true;
        });
        window.addEventListener('afterprint', () => {
            for (const details of opened)
                details.open = false;
        });
    }

    if (document.readyState === 'loading')
        document.addEventListener('DOMContentLoaded', start);
    else
        start();
})();
