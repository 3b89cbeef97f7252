// Where a value comes from, layer by layer, and everything that the catalogue says of its setting.
import {api, path as at} from './api.js';
import {h, timeElement, valueText} from './dom.js';
import {itemLink} from './outcomes.js';

export async function show(main, params, app) {
  let item;
  const names = h('datalist', {id: 'explain-names'});
  const field = h('input', {type: 'text', id: 'explain-item', autocomplete: 'off', spellcheck: false, list: names.id});
  const search = event => {
    event.preventDefault();
    app.go(`#explain/${encodeURIComponent(field.value.trim())}`);
  };
  const place = h('div', {'aria-live': 'polite'});
  main.append(
    h('div.head', {}, h('h1', {}, 'Explain')),
    h('p.lead', {}, 'Which of management service, database, flag file and rules decides a value, and why.'),
    h('form.tools', {onsubmit: search}, h('label', {htmlFor: field.id}, 'Setting'), field, names, h('button.primary', {}, 'Explain')),
    place);
  field.addEventListener('focus', () => names.childElementCount || names.append(...app.store.rows.map(({name}) => h('option', {value: name}))));

  async function load() {
    if (!item)
      return place.replaceChildren();
    try {
      const [explained, described] = await Promise.all(['explanation', 'description'].map(what => api('GET', at`settings/${item}/` + what)));
      place.replaceChildren(...content(app, explained, described.item));
    } catch (problem) {
      const near = (problem.report?.errors ?? []).flatMap(({suggestions = []}) => suggestions);
      place.replaceChildren(h('p.note.error', {role: 'alert'}, problem.message), h('ul', {}, near.map(name => h('li', {}, itemLink(name)))));
    }
  }

  async function update({path}) {
    [item] = path;
    field.value = item ?? '';
    await load();
  }

  app.live(change => change.item === item && load());
  await update(params);
  return {update};
}

function content(app, {item, layers}, about) {
  const row = app.store.row(item.item) ?? about;
  const facts = {
    Accepted: about.accepted,
    Default: valueText(about.default, row),
    Unit: about.unit,
    Type: about.type,
    Owner: about.owner,
    'Kept in': item.keptIn,
    'Follows the user': about.userData ? 'yes' : 'no',
    Table: about.table,
    'Checked together with': about.group,
    Management: about.managementItem && [about.managementItem, about.subItem].filter(Boolean).join('/'),
    'Other names': about.aliases.filter(name => name !== about.item).join(', '),
  };
  return [
    h('section.card.value', {},
      h('h2', {}, item.item),
      h('p', {}, about.help),
      h('p.big', {}, valueText(item.value, row)),
      h('p', {}, `From the ${item.from ?? 'library'}: ${item.why}.`),
      item.hidden && h('p.note', {}, `Hidden: ${item.hidden}.`),
      item.causedBy?.length > 0 && h('p', {}, 'Made by ', item.causedBy.flatMap(cause => [itemLink(cause), ' '])),
      item.lastChange && h('p', {}, 'Last changed ', timeElement(item.lastChange.time), ` with ${item.lastChange.who}. `,
        h('a', {href: `#history?item=${encodeURIComponent(item.item)}`}, 'Its history'))),
    h('h2', {}, 'Layers, the strongest one first'),
    h('ol.layers', {}, layers.map(layer => h(`li${layer.wins ? '.wins' : ''}`, {},
      h('strong', {}, layer.layer), h('span.holds', {}, layer.holds === null ? '–' : valueText(layer.holds, row)),
      h('span.reason', {}, layer.reason), layer.wins && h('span.result.stored', {}, 'decides')))),
    h('h2', {}, 'The setting'),
    h('dl.facts', {}, Object.entries(facts).filter(([, fact]) => fact).flatMap(([title, fact]) => [h('dt', {}, title), h('dd', {}, fact)])),
  ];
}
