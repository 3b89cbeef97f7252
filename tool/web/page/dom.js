// Elements, and how values and times are written: what every view needs and nothing of the telephone.

/// h('button.quiet', {type: 'button', onclick}, 'Undo'): an element with classes, properties or attributes, and children. Children
/// are nodes and texts; null and false are left out.
export function h(name, properties, ...children) {
  const [tag, ...classes] = name.split('.');
  const element = document.createElement(tag);
  if (classes.length)
    element.className = classes.join(' ');
  for (const [key, value] of Object.entries(properties ?? {})) {
    if (value == null)
      continue;
    if (key.startsWith('on'))
      element.addEventListener(key.slice(2), value);
    else if (key in element && key !== 'list')
      element[key] = value;
    else
      element.setAttribute(key, value);
  }
  element.append(...children.flat(Infinity).filter(child => child != null && child !== false));
  return element;
}

let ids = 0;

/// An id that no other element has.
export const newId = () => `id-${++ids}`;

/// A value as people read it; `row` (of the store) knows names of numbers, units and secrets. Never empty.
export function valueText(value, row) {
  if (value === null || value === undefined)
    return row?.type === 'complex' ? 'a table' : 'not known';
  if (typeof value === 'boolean')
    return value ? 'on' : 'off';
  if (row?.secret && value !== '')
    return 'set';
  if (value === '')
    return 'empty';
  if (typeof value === 'number' && row) {
    const name = row.names?.[value];
    return name ? (row.namesDiffer ? name : `${name} (${value})`) : row.unit ? `${value} ${row.unit}` : `${value}`;
  }
  return `${value}`;
}

const spans = [[60, 'second', 1], [3600, 'minute', 60], [86400, 'hour', 3600], [Infinity, 'day', 86400]];
const relative = new Intl.RelativeTimeFormat('en', {numeric: 'auto'});
const exact = new Intl.DateTimeFormat('en-GB', {dateStyle: 'medium', timeStyle: 'medium'});

/// "5 minutes ago" of an ISO time.
export function ago(time) {
  const seconds = Math.max(0, (Date.now() - Date.parse(time)) / 1000);
  if (seconds < 5)
    return 'just now';
  const [, unit, length] = spans.find(([limit]) => seconds < limit);
  return relative.format(-Math.floor(seconds / length), unit);
}

/// <time> that says how long ago and has the exact time as its title; refreshTimes() keeps it right.
export function timeElement(time) {
  return h('time', {dateTime: time, title: exact.format(new Date(time))}, ago(time));
}

export function refreshTimes() {
  for (const element of document.querySelectorAll('time'))
    element.textContent = ago(element.dateTime);
}

/// "root by set": who made a change, of an entry of the history or a line of the event stream.
export function who({user, verb, door}) {
  const way = {page: 'on the page', management: 'by the management service', application: 'by an application'}[door];
  return `${user ?? 'somebody'} ${way ?? (verb ? `with ${verb}` : '')}`.trim();
}

/// Shows that somebody else has changed what the element shows.
export function flash(element) {
  if (element.classList.contains('fresh')) {
    element.classList.remove('fresh');
    void element.offsetWidth; // The animation begins anew.
  }
  element.classList.add('fresh');
}

/// The bytes of a text as it is stored.
export const bytes = text => new TextEncoder().encode(text).length;

/// "1 setting", "3 settings".
export const count = (number, one, many = `${one}s`) => `${number} ${number === 1 ? one : many}`;
