// The shell: views by #hash, the connection, the events, what all views use. `app`, as a view gets it:
//   store     all settings (store.js); they are there when a view is shown
//   session   {user, directory, model, readOnly, version}
//   search    the search field in the bar
//   on(target, type, listener)    listens until the view leaves; live(listener) is told each change of the event stream
//   go(hash)                      '#history?item=ringer-volume'
//   aside(...nodes)               what stands under the navigation while the view is shown
//   toast(text, {isError, action: {text, run}})
//   ask({title, body, yes, no, danger})   a dialog; resolves with whether it was wanted
//   change(request, options)      a change with preview and question (change.js)
import {api, unauthorized} from './api.js';
import {change} from './change.js';
import {h, newId, refreshTimes} from './dom.js';
import {follow} from './stream.js';
import {Store} from './store.js';
import {views} from './views.js';

const find = id => document.getElementById(id);
const main = find('main');
const live = new Set();

const app = {store: new Store(), session: {}, search: find('search'), go, toast, ask};
app.change = (request, options) => change(app, request, options);

// ---- Views ----

const kept = new Map();
let shown = {};
let hasMoved = false; // The first view leaves the focus where the browser puts it.

function go(hash) {
  location.hash = hash;
}

function parsed(hash) {
  const [, path = '', words = ''] = /^#?([^?]*)\??(.*)$/.exec(hash);
  const [name, ...parts] = path.split('/');
  const decoded = part => new URLSearchParams(`part=${part.replaceAll('+', '%2B')}`).get('part'); // Never throws.
  return {view: views.find(view => view.name === name) ?? views[0],
    params: {path: parts.map(decoded), query: new URLSearchParams(words)}};
}

async function route() {
  const {view, params} = parsed(location.hash);
  if (shown.view === view && shown.handle?.update)
    return shown.handle.update(params);
  leave();
  mark(view);
  const page = kept.get(view) ?? {view, element: h('div.view', {id: `view-${view.name}`}), ends: new AbortController()};
  shown = page;
  main.replaceChildren(page.element);
  find('aside').replaceChildren(...page.aside ?? []);
  scrollTo(0, page.scroll ?? 0);
  if (page.handle)
    return page.handle.update?.(params);
  if (view.keeps)
    kept.set(view, page);
  try {
    const module = await view.load();
    page.handle = await module.show(page.element, params, forView(page)) ?? {};
  } catch (error) {
    page.element.replaceChildren(h('h1', {}, view.title), h('p.note.error', {role: 'alert'}, error.message));
    kept.delete(view);
    console.error(error);
  }
  const heading = page.element.querySelector('h1');
  if (shown === page && hasMoved && heading && document.activeElement !== app.search) {
    heading.tabIndex = -1;
    heading.focus({preventScroll: true});
  }
  hasMoved = true;
}

function leave() {
  shown.scroll = scrollY;
  if (kept.has(shown.view))
    return;
  shown.handle?.leave?.();
  shown.ends?.abort();
}

function forView(page) {
  return Object.assign(Object.create(app), {
    on: (target, type, listener) => target.addEventListener(type, listener, {signal: page.ends.signal}),
    live: listener => {
      live.add(listener);
      page.ends.signal.addEventListener('abort', () => live.delete(listener));
    },
    aside: (...nodes) => {
      page.aside = nodes;
      if (shown === page)
        find('aside').replaceChildren(...nodes);
    },
  });
}

function mark(view) {
  document.title = `${view.title} · Telephone`;
  for (const link of find('views').children)
    link.ariaCurrent = link.hash === `#${view.name}` ? 'page' : null;
  document.querySelector('[aria-current=page]').scrollIntoView({block: 'nearest'});
}

find('views').append(...views.map(view => h('a', {href: `#${view.name}`}, view.title)));

// ---- What views show besides themselves ----

function toast(text, {isError = false, action} = {}) {
  const close = () => element.remove();
  const element = h(`div.toast${isError ? '.error' : ''}`, {}, h('span', {}, text),
    action && h('button.quiet', {type: 'button', onclick: () => (close(), action.run())}, action.text),
    h('button.quiet.close', {type: 'button', ariaLabel: 'Close', onclick: close}, '×'));
  const toasts = find('toasts');
  if (toasts.childElementCount > 2)
    toasts.firstChild.remove();
  toasts.append(element);
  const end = () => (element.matches(':hover, :focus-within') ? setTimeout(end, 2000) : close());
  setTimeout(end, isError ? 15000 : 6000);
}

function ask({title, body, yes, no = 'Cancel', danger}) {
  const id = newId();
  const from = document.activeElement;
  const dialog = h('dialog', {'aria-labelledby': id}, h('form', {method: 'dialog'},
    h('h2', {id}, title), body,
    h('div.buttons', {}, no && h('button', {value: '', autofocus: danger}, no),
      h(`button.primary${danger ? '.danger' : ''}`, {value: 'yes', autofocus: !danger}, yes))));
  document.body.append(dialog);
  dialog.showModal();
  return new Promise(resolve => dialog.addEventListener('close', () => {
    dialog.remove();
    from?.focus?.();
    resolve(dialog.returnValue === 'yes');
  }));
}

