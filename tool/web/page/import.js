// A file's configuration taken over, after a preview item by item.
import {h} from './dom.js';
import {dropZone} from './drop.js';
import {toggle} from './fields.js';
import {preview} from './outcomes.js';

export function show(main, params, app) {
  let text;
  let query = {};
  const place = h('div', {});
  const rehearse = () => text &&
    preview(place, app, {method: 'POST', path: 'import', body: text, query, headers: headers()}, {title: 'Import'});
  const passphrase = h('input', {id: 'import-passphrase', type: 'password', autocomplete: 'off', onchange: rehearse});
  const sealed = h('div.field', {hidden: true},
    h('label', {htmlFor: passphrase.id}, 'Passphrase of the secrets in it, which are left out otherwise'), passphrase);
  const headers = () => (passphrase.value ? {Passphrase: encodeURIComponent(passphrase.value)} : {});
  const atomic = toggle({'aria-labelledby': 'import-atomic'}, false, isOn => {
    query = isOn ? {atomic: 1} : {};
    rehearse();
  });
  main.append(
    h('div.head', {}, h('h1', {}, 'Import')),
    h('p.lead', {}, 'Takes over what another telephone has exported. First you see what would become of each setting; then it is one ' +
      'change, which the ', h('a', {href: '#history'}, 'history'), ' can take back.'),
    dropZone((chosen, name, isSealed) => {
      text = chosen;
      passphrase.value = '';
      sealed.hidden = !isSealed;
      rehearse();
    }),
    h('div.field', {}, h('span.label', {id: 'import-atomic'}, 'Nothing at all when one setting is refused'), atomic),
    sealed, place);
}
