// SPDX-License-Identifier: MIT
'use strict';
// The page is a document that can be read without scripts. To a browser that runs them, what stands within <noscript> is a text:
// elements are made of it when the reader comes near, so that a page of a thousand templates opens at once. This file does that, and
// the switches of unit and colours; search.js finds things, drawings.js draws them.

const root = document.documentElement;
root.classList.add('js');

// A page from a file may be refused a place to remember things.
const remembered = {
    get(key) { try { return localStorage.getItem(key); } catch { return null; } },
    set(key, value) { try { localStorage.setItem(key, value); } catch { /* it is forgotten then */ } }
};

// At once, before anything is drawn: the colours that were chosen, or those of the system.
const prefersDark = matchMedia('(prefers-color-scheme: dark)');
let chosenColours = remembered.get('okt-report-theme');
const isDark = () => chosenColours === 'dark' || (chosenColours !== 'light' && prefersDark.matches);
const setColours = () => { root.dataset.theme = isDark() ? 'dark' : 'light'; };
setColours();

const all = (selector, from = document) => Array.from(from.querySelectorAll(selector));

/// An element with attributes, and texts or elements in it.
function element(name, attributes = {}, ...contents) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(attributes))
        made.setAttribute(key, value);
    made.append(...contents);
    return made;
}

// Templates by the names of their places; what search.js knows of them is kept with them

const templates = new Map();

/// The template that a place of the page belongs to: t12, t12-7, t12-inside.
const templateAt = id => templates.get(/^t\d+/.exec(id)?.[0]);

// Making

/// What stands in a <noscript>, as elements that are in no document yet.
function contentsOf(noscript) {
    const holder = document.createElement('template');
    holder.innerHTML = noscript.textContent;
    return holder.content;
}

/// The data of a picture. The page holds each once, for its template, the card of that, and all others with the same.
function pictureAt(id) {
    const made = document.getElementById(id);
    if (made)
        return made.getAttribute('src');
    return contentsOf(templateAt(id).element.querySelector('noscript.images')).getElementById(id).getAttribute('src');
}

const makeImage = (id, alt) => element('img', { alt, src: pictureAt(id) });

/// Puts the contents of a <noscript> in its place.
function make(noscript) {
    const contents = contentsOf(noscript);
    for (const same of all('[data-picture]', contents))
        same.replaceWith(makeImage(same.dataset.picture, same.dataset.alt));
    const anchor = noscript.closest('.template').id;
    for (const data of all('script', contents))
        data.replaceWith(drawGraph(JSON.parse(data.textContent), anchor));
    for (const table of all('.stretches', contents))
        drawMap(table, contents.querySelector('.sums'));
    for (const table of all('.values', contents))
        keepRoles(table);
    showUnit(contents);
    noscript.replaceWith(contents);
}

/// Does something that changes heights while what the reader looks at stays where it is.
function inPlace(change) {
    const at = part => document.elementFromPoint(innerWidth / 2, innerHeight * part)?.closest('.template');
    const top = scrollY === 0 ? null : at(.25) ?? at(.35); // one of the two is no gap between templates
    const before = top?.getBoundingClientRect().top;
    root.classList.add('making');
    change();
    if (top)
        scrollBy(0, top.getBoundingClientRect().top - before);
    root.classList.remove('making');
}

function makeTemplate(template) {
    for (const noscript of all(':scope > noscript', template.element))
        make(noscript);
    template.element.classList.add('made');
}

function unfold(details) {
    details.open = true;
    all(':scope > noscript', details).forEach(make);
}

/// Makes what a link leads to, before the browser looks for it.
function prepare(id) {
    const template = templateAt(id);
    if (!template)
        return;
    makeTemplate(template);
    const folded = document.getElementById(id)?.closest('details.part');
    if (folded)
        unfold(folded);
}

// Units

const kUnits = ['mm', 'cm', 'm', 'in', 'ft'];

function showUnit(from) {
    const unit = root.dataset.unit;
    for (const value of all('[data-mm]', from)) {
        const exact = value.dataset[unit + 'Exact'];
        value.textContent = value.dataset[unit];
        if (exact === undefined)
            value.removeAttribute('title');
        else
            value.title = exact + '\u00a0' + unit;
    }
    for (const cell of all('.unit', from))
        cell.textContent = unit;
}

// A table that is laid out as blocks on a narrow screen stays a table for those who hear it.

const narrow = matchMedia('(max-width: 46rem)');

