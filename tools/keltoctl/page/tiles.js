// One item as a tile: a picture, or what its kind is known by, and below it title and badge.

function picture(number, alternative) {
    const image = element('img', {alt: alternative, decoding: 'async', draggable: 'false'});
    const address = pictureAddress(number);
    if (address !== '') image.src = address;
    else image.dataset.awaits = number;
    return image;
}

/** Pictures stand at the end of the page, so that the rest does not wait for them. */
function fillAwaitedPictures() {
    for (const image of document.querySelectorAll('img[data-awaits]')) {
        image.src = pictureAddress(image.dataset.awaits);
        delete image.dataset.awaits;
    }
}

/** The text from a little before what was searched for. */
function excerpt(text, words) {
    const length = 420, before = 40;
    const first = placesOfWords(text, words)[0]?.[0] ?? 0;
    if (first < 160) return text.slice(0, length);
    const start = text.indexOf(' ', first - before);
    return '…' + text.slice(start >= 0 && start < first ? start + 1 : first, first + length);
}

/** The first of the texts that holds one of the words, else the first that is not empty. */
function tellingText(texts, words) {
    const filled = texts.filter(Boolean);
    return filled.find(text => placesOfWords(text, words).length > 0) ?? filled[0] ?? '';
}

function siteSign(item) {
    const host = hostOf(item.url ?? '');
    const sign = element('span', {class: 'site-sign', 'aria-hidden': 'true'});
    if (item.icon !== undefined) sign.append(picture(item.icon, ''));
    else sign.append(host ? [...host][0].toUpperCase() : icon('link'));
    return sign;
}

function linkFace(item) {
    const host = item.site ?? hostOf(item.url ?? '');
    return [siteSign(item), element('span', {class: 'site', dir: 'auto'}, host || item.url || '')];
}

function repositoryFace(item) {
    const [owner, name] = (safeAddress(item.url ?? '')?.pathname ?? '').split('/').filter(Boolean);
    const facts = [item.stars === undefined ? '' : '★ ' + numeral(item.stars), item.language];
    return [
        icon('github'),
        element('span', {class: 'repository', dir: 'auto'}, owner ? element('i', {}, owner + ' /') : '',
                name ?? item.title),
        element('span', {class: 'site'}, facts.filter(Boolean).join('   '))
    ];
}

function textFace(item, words) {
    const text = tellingText([item.content, item.note, item.subtitle, item.url], words);
    // A note's first line is its title already.
    const rest = text.startsWith(item.title) ? text.slice(item.title.length).trimStart() : text;
    return element('span', {class: 'text', dir: 'auto'}, marked(excerpt(rest || text, words), words));
}

function quoteFace(item, words) {
    return [
        element('span', {class: 'text', dir: 'auto'}, marked(excerpt(item.content || item.title, words), words)),
        item.author ? element('span', {class: 'author', dir: 'auto'}, '— ' + item.author) : null
    ];
}

const lacks = {
    large: 'Too large for this page',
    unshown: 'Not shown by browsers',
    unwanted: ''
};

/** A sheet of paper, a film, an empty frame: what a file is known by without its picture. */
function fileFace(item, words) {
    const found = words.length > 0 && tellingText([item.content, item.note], words);
    if (found) return [element('span', {class: 'text', dir: 'auto'}, marked(excerpt(found, words), words))];
    const sign = element('span', {class: 'sheet', 'aria-hidden': 'true'}, icon(item.kind),
                         element('b', {}, item.badge));
    return [sign, element('span', {class: 'site'}, lacks[item.lack] ?? '')];
}

function face(item, words) {
    if (item.picture !== undefined) {
        const shown = picture(item.picture, '');
        // A damaged picture gives way to what would stand there without it.
        shown.addEventListener('error', () => {
            const {picture: none, ...rest} = item;
            shown.closest('.face')?.replaceWith(face(rest, words));
        });
        const shape = item.kind === 'image' || item.kind === 'video' ? 'picture' : 'picture whole';
        return element('span', {class: `face ${shape}`}, shown,
                       item.kind === 'video' ? element('span', {class: 'play'}, icon('video')) : null);
    }
    const made = element('span', {class: `face ${item.kind}-face`});
    if (item.kind === 'quote') made.append(...quoteFace(item, words).filter(Boolean));
    else if (item.kind === 'note' || item.kind === 'tweet') made.append(textFace(item, words));
    else if (item.kind === 'link') made.append(...linkFace(item));
    else if (item.kind === 'github') made.append(...repositoryFace(item));
    else made.append(...fileFace(item, words));
    return made;
}

function badge(item) {
    return element('span', {class: 'badge'}, item.badge);
}

/** Where else the searched words stand when the title does not hold them. */
function secondLine(item) {
    if (item.trashed !== undefined) return 'in the trash since ' + day(item.trashed);
    if (item.project !== undefined) return projects[item.project].name;
    return item.site ?? hostOf(item.url ?? '') ?? '';
}

/** What a screen reader says of a tile. */
function tileLabel(item) {
    return [
        item.title, kinds[item.kind].title, item.starred ? 'starred' : '',
        item.copy ? 'conflict copy' : item.copies ? 'has a conflict copy' : '',
        item.project === undefined ? '' : 'in ' + projects[item.project].name,
        item.trashed === undefined ? '' : 'in the trash'
    ].filter(Boolean).join(', ');
}

function tile(item) {
    const button = element('button', {
        type: 'button', class: 'tile', tabindex: '-1', 'data-kind': item.kind, 'aria-label': tileLabel(item),
        'aria-haspopup': 'dialog'
    });
    button.append(
        face(item, view.words),
        element('span', {class: 'title', dir: 'auto'}, marked(item.title, view.words)),
        element('span', {class: 'line'}, badge(item),
                isInConflict(item) ? element('span', {class: 'badge conflict'}, item.copy ? 'COPY' : 'CONFLICT') : null,
                element('span', {class: 'second', dir: 'auto'}, secondLine(item)),
                item.starred ? element('span', {class: 'star', 'aria-hidden': 'true'}, '★') : null));
    return button;
}

/** The marks of another search on a tile that is drawn already; its picture stays as it is. */
function markAgain(button, item) {
    button.querySelector('.title').replaceChildren(marked(item.title, view.words));
    const shown = button.querySelector('.face');
    if (!shown.classList.contains('picture')) shown.replaceWith(face(item, view.words));
}
