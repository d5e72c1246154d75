// An item that both sides had changed, and the copy in which the other side's version was kept.

const conflictMark = ' (iCloud conflict)';
const withoutMark = text => (text ?? '').replace(conflictMark, '');

/** The item with the copies made of it, the original first. One alone where there is no other. */
function versionsOf(item) {
    const original = item.original !== undefined ? items[item.original] : item;
    return [original, ...(original.copies ?? [])];
}

/** The conflicts among the items, each once. */
function conflictsAmong(shown) {
    const originals = new Set(shown.map(item => versionsOf(item)[0]));
    return [...originals].map(versionsOf);
}

/** What two versions may differ in, as texts. */
const comparedFacts = {
    'Title': item => withoutMark(item.title),
    'Subtitle': item => item.subtitle ?? '',
    'Address': item => item.url ?? '',
    'File': item => withoutMark(item.file),
    'Size': item => item.size ? byteCount(item.size) : '',
    'Picture': item => item.picture === undefined ? '' : 'picture ' + item.picture,
    'Content': item => item.content ?? '',
    'Note': item => item.note ?? '',
    'Tags': item => item.tags.map(tag => tags[tag]).sort().join(', '),
    'Star': item => item.starred ? 'starred' : '',
    'Trash': item => item.trashed === undefined ? '' : 'in the trash'
};

function differences(left, right) {
    return Object.keys(comparedFacts).filter(name => comparedFacts[name](left) !== comparedFacts[name](right));
}

/** The lines of a text; those that the other text does not hold in this order are told apart. */
function comparedLines(text, other) {
    const lines = text.split('\n'), others = other.split('\n');
    const limit = 300;  // the table below grows with the product
    if (lines.length > limit || others.length > limit) return lines.map(line => ({line, isOwn: false}));
    const common = Array.from({length: lines.length + 1}, () => new Uint16Array(others.length + 1));
    for (let left = lines.length - 1; left >= 0; --left)
        for (let right = others.length - 1; right >= 0; --right)
            common[left][right] = lines[left] === others[right]
                ? common[left + 1][right + 1] + 1
                : Math.max(common[left + 1][right], common[left][right + 1]);
    const compared = [];
    for (let left = 0, right = 0; left < lines.length; ++left) {
        while (right < others.length && lines[left] !== others[right] &&
               common[left][right + 1] >= common[left + 1][right]) ++right;
        const isShared = right < others.length && lines[left] === others[right];
        compared.push({line: lines[left], isOwn: !isShared});
        if (isShared) ++right;
    }
    return compared;
}

function comparedText(text, other) {
    const shown = element('div', {class: 'content', dir: 'auto'});
    for (const {line, isOwn} of comparedLines(text.trimEnd(), other.trimEnd()))
        shown.append(isOwn && line.trim() !== '' ? element('ins', {}, line) : line, '\n');
    return shown;
}

const briefFacts = ['Subtitle', 'Address', 'File', 'Size', 'Tags', 'Star', 'Trash'];

function briefFact(name, item, isDifferent) {
    return element('div', {class: isDifferent ? 'differs' : null}, element('dt', {}, name),
                   element('dd', {dir: 'auto'}, comparedFacts[name](item) || 'none'));
}

function versionTitle(item, isDifferent, isTitle) {
    return element('h3', {
        id: isTitle ? 'details-title' : null, dir: 'auto', class: isDifferent ? 'differs' : null,
        tabindex: isTitle ? '-1' : null, autofocus: isTitle
    }, item.title);
}

/** One version beside the others; the title of one of them is that of the dialog. */
function version(item, other, isTitle) {
    const differing = other ? differences(item, other) : [];
    const brief = briefFacts.filter(name => comparedFacts[name](item) !== '' || differing.includes(name));
    return element('section', {class: 'version'},
        element('p', {class: 'version-name'},
                element('span', {class: item.copy ? 'badge conflict' : 'badge'}, item.copy ? 'COPY' : 'ORIGINAL'),
                'changed ' + time(item.updated)),
        versionTitle(item, differing.includes('Title'), isTitle),
        bigPicture(item),
        item.content ? comparedText(item.content, other?.content ?? (other ? '' : item.content)) : null,
        item.note ? element('div', {class: 'remark'}, element('h4', {}, 'Note'),
                            comparedText(item.note, other?.note ?? (other ? '' : item.note))) : null,
        element('dl', {class: 'facts'}, ...brief.map(name => briefFact(name, item, differing.includes(name)))));
}

function differenceLine(versions) {
    if (versions.length < 2)
        return versions[0].copy ? 'What this copy was made of is not in the library any more.' : '';
    const names = differences(versions[0], versions[1]);
    return names.length > 0 ? 'They differ in: ' + names.join(', ').toLowerCase() + '.'
                            : 'Both versions hold the same by now.';
}

/** Versions side by side, for the dialog and for the list of conflicts. */
function comparison(versions, titled) {
    return element('div', {class: 'comparison'},
        element('p', {class: 'hint'}, differenceLine(versions)),
        element('div', {class: 'versions'}, ...versions.map((item, at) => version(
            item, at === 0 ? versions[1] : versions[0], item === titled))));
}

/** The list of conflicts, a few dozen at a time. */
class Conflicts {
    constructor(list) {
        this.list = list;
    }

    show(shown) {
        this.left = conflictsAmong(shown);
        this.list.replaceChildren();
        this.more();
    }

    more() {
        const atOnce = 40;
        this.list.querySelector('.more')?.remove();
        for (const versions of this.left.splice(0, atOnce))
            this.list.append(element('li', {class: 'pair', 'data-kind': versions[0].kind}, comparison(versions)));
        if (this.left.length === 0) return;
        const button = element('button', {type: 'button', class: 'chip'}, `Show more (${numeral(this.left.length)} left)`);
        button.addEventListener('click', () => {
            this.more();
            this.list.querySelector(`li:nth-last-child(${atOnce + 1})`)?.scrollIntoView();
        });
        this.list.append(element('li', {class: 'more'}, button));
    }
}
