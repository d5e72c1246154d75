// The grid draws the tiles that can be seen, and a few more; ten thousand cost what fifty cost.

class Grid {
    constructor(list, open) {
        this.list = list;
        this.open = open;
        this.shown = [];
        this.current = 0;       // the tile that Tab comes to
        this.drawn = new Map(); // item to its list entry
        this.words = '';
        new ResizeObserver(() => this.measure()).observe(list);
        addEventListener('scroll', () => this.drawSoon(), {passive: true});
        addEventListener('resize', () => this.drawSoon());
        list.addEventListener('keydown', event => this.onKey(event));
        list.addEventListener('click', event => this.onClick(event));
        list.addEventListener('focusin', event => this.onFocus(event));
    }

    show(shown) {
        const words = view.words.join(' ');
        if (words !== this.words)
            for (const [item, entry] of this.drawn) markAgain(entry.firstElementChild, item);
        this.words = words;
        this.shown = shown;
        this.current = 0;
        this.list.hidden = shown.length === 0;
        this.measure();
    }

    measure() {
        const style = getComputedStyle(this.list);
        const least = parseFloat(style.getPropertyValue('--tile-width'));
        this.gap = parseFloat(style.getPropertyValue('--gap'));
        const width = this.list.clientWidth;
        if (width === 0) return;
        this.columns = Math.max(1, Math.floor((width + this.gap) / (least + this.gap)));
        this.tileWidth = (width - this.gap * (this.columns - 1)) / this.columns;
        this.tileHeight = Math.round(this.tileWidth * 0.7) + parseFloat(style.getPropertyValue('--caption'));
        const rows = Math.ceil(this.shown.length / this.columns);
        this.list.style.setProperty('--tile', this.tileWidth + 'px');
        this.list.style.setProperty('--tile-height', this.tileHeight + 'px');
        this.list.style.height = Math.max(0, rows * (this.tileHeight + this.gap) - this.gap) + 'px';
        this.draw();
    }

    drawSoon() {
        this.frame ??= requestAnimationFrame(() => {
            this.frame = null;
            this.draw();
        });
    }

    /** The places of the tiles in sight, with a row or two around; and of the one with the focus. */
    placesInSight() {
        const row = this.tileHeight + this.gap, top = this.list.getBoundingClientRect().top;
        const first = Math.max(0, Math.floor(-top / row) - 1) * this.columns;
        const last = Math.max(0, Math.ceil((innerHeight - top) / row) + 1) * this.columns;
        const places = [];
        for (let at = first; at < Math.min(last, this.shown.length); ++at) places.push(at);
        if (this.current < this.shown.length) {
            if (this.current < first) places.unshift(this.current);
            else if (this.current >= last) places.push(this.current);
        }
        return places;
    }

    draw() {
        if (!this.columns || this.list.hidden) return;
        const places = this.placesInSight(), needed = new Set(places.map(at => this.shown[at]));
        for (const [item, entry] of this.drawn) {
            if (needed.has(item)) continue;
            entry.remove();
            this.drawn.delete(item);
        }
        let before = this.list.firstElementChild;
        for (const at of places) {
            const item = this.shown[at];
            let entry = this.drawn.get(item);
            if (!entry) {
                entry = element('li', {}, tile(item));
                this.drawn.set(item, entry);
            }
            this.place(entry, at);
            if (entry === before) before = before.nextElementSibling;
            else this.list.insertBefore(entry, before);
        }
    }

    place(entry, at) {
        const x = (at % this.columns) * (this.tileWidth + this.gap);
        const y = Math.floor(at / this.columns) * (this.tileHeight + this.gap);
        entry.style.transform = `translate(${x}px, ${y}px)`;
        entry.setAttribute('aria-posinset', at + 1);
        entry.setAttribute('aria-setsize', this.shown.length);
        entry.dataset.at = at;
        entry.firstElementChild.tabIndex = at === this.current ? 0 : -1;
    }

    /** Brings a tile into sight and gives it the focus. */
    focus(at) {
        if (this.shown.length === 0) return;
        this.current = Math.min(Math.max(at, 0), this.shown.length - 1);
        const y = Math.floor(this.current / this.columns) * (this.tileHeight + this.gap);
        const top = this.list.getBoundingClientRect().top + y;
        const room = 150, bottom = innerHeight - 24;
        if (top < room) scrollBy(0, top - room);
        else if (top + this.tileHeight > bottom) scrollBy(0, top + this.tileHeight - bottom);
        this.draw();
        this.drawn.get(this.shown[this.current]).firstElementChild.focus({preventScroll: true});
    }

    focusItem(item) {
        this.focus(this.shown.indexOf(item));
    }

    onKey(event) {
        if (event.altKey || event.ctrlKey || event.metaKey) return;
        const rows = Math.max(1, Math.floor((innerHeight - 150) / (this.tileHeight + this.gap)));
        const ways = {
            ArrowRight: 1, ArrowLeft: -1, ArrowDown: this.columns, ArrowUp: -this.columns,
            PageDown: rows * this.columns, PageUp: -rows * this.columns,
            Home: -this.shown.length, End: this.shown.length
        };
        if (!(event.key in ways)) return;
        event.preventDefault();
        const to = this.current + ways[event.key], last = this.shown.length - 1;
        // Up from the first row and down from a last row that is not full stay in their column.
        if (event.key === 'ArrowUp' && to < 0) return;
        const isBelow = Math.floor(last / this.columns) > Math.floor(this.current / this.columns);
        if (event.key === 'ArrowDown' && to > last && !isBelow) return;
        this.focus(to);
    }

    onClick(event) {
        const entry = event.target.closest('li');
        if (entry) this.open(this.shown[Number(entry.dataset.at)]);
    }

    onFocus(event) {
        const entry = event.target.closest('li');
        if (!entry || Number(entry.dataset.at) === this.current) return;
        this.current = Number(entry.dataset.at);
        for (const [, other] of this.drawn) other.firstElementChild.tabIndex = other === entry ? 0 : -1;
    }
}
