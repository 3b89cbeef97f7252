// A change in two steps, as every view makes it: first what it would do, then it. `request` is {method, path, query, body} for api().
import {api, path, Problem} from './api.js';
import {count, h, valueText} from './dom.js';

/// The request that sets a setting; without a value it goes back to its default.
export async function settingRequest(app, row, value) {
  if (row.setBy === 'flags') // Taking the line of a flag away is its default.
    return {method: 'PATCH', path: 'flags', body: {[await app.store.flagWord(row)]: value ?? null}};
  const at = path`settings/${row.name}`;
  return value === undefined ? {method: 'DELETE', path: at} : {method: 'PUT', path: at, body: {value}};
}

/// What an answer, or the report of a refusal, says of a change; `problem` is there when the telephone did not take the request.
export function account(report, problem) {
  const items = report.items ?? [];
  const refused = items.filter(({result}) => ['refused', 'unknown', 'failed'].includes(result));
  return {items, refused, also: report.alsoChanged ?? [], wiped: report.wouldWipe ?? [], problem, report};
}

async function attempt(request, query) {
  try {
    return account(await api(request.method, request.path, {...request, query: {...request.query, ...query}}));
  } catch (error) {
    if (!(error instanceof Problem))
      throw error;
    return account(error.report, error);
  }
}

/// What the change would do; nothing is changed.
export const rehearse = (request, signal) => attempt({...request, signal}, {dryRun: 1});

/// Makes the change. `yes` answers for everything that is wiped, after people were asked.
export async function make(app, request, {yes = false} = {}) {
  return app.store.own(() => attempt(request, yes ? {yes: 1} : {}));
}

/// Why a change is not made, in the library's words; null when it is.
export function refusal(result, item) {
  const own = result.refused.find(refused => !item || refused.item === item) ?? result.refused[0];
  if (own)
    return `${own.reason ?? 'not taken'}${own.item === item || !item ? '' : ` (${own.item})`}`;
  if (!result.problem || result.wiped.length)
    return null;
  const [first] = result.report.errors ?? [];
  return first?.reason ?? result.problem.message;
}

/// The old value and the new one.
export function step(app, name, old, value) {
  const row = app.store.row(name);
  return [h('del', {}, valueText(old, row)), ' → ', h('ins', {}, valueText(value, row))];
}

const list = (app, changes) => h('ul.changes', {}, changes.map(({item, old, new: value = ''}) =>
  h('li', {}, h('code', {}, item), ' ', step(app, item, old, value))));

/// What else a change does, as an element; null when nothing.
export function consequences(app, {also, wiped}) {
  if (!also.length && !wiped.length)
    return null;
  const lost = wiped.map(text => also.find(({item}) => item === text.item) ?? text);
  const others = also.filter(line => !lost.includes(line));
  return h('div.consequences', {},
    wiped.length > 0 && [h('p.danger', {}, `This wipes ${count(wiped.length, 'text')}:`), list(app, lost)],
    others.length > 0 && [h('p', {}, `This also changes ${count(others.length, 'other setting')}:`), list(app, others)]);
}

/// The whole way for a view without an inline preview: rehearses, shows in a dialog what else happens and asks, makes it. Resolves
/// with the account of what was made, or null when it was refused (told by a toast) or not wanted.
export async function change(app, request, {title, yes = 'Change'}) {
  const plan = await rehearse(request);
  const why = refusal(plan);
  if (why) {
    app.toast(why, {isError: true});
    return null;
  }
  const more = consequences(app, plan);
  const danger = plan.wiped.length > 0;
  if (more && !await app.ask({title, body: more, yes, danger}))
    return null;
  const made = await make(app, request, {yes: danger});
  const whyNot = refusal(made);
  if (whyNot)
    app.toast(whyNot, {isError: true});
  return whyNot ? null : made;
}
