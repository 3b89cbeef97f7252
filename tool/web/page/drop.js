// A place for an exported document: a file is dropped there, or chosen with the keyboard.
import {h, newId} from './dom.js';

const largest = 16 << 20;

/// take(text, name, isSealed) gets the file's text when it is a document of this tool, and whether it has encrypted secrets.
export function dropZone(take) {
  const id = newId();
  const state = h('p', {role: 'status'});
  const file = h('input', {id, type: 'file', accept: '.json,application/json', onchange: () => file.files[0] && read(file.files[0])});
  const zone = h('div.drop', {}, h('label', {htmlFor: id}, 'Drop an exported file here, or choose one'), file, state);

  async function read(chosen) {
    try {
      if (chosen.size > largest)
        throw new Error('it is larger than 16 MiB');
      const text = await chosen.text();
      const {format, secrets} = JSON.parse(text);
      if (format !== 'mediadata export')
        throw new Error('it is no document that a telephone has exported');
      state.textContent = chosen.name;
      state.className = '';
      take(text, chosen.name, Boolean(secrets));
    } catch (error) {
      state.textContent = `${chosen.name} cannot be used: ${error.message}`;
      state.className = 'refusal';
    }
  }

  for (const kind of ['dragenter', 'dragover', 'dragleave', 'drop']) {
    zone.addEventListener(kind, event => {
      event.preventDefault();
      zone.classList.toggle('over', kind === 'dragenter' || kind === 'dragover');
      if (kind === 'drop' && event.dataTransfer.files[0])
        read(event.dataTransfer.files[0]);
    });
  }
  return zone;
}
