// The steps of the chain, with undo and redo.

let lastId = 0;

/** A step of the page out of one of a chain file; what the page has no control for stays as it is. */
export const makeStep = ({effect, settings = {}, ...rest}) => ({id: ++lastId, effect, settings, rest, isOn: true});

/** Emits "structure" when steps come, go or move, and "value" when only settings change. */
export class Store extends EventTarget {
  #past = [];
  #future = [];
  #gesture = null;
  steps = [];

  constructor(steps) {
    super();
    this.steps = steps.map(makeStep);
  }

  /** The steps that are on and whose effects are wanted, as a chain file has them. */
  getChain(isWanted = () => true) {
    return this.steps.filter((step) => step.isOn && isWanted(step.effect))
        .map(({effect, settings, rest}) => ({effect, settings, ...rest}));
  }

  add(effect) {
    const step = makeStep({effect});
    this.#change('structure', null, [...this.steps, step]);
    return step;
  }
  remove(id) {
    this.#change('structure', null, this.steps.filter((step) => step.id !== id));
  }
  /** Puts the step at that place; whether it was not there. */
  move(id, place) {
    const from = this.steps.findIndex((step) => step.id === id);
    if (place < 0 || place >= this.steps.length || from === place) return false;
    const steps = this.steps.filter((step) => step.id !== id);
    steps.splice(place, 0, this.steps[from]);
    this.#change('structure', null, steps);
    return true;
  }
  toggle(id, isOn) {
    this.#replace('value', null, id, (step) => ({...step, isOn}));
  }
  /** `value` undefined: the default. Changes of one setting that follow one another are undone at once. */
  set(id, key, value) {
    this.#replace('value', `${id}/${key}`, id, (step) => {
      const settings = {...step.settings};
      if (value === undefined) delete settings[key];
      else settings[key] = value;
      return {...step, settings};
    });
  }
  /** Ends a gesture, such as the drag of a slider. */
  settle() {
    this.#gesture = null;
  }

  get canUndo() {
    return this.#past.length > 0;
  }
  get canRedo() {
    return this.#future.length > 0;
  }
  undo() {
    this.#travel(this.#past, this.#future);
  }
  redo() {
    this.#travel(this.#future, this.#past);
  }

  #travel(from, to) {
    if (from.length === 0) return;
    to.push(this.steps);
    this.steps = from.pop();
    this.#gesture = null;
    this.dispatchEvent(new Event('structure'));
  }
  #replace(kind, gesture, id, change) {
    this.#change(kind, gesture, this.steps.map((step) => step.id === id ? change(step) : step));
  }
  #change(kind, gesture, steps) {
    if (gesture === null || gesture !== this.#gesture) this.#past.push(this.steps);
    this.#gesture = gesture;
    this.#future = [];
    this.steps = steps;
    this.dispatchEvent(new Event(kind));
  }
}
