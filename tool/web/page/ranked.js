// A table whose rows have ranks: put in order by hand, rehearsed with each step, stored as one change.
import {api, path} from './api.js';
import {make, refusal, rehearse} from './change.js';
import {count, h, newId, valueText} from './dom.js';
import {choice, toggle} from './fields.js';
import {makeOrderable} from './order.js';

export class RankedTable {
  #table;
  #app;
  #say;
  #rows = [];       ///< as the telephone has them, in the order of their ranks
  #staged = [];     ///< as they stand on the page
  #turn = 0;        ///< of the latest rehearsal
  #list = h('ol.ranked', {});
  #plan = h('div', {});
  #foot = h('div.staged', {hidden: true}, this.#plan, h('div.buttons', {},
    h('button.primary', {type: 'button', onclick: () => this.#store()}, 'Store'),
    h('button', {type: 'button', onclick: () => this.#restore()}, 'Discard')));

  /// `table` is {name, title, cells, choice, word, count, size}: its name, what its cells' names begin with, the column of what a row
  /// stands for, what that is called, how many there are, the column that is one for all of them. say(text) tells it to those who do not see it.
  constructor(table, app, say) {
    this.#table = table;
    this.#app = app;
    this.#say = say;
    const id = newId();
    this.#list.setAttribute('aria-labelledby', id);
    this.element = h('section.card', {id: `table-${table.name}`, 'aria-labelledby': id}, h('h2', {id}, table.title), this.#list, this.#foot, table.size && this.#size(table.size));
    makeOrderable(this.#list, (entry, place) => this.#moved(entry, place), () => this.#check());
    let timer;
    app.live(({item}) => {
      if (!item.startsWith(`${table.cells}[`) && app.store.row(item)?.family !== 'flags')
        return;
      clearTimeout(timer);
      timer = setTimeout(() => this.#heard().catch(() => {}), 50); // Without a connection the next change tells.
    });
  }

  /// Takes the rows from the telephone; what was staged is gone.
  async load() {
    this.#rows = await this.#read();
    this.#restore();
  }

  async #read() {
    const rows = (await api('GET', path`tables/${this.#table.name}`))[this.#table.name];
    await Promise.all(rows.filter(row => !row.hardware).map(async row => {
      const {item} = await api('GET', path`settings/${this.#cell(row, this.#table.choice)}/explanation`);
      row.reason = item.hidden;
    }));
    return rows;
  }

  #cell(row, column) {
    return `${this.#table.cells}[${row.row}]/${column}`;
  }

  #choice(row) {
    return row[this.#table.choice];
  }

  #title(row) {
    return row.means ? valueText(this.#choice(row), this.#app.store.row(this.#cell(row, this.#table.choice)))
      : `${this.#table.word} ${this.#choice(row)}`;
  }

  #restore() {
    this.#list.replaceChildren(...this.#rows.map(row => this.#entry({...row})));
    this.#number();
    this.#check();
  }

  #entry(row) {
    const title = this.#title(row);
    const {readOnly: disabled} = this.#app.session;
    const allowed = toggle({ariaLabel: `${title} is allowed`, title: 'Allowed', disabled}, row.allowed, isOn => {
      row.allowed = isOn;
      this.#check();
    });
    const reason = !row.hardware && h('small', {id: newId()}, row.reason ?? 'The hardware does not have it');
    const handle = h('button.handle', {type: 'button', disabled, title: 'Drag, or press the arrow keys', 'aria-describedby': reason ? reason.id : null});
    const entry = h('li', {}, handle, h('span.rank', {ariaHidden: 'true'}), h('span.choice', {}, title, reason), allowed);
    entry.row = row;
    entry.classList.toggle('unusable', !row.hardware);
    return entry;
  }

  #size(column) {
    const cells = Array.from({length: this.#table.count}, (_, i) => this.#cell({row: i + 1}, column));
    const {most} = this.#app.store.row(cells[0]);
    return choice(this.#app, cells, 'Packet size of all', Array.from({length: most + 1}, (_, i) => `${i}`)).parentNode;
  }

  #moved(entry, place) {
    this.#number();
    this.#say(`${this.#title(entry.row)} is now ${place + 1} of ${this.#staged.length}`);
  }

  #number() {
    const entries = [...this.#list.children];
    this.#staged = entries.map(entry => entry.row);
    entries.forEach((entry, i) => {
      entry.querySelector('.rank').textContent = i + 1;
      entry.querySelector('.handle').ariaLabel = `Move ${this.#title(entry.row)}, ${i + 1} of ${entries.length}`;
    });
  }

  /// What is staged and differs from what is there, by item. What a row stands for tells which it is: ranks move it.
  #values() {
    return Object.fromEntries(this.#staged.flatMap((row, i) => {
      const old = this.#rows.find(other => this.#choice(other) === this.#choice(row)) ?? row;
      return Object.entries({rank: i + 1, allowed: row.allowed}).filter(([column, value]) => value !== old[column])
        .map(([column, value]) => [this.#cell(old, column), value]);
    }));
  }

  #request() {
    return {method: 'PATCH', path: 'settings', query: {atomic: 1}, body: this.#values()};
  }

  /// Says what storing would do, for what is staged now.
  async #check() {
    for (const entry of this.#list.children)
      entry.classList.toggle('off', !entry.row.allowed);
    const number = Object.keys(this.#values()).length;
    const turn = ++this.#turn;
    this.#foot.hidden = !number;
    if (!number)
      return this.#foot.querySelector('.conflict')?.remove();
    const why = refusal(await rehearse(this.#request()));
    if (turn !== this.#turn)
      return;
    this.#plan.replaceChildren(why ? h('p.refusal', {role: 'alert'}, why) : h('p', {}, `${count(number, 'cell')} would change.`));
    this.#foot.querySelector('button').disabled = Boolean(why);
  }

  async #store() {
    const made = await make(this.#app, this.#request());
    const why = refusal(made);
    if (why)
      return this.#plan.replaceChildren(h('p.refusal', {role: 'alert'}, why));
    await this.load().catch(() => {}); // It is stored all the same.
    this.#say(`${this.#table.title}: stored`);
    this.#list.querySelector('.handle').focus();
  }

  /// The table has changed: what is staged stays, and people are told.
  async #heard() {
    if (!Object.keys(this.#values()).length)
      return this.load();
    const old = JSON.stringify(this.#rows);
    this.#rows = await this.#read();
    if (JSON.stringify(this.#rows) === old)
      return;
    if (!this.#foot.querySelector('.conflict'))
      this.#foot.prepend(h('p.conflict', {role: 'alert'}, 'This table has been changed meanwhile. ',
        h('button', {type: 'button', onclick: () => this.#restore()}, 'Take what is there')));
    this.#check();
  }
}