function keepRoles(table) {
    if (!narrow.matches)
        return;
    const roles = { 'thead, tbody': 'rowgroup', tr: 'row', td: 'cell', 'tbody th': 'rowheader', 'thead th': 'columnheader' };
    table.setAttribute('role', 'table');
    for (const [selector, role] of Object.entries(roles))
        for (const part of all(selector, table))
            part.setAttribute('role', role);
}

// The start, when all is there

/// Calls back with the elements that come near to what is in sight, once for each.
function whenNear(elements, distance, callback) {
    const observer = new IntersectionObserver(entries => {
        const near = entries.filter(entry => entry.isIntersecting).map(entry => entry.target);
        for (const seen of near)
            observer.unobserve(seen);
        if (near.length > 0)
            callback(near);
    }, { rootMargin: distance + ' 0px' });
    for (const watched of elements)
        observer.observe(watched);
}

function startTemplates() {
    for (const article of all('article.template')) {
        templates.set(article.id, { element: article, links: [] });
        article.classList.toggle('made', !article.querySelector(':scope > noscript'));
    }
    for (const link of all('[data-of]'))
        templates.get(link.dataset.of).links.push(link);
    const articles = Array.from(templates.values(), template => template.element);
    whenNear(articles, '60%', near => inPlace(() => near.forEach(article => makeTemplate(templates.get(article.id)))));
    whenNear(all('.thumb[data-picture]'), '40%', near => near.forEach(thumb => thumb.append(makeImage(thumb.dataset.picture, ''))));

    document.addEventListener('toggle', event => {
        if (event.target.open && event.target.matches('details.part'))
            unfold(event.target);
        const template = templateAt(event.target.closest('.template')?.id ?? '');
        if (template)
            template.entries = null; // the search looks at what is shown
    }, true);

    document.addEventListener('click', event => {
        const link = event.target.closest('a[href^="#"]');
        if (!link)
            return;
        leaveSearch();
        prepare(link.getAttribute('href').slice(1));
    }, true);
    const followAddress = () => {
        const id = location.hash.slice(1);
        if (!templateAt(id))
            return;
        leaveSearch();
        const isThere = document.getElementById(id)?.getClientRects().length > 0;
        prepare(id);
        if (isThere)
            return;
        location.replace('#' + id); // once more, now that the place is there; not every browser goes to it
        document.getElementById(id)?.scrollIntoView();
    };
    addEventListener('hashchange', followAddress);
    followAddress();
}

function startSwitches() {
    for (const button of all('input[name="unit"]'))
        button.addEventListener('change', () => {
            root.dataset.unit = button.value;
            showUnit(document);
            search();
        });
    // A browser that restores a page restores what was chosen in it.
    const chosen = document.querySelector('input[name="unit"]:checked');
    if (chosen && chosen.value !== root.dataset.unit) {
        root.dataset.unit = chosen.value;
        showUnit(document);
    }

    const button = document.getElementById('theme');
    const showColours = () => {
        setColours();
        button.setAttribute('aria-pressed', String(isDark()));
    };
    showColours();
    prefersDark.addEventListener('change', showColours);
    button.addEventListener('click', () => {
        chosenColours = isDark() ? 'light' : 'dark';
        remembered.set('okt-report-theme', chosenColours);
        showColours();
    });
    narrow.addEventListener('change', () => all('table.values').forEach(keepRoles));
}

/// The side marks the template that is in sight.
function startSide() {
    const side = document.querySelector('nav.side');
    if (!side)
        return;
    const inSight = new Set();
    let here = null;
    const observer = new IntersectionObserver(entries => {
        for (const entry of entries)
            inSight[entry.isIntersecting ? 'add' : 'delete'](entry.target.id);
        const first = Array.from(templates.keys()).find(id => inSight.has(id));
        const link = first && side.querySelector(`[data-of="${first}"] a`);
        if (!link || link === here)
            return;
        here?.removeAttribute('aria-current');
        here = link;
        here.setAttribute('aria-current', 'true');
        const [box, frame] = [here.getBoundingClientRect(), side.getBoundingClientRect()];
        if (box.top < frame.top || box.bottom > frame.bottom)
            side.scrollTop += box.top - frame.top - frame.height / 3;
    }, { rootMargin: '-15% 0px -75% 0px' });
    for (const template of templates.values())
        observer.observe(template.element);
}

/// Paper shows a page for each template, of those that were found where there is a search. What is folded stays so.
function startPaper() {
    addEventListener('beforeprint', () => {
        for (const template of templates.values())
            if (!template.element.classList.contains('missed'))
                makeTemplate(template);
    });
}

addEventListener('DOMContentLoaded', () => {
    root.classList.add('ready');
    startTemplates();
    startSwitches();
    startSide();
    startPaper();
    startSearch();
});
