// What surrounds the settings: device profile, flag file, country, the user's data, and the way back to the defaults.
import {api} from './api.js';
import {make, refusal} from './change.js';
import {h, valueText} from './dom.js';
import {toggle} from './fields.js';
import {itemLink, preview} from './outcomes.js';

const models = [['other', 'Another model'], ['entry', 'Entry model'], ['top', 'Top model']];
const resets = [
  ['Audio settings', 'The audio settings of the user', {what: 'audio'}],
  ['User data', 'Everything that follows the user', {what: 'user-data'}],
  ['Everything', 'Every setting that the telephone keeps', {all: true}],
];

export async function show(main, params, app) {
  const cards = h('div.cards', {});
  main.append(h('div.head', {}, h('h1', {}, 'Telephone')), cards);

  /// A labelled control that stores what it is set to by `act`; afterwards all is shown anew.
  function control(label, element, act, note) {
    element.id = `telephone-${label.replace(/\W/g, '-')}`;
    element.disabled = app.session.readOnly;
    element.addEventListener(element.role === 'switch' ? 'click' : 'change', async () => {
      const made = await act();
      const why = made && refusal(made);
      if (made)
        app.toast(why ?? `${label} is stored.`, {isError: Boolean(why)});
      await load();
      document.getElementById(element.id)?.focus();
    });
    return h('div.field', {}, h('label', {htmlFor: element.id}, label, note && h('small', {}, note)), element);
  }

  const put = (path, body) => make(app, {method: 'PUT', path, body});

  const select = (options, current) =>
    h('select', {}, options.map(([value, text]) => h('option', {value, selected: value === current}, text)));

  function device({model, usb}) {
    const kind = select(models, model);
    let hasUsb = usb;
    const port = toggle({}, usb, isOn => hasUsb = isOn);
    return card('Device profile',
      control('Model', kind, () => put('device', {model: kind.value})),
      control('USB', port, () => put('device', {usb: hasUsb})),
      h('p.dim', {}, 'What the hardware can do: it hides rows of the tables.'));
  }

  function country({code, number, region}) {
    const field = h('input', {type: 'text', value: code?.length === 2 ? code : '', maxLength: 2, size: 4, autocapitalize: 'characters', spellcheck: false});
    return card('Country',
      control('Code', field, () => put('country', {code: field.value.toUpperCase()}), 'two letters, as of ISO 3166-1'),
      h('p.dim', {}, number === null && 'No known country. ', `Region ${region}`));
  }

  function flags(list) {
    return card('Flag file', list.map(({flag, tag, value, line}) => {
      const choice = select([['', `no line (${valueText(value)})`], ['true', 'on'], ['false', 'off']], line === null ? '' : `${value}`);
      const help = app.store.rows.find(row => row.tag === tag)?.help;
      const body = () => ({[flag]: choice.value ? choice.value === 'true' : null});
      return control(flag, choice, () => app.change({method: 'PATCH', path: 'flags', body: body()}, {title: `Change ${flag}?`}), help);
    }));
  }

  function mobility({mobility: {announced}, types, waiting}) {
    const kind = select(types.map(({type}) => [type, type || 'nothing']), announced ?? '');
    return card('The user’s data',
      control('Announced', kind, () => app.change({method: 'POST', path: 'mobility', body: {type: kind.value}}, {title: `Announce ${kind.value}?`}),
        types.find(({type}) => type === (announced ?? '')).meaning),
      waiting.length > 0 && h('p', {}, 'Waits to be pushed: ', waiting.flatMap(({item}) => [itemLink(item), ' '])));
  }

  function reset() {
    const place = h('div', {});
    return card('Back to the defaults', resets.map(([title, what, body]) =>
      h('div.field', {}, h('span', {}, title, h('small', {}, what)),
        h('button', {type: 'button', disabled: app.session.readOnly, ariaLabel: `Reset: ${title}`,
          onclick: () => preview(place, app, {method: 'POST', path: 'reset', body}, {title: 'Reset'})}, 'Reset …'))), place);
  }

  const kept = reset();    // So that its preview stays when a flag is changed.
  async function load() {
    const [one, two, three, four] = await Promise.all(['device', 'country', 'mobility', 'flags'].map(what => api('GET', what)));
    cards.replaceChildren(device(one.device), country(two.country), mobility(three), flags(four.flags), kept);
  }
  await load();
}

const card = (title, ...content) => h('section.card', {ariaLabel: title}, h('h2', {}, title), ...content);
