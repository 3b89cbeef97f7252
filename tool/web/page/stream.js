// The telephone's stream of events over one connection that is made again when it is lost. Runs in the shared worker, or in
// the page where there is none. Events carry the number of the history's entry; the last one is where a new connection goes on.

const silence = 40000; // ms; the server sends a comment each 15 s.
const longestPause = 2000;

export class Stream {
  #tell;
  #last = '';
  #wake = () => {};

  /// tell(message): {kind: 'state', state: 'live' | 'lost' | 'refused', again}, {kind: 'hello' | 'change' | 'missed', data}.
  constructor(tell) {
    this.#tell = tell;
    this.#run();
  }

  /// Does not wait any longer before the next try.
  now() {
    this.#wake();
  }

  async #run() {
    let state = '';
    const become = (next, again) => {
      if (next !== state)
        this.#tell({kind: 'state', state: state = next, again});
    };
    let wasLive = false;
    for (let pause = 250;; pause = Math.min(2 * pause, longestPause)) {
      const abort = new AbortController();
      let timer = setTimeout(() => abort.abort(), silence / 4);
      try {
        const headers = this.#last ? {'Last-Event-ID': this.#last} : {};
        const response = await fetch('api/v1/events', {headers, cache: 'no-store', signal: abort.signal});
        if (response.status === 401)
          become('refused', wasLive);
        else if (response.ok) {
          become('live', wasLive);
          wasLive = true;
          pause = 250;
          await this.#read(response.body.getReader(), () => {
            clearTimeout(timer);
            timer = setTimeout(() => abort.abort(), silence);
          });
        }
      } catch {
        // Lost: said below, and tried again.
      }
      clearTimeout(timer);
      abort.abort();
      if (state !== 'refused')
        become('lost', wasLive);
      await new Promise(resolve => {
        this.#wake = resolve;
        setTimeout(resolve, pause);
      });
    }
  }

  async #read(reader, isAlive) {
    const decoder = new TextDecoder();
    for (let rest = '';;) {
      isAlive();
      const {done, value} = await reader.read();
      if (done)
        return;
      const blocks = (rest + decoder.decode(value, {stream: true})).split('\n\n');
      rest = blocks.pop();
      blocks.forEach(block => this.#take(block));
    }
  }

  #take(block) {
    const event = {event: 'message', data: ''};
    for (const line of block.split('\n')) {
      const [, field, value] = /^(\w+): ?(.*)$/.exec(line) ?? [];
      if (field)
        event[field] = value;
    }
    if (event.id)
      this.#last = event.id;
    if (!event.data)
      return;
    const data = JSON.parse(event.data);
    if (event.event === 'hello' && !this.#last && data.number != null)
      this.#last = `${data.number}`;
    this.#tell({kind: 'missed' in data ? 'missed' : event.event, data});
  }
}

/// Follows the stream of the browser's shared worker, or one of this page where there are no such workers. `tell` is as above. Returns
/// a function that asks for a new try at once.
export function follow(tell) {
  const alone = () => {
    const stream = new Stream(tell);
    post = () => stream.now();
  };
  let post;
  try {
    const worker = new SharedWorker('stream-worker.js', {type: 'module', name: 'events'});
    post = what => worker.port.postMessage(what);
    worker.onerror = alone;
    worker.port.onmessage = ({data}) => tell(data);
  } catch {
    alone();
  }
  addEventListener('pagehide', () => post('leave'));
  addEventListener('pageshow', event => event.persisted && post('join'));
  return () => post('now');
}
