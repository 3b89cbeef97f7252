// All settings as the page knows them: loaded once, kept right by the event stream. A row is what the list of the interface says
// of a setting, with what an editor needs worked out.
import {api} from './api.js';

export class Store extends EventTarget {
  rows = [];          ///< in the catalogue's order
  families = [];      ///< {name, title} in the catalogue's order
  #byName = new Map();
  #asking = 0;        ///< changes of this page that are not answered yet
  #waiting = [];      ///< events that may be theirs
  #loads = new Set(); ///< for each load that is not answered yet, what has changed meanwhile: its answer may be older
  #flags;

  /// Reads all settings; of those that are known already it takes the values. Tells 'change' for each that has become another.
  async load() {
    const meanwhile = new Map();
    this.#loads.add(meanwhile);
    try {
      const [list, groups] = await Promise.all([api('GET', 'settings'), this.families.length ? null : api('GET', 'groups')]);
      this.families = groups?.families ?? this.families;
      list.items.forEach(item => this.#learn(item, meanwhile.get(item.item)));
    } finally {
      this.#loads.delete(meanwhile);
    }
  }

  row(name) {
    return this.#byName.get(name);
  }

  /// The word by which the flag file knows the row.
  async flagWord(row) {
    this.#flags ??= api('GET', 'flags');
    return (await this.#flags).flags.find(({tag}) => tag === row.tag).flag;
  }

  /// A line of the event stream. What comes while this page waits for an answer may be its own doing, which the answer says.
  apply(change) {
    this.#loads.forEach(meanwhile => meanwhile.set(change.item, change));
    if (this.#asking && change.door === 'page')
      this.#waiting.push(change);
    else
      this.#hear(change);
  }

  /// Runs `request`, a function that makes a change of this page, and takes over what its answer says was stored.
  async own(request) {
    this.#asking += 1;
    try {
      const result = await request();
      this.#take(result.report);
      return result;
    } finally {
      this.#asking -= 1;
      if (!this.#asking)
        this.#waiting.splice(0).forEach(change => this.#hear(change));
    }
  }

  #learn(item, change) {
    const row = this.#byName.get(item.item);
    if (!row) {
      this.#add(item);
      if (change)
        this.#hear(change);
    } else if (row.value !== item.value && !change)
      this.#become(row, item.value, null);
  }

  #take(answer) {
    const stored = (answer.items ?? []).filter(({result}) => !result || ['stored', 'taken'].includes(result));
    for (const {item, new: value} of [...stored, ...answer.alsoChanged ?? [], ...answer.changed ?? []]) {
      this.#loads.forEach(meanwhile => meanwhile.set(item, {}));
      this.#become(this.#byName.get(item), value, {isOwn: true, time: new Date().toISOString()});
    }
  }

  #hear(change) {
    const row = this.#byName.get(change.item);
    const isOwn = row?.mark?.isOwn && !('number' in row.mark) && row.value === change.new;
    if (!isOwn)
      this.#become(row, change.new, {...change, time: change.time ?? new Date().toISOString()});
    else
      Object.assign(row.mark, change);
  }

  #become(row, value, mark) {
    if (!row)
      return;
    const old = row.value;
    row.value = value;
    row.isChanged = differs(row);
    row.mark = mark ?? row.mark;
    this.dispatchEvent(new CustomEvent('change', {detail: {row, old, mark}}));
  }

  #add(item) {
    const row = {...item, name: item.item, mark: null, isTable: item.type === 'complex'};
    const names = Object.values(row.names ?? {});
    row.namesDiffer = new Set(names).size === names.length;
    row.shortest = Number(/text of (\d+) to/.exec(item.accepted)?.[1] ?? 0);
    row.isChanged = differs(row);
    this.#byName.set(row.name, row);
    this.rows.push(row);
  }
}

const differs = row => !row.isTable && row.value !== null && row.value !== row.default;