// ---- The connection ----

const words = {
  live: 'live',
  lost: 'Connection lost. Trying again …',
  refused: 'signed out',
};
let tryNow = () => {};

function connected({state, again}) {
  const place = find('connection');
  place.dataset.state = state;
  place.textContent = words[state];
  if (state === 'refused')
    api('GET', 'session').catch(() => {}); // Whether it still is so: it tells unauthorized.
  if (state === 'live' && !isStarted)
    start();
  if (state !== 'live' || !again)
    return;
  place.textContent = 'Connection found again';
  setTimeout(() => place.textContent = words[place.dataset.state], 4000);
  reload(); // What the history does not keep is not told again.
}

const reload = () => isStarted && app.store.load().catch(() => {});

function heard({kind, data, ...message}) {
  if (kind === 'state')
    connected(message);
  else if (kind === 'hello')
    said(data);
  if (kind === 'missed' || data?.resumed === false)
    reload();
  else if (kind === 'change') {
    app.store.apply(data);
    live.forEach(listener => listener(data));
  }
}

function said(session) {
  const {directory, model, readOnly} = Object.assign(app.session, session);
  find('place').textContent = [directory?.split('/').filter(Boolean).pop(), model && model !== 'other' && `${model} model`,
    readOnly && 'read only'].filter(Boolean).join(' · ');
  find('place').title = directory ?? '';
}

addEventListener('online', () => tryNow());
addEventListener('pageshow', event => event.persisted && reload());
document.addEventListener('visibilitychange', () => document.hidden || tryNow());
setInterval(refreshTimes, 10000);

function signedOut() {
  leave();
  shown = {};
  kept.clear();
  isStarted = false;
  const field = h('input', {id: 'token', type: 'text', autocomplete: 'off', spellcheck: false});
  const enter = event => {
    event.preventDefault();
    const token = /token=([^&\s]+)/.exec(field.value)?.[1] ?? encodeURIComponent(field.value.trim());
    location.href = `./?token=${token}${location.hash}`;
  };
  document.body.classList.add('signed-out');
  main.replaceChildren(h('div.view.narrow', {}, h('h1', {}, 'A token is needed'),
    h('p', {}, h('code', {}, 'mediadata web'),
      ' prints an address with a token that can be used once, each time it is started. Open that address, or enter it here.'),
    h('form.line', {onsubmit: enter}, h('label', {htmlFor: 'token'}, 'Address or token'), field,
      h('button.primary', {}, 'Open'))));
}

// ---- Keys ----

const keys = [['/', 'search'], ['↑ ↓', 'from setting to setting'], ['Home End', 'the first, the last'], ['← →', 'within a setting'],
  ['Enter', 'edit, or store what was entered'], ['Esc', 'leave without storing'], ['Space', 'switch on or off'],
  ['Delete', 'back to the default'], ['e', 'explain'], ['?', 'these keys']];

document.addEventListener('keydown', event => {
  const {target, key} = event;
  if (event.ctrlKey || event.metaKey || event.altKey || target.matches('input:not([type=range]), .editor select') ||
      document.querySelector('dialog'))
    return;
  if (target.matches('select') && /^(Arrow|Page|Home|End|[^ ]$)/.test(key)) { // What the keys pass over is not meant.
    event.preventDefault();
    target.showPicker();
  } else if (key === '/') {
    event.preventDefault();
    app.search.focus();
    app.search.select();
  } else if (key === '?')
    ask({title: 'Keys', yes: 'Close', no: '', body: h('dl.keys', {}, keys.map(([key, what]) =>
      [h('dt', {}, key.split(' ').map(one => h('kbd', {}, one))), h('dd', {}, what)]))});
});

app.search.addEventListener('input', () => {
  if (shown.view !== views[0])
    go(`#${views[0].name}?q=${encodeURIComponent(app.search.value)}`);
});

find('skip').addEventListener('click', event => {
  event.preventDefault();
  main.focus();
});

// ---- Beginning ----

let isStarted = false;

async function start() {
  isStarted = true;
  try {
    const [session] = await Promise.all([api('GET', 'session'), app.store.load()]);
    said({...session, ...app.session});
    document.body.classList.remove('signed-out');
    await route();
  } catch (problem) {
    isStarted = false;
    if (problem.status !== 401)
      main.replaceChildren(h('div.view.narrow', {}, h('h1', {}, 'No answer'), h('p', {role: 'alert'}, problem.message)));
  }
}

addEventListener('hashchange', () => isStarted && route());
unauthorized.tell = signedOut;
tryNow = follow(heard);
start();
