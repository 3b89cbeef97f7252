// All settings at once: search, groups, editors in their rows, marks of what others change. Each row's elements are made once;
// searching hides rows and makes none.
import {count, flash, h, timeElement, valueText, who} from './dom.js';
import {ValueCell} from './values.js';
import {settingRequest} from './change.js';

export function show(main, params, app) {
  return new SettingsView(main, params, app);
}

const template = h('div.row', {role: 'row', tabIndex: -1},
  h('div.what', {role: 'rowheader'}, h('a.name', {tabIndex: -1}, ''), h('span.help', {}, '')),
  h('div.value', {role: 'gridcell'}),
  h('div.more', {role: 'gridcell'}));

const everything = {family: '', title: 'All settings'};

class SettingsView {
  #app;
  #lines = [];            // one for each setting: {row, element, cell, more, name, words, groupWords, valueWords, isShown, isChanged}
  #lineBy = new Map();    // its row, and its element
  #shown = [];            // the lines that are not hidden, from top to bottom
  #sections = [];
  #links = new Map();     // at the side, by group
  #current;
  #frame;
  #timer;
  #state = {q: '', group: '', changed: false};

  constructor(main, params, app) {
    this.#app = app;
    this.#build(main);
    this.#buildGroups();
    app.on(app.store, 'change', ({detail}) => this.#changed(detail));
    app.on(app.search, 'input', () => this.list.isConnected && this.#set({q: app.search.value}));
    app.on(app.search, 'keydown', event => this.#searchKey(event));
    app.on(this.list, 'keydown', event => this.#key(event));
    app.on(this.list, 'click', event => this.#click(event));
    app.on(this.list, 'input', event => this.#lineOf(event.target)?.cell.handleEvent(event));
    app.on(this.list, 'focusin', event => this.#enter(this.#lineOf(event.target)));
    this.update(params);
  }

  /// #settings?q=&group=&changed=1 filters, #settings/ringer-volume shows one.
  update({path: [item], query}) {
    const wanted = {q: query.get('q') ?? '', group: query.get('group') ?? '', changed: query.get('changed') === '1'};
    if (this.#app.search.value !== wanted.q)
      this.#app.search.value = wanted.q;
    this.#set(wanted, false);
    const line = item && this.#lineBy.get(this.#app.store.row(item));
    if (line) {
      this.#focus(line);
      line.element.scrollIntoView({block: 'center'});
    } else if (document.activeElement === document.body) // Back from a view that is gone.
      this.#current?.element.focus({preventScroll: true});
  }

  // ---- Elements ----

  #build(main) {
    this.changedOnly = h('button.switch', {type: 'button', role: 'switch', onclick: () => this.#set({changed: !this.#state.changed})});
    this.summary = h('p', {role: 'status'});
    this.news = h('p.unseen', {role: 'status'});
    this.nothing = h('p.note', {hidden: true});
    this.list = h('div.settings', {});
    for (const family of this.#app.store.families)
      this.#buildSection(family);
    main.append(h('div.head', {}, h('h1', {}, 'Settings'), this.summary,
      h('label.line', {}, this.changedOnly, 'Changed only')), this.list, this.nothing, this.news);
  }

  #buildSection(family) {
    const id = `group-${family.family}`;
    const tally = h('span.count', {});
    const grid = h('div', {role: 'grid', 'aria-labelledby': id});
    const element = h('section.group', {}, h('h2', {id}, family.title, tally), grid);
    const rows = this.#app.store.rows.filter(row => row.family === family.family);
    const section = {family, element, grid, tally, lines: rows.map(row => this.#buildLine(row, family))};
    grid.append(...section.lines.map(line => line.element));
    this.#sections.push(section);
    this.list.append(element);
  }

  #buildLine(row, family) {
    const element = template.cloneNode(true);
    const [what, value, more] = element.children;
    const [name, help] = what.children;
    name.id = `name-${row.tag}`;
    name.href = `#explain/${encodeURIComponent(row.name)}`;
    name.textContent = row.name;
    help.textContent = row.help;
    const words = [row.name, row.help, row.unit, ...Object.values(row.names ?? {})].join('\n').toLowerCase();
    const groupWords = `${family.title}\n${family.family}`.toLowerCase();
    const line = {row, element, more, name, words, groupWords, isShown: true, isChanged: false};
    line.cell = new ValueCell(row, value, this.#app, {tabIndex: -1, done: hadFocus => {
      this.#refresh(line);
      this.#enter(this.#current);
      if (hadFocus)
        element.focus();
    }});
    this.#lineBy.set(row, line).set(element, line);
    this.#lines.push(line);
    this.#refresh(line);
    return line;
  }

  #buildGroups() {
    for (const {family, title} of [everything, ...this.#app.store.families])
      this.#links.set(family, h('a', {href: '#settings', onclick: event => {
        event.preventDefault();
        this.#set({group: family});
        scrollTo(0, 0);
      }}, h('span', {}, title), h('span.count', {})));
    this.#app.aside(h('nav.groups', {ariaLabel: 'Groups'}, [...this.#links.values()]));
  }

  // ---- What is shown ----

  #set(part, isOwn = true) {
    Object.assign(this.#state, part);
    this.#filter();
    if (!isOwn)
      return;
    const {q, group, changed} = this.#state;
    const words = new URLSearchParams(Object.entries({q, group, changed: changed ? 1 : ''}).filter(([, value]) => value));
    history.replaceState(null, '', `#settings${words.size ? `?${words}` : ''}`);
  }

  #matches(line, words) {
    if (this.#state.changed && !line.row.isChanged && !line.cell.editor)
      return false;
    return words.every(({word, inGroup}) => line.words.includes(word) || line.valueWords.includes(word) ||
      (inGroup && line.groupWords.includes(word)));
  }

  /// The words of the search. One that no setting has is sought in the names of the groups: "volume" finds volumes, not all
  /// settings of the group that has volumes.
  #words() {
    return this.#state.q.toLowerCase().split(/\s+/).filter(Boolean).map(word => ({word,
      inGroup: !this.#lines.some(line => line.words.includes(word) || line.valueWords.includes(word))}));
  }

  #filter() {
    const {group, changed} = this.#state;
    const words = this.#words();
    const focused = this.#lineOf(document.activeElement); // Does not vanish under the hand that changes it.
    this.#shown = [];
    let total = 0;
    for (const section of this.#sections) {
      let matching = 0;
      let visible = 0;
      for (const line of section.lines) {
        const isFound = line === focused || this.#matches(line, words);
        const isShown = isFound && (!group || group === section.family.family);
        matching += isFound;
        visible += isShown;
        if (isShown)
          this.#shown.push(line);
        if (isShown !== line.isShown)
          line.element.hidden = !(line.isShown = isShown);
      }
      total += matching;
      if (section.visible !== visible) {
        section.visible = visible;
        section.element.hidden = !visible;
        section.grid.style.containIntrinsicBlockSize = `auto ${4 * visible}rem`;
        section.tally.textContent = visible;
      }
      this.#tally(section.family, matching);
    }
    this.#tally(everything, total);
    this.changedOnly.ariaChecked = `${changed}`;
    this.#summarise(words);
  }

  #tally({family}, number) {
    const link = this.#links.get(family);
    link.lastChild.textContent = number;
    link.classList.toggle('none', !number);
    link.ariaCurrent = this.#state.group === family ? 'true' : null;
  }

  #summarise(words) {
    const number = this.#shown.length;
    const isAll = number === this.#lines.length;
    this.summary.textContent = isAll ? count(number, 'setting') : `${number} of ${count(this.#lines.length, 'setting')}`;
    this.nothing.hidden = number > 0;
    if (!number)
      this.nothing.replaceChildren(this.#state.changed && !words.length ? 'Nothing differs from the defaults here. ' : 'Nothing matches. ',
        h('button', {type: 'button', onclick: () => {
          this.#app.search.value = '';
          this.#set({q: '', group: '', changed: false});
          this.#app.search.focus();
        }}, 'Show all settings'));
    clearTimeout(this.#timer);
    this.#timer = setTimeout(() => this.#highlight(words), 50); // After the list is painted.
  }

  /// Marks the words in the first rows that are shown, without touching their elements.
  #highlight(words) {
    const ranges = [];
    for (const {name} of words.length ? this.#shown.slice(0, 80) : [])
      for (const {firstChild: text} of [name, name.nextSibling])
        for (const {word} of words) {
          const at = text.data.toLowerCase().indexOf(word);
          if (at < 0)
            continue;
          const range = new Range();
          range.setStart(text, at);
          range.setEnd(text, at + word.length);
          ranges.push(range);
        }
    CSS.highlights?.set('found', new Highlight(...ranges));
  }

  // ---- A line ----

  #refresh(line) {
    const {row} = line;
    line.valueWords = `${row.value ?? ''}\n${valueText(row.value, row)}`.toLowerCase();
    if (line.isChanged !== row.isChanged)
      line.element.classList.toggle('changed', line.isChanged = row.isChanged);
    const {mark} = row;
    if (row.isChanged || mark || line.more.firstChild)
      this.#tellMore(line, row, mark);
  }

  #tellMore({more}, row, mark) {
    more.replaceChildren(...[
      row.isChanged && !row.secret && h('span.default', {}, `default ${valueText(row.default, row)}`),
      row.isChanged && !this.#app.session.readOnly && h('button.quiet.reset', {type: 'button', tabIndex: -1,
        'aria-label': `Reset ${row.name}`, title: 'Back to the default'}, 'Reset'),
      mark && h('span.mark', {}, mark.isOwn ? 'you' : who(mark), ' · ', timeElement(mark.time)),
    ].filter(Boolean));
  }

  #changed({row, mark}) {
    const line = this.#lineBy.get(row);
    if (!line)
      return;
    line.cell.changed(mark);
    this.#refresh(line);
    if (mark && !mark.isOwn) {
      flash(line.element);
      this.news.textContent = `${row.name} is ${valueText(row.value, row)} now, ${who(mark)}`;
    }
    this.#frame ??= requestAnimationFrame(() => { // Once for all that change together.
      this.#frame = null;
      this.#filter();
    });
  }

  #lineOf(element) {
    return this.#lineBy.get(element.closest?.('.row'));
  }

  #enter(line) {
    for (const [one, index] of line ? [[this.#current, -1], [line, 0]] : []) {
      if (!one)
        continue;
      one.element.tabIndex = index;
      for (const control of one.element.querySelectorAll('a, button, input, select'))
        control.tabIndex = index;
    }
    this.#current = line ?? this.#current;
  }

  #focus(line) {
    if (!line)
      return;
    if (!line.isShown)
      this.#set({q: this.#app.search.value = '', group: '', changed: false});
    this.#enter(line);
    line.element.focus();
  }

  async #reset({row}) {
    if (row.isChanged && !this.#app.session.readOnly)
      this.#app.change(await settingRequest(this.#app, row), {title: `Reset ${row.name}?`, yes: 'Reset'});
  }

  // ---- Hands ----

  #click(event) {
    const line = this.#lineOf(event.target);
    if (!line)
      return;
    if (event.target.closest('.reset'))
      this.#reset(line);
    else
      line.cell.handleEvent(event);
  }

  #searchKey(event) {
    if (event.key === 'ArrowDown' || event.key === 'Enter') {
      event.preventDefault();
      this.#focus(this.#shown[0]);
    } else if (event.key === 'Escape') {
      event.preventDefault();
      if (this.#app.search.value)
        this.#set({q: this.#app.search.value = ''});
      else
        this.#focus(this.#current ?? this.#shown[0]);
    }
  }

  #key(event) {
    const line = this.#lineOf(event.target);
    if (!line || event.ctrlKey || event.metaKey || event.altKey)
      return;
    if (event.key === 'Escape' && (line.cell.editor || event.target !== line.element)) {
      line.cell.handleEvent(event);
      line.element.focus();
      return event.preventDefault();
    }
    if (event.target.matches('input, select'))
      return;
    const action = this.#actions(line, event.target)[event.key];
    if (!action)
      return;
    event.preventDefault();
    action();
  }

  #actions(line, target) {
    const at = this.#shown.indexOf(line);
    const to = index => () => this.#focus(this.#shown[Math.max(0, Math.min(index, this.#shown.length - 1))]);
    const controls = [line.element, ...line.element.querySelectorAll('a, button, input, select')];
    const within = step => () => controls[controls.indexOf(target) + step]?.focus();
    const actions = {
      ArrowDown: to(at + 1), ArrowUp: at === 0 ? () => this.#app.search.focus() : to(at - 1), PageDown: to(at + 10),
      PageUp: to(at - 10), Home: to(0), End: to(Infinity), ArrowRight: within(1), ArrowLeft: within(-1),
    };
    if (target === line.element)
      Object.assign(actions, {Enter: () => line.cell.edit(), Delete: () => this.#reset(line),
        e: () => line.name.click(), ' ': () => line.element.querySelector('[role=switch]')?.click()});
    return actions;
  }
}
