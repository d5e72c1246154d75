// What a person does with the page.

const byId = id => document.getElementById(id);
const search = byId('search');

const details = new Details(byId('details'), {
    closed: item => {
        // Back to the item that was looked at last, unless somebody is elsewhere already.
        const at = document.activeElement;
        if (at === document.body || grid.list.contains(at)) grid.focusItem(item);
    },
    goTo: change => {
        details.dialog.close();
        search.value = '';
        choose({kind: null, tag: null, words: [], place: 'all', ...change});
    }
});
const grid = new Grid(byId('items'), item => details.open(item, grid.shown));
const conflicts = new Conflicts(byId('pairs'));
const sidebar = new Sidebar(choose);

function choose(change) {
    if ('place' in change && change.place !== view.place) change = {kind: null, tag: null, ...change};
    Object.assign(view, change);
    show();
    scrollTo(0, 0);
    if ('place' in change || 'tag' in change) openSidebar(false);
}

function show() {
    const {shown, ofKind, ofTag} = itemsInView();
    showHeading(shown);
    showFilters(ofKind);
    sidebar.show(ofTag);
    const isComparing = view.place === 'conflicts';
    byId('pairs').hidden = !isComparing || shown.length === 0;
    if (isComparing) conflicts.show(shown);
    grid.show(isComparing ? [] : shown);
    showNothing(shown.length === 0);
}

const placeNames = {all: 'All items', starred: 'Starred', conflicts: 'Conflicts', trash: 'Trash'};

function showHeading(shown) {
    const name = typeof view.place === 'string' ? placeNames[view.place] : pathOf(view.place);
    byId('view').textContent = name;
    document.title = (view.place === 'all' ? 'Library' : name) + ' · Kelto';
    const amount = view.place === 'conflicts' ? counted(conflictsAmong(shown).length, 'conflict')
                                              : counted(shown.length, 'item');
    byId('count').textContent = view.words.length > 0 ? amount + ' found' : amount;
}

function showFilters(ofKind) {
    const group = byId('filters');
    const focused = group.contains(document.activeElement) ? document.activeElement.dataset.kind : undefined;
    const chip = (label, kind, count) => {
        const isOn = view.kind === kind;
        const button = element('button', {
            type: 'button', class: 'chip kind-chip', 'data-kind': kind ?? 'any', 'aria-pressed': String(isOn)
        }, kind ? icon(kind) : null, label, kind ? element('span', {class: 'amount'}, numeral(count)) : null);
        button.addEventListener('click', () => choose({kind: isOn ? null : kind}));
        return button;
    };
    const chips = kindNames.filter(kind => ofKind[kind] || view.kind === kind)
                           .map(kind => chip(kinds[kind].titles, kind, ofKind[kind] ?? 0));
    group.replaceChildren(...(chips.length > 1 || view.kind ? [chip('Every kind', null), ...chips] : []));
    if (view.tag !== null) {
        const off = element('button', {
            type: 'button', class: 'chip', 'aria-pressed': 'true', 'aria-label': 'Only the tag ' + tags[view.tag]
        }, element('bdi', {}, '#' + tags[view.tag]), icon('close'));
        off.addEventListener('click', () => choose({tag: null}));
        group.prepend(off);
    }
    if (focused) group.querySelector(`[data-kind="${focused}"]`)?.focus();
}

function showNothing(isEmpty) {
    const nothing = byId('nothing');
    nothing.hidden = !isEmpty;
    if (!isEmpty) return;
    const isNarrowed = view.words.length > 0 || view.kind !== null || view.tag !== null;
    const sentence = isNarrowed ? 'No item here matches.'
        : view.place === 'trash' ? 'The trash is empty.' : 'There is nothing here yet.';
    nothing.replaceChildren(icon(isNarrowed ? 'search' : view.place === 'trash' ? 'trash' : 'all'), element('p', {}, sentence));
    if (!isNarrowed) return;
    // First without the place and what else narrows it down, then without the words.
    const isEverywhere = view.place === 'all' && view.kind === null && view.tag === null;
    const button = element('button', {type: 'button', class: 'chip'}, isEverywhere ? 'Clear the search' : 'Search everywhere');
    button.addEventListener('click', () => {
        if (isEverywhere) search.value = '';
        choose({place: 'all', kind: null, tag: null, words: searchWords(search.value)});
        search.focus();
    });
    nothing.append(button);
}

// Search as you type.

search.addEventListener('input', () => choose({words: searchWords(search.value)}));
byId('search-form').addEventListener('submit', event => {
    event.preventDefault();
    grid.focus(0);
});
search.addEventListener('keydown', event => {
    if (event.key === 'ArrowDown') {
        event.preventDefault();
        grid.focus(0);
    }
});
byId('sort').addEventListener('change', event => choose({sort: event.target.value}));
document.querySelector('.skip').addEventListener('click', event => {
    event.preventDefault();
    grid.focus(grid.current);
});

addEventListener('keydown', event => {
    const isWriting = event.target.matches?.('input, select, textarea');
    if (details.dialog.open || event.altKey || event.ctrlKey || event.metaKey) return;
    if (event.key === '/' && !isWriting) {
        event.preventDefault();
        search.focus();
        search.select();
    }
    if (event.key === 'Escape') leave();
});

/** One step out: the open sidebar, then the search, then the search's field. */
function leave() {
    if (document.body.classList.contains('with-sidebar')) {
        openSidebar(false);
        byId('menu').focus();
    } else if (search.value !== '') {
        search.value = '';
        choose({words: []});
        search.focus();
    } else if (document.activeElement === search) {
        grid.focus(grid.current);
    }
}

// The sidebar lies over the page where there is no room beside it.

function openSidebar(isOpen) {
    document.body.classList.toggle('with-sidebar', isOpen);
    byId('menu').setAttribute('aria-expanded', String(isOpen));
    byId('shade').hidden = !isOpen;
    byId('main').inert = isOpen;
    if (isOpen) sidebar.buttons[0].button.focus();
}
byId('menu').addEventListener('click', () => openSidebar(!document.body.classList.contains('with-sidebar')));
byId('shade').addEventListener('click', () => openSidebar(false));
matchMedia('(min-width: 60rem)').addEventListener('change', () => openSidebar(false));

// Light and dark: as the system has it, or as was chosen here.

const themes = ['automatic', 'light', 'dark'];

/** Not every browser remembers for a page on the disk; then it begins anew. */
function remembered(theme) {
    try {
        if (theme) localStorage.setItem('kelto-theme', theme);
        return localStorage.getItem('kelto-theme');
    } catch {
        return theme;
    }
}

function useTheme(theme) {
    document.documentElement.dataset.theme = theme;
    const button = byId('theme');
    button.setAttribute('aria-label', `Theme: ${theme}. Change it`);
    button.title = `Theme: ${theme}`;
    button.replaceChildren(icon(theme));
}
byId('theme').addEventListener('click', () => {
    const next = themes[(themes.indexOf(document.documentElement.dataset.theme) + 1) % themes.length];
    remembered(next);
    useTheme(next);
});
useTheme(themes.includes(remembered()) ? remembered() : 'automatic');

show();
performance.mark('items drawn');
addEventListener('DOMContentLoaded', () => {
    fillAwaitedPictures();
    setTimeout(prepareSearch, 200);
});
