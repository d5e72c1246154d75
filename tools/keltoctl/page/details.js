// Everything of one item, in a dialog; of an item in conflict both versions, side by side.

class Details {
    constructor(dialog, {closed, goTo}) {
        this.dialog = dialog;
        this.goTo = goTo;
        this.shown = [];
        this.at = 0;
        dialog.addEventListener('close', () => closed(this.item));
        dialog.addEventListener('click', event => {
            if (event.target === dialog) dialog.close();  // beside the sheet
        });
        dialog.addEventListener('keydown', event => {
            if (event.altKey || event.ctrlKey || event.metaKey || event.shiftKey) return;
            if (event.key === 'ArrowLeft') this.step(-1);
            if (event.key === 'ArrowRight') this.step(1);
        });
    }

    get item() {
        return this.shown[this.at];
    }

    open(item, shown) {
        this.shown = shown;
        this.at = shown.indexOf(item);
        this.draw();
        this.dialog.showModal();
        this.dialog.scrollTop = 0;
    }

    step(way) {
        const to = this.at + way;
        if (to < 0 || to >= this.shown.length) return;
        const pressed = document.activeElement?.closest('.previous, .next')?.dataset.way;
        this.at = to;
        this.draw();
        this.dialog.scrollTop = 0;
        // Who presses a button again and again stays on it; who uses the keys reads the title.
        this.dialog.querySelector(pressed ? `[data-way="${pressed}"]` : '#details-title').focus();
    }

    draw() {
        const item = this.item, versions = versionsOf(item);
        const isPair = versions.length > 1;
        this.dialog.classList.toggle('wide', isPair);
        this.dialog.dataset.kind = item.kind;
        this.dialog.replaceChildren(
            this.bar(item),
            isPair ? comparison(versions, item) : sheet(item, this.goTo));
    }

    bar(item) {
        const tool = (name, label, sign, act, isOff) => {
            const isStep = name !== 'close';
            const made = element('button', {
                type: 'button', class: 'tool ' + name, 'aria-label': label, 'aria-disabled': isOff ? 'true' : null,
                'data-way': isStep ? name : null, 'aria-describedby': isStep ? 'details-title' : null
            }, icon(sign));
            made.addEventListener('click', act);
            return made;
        };
        return element('div', {class: 'details-bar'},
            tool('previous', 'Previous item', 'back', () => this.step(-1), this.at === 0),
            tool('next', 'Next item', 'fold', () => this.step(1), this.at + 1 === this.shown.length),
            element('span', {class: 'place'}, `${numeral(this.at + 1)} of ${numeral(this.shown.length)}`),
            badge(item),
            tool('close', 'Close', 'close', () => this.dialog.close()));
    }
}

function bigPicture(item) {
    if (item.picture === undefined) return null;
    const what = item.kind === 'image' ? 'The picture' : 'A preview of';
    const shown = picture(item.picture, `${what} “${item.title}”`);
    const frame = element('div', {class: 'big-picture'}, shown);
    shown.addEventListener('error', () => frame.remove());
    return frame;
}

/** The address as a link where it leads to the web or to mail, else as text. */
function addressLine(text) {
    const url = safeAddress(text);
    if (!url) return element('span', {class: 'address', dir: 'auto'}, text);
    const relation = 'noopener noreferrer nofollow';
    return element('a', {class: 'address', href: url.href, target: '_blank', rel: relation},
                   element('bdi', {}, text), icon('out'));
}

/** A part of the sheet with a text of the item in it; nothing where there is none. */
function textPart(name, className, text) {
    return text ? element(name, {class: className, dir: 'auto'}, marked(text, view.words)) : null;
}

function heading(item) {
    const star = {class: 'star', role: 'img', 'aria-label': 'Starred', title: 'Starred'};
    return element('h2', {id: 'details-title', dir: 'auto', tabindex: '-1', autofocus: true},
                   item.starred ? element('span', star, '★') : null, marked(item.title, view.words));
}

const hintsOnLacks = {
    large: 'The picture is too large for this page; it is in the library.',
    unshown: 'The file is in the library; browsers do not show pictures of its kind.'
};

function hints(item) {
    const texts = [
        item.cut ? 'The text is longer than a page carries; its end is in the library.' : '',
        hintsOnLacks[item.lack] ?? ''
    ];
    return texts.filter(Boolean).map(text => element('p', {class: 'hint'}, text));
}

function sheet(item, goTo) {
    const author = [item.author, item.handle].filter(Boolean).join(' ');
    return element('article', {class: 'sheet-body'},
        bigPicture(item),
        heading(item),
        item.subtitle !== item.title ? textPart('p', 'subtitle', item.subtitle) : null,
        item.url ? element('p', {}, addressLine(item.url)) : null,
        textPart('div', item.kind === 'quote' ? 'content quoted' : 'content', item.content),
        author ? element('p', {class: 'author', dir: 'auto'}, '— ' + author) : null,
        item.note ? element('section', {class: 'remark'}, element('h3', {}, 'Note'),
                            textPart('div', 'content', item.note)) : null,
        ...hints(item),
        facts(item, goTo));
}

/** Names and values; what is not known is left out. */
function facts(item, goTo) {
    const list = element('dl', {class: 'facts'});
    const add = (name, ...values) => {
        const filled = values.filter(Boolean);
        if (filled.length === 0) return;
        list.append(element('div', {}, element('dt', {}, name), element('dd', {dir: 'auto'}, ...filled)));
    };
    const place = (label, act) => {
        const button = element('button', {type: 'button', class: 'chip'}, label);
        button.addEventListener('click', act);
        return button;
    };
    add('Kind', kinds[item.kind].title);
    const project = projects[item.project];
    if (project) add('Project', place(pathOf(project), () => goTo({place: project})));
    add('Tags', ...item.tags.map(tag => place('#' + tags[tag], () => goTo({tag}))));
    add('Site', item.site);
    add('Language', item.language);
    add('Stars', item.stars === undefined ? '' : numeral(item.stars));
    add('Forks', item.forks === undefined ? '' : numeral(item.forks));
    add('Home page', item.homepage ? addressLine(item.homepage) : '');
    add('File', item.file);
    add('Size', item.size ? byteCount(item.size) : '');
    add('Pixels', item.width && item.height ? `${item.width} × ${item.height}` : '');
    add('Type', item.type);
    add('Changed', time(item.updated));
    add('Created', time(item.created));
    add('In the trash', item.trashed === undefined ? '' : 'since ' + time(item.trashed));
    add('Identifier', element('code', {}, item.id ?? ''));
    return list;
}
