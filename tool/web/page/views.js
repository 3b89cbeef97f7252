// The views of the page, in the order of the navigation. A view is a module with
//   export function show(main, params, app)
// which fills `main`, an element of its own, and may return {update(params), leave()} (or a promise of it): update() is called when
// only the parameters change, leave() before the view goes away. `params` is {path, query} of #name/path?query: an array of decoded
// parts, and URLSearchParams. `app` is described in app.js. The module begins with the view's <h1>.
export const views = [
  {name: 'settings', title: 'Settings', load: () => import('./settings.js'), keeps: true},
  {name: 'tables', title: 'Tables', load: () => import('./tables.js')},
  {name: 'doors', title: 'Doors and cameras', load: () => import('./doors.js')},
  {name: 'explain', title: 'Explain', load: () => import('./explain.js')},
  {name: 'history', title: 'History', load: () => import('./history.js')},
  {name: 'compare', title: 'Compare', load: () => import('./compare.js')},
  {name: 'import', title: 'Import', load: () => import('./import.js')},
  {name: 'telephone', title: 'Telephone', load: () => import('./telephone.js')},
];
