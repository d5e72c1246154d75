// The library as the page holds it, and what of it is in view.

const library = JSON.parse(document.getElementById('library').textContent);
const items = library.items, projects = library.projects, tags = library.tags;

const kinds = library.kinds;  // by name: their titles, one and many
const kindNames = Object.keys(kinds);

items.forEach((item, at) => {
    item.at = at;
    item.tags ??= [];
    if (item.original !== undefined) (items[item.original].copies ??= []).push(item);
});
/** Conflict copies, and what they were made of. */
const isInConflict = item => Boolean(item.copy || item.copies);

// Nobody nests so deep; only a damaged library does.
const deepest = 64;
projects.forEach((project, at) => {
    project.at = at;
    project.name ||= 'Untitled';
    project.parts = [];
    project.path = project.parent === undefined ? [project]
                                                : [...projects[project.parent].path, project].slice(-deepest);
    if (project.parent !== undefined) projects[project.parent].parts.push(project);
});
const pathOf = project => project.path.map(part => part.name).join(' / ');

/** What a person looks at: a place, narrowed down. */
const view = {
    place: 'all',  // or 'starred', 'conflicts', 'trash', or a project
    kind: null,
    tag: null,
    words: [],
    sort: 'updated'
};

function isInProject(item, project) {
    return item.project !== undefined && projects[item.project].path.includes(project);
}

function isInPlace(item) {
    if (view.place === 'trash') return item.trashed !== undefined;
    if (view.place === 'conflicts') return isInConflict(item);
    if (item.trashed !== undefined) return false;
    if (view.place === 'starred') return Boolean(item.starred);
    return view.place === 'all' || isInProject(item, view.place);
}

// Folding thousands of texts takes a moment: it is done once, while nobody is waiting.
const searchTexts = new Array(items.length);

function searchText(item) {
    return searchTexts[item.at] ??= folded([
        item.title, item.subtitle, item.content, item.note, item.url, item.file, item.author,
        item.handle, item.site, item.language, item.badge, kinds[item.kind].title,
        ...item.tags.map(tag => tags[tag]),
        ...(item.project === undefined ? [] : projects[item.project].path.map(part => part.name))
    ].filter(Boolean).join('\n'));
}

function prepareSearch(from = 0) {
    const until = performance.now() + 8;
    while (from < items.length && performance.now() < until) searchText(items[from++]);
    if (from < items.length) setTimeout(() => prepareSearch(from));
}

const isFound = item => view.words.every(word => searchText(item).includes(word));

const titleOrder = new Intl.Collator(undefined, {numeric: true});
const orders = {
    updated: (left, right) => right.updated - left.updated,
    created: (left, right) => right.created - left.created,
    title: (left, right) => titleOrder.compare(left.title, right.title),
    kind: (left, right) => kindNames.indexOf(left.kind) - kindNames.indexOf(right.kind),
    size: (left, right) => (right.size ?? 0) - (left.size ?? 0)
};
const sortedItems = {};

/** All items in the order in view. Sorting happens once for each order. */
function inOrder() {
    return sortedItems[view.sort] ??= [...items].sort(
        (left, right) => orders[view.sort](left, right) || left.at - right.at);
}

/** The items in view, and how many of each kind and tag there would be. */
function itemsInView() {
    const shown = [], ofKind = {}, ofTag = new Map();
    for (const item of inOrder()) {
        if (!isInPlace(item) || !isFound(item)) continue;
        const hasTag = view.tag === null || item.tags.includes(view.tag);
        const hasKind = view.kind === null || item.kind === view.kind;
        if (hasTag) ofKind[item.kind] = (ofKind[item.kind] ?? 0) + 1;
        if (hasKind) for (const tag of item.tags) ofTag.set(tag, (ofTag.get(tag) ?? 0) + 1);
        if (hasTag && hasKind) shown.push(item);
    }
    return {shown, ofKind, ofTag};
}

/** The address of a picture; '' while the end of the page is still to come. */
function pictureAddress(number) {
    return document.getElementById('picture-' + number)?.textContent ?? '';
}
