// The editor of a value. It says what the telephone would say of the draft while it is entered, stores it in two steps when other
// settings change with it, and keeps it when somebody else changes the setting.
import {consequences, make, refusal, rehearse, settingRequest} from './change.js';
import {bytes, h, newId, timeElement, valueText, who} from './dom.js';

const pause = 150; // ms without a key press before a draft is rehearsed

const button = (name, text, onclick) => h(name, {type: 'button', onclick}, text);

export class Editor {
  #row;
  #kind;
  #app;
  #done;
  #control;
  #limits;
  #buttons;
  #notes;
  #base;             // the value on which the draft is based
  #others = null;    // who changed the setting meanwhile
  #shown;            // the draft whose consequences are shown
  #isRemoval = false;
  #isBusy = false;
  #lastKey = '';
  #timer;
  #ends = new AbortController();

  /// `kind` is one of values.js; done() is called when it is over, whether or not something was stored.
  constructor(row, kind, cell, app, done) {
    [this.#row, this.#kind, this.#app, this.#done, this.#base] = [row, kind, app, done, row.value];
    this.#build(cell);
    this.#listen(cell);
    this.#count();
  }

  focus() {
    this.#control.focus();
    this.#control.select?.();
  }

  /// Of a switch: stores the other value.
  toggle() {
    this.#kind.show(this.#control, !this.#draft());
    this.store();
  }

  /// Somebody else changed the setting: a draft stays, and people decide.
  conflict(mark) {
    this.#others = this.#isDraft() || this.#row.secret ? mark : null;
    if (!this.#others)
      this.#base = this.#row.value;
    this.#say();
  }

  cancel() {
    this.#ends.abort();
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
      return this.#notes.querySelector('.mine').focus();
    this.#isBusy = true;
    clearTimeout(this.#timer);
    try {
      const request = await settingRequest(this.#app, this.#row, draft);
      const plan = await rehearse(request);
      if (this.#draft() === draft && await this.#mayGo(plan, draft, isSure))
        this.#made(await make(this.#app, request, {yes: plan.wiped.length > 0}), draft);
    } catch (problem) {
      this.#say({why: problem.message});
    } finally {
      this.#isBusy = false;
    }
  }

  // ---- Elements ----

  #build(cell) {
    const {tag, names, unit, least, most, longest, secret, value} = this.#row;
    this.#notes = h('div.notes', {id: newId(), 'aria-live': 'polite'});
    this.#limits = h('span.limits', {id: newId()}, least != null && !names ? `${least} to ${most}${unit ? ` ${unit}` : ''}` : '');
    this.#buttons = h('span.buttons', {}, button('button.primary', 'Store', () => this.store()),
      secret && value !== '' && button('button', 'Remove', () => this.#remove()), button('button', 'Cancel', () => this.cancel()));
    if (this.#kind.face) {
      this.#control = cell.querySelector('.direct > *');
      this.#buttons.hidden = true;
      cell.append(this.#buttons, this.#notes);
    } else {
      this.#control = this.#kind.make(this.#row);
      this.#control.value = secret ? '' : `${value ?? ''}`;
      this.#control.setAttribute('aria-labelledby', `name-${tag}`);
      cell.replaceChildren(h('div.editor', {}, this.#control, this.#buttons, (longest ?? least) != null && this.#limits), this.#notes);
    }
    this.#control.setAttribute('aria-describedby', `${this.#limits.id} ${this.#notes.id}`);
  }

  #listen(cell) {
    const {signal} = this.#ends;
    const on = (type, listener) => this.#control.addEventListener(type, listener, {signal});
    on('input', () => this.moved());
    on('pointerdown', () => this.#lastKey = '');
    on('keydown', event => this.#key(event));
    on('change', ({target}) => { // Chosen by hand it is meant; the keys pass over what is not.
      if (/range|select/.test(target.type) && !/^(Arrow|Page|Home|End|[^ ]$)/.test(this.#lastKey))
        this.store();
    });
    cell.addEventListener('focusout', ({relatedTarget}) => {
      if (!cell.contains(relatedTarget) && document.hasFocus() && !this.#isBusy && !this.#isDraft() && !this.#others)
        this.cancel();
    }, {signal});
  }

  #key(event) {
    this.#lastKey = event.key;
    const step = this.#kind.hasSteps && {ArrowUp: 1, ArrowDown: -1}[event.key];
    if (event.key === 'Enter' && this.#control.type !== 'button')
      this.store();
    else if (step)
      this.#step(this.#draft() + step);
    else
      return;
    event.preventDefault();
  }

  #step(number) {
    if (number < this.#row.least || number > this.#row.most || typeof number !== 'number')
      return;
    this.#control.value = `${number}`;
    this.moved();
  }

  // ---- The draft ----

  #draft() {
    return this.#kind.read(this.#control, this.#row);
  }

  #isDraft() {
    return this.#row.secret ? this.#isRemoval || this.#draft() !== '' : this.#draft() !== (this.#row.value ?? '');
  }

  #remove() {
    this.#isRemoval = true;
    this.#control.value = '';
    this.store();
  }

  /// The draft has become another. Called from outside for a slider that was moved before its editor was there.
  moved() {
    this.#isRemoval = false;
    this.#kind.show?.(this.#control, this.#draft());
    this.#count();
    this.#say();
    clearTimeout(this.#timer);
    if (!this.#isDraft())
      return;
    this.#timer = setTimeout(async () => {
      const draft = this.#draft();
      const plan = await rehearse(await settingRequest(this.#app, this.#row, draft), this.#ends.signal).catch(() => null);
      if (plan && this.#draft() === draft && !this.#isBusy)
        this.#preview(plan, draft);
    }, pause);
  }

  #count() {
    const {longest, shortest, words} = this.#row;
    if (!longest || words)
      return;
    const length = bytes(this.#draft());
    this.#limits.textContent = longest > 999 && length < longest / 2 ? '' // Nobody gets near the limit by typing.
      : `${length} of ${longest} bytes${shortest > 0 ? `, at least ${shortest}` : ''}`;
    this.#limits.classList.toggle('over', length > longest || length < shortest);
  }

  // ---- What is said beside the field ----

  #say({why, more} = {}) {
    this.#control.setAttribute('aria-invalid', `${Boolean(why)}`);
    if (this.#kind.face)
      this.#buttons.hidden = !this.#isDraft();
    this.#notes.replaceChildren(...[this.#others && this.#conflictNote(), why && h('p.error', {}, why), more].filter(Boolean));
  }

  #preview(plan, draft) {
    const more = consequences(this.#app, plan);
    this.#shown = more ? draft : undefined;
    this.#say({why: refusal(plan, this.#row.name), more});
  }

  #conflictNote() {
    return h('div.conflict', {role: 'alert'},
      h('p', {}, 'Changed meanwhile to ', h('b', {}, valueText(this.#row.value, this.#row)), `: ${who(this.#others)}, `,
        timeElement(this.#others.time)),
      h('span.buttons', {}, button('button', 'Take theirs', () => this.cancel()),
        button('button.mine', 'Store mine', () => this.store({isSure: true}))));
  }

  // ---- Storing ----

  /// Whether nothing is left to be shown or asked.
  async #mayGo(plan, draft, isSure) {
    const old = plan.items.find(({item}) => item === this.#row.name)?.old;
    if (!isSure && !this.#row.secret && old !== undefined && old !== this.#base) {
      this.#row.value = old; // Its event is still on its way.
      this.conflict({user: 'somebody else', time: new Date().toISOString()});
      return false;
    }
    const why = refusal(plan, this.#row.name);
    const more = consequences(this.#app, plan);
    if (why || (more && this.#shown !== draft && !plan.wiped.length)) {
      this.#preview(plan, draft);
      if (!why && this.#control.type === 'button') // Its own keys would switch it back.
        this.#buttons.firstChild.focus();
      return false;
    }
    return !plan.wiped.length || this.#app.ask({title: `Change ${this.#row.name}?`, body: more, yes: 'Change and wipe', danger: true});
  }

  #made(made, draft) {
    const row = this.#row;
    const why = refusal(made, row.name);
    if (why)
      return this.#say({why});
    const {old, new: value = draft, reason} = made.items[0] ?? {};
    this.cancel();
    const undo = async () => this.#app.change(await settingRequest(this.#app, row, old), {title: `Undo ${row.name}?`, yes: 'Undo'});
    const canUndo = old != null && !row.secret && !made.wiped.length;
    this.#app.toast([row.name, 'is', row.secret ? 'stored.' : `${valueText(value, row)} now.`, reason].filter(Boolean).join(' '),
      {action: canUndo && {text: 'Undo', run: undo}});
  }
}
