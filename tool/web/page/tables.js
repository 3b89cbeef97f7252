// The tables as tables: codecs, SRTP methods and headsets in the order in which the telephone prefers them, distinctive ringing and
// group pickup.
import {h} from './dom.js';
import {fieldList, fieldOf} from './fields.js';
import {RankedTable} from './ranked.js';

const ranked = [
  {name: 'codec', title: 'Audio codecs', cells: 'codec', choice: 'type', word: 'Codec', count: 4, size: 'packetSize'},
  {name: 'srtp', title: 'SRTP encryption', cells: 'SRTPEncryption', choice: 'method', word: 'Method'},
  {name: 'headset', title: 'Headsets', cells: 'headset', choice: 'type', word: 'Headset'},
];

const ringColumns = [['alert-identifier', 'Alert identifier'], ['alert-type', 'Type'], ['ringer-melody', 'Melody'],
  ['ringer-tone', 'Tones'], ['alert-duration', 'Duration'], ['ringer-file', 'File']];
const rings = Array.from({length: 15}, (_, row) => row);
const general = [['ringer-melody', 'Melody'], ['ringer-tone-sequence', 'Tones'], ['ringer-audio-file', 'File']];

const pickup = [['group-pickup-as-ringer', 'As the ringer'], ['group-pickup-tone-allowed', 'Tone is allowed'],
  ['group-pickup-tone-type', 'Tone'], ['group-pickup-tone-interval', 'Interval']];

export async function show(main, params, app) {
  const said = h('p.unseen', {role: 'status'});
  const tables = ranked.map(table => new RankedTable(table, app, text => said.textContent = text));
  main.append(
    h('div.head', {}, h('h1', {}, 'Tables')),
    h('p.lead', {}, 'Of each table the telephone takes the first row that is allowed and that it can use. Drag a row by its handle, or ' +
      'move it with the arrow keys while the handle has the focus. Nothing is stored before you say so.'),
    said,
    h('div.cards', {}, tables.map(table => table.element)),
    ringing(app),
    h('section.card', {ariaLabel: 'Group pickup'}, h('h2', {}, 'Group pickup'), fieldList(app, pickup)));
  await Promise.all(tables.map(table => table.load()));
}

/// Rows without an identifier ring as the general ringer does: they say so, and only their identifier can be entered.
function ringing(app) {
  const lines = rings.map(row => {
    const follows = h('td.follows', {colSpan: ringColumns.length - 1}, 'rings as the general ringer');
    const cells = ringColumns.map(([column, label]) => {
      const {tag} = app.store.row(`${column}-${row}`);
      return h('td', {}, h('span.label', {id: `name-${tag}`}, `${label}`, h('span.unseen', {}, ` of row ${row}`)), fieldOf(app, `${column}-${row}`));
    });
    return {identifier: app.store.row(`alert-identifier-${row}`), follows, cells, element: h('tr', {}, h('th', {scope: 'row'}, `${row}`))};
  });
  const refresh = () => lines.forEach(({identifier, element, cells: [first, ...rest], follows}) => {
    const isGeneral = identifier.value === '';
    if (element.classList.contains('general') === isGeneral && element.childElementCount > 1)
      return;
    element.classList.toggle('general', isGeneral);
    element.replaceChildren(element.firstChild, first, ...isGeneral ? [follows] : rest);
  });
  app.on(app.store, 'change', ({detail: {row}}) => row.name.startsWith('alert-identifier-') && refresh());
  refresh();
  return h('section.card.ringing', {ariaLabel: 'Distinctive ringing'},
    h('h2', {}, 'Distinctive ringing'),
    h('p.dim', {}, 'What rings when a call brings an alert identifier. The general ringer:'),
    fieldList(app, general),
    h('table', {}, h('thead', {}, h('tr', {}, h('th', {scope: 'col'}, 'Row'), ringColumns.map(([, label]) => h('th', {scope: 'col'}, label)))),
      h('tbody', {}, lines.map(({element}) => element))));
}
