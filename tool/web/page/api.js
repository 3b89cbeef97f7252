// Requests to the telephone: the objects of /api/v1 as they come, failures as Problem.

/// What the telephone answers when it does not do what it was asked; `status` is 0 when it did not answer.
export class Problem extends Error {
  constructor(status, problem) {
    super(problem.detail || problem.title);
    this.status = status;
    /// The whole object that the tool would print with --json; empty without an answer.
    this.report = problem.report ?? {};
  }
}

/// Called once with each Problem of status 401.
export const unauthorized = {tell() {}};

/// api('PUT', 'settings/ringer-volume', {query: {dryRun: 1}, body: {value: 5}}): the answer. The path's parts must be encoded
/// (path`settings/${item}` does it); a body that is a text is sent as it is.
export async function api(method, path, {query = {}, body, headers, signal} = {}) {
  const words = new URLSearchParams(Object.entries(query).filter(([, value]) => value != null && value !== false && value !== ''));
  const options = {method, signal, headers};
  if (body !== undefined) {
    options.headers = {'Content-Type': 'application/json', ...headers};
    options.body = typeof body === 'string' ? body : JSON.stringify(body);
  }
  let response;
  let answer;
  try {
    response = await fetch(`api/v1/${path}${words.size ? `?${words}` : ''}`, options);
    answer = await response.json();
  } catch (error) {
    if (error.name === 'AbortError')
      throw error;
    throw new Problem(response?.status ?? 0, {title: 'The telephone cannot be reached.'});
  }
  if (response.ok)
    return answer;
  const problem = new Problem(response.status, answer);
  if (response.status === 401)
    unauthorized.tell(problem);
  throw problem;
}

/// path`settings/${name}/explanation`
export const path = (texts, ...values) =>
  texts.reduce((all, text, i) => all + encodeURIComponent(values[i - 1]) + text);
