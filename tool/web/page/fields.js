// Settings as labelled fields of a form, with the faces and editors that they have in the list.
import {h, newId} from './dom.js';
import {editorFor, faceFor, showFace} from './editors.js';

/// The field of a setting, without its label: it needs an element with the id `name-TAG`.
export function fieldOf(app, name) {
  const row = app.store.row(name);
  const cell = h('div.value', {});
  const control = () => cell.querySelector('.face, .direct > *');
  let editor = null;

  function showValue() {
    cell.replaceChildren(faceFor(row, app));
    if (control())
      control().tabIndex = 0;
  }

  function edit() {
    editor ??= editorFor(row, cell, app, () => {
      const hadFocus = cell.contains(document.activeElement);
      editor = null;
      showValue();
      if (hadFocus || document.activeElement === document.body)
        control()?.focus();
    });
    return editor;
  }

  cell.addEventListener('click', ({target}) => {
    if (target.closest('.face'))
      edit().focus();
    else if (target.closest('.of-switch > .switch'))
      edit().toggle();
  });
  cell.addEventListener('input', ({target}) => !editor && target.type === 'range' && edit().moved());
  cell.addEventListener('keydown', event => {
    if (event.key !== 'Escape' || !editor)
      return;
    event.preventDefault();
    editor.cancel();
  });
  app.on(app.store, 'change', ({detail}) => {
    if (detail.row !== row)
      return;
    if (!editor)
      showFace(cell.firstChild, row, app);
    else if (detail.mark && !detail.mark.isOwn)
      editor.conflict(detail.mark);
    if (detail.mark && !detail.mark.isOwn) {
      cell.classList.remove('fresh');
      void cell.offsetWidth; // The animation begins anew.
      cell.classList.add('fresh');
    }
  });
  showValue();
  return cell;
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
  const id = newId('choice');
  const row = app.store.row(names[0]);
  const select = h('select', {id, disabled: Boolean(app.session.readOnly)}, texts.map((text, i) => h('option', {value: i}, text)));
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
