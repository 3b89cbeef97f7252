// A setting's value in its row: how it looks, and the editor that fits it. An editor shows what the telephone would say of the
// draft while it is entered, and stores it in two steps when other settings change with it.
import {path} from './api.js';
import {consequences, make, refusal, rehearse} from './change.js';
import {bytes, h, newId, timeElement, valueText, who} from './dom.js';
import {same} from './store.js';

const pause = 150; // ms without a key press before a draft is rehearsed

// ---- Kinds ----

export function kindOf(row) {
  if (row.type === 'bool')
    return row.value === null ? 'choice' : 'switch';
  if (row.isTable)
    return 'table';
  if (row.secret)
    return 'secret';
  if (row.words)
    return 'choice';
  if (row.type !== 'int')
    return 'text';
  const width = row.most - row.least;
  if (/volume/i.test(row.name) && width <= 10)
    return 'slider';
  return row.names && width <= 20 ? 'choice' : 'number';
}

const numbers = ({least, most}) => Array.from({length: most - least + 1}, (_, i) => least + i);

function options(row) {
  const named = number => (row.names?.[number] ? `${number} · ${row.names[number]}` : `${number}`);
  const texts = row.type === 'int' ? numbers(row).map(number => [number, named(number)])
    : (row.words ?? [true, false]).map(value => [value, valueText(value)]);
  return texts.map(([value, text]) => h('option', {value: `${value}`}, text));
}

const toNumber = text => (/^-?\d{1,15}$/.test(text.trim()) ? Number(text) : text.trim());

/// The persistent control of a switch or slider, which is face and editor in one.
const switchControl = row => h('button.switch', {type: 'button', role: 'switch', tabIndex: -1, 'aria-labelledby': `name-${row.tag}`});

function sliderControl(row) {
  return [h('input', {type: 'range', min: row.least, max: row.most, tabIndex: -1, 'aria-labelledby': `name-${row.tag}`}),
    h('span.scale', {'aria-hidden': 'true'}, numbers(row).map(number => h('i', {}, `${number}`)))];
}

const kinds = {
  switch: {
    face: switchControl,
    show: (control, value) => control.setAttribute('aria-checked', `${value === true}`),
    read: control => control.getAttribute('aria-checked') === 'true',
    isDirect: true,
  },
  slider: {
    face: sliderControl,
    show: (control, value) => {
      control.value = value;
      [...control.nextSibling.children].forEach(number => number.classList.toggle('on', number.textContent === `${value}`));
    },
    read: control => Number(control.value),
    isDirect: true,
  },
  choice: {
    make: row => h('select', {}, options(row)),
    read: (control, row) => (row.type === 'string' ? control.value : JSON.parse(control.value)),
  },
  number: {
    make: () => h('input', {type: 'text', inputMode: 'numeric', autocomplete: 'off'}),
    read: control => toNumber(control.value),
  },
  text: {
    make: () => h('input', {type: 'text', autocomplete: 'off', spellcheck: false}),
    read: control => control.value,
  },
  secret: {
    make: () => h('input', {type: 'password', autocomplete: 'new-password', placeholder: 'new value'}),
    read: control => control.value,
  },
};

// ---- Faces ----

const plainFace = h('button.face', {type: 'button', tabIndex: -1});

function namedFace({tag}) {
  const face = plainFace.cloneNode();
  face.id = `face-${tag}`;
  face.setAttribute('aria-labelledby', `name-${tag} face-${tag}`);
  return face;
}

/// How the row's value looks while it is not edited.
export function faceFor(row, app) {
  const kind = kindOf(row);
  let face;
  if (kinds[kind]?.isDirect)
    face = h(`div.direct.of-${kind}`, {}, kinds[kind].face(row));
  else if (kind === 'table')
    face = h('span.fixed', {}, 'a table');
  else if (app.session.readOnly)
    face = h('span.fixed', {});
  else
    face = namedFace(row);
  showFace(face, row, app);
  return face;
}

/// Shows the row's present value in its face.
export function showFace(face, row, app) {
  const kind = kindOf(row);
  if (kinds[kind]?.isDirect) {
    const control = face.firstChild;
    control.disabled = Boolean(app.session.readOnly);
    kinds[kind].show(control, row.value);
  } else if (kind !== 'table') {
    face.textContent = valueText(row.value, row);
    face.classList.toggle('dim', row.value === '' || row.value === null );
  }
}

// ---- Editors ----

/// Opens the editor in the row's cell; done() is called when it is over, whether or not something was stored.
export function editorFor(row, cell, app, done) {
  return new Editor(row, cell, app, done);
}

