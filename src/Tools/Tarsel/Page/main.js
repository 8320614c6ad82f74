// Puts the page together.

import {get, post, Refusal} from './api.js';
import {announce, find, make} from './dom.js';
import {setUpChecks, setUpFilm} from './film.js';
import {setUpSearch} from './search.js';
import {Sound} from './sound.js';
import {StepList} from './steps.js';
import {Store} from './store.js';
import {Timeline} from './timeline.js';
import {Viewer} from './viewer.js';

function setUpHistory(store) {
  const [undo, redo] = [find('undo'), find('redo')];
  const show = () => {
    undo.disabled = !store.canUndo;
    redo.disabled = !store.canRedo;
  };
  undo.addEventListener('click', () => store.undo());
  redo.addEventListener('click', () => store.redo());
  for (const event of ['structure', 'value']) store.addEventListener(event, show);
  show();
  document.addEventListener('keydown', (event) => {
    if (!(event.ctrlKey || event.metaKey) || !'zy'.includes(event.key.toLowerCase())) return;
    // A text that is being written has an undo of its own.
    if (event.target.matches('input[type=text], input[type=search]')) return;
    event.preventDefault();
    if (event.key.toLowerCase() === 'y' || event.shiftKey) store.redo();
    else store.undo();
  });
}

function describe({video, audio}) {
  const facts = [];
  if (video) facts.push(`${video.width} \u00d7 ${video.height}`);
  if (video?.rate > 0 && video.seconds > 0) facts.push(`${Number(video.rate.toFixed(3))} fps`);
  const seconds = video ? video.seconds : audio.seconds;
  if (seconds > 0) facts.push(`${Number(seconds.toFixed(2))} s`);
  if (audio) facts.push(`audio ${audio.rate} Hz, ${audio.channels} ch`);
  return facts.join(', ');
}

async function start() {
  const session = await get('session');
  const {effects} = await get('effects');
  document.title = `${session.input} \u2013 try effects`;
  find('input').textContent = session.input;
  find('facts').textContent = describe(session);
  find('name').value = session.output;

  const store = new Store(session.steps);
  const list = new StepList(store, effects, session.video);
  setUpHistory(store);
  setUpSearch(effects, (effect) => {
    const step = store.add(effect);
    announce(`Added ${effect}`);
    list.focus(step.id, 'handle');
  });
  const timeline = new Timeline(session.video, session.audio);
  const audioEffects = new Set(effects.filter(({kind}) => kind === 'audio').map(({id}) => id));
  if (session.video) new Viewer(store, (effect) => !audioEffects.has(effect), timeline);
  if (session.audio) new Sound(store, (effect) => audioEffects.has(effect), timeline);
  setUpChecks(store, (states) => list.showStates(states));
  setUpFilm(store, session.folder);
  find('quit').addEventListener('click', async () => {
    await post('quit', {});
    document.body.replaceChildren(make('main', {}, make('p', {}, 'tarsel has ended. Close this page.')));
  });
  document.body.dataset.ready = 'true';
}

start().catch((failure) => {
  find('facts').textContent = failure.message;
  if (!(failure instanceof Refusal)) console.error(failure);
});
