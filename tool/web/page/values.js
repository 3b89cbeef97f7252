// A setting's value where it stands: how it looks, and the editor that fits it when it is touched.
import {Editor} from './editors.js';
import {h, valueText} from './dom.js';

const numbers = ({least, most}) => Array.from({length: most - least + 1}, (_, i) => least + i);

function options(row) {
  const named = number => (row.names?.[number] ? `${number} · ${row.names[number]}` : `${number}`);
  const texts = row.type === 'int' ? numbers(row).map(number => [number, named(number)])
    : (row.words ?? [true, false]).map(value => [value, valueText(value)]);
  return texts.map(([value, text]) => h('option', {value: `${value}`}, text));
}

const input = properties => h('input', {type: 'text', autocomplete: 'off', spellcheck: false, ...properties});
const text = {make: () => input(), read: control => control.value};

/// What fits a value. face(row) and show(control, value) belong to those whose control always stands there, make(row) to those whose
/// control takes the place of a text; read(control, row) is the draft.
const kinds = {
  switch: {
    face: row => h('button.switch', {type: 'button', role: 'switch', 'aria-labelledby': `name-${row.tag}`}),
    show: (control, value) => control.setAttribute('aria-checked', `${value === true}`),
    read: control => control.getAttribute('aria-checked') === 'true',
  },
  slider: {
    face: row => [h('input', {type: 'range', min: row.least, max: row.most, 'aria-labelledby': `name-${row.tag}`}),
      h('span.scale', {'aria-hidden': 'true'}, numbers(row).map(number => h('i', {}, `${number}`)))],
    show: (control, value) => {
      control.value = value;
      for (const number of control.nextSibling.children)
        number.classList.toggle('on', number.textContent === `${value}`);
    },
    read: control => Number(control.value),
  },
  choice: {
    make: row => h('select', {}, options(row)),
    read: (control, row) => (row.type === 'string' ? control.value : JSON.parse(control.value)),
  },
  number: {
    make: () => input({inputMode: 'numeric'}),
    read: ({value}) => (/^\s*-?\d{1,15}\s*$/.test(value) ? Number(value) : value),
    hasSteps: true,
  },
  text,
  secret: {...text, make: () => input({type: 'password', autocomplete: 'new-password', placeholder: 'new value'})},
  table: {
    face: ({family}) => h('a', {href: family === 'doors' ? '#doors' : '#tables'}, 'a table'),
    show: () => {},
  },
};

function kindOf(row) {
  if (row.type === 'bool')
    return row.value === null ? 'choice' : 'switch';
  if (row.type !== 'int')
    return row.isTable ? 'table' : row.secret ? 'secret' : row.words ? 'choice' : 'text';
  const width = row.most - row.least;
  if (/volume/i.test(row.name) && width <= 10)
    return 'slider';
  return row.names && width <= 20 ? 'choice' : 'number';
}

const plainFace = h('button.face', {type: 'button'});

function buttonFace({tag}) {
  const face = plainFace.cloneNode();
  face.id = `face-${tag}`;
  face.setAttribute('aria-labelledby', `name-${tag} face-${tag}`);
  return face;
}

/// The element of a value. An element with the id `name-TAG` must be its label. Hand it its events: click, input, keydown.
export class ValueCell {
  editor = null;
  #kind;

  /// done(hadFocus) is called after an editor was left; `tabIndex` is that of what stands there.
  constructor(row, element, app, {tabIndex = 0, done = () => {}} = {}) {
    Object.assign(this, {row, element, app, tabIndex, done});
    this.show();
  }

  get control() {
    return this.element.querySelector('.face, .direct > *');
  }

  /// Shows the present value, unless it is being edited.
  show() {
    if (this.editor)
      return;
    if (this.#kind !== kindOf(this.row))
      this.#make(this.#kind = kindOf(this.row));
    const {row, control} = this;
    if (kinds[this.#kind].face) {
      control.disabled = this.app.session.readOnly;
      kinds[this.#kind].show(control, row.value);
    } else {
      const face = this.element.firstChild;
      face.textContent = valueText(row.value, row);
      if (face.classList.contains('dim') !== (row.value === '' || row.value === null))
        face.classList.toggle('dim');
    }
  }

  /// The store has another value by somebody's mark, or none.
  changed(mark) {
    if (mark && !mark.isOwn)
      this.editor?.conflict(mark);
    this.show();
  }

  edit(begin = editor => editor.focus()) {
    if (this.app.session.readOnly || this.row.isTable)
      return;
    this.editor ??= new Editor(this.row, kinds[this.#kind], this.element, this.app, () => {
      const hadFocus = this.element.contains(document.activeElement);
      this.editor = this.#kind = null;
      this.show();
      this.done(hadFocus || document.activeElement === document.body);
    });
    begin(this.editor);
  }

  handleEvent({type, target, key}) {
    if (type === 'click' && target.closest('.face'))
      this.edit();
    else if (type === 'click' && target.closest('.direct > .switch'))
      this.edit(editor => editor.toggle());
    else if (type === 'input' && !this.editor && target.type === 'range')
      this.edit(editor => editor.moved());
    else if (key === 'Escape')
      this.editor?.cancel();
  }

  #make(kind) {
    const {row} = this;
    this.element.replaceChildren(kinds[kind].face ? h('div.direct', {}, kinds[kind].face(row))
      : this.app.session.readOnly ? h('span.fixed') : buttonFace(row));
    if (this.control)
      this.control.tabIndex = this.tabIndex;
  }
}
