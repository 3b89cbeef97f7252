// What differs from the defaults, or from a file, with each difference one step from going.
import {api} from './api.js';
import {settingRequest} from './change.js';
import {count, h, valueText} from './dom.js';
import {dropZone} from './drop.js';
import {itemLink} from './outcomes.js';

export async function show(main, params, app) {
  let other;    // the file's text; nothing: the defaults
  let from;     // its name
  let timer;
  const place = h('div', {});
  const state = h('p.dim', {role: 'status'});
  const back = h('button', {type: 'button', hidden: true, onclick: () => compare()}, 'Compare with the defaults again');
  main.append(
    h('div.head', {}, h('h1', {}, 'Compare')),
    h('p.lead', {}, 'What this telephone has otherwise than the defaults or than a file.'),
    dropZone(compare),
    h('div.tools', {}, back, h('a.button', {href: 'api/v1/export', download: 'telephone.json'}, 'Save this telephone as a file')),
    state, place);

  async function compare(text, name = 'the defaults') {
    other = text;
    back.hidden = !text;
    from = name;
    await load();
  }

  async function load() {
    const answer = await api(other ? 'POST' : 'GET', 'diff', {body: other}).catch(problem => problem);
    if (answer instanceof Error)
      return place.replaceChildren(h('p.note.error', {role: 'alert'}, answer.message));
    const {differences, missingSecrets = []} = answer;
    state.textContent = `${count(differences.length, 'difference')} from ${from}`;
    const families = app.store.families.map(family => [family, differences.filter(({item}) => app.store.row(item)?.family === family.family)]);
    const rest = differences.filter(({item}) => !app.store.row(item));
    const at = [...place.querySelectorAll('button')].indexOf(document.activeElement);
    place.replaceChildren(...[
      differences.length > 0 && h('table.differences', {},
        h('thead', {}, h('tr', {}, ['Setting', other ? 'File' : 'Default', 'Here'].map(title => h('th', {scope: 'col'}, title)), h('td', {}))),
        [...families, [{title: 'Others'}, rest]].filter(([, lines]) => lines.length).map(([family, lines]) => h('tbody', {},
          h('tr', {}, h('th', {scope: 'rowgroup', colSpan: 4}, family.title)), lines.map(row)))),
      missingSecrets.length > 0 && h('p.dim', {}, `The file does not have ${count(missingSecrets.length, 'secret')}.`),
    ].filter(Boolean));
    place.querySelectorAll('button')[at]?.focus();
  }

  function row({item, other: theirs, here}) {
    const known = app.store.row(item);
    const canTake = known && !known.isTable && !known.secret && theirs !== null && !app.session.readOnly;
    const word = other ? 'Take' : 'Reset';
    const take = canTake && h('button', {type: 'button', ariaLabel: `${word} ${item}`,
      onclick: async () => await app.change(await settingRequest(app, known, other && theirs), {title: `${word} ${item}?`, yes: word}) && load()}, word);
    return h('tr', {}, h('th', {scope: 'row'}, itemLink(item)), h('td', {}, valueText(theirs, known)), h('td', {}, valueText(here, known)), h('td', {}, take));
  }

  app.live(() => {
    clearTimeout(timer);
    timer = setTimeout(load, 150);
  });
  await compare();
  return {leave: () => clearTimeout(timer)};
}
