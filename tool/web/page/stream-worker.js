// One event stream a browser, shared by its tabs: a browser opens six connections to a server.
import {Stream} from './stream.js';

const ports = new Set();
const latest = {};

const stream = new Stream(message => {
  if (message.kind !== 'change')
    latest[message.kind] = message;
  ports.forEach(port => port.postMessage(message));
});

self.onconnect = ({ports: [port]}) => {
  const join = () => {
    ports.add(port);
    for (const kind of ['state', 'hello']) {
      if (latest[kind])
        port.postMessage(latest[kind]);
    }
    if (latest.state?.state !== 'live')
      stream.now();
  };
  port.onmessage = ({data}) => {
    if (data === 'leave')
      ports.delete(port);
    else if (data === 'join')
      join();
    else
      stream.now();
  };
  join();
};
