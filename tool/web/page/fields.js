// Settings as labelled fields of a form, with the faces and editors that they have in the list.
import {flash, h, newId} from './dom.js';
import {ValueCell} from './values.js';

/// The field of a setting, without its label: it needs an element with the id `name-TAG`.
export function fieldOf(app, name) {
  const row = app.store.row(name);
  const element = h('div.value', {});
  const cell = new ValueCell(row, element, app, {done: hadFocus => hadFocus && cell.control?.focus()});
  for (const type of ['click', 'input', 'keydown'])
    element.addEventListener(type, cell);
  app.on(app.store, 'change', ({detail}) => {
    if (detail.row !== row)
      return;
    cell.changed(detail.mark);
    if (detail.mark && !detail.mark.isOwn)
      flash(element);
  });
  return element;
}

const labelled = (app, name, label) =>
  h('div.field', {}, h('span.label', {id: `name-${app.store.row(name).tag}`, title: app.store.row(name).help}, label), fieldOf(app, name));

/// `fields` are [name, label].
export const fieldList = (app, fields) => h('div.fields', {}, fields.map(([name, label]) => labelled(app, name, label)));

/// The same, folded away below a title; the fields are made when it is opened.
export function foldedFields(app, title, fields) {
  const details = h('details', {}, h('summary', {}, title));
  details.addEventListener('toggle', () => details.append(fieldList(app, fields)), {once: true});
  return details;
}

/// A select among texts[0], texts[1] ... whose number is stored as the value of all `names`, after people were shown what else
/// changes. It stands in a field with its label.
export function choice(app, names, label, texts) {
  const id = newId();
  const row = app.store.row(names[0]);
  const select = h('select', {id, disabled: app.session.readOnly}, texts.map((text, i) => h('option', {value: i}, text)));
  const showValue = () => select.value = row.value;
  select.addEventListener('change', async () => {
    const body = Object.fromEntries(names.map(name => [name, Number(select.value)]));
    await app.change({method: 'PATCH', path: 'settings', body}, {title: `${label}: ${select.selectedOptions[0].textContent}?`});
    showValue();
  });
  app.on(app.store, 'change', ({detail}) => detail.row === row && showValue());
  showValue();
  h('div.field', {}, h('label', {htmlFor: id}, label), select);
  return select;
}

/// A switch that is no setting's: changed(isOn) is told when it is switched.
export function toggle(properties, isOn, changed) {
  const button = h('button.switch', {type: 'button', role: 'switch', ariaChecked: `${isOn}`, ...properties, onclick: () => {
    button.ariaChecked = `${button.ariaChecked !== 'true'}`;
    changed(button.ariaChecked === 'true');
  }});
  return button;
}
