// Who changed what, and when; everything in it can be taken back.
import {api} from './api.js';
import {count, h, timeElement, who} from './dom.js';
import {step} from './change.js';
import {badge, itemLink, preview} from './outcomes.js';

const page = 50;     ///< so many entries more at a time
const brief = 6;     ///< so many changes of an entry are seen at once

export async function show(main, {query}, app) {
  let limit = page;
  let timer;
  const entries = new Map();    // Elements by number, so that an open preview stays when something new comes.
  const filter = h('input', {id: 'history-filter', type: 'search', value: query.get('item') ?? '', oninput: () => soon(200)});
  const list = h('ol.history', {});
  const place = h('div', {});
  const more = h('button', {type: 'button', hidden: true, onclick: () => { limit += page; load(); }}, 'Show earlier changes');
  const state = h('p.dim', {role: 'status'});
  main.append(
    h('div.head', {}, h('h1', {}, 'History')),
    h('div.tools', {}, h('label', {htmlFor: filter.id}, 'Only settings with'), filter,
      h('button', {type: 'button', onclick: () => undo(place, {})}, 'Undo the last change')),
    place, state, list, more);

  const undo = (where, body) =>
    preview(where, app, {method: 'POST', path: 'undo', body}, {title: 'Take it back', done: () => soon(0)});
  const soon = pause => {
    clearTimeout(timer);
    timer = setTimeout(load, pause);
  };

  async function load() {
    const answer = await api('GET', 'history', {query: {limit: limit + 1, item: filter.value.trim()}}).catch(problem => problem);
    const all = answer.history ?? [];
    state.textContent = answer instanceof Error ? answer.message : all.length ? '' : 'Nothing has been changed yet.';
    more.hidden = all.length <= limit;
    list.replaceChildren(...all.slice(-limit).reverse().map(entry => {
      const element = entries.get(entry.number) ?? entryElement(entry);
      if (entry.number !== null)
        entries.set(entry.number, element);
      return element;
    }));
  }

  function entryElement({number, changes, ...entry}) {
    const where = h('div', {});
    const lines = changes.map(line => changeLine(app, line));
    const rest = lines.splice(brief);
    const isStored = number !== null && changes.some(({result}) => result === 'stored');
    return h('li', {},
      h('div.entry', {}, h('span.number', {}, number === null ? '–' : `${number}`), h('span.who', {}, who(entry)), timeElement(entry.time),
        isStored && h('button', {type: 'button', ariaLabel: `Undo change ${number}`, onclick: () => undo(where, {number})}, 'Undo')),
      h('ul.changes', {}, lines),
      rest.length > 0 && h('details', {}, h('summary', {}, `${count(rest.length, 'change')} more`), h('ul.changes', {}, rest)),
      where);
  }

  app.live(() => soon(150));
  await load();
  return {leave: () => clearTimeout(timer)};
}

function changeLine(app, {item, old, new: value, result, reason, cause}) {
  const why = {rule: 'by a rule', hardware: 'by the hardware'}[cause];
  return h('li', {}, itemLink(item), ' ', step(app, item, old, value), ' ', result !== 'stored' && badge(result),
    why && h('span.dim', {}, why), reason && h('small', {}, reason));
}
