// What became of values, or would, as a table: the answers of set, reset, import and undo; and a preview within a view, with a button
// that makes the change.
import {make, refusal, rehearse, step} from './change.js';
import {count, h} from './dom.js';

const order = ['refused', 'failed', 'unknown', 'held back', 'wiped', 'would store', 'stored', 'taken', 'follows'];

/// A link to where the value of an item comes from.
export const itemLink = name => h('a', {href: `#explain/${encodeURIComponent(name)}`}, name);

export const badge = result => h(`span.result.${result.replace(' ', '-')}`, {}, result);

/// The lines of an answer, gravest first; what stays as it is is only counted. null when there are none.
export function outcomes(app, {items = [], alsoChanged = [], wouldWipe = []}, result = 'stored') {
  const wiped = new Set(wouldWipe.map(({item}) => item));
  const lines = [
    ...items.map(line => ({result, ...line})),
    ...alsoChanged.filter(({item}) => !wiped.has(item)).map(line => ({...line, result: 'follows'})),
    ...wouldWipe.map(line => ({...line, new: '', result: 'wiped'})),
  ];
  const shown = lines.filter(({result}) => result !== 'unchanged')
    .sort((one, other) => order.indexOf(one.result) - order.indexOf(other.result));
  const same = lines.length - shown.length;
  if (!lines.length)
    return null;
  return h('div.outcomes', {},
    shown.length > 0 && h('table', {},
      h('thead', {}, h('tr', {}, ['Result', 'Setting', 'Value'].map(title => h('th', {scope: 'col'}, title)))),
      h('tbody', {}, shown.map(line => h('tr', {},
        h('td', {}, badge(line.result)),
        h('th', {scope: 'row'}, itemLink(line.item)),
        h('td', {}, step(app, line.item, line.old, line.new),
          line.reason && h('small', {}, line.reason), line.accepted && h('small', {}, `accepted: ${line.accepted}`)))))),
    same > 0 && h('p.dim', {}, `${count(same, 'setting')} ${same === 1 ? 'stays as it is' : 'stay as they are'}.`));
}

/// Shows in `place` what a request would change, with a button named `title` that makes it and one that leaves it. done() is called
/// when it was made.
export async function preview(place, app, request, {title, done}) {
  const plan = await rehearse(request);
  const show = (...content) => place.replaceChildren(h('div.preview', {}, content));
  const close = text => h('button', {type: 'button', onclick: () => place.replaceChildren()}, text);
  const wipes = plan.wiped.length;
  const would = plan.items.some(({result}) => !['unchanged', 'refused', 'unknown', 'failed'].includes(result));
  const act = async () => {
    button.disabled = true;
    const made = await make(app, request, {yes: wipes > 0});
    const why = refusal(made);
    show(h(why ? 'p.note.error' : 'p.note', {role: 'status', tabIndex: -1}, why ?? 'Done.'), outcomes(app, made.report), close('Close'));
    place.querySelector('.note').focus();
    done?.();
  };
  const button = h(`button.primary${wipes ? '.danger' : ''}`, {type: 'button', onclick: act},
    wipes ? `${title} and wipe ${count(wipes, 'text')}` : title);
  const why = refusal(plan);
  show(
    why && h('p.note.error', {role: 'alert'}, why),
    !why && h('p', {role: 'status'}, would ? 'This is what would change:' : 'Nothing would change.'),
    wipes > 0 && h('p.danger', {}, `${count(wipes, 'text')} that somebody has entered would be lost.`),
    outcomes(app, plan.report, 'would store'),
    h('div.buttons', {}, would && !app.session.readOnly && button, close(would ? 'Leave it' : 'Close')));
  place.querySelector('.buttons button').focus();
}
