// A list whose entries people put in order: by dragging an entry's handle, or with the arrow keys while it has the focus.

/// Entries are the children of `list`, each with a `.handle`. moved(entry, place) is called with each step, ended(entry) when the
/// handle is let go of; Escape while dragging puts the entry back to where it was.
export function makeOrderable(list, moved, ended) {
  const place = entry => [...list.children].indexOf(entry);

  const move = (entry, to) => {
    const from = place(entry);
    const wanted = Math.max(0, Math.min(list.children.length - 1, to));
    if (wanted === from)
      return;
    list.insertBefore(entry, list.children[wanted > from ? wanted + 1 : wanted] ?? null);
    moved(entry, wanted);
  };

  list.addEventListener('keydown', event => {
    const step = {ArrowUp: -1, ArrowDown: 1, Home: -Infinity, End: Infinity}[event.key];
    if (!step || !event.target.matches('.handle'))
      return;
    event.preventDefault();
    const entry = event.target.closest('li');
    move(entry, place(entry) + step);
    event.target.focus();
    ended(entry);
  });

  list.addEventListener('pointerdown', event => {
    const handle = event.target.closest('.handle:enabled');
    if (!handle || event.button)
      return;
    event.preventDefault();
    handle.focus();
    const entry = handle.closest('li');
    const start = place(entry);
    const hand = new AbortController();
    const on = (kind, action) => addEventListener(kind, action, {signal: hand.signal});
    const end = () => {
      hand.abort();
      entry.classList.remove('dragged');
      ended(entry);
    };
    entry.classList.add('dragged');
    on('pointermove', ({clientY}) => {
      const others = [...list.children].filter(other => other !== entry);
      move(entry, others.filter(other => {
        const {top, height} = other.getBoundingClientRect();
        return top + height / 2 < clientY;
      }).length);
    });
    on('pointerup', end);
    on('pointercancel', end);
    on('keydown', ({key}) => {
      if (key === 'Escape') {
        move(entry, start);
        end();
      }
    });
  });
}