class Editor {
  #row;
  #app;
  #done;
  #kind;
  #control;
  #counter;
  #buttons;
  #notes;
  #others = null;   // who changed the setting meanwhile
  #shown;           // the draft whose consequences are shown
  #timer;
  #abort = new AbortController();
  #lastKey = '';
  #isBusy = false;

  constructor(row, cell, app, done) {
    [this.#row, this.#app, this.#done] = [row, app, done];
    this.#kind = kinds[kindOf(row)];
    this.base = row.value;
    this.#build(cell);
    this.#listen();
    this.#count();
  }

  focus() {
    this.#control.focus();
    this.#control.select?.();
  }

  /// Of a switch: stores the other value.
  toggle() {
    this.#kind.show(this.#control, !this.#kind.read(this.#control));
    this.store();
  }

  /// Of a slider: it was moved before its editor was there.
  moved() {
    this.#input();
  }

  /// Somebody else changed the setting: the draft stays, and people decide.
  conflict(mark) {
    if (!this.#isDraft() && !this.#kind.isDirect && !this.#row.secret)
      this.#control.value = `${this.#row.value}`;
    this.#others = this.#isDraft() ? mark : null;
    if (!this.#others)
      this.base = this.#row.value;
    this.#say();
  }

  cancel() {
    this.#abort.abort();
    clearTimeout(this.#timer);
    this.#done();
  }

  /// Rehearses the draft, then stores it, unless people must be shown or asked something before.
  async store({isSure = false} = {}) {
    const draft = this.#draft();
    if (this.#isBusy)
      return;
    if (!this.#isDraft())
      return this.cancel();
    if (this.#others && !isSure)
      return this.#notes.querySelector('.mine')?.focus();
    this.#isBusy = true;
    clearTimeout(this.#timer);
    try {
      const request = await this.#request(draft);
      const plan = await rehearse(request);
      if (same(this.#draft(), draft) && await this.#mayGo(plan, draft, isSure))
        this.#told(await make(this.#app, request, {yes: plan.wiped.length > 0}), draft);
    } finally {
      this.#isBusy = false;
    }
  }

  // ---- Elements ----

  #build(cell) {
    const {names, unit, least, most, longest} = this.#row;
    const id = newId('notes');
    this.#notes = h('div.notes', {id, 'aria-live': 'polite'});
    this.#buttons = h('span.buttons', {},
      h('button.primary', {type: 'button', onclick: () => this.store()}, 'Store'),
      this.#row.secret && this.#row.value !== '' && h('button', {type: 'button', onclick: () => this.#remove()}, 'Remove'),
      h('button', {type: 'button', onclick: () => this.cancel()}, 'Cancel'));
    if (this.#kind.isDirect) {
      this.#control = cell.firstChild.firstChild;
      this.#buttons.hidden = true;
      cell.append(this.#buttons, this.#notes);
    } else {
      this.#control = this.#kind.make(this.#row);
      this.#control.setAttribute('aria-labelledby', `name-${this.#row.tag}`);
      if (!this.#row.secret)
        this.#control.value = `${this.#row.value ?? ''}`;
      this.#counter = h('span.limits', {id: newId('limits')}, least != null && !names ? `${least} to ${most}${unit ? ` ${unit}` : ''}` : '');
      this.#control.setAttribute('aria-describedby', `${this.#counter.id} ${id}`);
      cell.replaceChildren(h('div.editor', {}, this.#control, this.#buttons, (longest || least != null) && this.#counter), this.#notes);
    }
    this.#control.classList.add('control');
  }

  #listen() {
    const control = this.#control;
    const signal = this.#abort.signal;
    const on = (type, listener) => control.addEventListener(type, listener, {signal});
    on('input', () => this.#input());
    on('change', () => {
      const byHand = !/^(Arrow|Page|Home|End|.$)/.test(this.#lastKey);
      if (byHand && (control.type === 'range' || control.type === 'select-one'))
        this.store();
    });
    on('pointerdown', () => this.#lastKey = '');
    on('keydown', event => {
      this.#lastKey = event.key === ' ' ? '' : event.key;
      if (event.key === 'Enter' && control.type !== 'button') {
        event.preventDefault();
        this.store();
      } else if (this.#kind === kinds.number && /^Arrow(Up|Down)$/.test(event.key))
        this.#step(event);
    });
    control.closest('.value').addEventListener('focusout', event => {
      if (!event.currentTarget.contains(event.relatedTarget) && document.hasFocus() && !this.#isBusy && !this.#isDraft())
        this.cancel();
    }, {signal});
  }

  #step(event) {
    const number = this.#kind.read(this.#control);
    const next = number + (event.key === 'ArrowUp' ? 1 : -1);
    event.preventDefault();
    if (typeof number !== 'number' || next < this.#row.least || next > this.#row.most)
      return;
    this.#control.value = `${next}`;
    this.#input();
  }

  // ---- The draft ----

  #draft() {
    return this.#kind.read(this.#control, this.#row);
  }

  #isDraft() {
    return this.#row.secret ? this.#draft() !== '' || this.isRemoval === true : !same(this.#draft(), this.#row.value ?? '');
  }

  async #request(draft) {
    if (this.#row.setBy === 'flags')
      return {method: 'PATCH', path: 'flags', body: {[await this.#app.store.flagWord(this.#row)]: draft}, isWithoutRehearsal: true};
    return {method: 'PUT', path: path`settings/${this.#row.name}`, body: {value: draft}};
  }

  #remove() {
    this.isRemoval = true;
    this.#control.value = '';
    this.store();
  }

  #input() {
    if (this.#kind.isDirect) {
      this.#kind.show(this.#control, this.#draft());
      this.#buttons.hidden = !this.#isDraft();
    }
    this.isRemoval = false;
    this.#count();
    clearTimeout(this.#timer);
    if (!this.#isDraft())
      return this.#say();
    this.#timer = setTimeout(async () => {
      const draft = this.#draft();
      const plan = await rehearse(await this.#request(draft), this.#abort.signal).catch(() => null);
      if (plan && same(this.#draft(), draft) && !this.#isBusy)
        this.#preview(plan, draft);
    }, pause);
  }

  #count() {
    const {longest, shortest, type} = this.#row;
    if (type !== 'string' || !this.#counter || this.#row.words)
      return;
    const length = bytes(this.#draft());
    this.#counter.textContent = longest > 999 && length < longest / 2 ? '' // Nobody gets near the limit by typing.
      : `${length} of ${longest} bytes${shortest > 0 ? `, at least ${shortest}` : ''}`;
    this.#counter.classList.toggle('over', length > longest || (length < shortest && this.#isDraft()));
  }

  // ---- What is said beside the field ----

  #say({why, more} = {}) {
    this.#control.setAttribute('aria-invalid', `${Boolean(why)}`);
    const isWaiting = Boolean(why || more || this.#others);
    if (this.#kind.isDirect)
      this.#buttons.hidden = !(isWaiting || this.#isDraft());
    this.#notes.replaceChildren(...[this.#others && this.#conflictNote(), why && h('p.error', {}, why), more].filter(Boolean));
  }

  #preview(plan, draft) {
    const more = consequences(this.#app, plan);
    this.#shown = more ? draft : undefined;
    this.#say({why: refusal(plan, this.#row.name), more});
  }

  #conflictNote() {
    const theirs = valueText(this.#row.value, this.#row);
    return h('div.conflict', {role: 'alert'},
      h('p', {}, `Changed meanwhile to `, h('b', {}, theirs), `: ${who(this.#others)}, `, timeElement(this.#others.time)),
      h('span.buttons', {}, h('button', {type: 'button', onclick: () => this.cancel()}, 'Take theirs'),
        h('button.mine', {type: 'button', onclick: () => this.store({isSure: true})}, 'Store mine')));
  }

  // ---- Storing ----

  /// Whether nothing is left to be shown or asked.
  async #mayGo(plan, draft, isSure) {
    const old = plan.items.find(({item}) => item === this.#row.name)?.old;
    if (!isSure && !this.#row.secret && old !== undefined && !same(old, this.base)) {
      this.#row.value = old; // Its event is still on its way.
      this.conflict({user: 'somebody else', time: new Date().toISOString()});
      return false;
    }
    const why = refusal(plan, this.#row.name);
    const more = consequences(this.#app, plan);
    const wasShown = same(this.#shown, draft);
    if (why || (more && !wasShown && !plan.wiped.length)) {
      this.#preview(plan, draft);
      if (why || this.#kind.isDirect)
        this.#control.focus();
      return false;
    }
    return !plan.wiped.length || this.#app.ask({title: `Change ${this.#row.name}?`, body: more, yes: 'Change and wipe', danger: true});
  }

  #told(made, draft) {
    const why = refusal(made, this.#row.name);
    if (why)
      return this.#say({why});
    const {old, new: value = draft, reason} = made.items[0] ?? {};
    const row = this.#row;
    this.cancel();
    const undo = {method: 'PUT', path: path`settings/${row.name}`, body: {value: old}};
    const isUndone = !row.secret && row.setBy === 'set' && old !== null && old !== undefined && !made.wiped.length;
    this.#app.toast(`${row.name} is ${row.secret ? 'stored' : valueText(value, row)}${row.secret ? '' : ' now'}.${reason ? ` ${reason}` : ''}`,
      {action: isUndone && {text: 'Undo', run: () => this.#app.change(undo, {title: `Undo ${row.name}?`, yes: 'Undo'})}});
  }
}
