// The page's end of the event stream: the browser's shared worker has it, or this page where there are no such workers.
import {Stream} from './stream.js';

/// Calls tell(message) as stream.js says. Returns a function that asks for a new try at once.
export function follow(tell) {
  let now;
  const alone = () => {
    const stream = new Stream(tell);
    now = () => stream.now();
  };
  try {
    const worker = new SharedWorker('stream-worker.js', {type: 'module', name: 'events'});
    now = () => worker.port.postMessage('now');
    worker.onerror = alone;
    share(worker, tell);
  } catch {
    alone();
  }
  return () => now();
}

function share(worker, tell) {
  worker.port.onmessage = ({data}) => tell(data);
  addEventListener('pagehide', () => worker.port.postMessage('leave'));
  addEventListener('pageshow', event => event.persisted && worker.port.postMessage('join'));
}
