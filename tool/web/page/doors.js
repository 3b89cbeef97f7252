// Door openers and cameras side by side, with what is linked with what. A camera learns its door opener and phone number from the
// opener that shows it; when several do, the one with the highest number counts.
import {h, valueText} from './dom.js';
import {choice, foldedFields} from './fields.js';

const numbers = [1, 2, 3, 4];
const openerFields = [['name', 'Name'], ['phonenumber', 'Phone number'], ['method', 'Method'], ['address', 'Address'], ['port', 'Port'],
  ['username', 'User name'], ['password', 'Password'], ['path', 'Path'], ['urlparameters', 'URL parameters'], ['pin', 'PIN'],
  ['fpkconfirmation', 'Key asks first'], ['automaticvideo', 'Video by itself']];
const cameraFields = [['name', 'Name'], ['protocol', 'Protocol'], ['address', 'Address'], ['url', 'URL'], ['port', 'Port'],
  ['username', 'User name'], ['password', 'Password']];

export function show(main, params, app) {
  const value = (kind, what, n) => app.store.row(`${kind}-${what}-${n}`).value;
  const opener = (what, n) => value('door-opener', what, n);
  const camera = (what, n) => value('camera', what, n);
  const openers = numbers.map(n => openerCard(app, n));
  const cameras = numbers.map(n => cameraCard(app, n));
  const lines = document.createElementNS('http://www.w3.org/2000/svg', 'svg');
  lines.setAttribute('aria-hidden', 'true');
  const board = h('div.links', {},
    h('section', {ariaLabel: 'Door openers'}, h('h2', {}, 'Door openers'), openers.map(({element}) => element)),
    lines,
    h('section', {ariaLabel: 'Cameras'}, h('h2', {}, 'Cameras'), cameras.map(({element}) => element)));
  main.append(h('div.head', {}, h('h1', {}, 'Doors and cameras')),
    h('p.lead', {}, 'Up to four door openers, each of which can show the video of a camera. A door opener of the type “none” has nothing else set.'), board);

  /// The opener that counts for a camera; 0 for none.
  const shownBy = k => numbers.findLast(n => opener('directvideo', n) === k) ?? 0;
  const title = n => `${n} · ${opener('name', n)}`;

  function refresh() {
    for (const n of numbers) {
      const k = opener('directvideo', n);
      const winner = k && shownBy(k);
      openers[n - 1].say(opener('name', n), opener('type', n), k,
        winner && winner !== n ? `Door opener ${title(winner)} shows this camera, too, and counts for it.` : '');
      const by = camera('door-opener', n);
      const phone = camera('phone-number', n);
      cameras[n - 1].say(camera('name', n), by ? `Shown by door opener ${title(by)}${phone ? `, ${phone}` : ', which has no phone number'}` : 'Not linked');
    }
    draw();
  }

  function draw() {
    const frame = lines.getBoundingClientRect();
    lines.replaceChildren(...numbers.filter(n => frame.width && opener('directvideo', n)).map(n => {
      const k = opener('directvideo', n);
      const middle = ({element}) => {
        const {top, height} = element.firstChild.getBoundingClientRect();
        return top + height / 2 - frame.top;
      };
      const [from, to] = [middle(openers[n - 1]), middle(cameras[k - 1])];
      const line = document.createElementNS(lines.namespaceURI, 'path');
      line.setAttribute('d', `M0 ${from}C${frame.width / 2} ${from} ${frame.width / 2} ${to} ${frame.width} ${to}`);
      line.setAttribute('class', shownBy(k) === n ? 'counts' : 'superseded');
      return line;
    }));
  }

  app.on(app.store, 'change', ({detail: {row}}) => /^(camera|door-opener)-/.test(row.name) && refresh());
  const observer = new ResizeObserver(draw);
  observer.observe(board);
  openers.concat(cameras).forEach(({element}) => observer.observe(element));
  refresh();
  return {leave: () => observer.disconnect()};
}

function openerCard(app, n) {
  const types = app.store.row(`door-opener-type-${n}`);
  const type = choice(app, [types.name], 'Type', [0, 1, 2, 3].map(value => (value ? `type ${valueText(value, types)}` : 'none')));
  const video = choice(app, [`door-opener-directvideo-${n}`], 'Shows', ['no camera', ...numbers.map(k => `camera ${k}`)]);
  const title = h('h3', {});
  const note = h('p.dim', {});
  const element = h('article.card', {id: `opener-${n}`},
    h('div.entry', {}, h('span.number', {}, `${n}`), title), type.parentNode, video.parentNode, note,
    foldedFields(app, 'All settings', openerFields.map(([what, label]) => [`door-opener-${what}-${n}`, label])));
  return {
    element,
    say(name, kind, k, text) {
      title.textContent = name;
      note.textContent = text;
      numbers.forEach(camera => video.options[camera].textContent = `${camera} · ${app.store.row(`camera-name-${camera}`).value}`);
      element.classList.toggle('off', kind === 0);
    },
  };
}

function cameraCard(app, n) {
  const title = h('h3', {});
  const link = h('p', {});
  const element = h('article.card', {id: `camera-${n}`},
    h('div.entry', {}, h('span.number', {}, `${n}`), title), link,
    foldedFields(app, 'All settings', cameraFields.map(([what, label]) => [`camera-${what}-${n}`, label])));
  return {
    element,
    say(name, text) {
      title.textContent = name;
      link.textContent = text;
      element.classList.toggle('off', text === 'Not linked');
    },
  };
}
