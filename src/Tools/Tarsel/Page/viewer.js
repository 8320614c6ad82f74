// Frames before and after: the divider between them, zoom, and the time.

import {getFrame, Latest, Refusal} from './api.js';
import {find} from './dom.js';

const s_impatience = 150; // milliseconds

export class Viewer {
  #getChain;
  /** Of the last frame that was asked for. */
  #chain = null;
  #canvases = {before: find('before'), after: find('after')};
  #latest = {before: new Latest(s_impatience), after: new Latest(s_impatience)};
  #divider = find('divider');
  #stage = find('stage');
  #place = 0.5;

  /** `isWanted` tells by their names which effects are on video. */
  constructor(store, isWanted, timeline) {
    this.#getChain = () => store.getChain(isWanted);
    this.timeline = timeline;
    find('video').hidden = false;
    find('mode').addEventListener('input', () => this.#lay());
    find('zoom').addEventListener('input', () => this.#lay());
    new ResizeObserver(() => this.#lay()).observe(this.#stage);
    this.#setUpDivider();
    this.#setUpStage();
    for (const event of ['structure', 'value']) store.addEventListener(event, () => this.#showAfter());
    timeline.addEventListener('input', () => this.showAll());
    this.showAll();
  }

  showAll() {
    this.#show('before', []);
    this.#chain = null;
    this.#showAfter();
  }

  #showAfter() {
    const chain = this.#getChain();
    const text = JSON.stringify(chain);
    if (text === this.#chain) return;
    this.#chain = text;
    this.#show('after', chain);
  }

  #show(which, steps) {
    this.#latest[which].do(async (signal) => {
      find('busy').textContent = which === 'after' ? '\u2026' : '';
      try {
        const {facts, image} = await getFrame(which, steps, this.timeline.time, signal);
        const canvas = this.#canvases[which];
        const isOther = canvas.width !== image.width || canvas.height !== image.height;
        const other = this.#canvases[which === 'after' ? 'before' : 'after'];
        const size = {width: image.width, height: image.height};
        if (isOther) Object.assign(canvas, size);
        if (other.dataset.shown === undefined) Object.assign(other, size); // its place, until it comes
        canvas.getContext('2d').putImageData(image, 0, 0);
        canvas.dataset.shown = String(Number(canvas.dataset.shown ?? 0) + 1);
        if (isOther) this.#lay();
        if (which === 'after') this.#tell('', facts);
      } catch (failure) {
        if (!(failure instanceof Refusal)) throw failure;
        // What is wrong with a step stands beside it.
        if (which === 'after') this.#tell(failure.step === null ? failure.message : '', {isExact: true, notes: []});
      } finally {
        find('busy').textContent = '';
      }
    });
  }

  #tell(error, {isExact, notes}) {
    find('frame-error').textContent = error;
    find('frame-note').textContent = [...notes, ...(isExact ? [] :
      ['These effects look at other frames: the preview has seen about a second of them, a run sees all.'])].join(' ');
  }

  #areAlike() {
    const {before, after} = this.#canvases;
    return before.width === after.width && before.height === after.height;
  }

  #lay() {
    const {before, after} = this.#canvases;
    const chosen = find('mode').value;
    const mode = chosen === 'split' && !this.#areAlike() ? 'side' : chosen;
    const frames = find('frames');
    frames.className = mode;
    const zoom = find('zoom').value;
    const columns = mode === 'side' ? 2 : 1;
    const fit = (canvas) => Math.min((this.#stage.clientWidth - 4) / columns / canvas.width,
        (this.#stage.clientHeight - 4) / canvas.height);
    // One scale for both: frames of other sizes look so.
    const scale = zoom === 'fit' ? Math.min(fit(before), fit(after)) : Number(zoom) / window.devicePixelRatio;
    for (const canvas of [before, after]) {
      canvas.style.width = `${canvas.width * scale}px`;
      canvas.style.height = `${canvas.height * scale}px`;
    }
    frames.classList.toggle('pixels', scale * window.devicePixelRatio >= 2);
    find('sizes').textContent = this.#areAlike() ? `${before.width} \u00d7 ${before.height}` :
      `${before.width} \u00d7 ${before.height} \u2192 ${after.width} \u00d7 ${after.height}`;
    this.#setPlace(this.#place);
  }

  #setPlace(place) {
    this.#place = Math.min(Math.max(place, 0), 1);
    const percent = 100 * this.#place;
    const isSplit = find('frames').className.includes('split');
    this.#canvases.before.style.clipPath = isSplit ? `inset(0 ${100 - percent}% 0 0)` : '';
    this.#divider.style.left = `${percent}%`;
    this.#divider.setAttribute('aria-valuenow', String(Math.round(percent)));
    this.#divider.setAttribute('aria-valuetext', `${Math.round(percent)} % before`);
  }

  #setUpDivider() {
    const follow = (event) => {
      const box = find('frames').getBoundingClientRect();
      this.#setPlace((event.clientX - box.left) / box.width);
    };
    this.#divider.addEventListener('pointerdown', (event) => {
      this.#divider.setPointerCapture(event.pointerId);
      event.stopPropagation();
    });
    this.#divider.addEventListener('pointermove', (event) => {
      if (this.#divider.hasPointerCapture(event.pointerId)) follow(event);
    });
    this.#divider.addEventListener('keydown', (event) => {
      const to = {ArrowLeft: this.#place - 0.02, ArrowRight: this.#place + 0.02, Home: 0, End: 1}[event.key];
      if (to === undefined) return;
      event.preventDefault();
      this.#setPlace(to);
    });
  }

  /** Drags what is zoomed; the wheel with Ctrl zooms. */
  #setUpStage() {
    const stage = this.#stage;
    let last = null;
    stage.addEventListener('pointerdown', (event) => {
      if (event.pointerType === 'mouse') last = event;
    });
    window.addEventListener('pointerup', () => last = null);
    stage.addEventListener('pointermove', (event) => {
      if (last === null) return;
      stage.scrollBy(last.clientX - event.clientX, last.clientY - event.clientY);
      last = event;
    });
    const zoom = find('zoom');
    const step = (by) => {
      zoom.selectedIndex = Math.min(Math.max(zoom.selectedIndex + by, 0), zoom.options.length - 1);
      this.#lay();
    };
    stage.addEventListener('wheel', (event) => {
      if (!event.ctrlKey) return;
      event.preventDefault();
      step(event.deltaY < 0 ? 1 : -1);
    }, {passive: false});
    stage.addEventListener('keydown', (event) => {
      if (event.key === '+') step(1);
      else if (event.key === '-') step(-1);
    });
  }
}
