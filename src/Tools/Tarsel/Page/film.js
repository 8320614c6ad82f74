// What to do with the chain elsewhere, and writing the film here.

import {get, Latest, post, Refusal, remove} from './api.js';
import {announce, find} from './dom.js';

const s_pause = 300; // milliseconds

/** Shows the commands and the chain file, and tells `onStates` what the program says of each step. */
export function setUpChecks(store, onStates) {
  const latest = new Latest(1000);
  const latestPeer = new Latest(1000);
  const getRun = () => ({steps: store.getChain(), output: find('name').value || 'out'});
  // Takes the input's beginning to be read: only for who looks.
  const checkPeer = () => find('peer').open && latestPeer.do(async () => {
    try {
      const {command, obstacle} = await post('ffmpeg', getRun());
      find('ffmpeg').textContent = command || `There is none: ${obstacle}.`;
    } catch (failure) {
      if (!(failure instanceof Refusal)) throw failure;
      find('ffmpeg').textContent = failure.message;
    }
  });
  const check = () => latest.do(async () => {
    try {
      const {steps, command, chain} = await post('check', getRun());
      onStates(steps);
      find('command').textContent = command || 'Mend the effect that says what is wrong.';
      find('file').textContent = chain;
    } catch (failure) {
      if (!(failure instanceof Refusal)) throw failure;
      find('outcome').textContent = failure.message;
    }
  });
  for (const ask of [check, checkPeer]) {
    for (const event of ['structure', 'value']) store.addEventListener(event, ask);
    find('name').addEventListener('input', ask);
  }
  find('peer').addEventListener('toggle', checkPeer);
  for (const button of document.querySelectorAll('[data-copy]')) {
    button.addEventListener('click', async () => {
      await navigator.clipboard.writeText(find(button.dataset.copy).textContent);
      announce('Copied');
      button.textContent = 'Copied';
      setTimeout(() => button.textContent = 'Copy', 2000);
    });
  }
  check();
}

export function setUpFilm(store, folder) {
  const form = find('film');
  const [write, cancel, progress, outcome] = ['write', 'cancel', 'progress', 'outcome'].map(find);
  if (folder === '') {
    write.disabled = true;
    outcome.textContent = 'Start tarsel try with --out FOLDER to write films from here.';
    return;
  }
  const setBusy = (isBusy) => {
    write.hidden = isBusy;
    cancel.hidden = progress.hidden = !isBusy;
  };
  const describe = ({type, output, message, notes = [], frames, seconds}) => type === 'result' ?
    [`Wrote ${output}: ${frames} frames in ${seconds.toFixed(1)} s.`, ...notes].join(' ') : message;
  const watch = async () => {
    for (;;) {
      const line = await get('film');
      if (line.type === 'result' || line.type === 'error') return describe(line);
      if (line.type === 'progress' && line.done !== null) progress.value = line.done;
      await new Promise((resolve) => setTimeout(resolve, s_pause));
    }
  };
  form.addEventListener('submit', async (event) => {
    event.preventDefault();
    setBusy(true);
    progress.removeAttribute('value');
    outcome.textContent = '';
    try {
      await post('film', {steps: store.getChain(), output: find('name').value, overwrite: find('overwrite').checked});
      outcome.textContent = await watch();
    } catch (failure) {
      if (!(failure instanceof Refusal)) throw failure;
      outcome.textContent = failure.message;
    } finally {
      setBusy(false);
    }
  });
  cancel.addEventListener('click', () => remove('film'));
}
