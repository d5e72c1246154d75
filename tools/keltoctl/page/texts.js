'use strict';

// Texts as a person compares, reads and counts them.

const marksOfLetters = new RegExp(
    '[\\u0300-\\u036f\\u1ab0-\\u1aff\\u1dc0-\\u1dff\\u20d0-\\u20ff\\ufe20-\\ufe2f' +  // Latin, Greek, Cyrillic
    '\\u0591-\\u05bd\\u05bf\\u05c1\\u05c2\\u05c4\\u05c5\\u05c7' +                     // Hebrew points
    '\\u0610-\\u061a\\u0640\\u064b-\\u065f\\u0670]', 'gu');                           // Arabic points
const lettersWithoutParts = {
    'ß': 'ss', 'æ': 'ae', 'œ': 'oe', 'ø': 'o', 'đ': 'd', 'ð': 'd', 'ł': 'l', 'ħ': 'h', 'ı': 'i',
    'þ': 'th', 'ς': 'σ'
};
const isAscii = /^[\x00-\x7f]*$/;

/**
 * The text without what a search passes over: letter case, accents, the difference between "ﬁ" and
 * "fi" or between wide and narrow letters. What looks like an accent but makes another letter, as
 * in kana or Devanagari, stays.
 */
function folded(text) {
    if (isAscii.test(text)) return text.toLowerCase();
    return text.normalize('NFKD').replace(marksOfLetters, '').toLowerCase()
        .replace(marksOfLetters, '').normalize('NFC')
        .replace(/[ßæœøđðłħıþς]/g, letter => lettersWithoutParts[letter]);
}

/** The words of a search, folded. All of them have to be found. */
function searchWords(query) {
    return folded(query).split(/\s+/u).filter(word => word !== '');
}

/** The text folded, and for each unit of that where it comes from. */
function foldedLetters(text) {
    if (isAscii.test(text)) return {plain: text.toLowerCase(), starts: Array.from({length: text.length + 1}, (_, at) => at)};
    const starts = [];
    let plain = '', at = 0;
    for (const letter of text) {
        const part = folded(letter);
        for (let unit = 0; unit < part.length; ++unit) starts.push(at);
        plain += part;
        at += letter.length;
    }
    starts.push(at);
    return {plain, starts};
}

/**
 * Where the words stand in a text: pairs of first and last offset, in order, without overlaps.
 * Looks at the beginning of long texts only.
 */
function placesOfWords(text, words) {
    if (words.length === 0 || text === '') return [];
    const {plain, starts} = foldedLetters(text.slice(0, 4000));
    const places = [];
    for (const word of words) {
        for (let found = plain.indexOf(word); found >= 0; found = plain.indexOf(word, found + word.length)) {
            let end = found + word.length;
            while (end < plain.length && starts[end] === starts[end - 1]) ++end;
            places.push([starts[found], starts[end]]);
        }
    }
    places.sort((left, right) => left[0] - right[0] || left[1] - right[1]);
    const joined = [];
    for (const place of places) {
        const last = joined[joined.length - 1];
        if (last && place[0] <= last[1]) last[1] = Math.max(last[1], place[1]);
        else joined.push(place);
    }
    return joined;
}

/** 10000 as "10,000". */
const numeral = count => count.toLocaleString('en');

function counted(count, noun, nouns = noun + 's') {
    return numeral(count) + ' ' + (count === 1 ? noun : nouns);
}

function byteCount(bytes) {
    if (bytes < 1000) return counted(bytes, 'byte');
    const units = ['kB', 'MB', 'GB', 'TB', 'PB', 'EB'];
    let amount = bytes / 1000, unit = 0;
    for (; amount >= 999.95 && unit + 1 < units.length; ++unit) amount /= 1000;
    return amount.toFixed(amount < 10 ? 1 : 0) + ' ' + units[unit];
}

const dayFormat = new Intl.DateTimeFormat('en-GB', {day: 'numeric', month: 'long', year: 'numeric'});
const timeFormat = new Intl.DateTimeFormat('en-GB', {
    day: 'numeric', month: 'long', year: 'numeric', hour: '2-digit', minute: '2-digit'
});

/** A time that no calendar holds is shown as what it is. */
function formatted(format, milliseconds) {
    const date = new Date(milliseconds);
    return isNaN(date) ? milliseconds + ' ms' : format.format(date);
}
const day = milliseconds => formatted(dayFormat, milliseconds);
const time = milliseconds => formatted(timeFormat, milliseconds);

/** The address to link to; null for anything but the web and mail: a library can hold any text. */
function safeAddress(text) {
    let url;
    try {
        url = new URL(text);
    } catch {
        return null;
    }
    return ['http:', 'https:', 'mailto:'].includes(url.protocol) ? url : null;
}

/** "example.org" of an address, for people; '' where there is none. */
function hostOf(text) {
    return safeAddress(text)?.hostname.replace(/^www\./, '') ?? '';
}

// Elements. Texts become text nodes, never markup.

function element(name, attributes = {}, ...children) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) {
        if (value === true) made.setAttribute(key, '');
        else if (value !== false && value !== null && value !== undefined) made.setAttribute(key, value);
    }
    made.append(...children.filter(child => child !== null && child !== undefined && child !== ''));
    return made;
}

function icon(name) {
    const namespace = 'http://www.w3.org/2000/svg';
    const svg = document.createElementNS(namespace, 'svg');
    svg.setAttribute('class', 'icon');
    svg.setAttribute('aria-hidden', 'true');
    const use = document.createElementNS(namespace, 'use');
    use.setAttribute('href', '#icon-' + name);
    svg.append(use);
    return svg;
}

/** The text with what was searched for marked. */
function marked(text, words) {
    const parts = document.createDocumentFragment();
    let at = 0;
    for (const [first, last] of placesOfWords(text, words)) {
        parts.append(text.slice(at, first), element('mark', {}, text.slice(first, last)));
        at = last;
    }
    parts.append(text.slice(at));
    return parts;
}
