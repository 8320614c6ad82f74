// The list of steps: order, switches, settings, and what the effects say.

import {makeControl} from './controls.js';
import {announce, find, make} from './dom.js';

export class StepList {
  #store;
  #effects;
  #video;
  #list = find('steps');
  #dragged = null;

  constructor(store, effects, video) {
    this.#store = store;
    this.#effects = new Map(effects.map((effect) => [effect.id, effect]));
    this.#video = video;
    store.addEventListener('structure', () => this.draw());
    this.draw();
  }

  draw() {
    const focused = document.activeElement?.closest('[data-step]');
    const part = focused && document.activeElement.dataset.part;
    this.#list.replaceChildren(...this.#store.steps.map((step, place) => this.#drawStep(step, place)));
    find('empty').hidden = this.#store.steps.length > 0;
    if (part) this.focus(focused.dataset.step, part);
  }

  focus(id, part) {
    this.#list.querySelector(`[data-step="${id}"] [data-part="${part}"]`)?.focus();
  }

  /** What the program says of each step that is on, in their order. */
  showStates(states) {
    const on = this.#store.steps.filter((step) => step.isOn);
    for (const step of this.#store.steps) {
      const state = states[on.indexOf(step)] ?? {error: null, notes: []};
      const item = this.#list.querySelector(`[data-step="${step.id}"]`);
      const [error, notes] = [item.querySelector('.error'), item.querySelector('.note')];
      if (error.textContent !== (state.error ?? '')) error.textContent = state.error ?? '';
      if (notes.textContent !== state.notes.join(' ')) notes.textContent = state.notes.join(' ');
      item.classList.toggle('off', !step.isOn);
    }
  }

  #drawStep(step, place) {
    const effect = this.#effects.get(step.effect) ?? {id: step.effect, summary: '', parameters: []};
    const name = `${place + 1}, ${step.effect}`;
    const item = make('li', {'data-step': step.id, className: step.isOn ? '' : 'off'});
    // Not every browser drags a button.
    const handle = make('span', {
      role: 'button', tabIndex: 0, className: 'handle', draggable: true, 'data-part': 'handle', title: 'Drag, or press the arrow keys',
      'aria-label': `Move step ${name}: arrow keys`,
      onkeydown: (event) => {
        const by = {ArrowUp: -1, ArrowDown: 1}[event.key];
        if (!by) return;
        event.preventDefault();
        if (this.#store.move(step.id, place + by)) announce(`${step.effect} is step ${place + by + 1} now`);
      },
    }, '\u2630');
    handle.addEventListener('dragstart', (event) => {
      this.#dragged = step.id;
      event.dataTransfer.effectAllowed = 'move';
      event.dataTransfer.setData('text/plain', step.effect);
      event.dataTransfer.setDragImage(item, 10, 10);
    });
    item.addEventListener('dragover', (event) => {
      if (this.#dragged === null) return;
      event.preventDefault();
      item.classList.add('target');
    });
    item.addEventListener('dragleave', () => item.classList.remove('target'));
    item.addEventListener('drop', (event) => {
      event.preventDefault();
      item.classList.remove('target');
      if (this.#dragged !== null) this.#store.move(this.#dragged, place);
      this.#dragged = null;
    });
    item.addEventListener('dragend', () => this.#dragged = null);
    const isOn = make('input', {
      type: 'checkbox', checked: step.isOn, 'data-part': 'switch', 'aria-label': `Step ${name} is on`,
      oninput: (event) => this.#store.toggle(step.id, event.target.checked),
    });
    const remove = make('button', {
      type: 'button', className: 'remove', 'data-part': 'remove', 'aria-label': `Remove step ${name}`,
      onclick: () => {
        this.#store.remove(step.id);
        find('query').focus();
        announce(`Removed ${step.effect}`);
      },
    }, '\u00d7');
    item.append(
        make('div', {className: 'head'}, handle, isOn, make('h3', {title: effect.summary}, step.effect), remove),
        make('p', {className: 'error', role: 'alert'}), make('p', {className: 'note'}),
        ...this.#drawControls(step, effect));
    return item;
  }

  /** The first few, and the others folded away. */
  #drawControls(step, effect) {
    const shown = 6;
    // The switch of the step does the same.
    const parameters = effect.parameters.filter(({key}) => key !== 'enabled');
    const controls = parameters.map((parameter) => makeControl(parameter, step.settings[parameter.key], {
      effect: step.effect,
      video: this.#video,
      onInput: (value) => this.#store.set(step.id, parameter.key, value),
      onChange: () => this.#store.settle(),
    }));
    const rest = controls.splice(shown);
    const isUsed = parameters.slice(shown).some(({key}) => key in step.settings);
    return [...controls, ...(rest.length === 0 ? [] :
      [make('details', {open: isUsed}, make('summary', {}, `${rest.length} more`), ...rest)])];
  }
}
