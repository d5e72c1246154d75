// Places, projects and tags at the side.

class Sidebar {
    constructor(choose) {
        this.choose = choose;
        this.buttons = [];
        this.tagLimit = 24;
        this.addPlaces();
        if (projects.length > 0) this.addProjects();
        const tagSection = document.getElementById('tags');
        tagSection.hidden = tags.length === 0;
        this.tagList = element('ul', {class: 'tags', role: 'list'});
        tagSection.append(this.tagList);
        const uses = new Array(tags.length).fill(0);
        for (const item of items)
            if (item.trashed === undefined) for (const tag of item.tags) ++uses[tag];
        this.tagsByUse = tags.map((name, tag) => tag).sort(
            (left, right) => uses[right] - uses[left] || titleOrder.compare(tags[left], tags[right]));
        document.getElementById('written').textContent = 'As it was on ' + time(library.written);
    }

    placeButton(place, label, sign, count) {
        const button = element('button', {type: 'button', class: 'place-button'}, icon(sign),
                               element('span', {class: 'name', dir: 'auto'}, label),
                               element('span', {class: 'amount'}, count === 0 ? '' : numeral(count)));
        button.addEventListener('click', () => this.choose({place}));
        this.buttons.push({place, button});
        return button;
    }

    addPlaces() {
        const counts = {all: 0, starred: 0, conflicts: 0, trash: 0};
        for (const item of items) {
            ++counts[item.trashed === undefined ? 'all' : 'trash'];
            if (item.starred && item.trashed === undefined) ++counts.starred;
            if (item.copy) ++counts.conflicts;
        }
        const list = element('ul', {role: 'list'});
        const add = (place, label) => list.append(element('li', {}, this.placeButton(place, label, place, counts[place])));
        add('all', 'All items');
        if (counts.starred > 0) add('starred', 'Starred');
        if (counts.conflicts > 0) add('conflicts', 'Conflicts');
        add('trash', 'Trash');
        document.getElementById('places').append(list);
    }

    addProjects() {
        const counts = new Array(projects.length).fill(0);
        for (const item of items)
            if (item.trashed === undefined && item.project !== undefined)
                for (const project of projects[item.project].path) ++counts[project.at];
        const branch = list => element('ul', {role: 'list'}, ...list.map(project => {
            const button = this.placeButton(project, project.name, project.linked ? 'linked' : 'project', counts[project.at]);
            const entry = element('li', {}, element('div', {class: 'branch'}, button));
            if (project.parts.length === 0 || project.path.length === deepest) return entry;
            const below = branch(project.parts), isOpen = project.path.length < (projects.length > 30 ? 1 : 3);
            const fold = element('button', {
                type: 'button', class: 'fold', 'aria-expanded': String(isOpen), 'aria-label': 'Projects in ' + project.name
            }, icon('fold'));
            below.hidden = !isOpen;
            fold.addEventListener('click', () => {
                below.hidden = !below.hidden;
                fold.setAttribute('aria-expanded', String(!below.hidden));
            });
            entry.firstElementChild.append(fold);
            entry.append(below);
            return entry;
        }));
        const section = document.getElementById('projects');
        section.hidden = false;
        section.append(branch(projects.filter(project => project.parent === undefined)));
    }

    show(ofTag) {
        for (const {place, button} of this.buttons) {
            if (place === view.place) button.setAttribute('aria-current', 'page');
            else button.removeAttribute('aria-current');
        }
        const listed = this.tagsByUse.slice(0, this.tagLimit);
        if (view.tag !== null && !listed.includes(view.tag)) listed.push(view.tag);
        const focused = document.activeElement?.dataset?.tag;
        this.tagList.replaceChildren(...listed.map(tag => element('li', {}, this.tagButton(tag, ofTag.get(tag) ?? 0))));
        if (this.tagsByUse.length > this.tagLimit) {
            const left = numeral(tags.length - this.tagLimit);
            const more = element('button', {type: 'button', class: 'chip'}, left + ' more');
            more.addEventListener('click', () => {
                this.tagLimit += 200;
                this.show(ofTag);
            });
            this.tagList.append(element('li', {}, more));
        }
        if (focused !== undefined) this.tagList.querySelector(`[data-tag="${focused}"]`)?.focus();
    }

    tagButton(tag, count) {
        const button = element('button', {
            type: 'button', class: 'chip', 'aria-pressed': String(view.tag === tag), 'data-tag': tag,
            'data-empty': count === 0
        }, element('bdi', {}, '#' + (tags[tag] || 'untitled')), element('span', {class: 'amount'}, count === 0 ? '' : numeral(count)));
        button.addEventListener('click', () => this.choose({tag: view.tag === tag ? null : tag}));
        return button;
    }
}
