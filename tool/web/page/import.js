// A file's configuration taken over, after a preview item by item.
import {h} from './dom.js';
import {dropZone} from './drop.js';
import {toggle} from './fields.js';
import {preview} from './outcomes.js';

export function show(main, params, app) {
  let text;
  const place = h('div', {});
  let query = {};
  const rehearse = () => text && preview(place, app, {method: 'POST', path: 'import', body: text, query}, {title: 'Import'});
  const atomic = toggle({'aria-labelledby': 'import-atomic'}, false, isOn => {
    query = isOn ? {atomic: 1} : {};
    rehearse();
  });
  main.append(
    h('div.head', {}, h('h1', {}, 'Import')),
    h('p.lead', {}, 'Takes over what another telephone has exported. First you see what would become of each setting; then it is one ' +
      'change, which the ', h('a', {href: '#history'}, 'history'), ' can take back.'),
    dropZone(chosen => {
      text = chosen;
      rehearse();
    }),
    h('div.field', {}, h('span.label', {id: 'import-atomic'}, 'Nothing at all when one setting is refused'), atomic),
    place);
}
