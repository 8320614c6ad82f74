// Excerpts before and after: waveforms, and audio to play.

import {getAudio, Latest, Refusal} from './api.js';
import {find} from './dom.js';

const s_seconds = 10;
const s_impatience = 300; // milliseconds

/** The samples of the first channels of 16-bit PCM in a WAV file, -1 to 1 at most. */
function readWav(bytes) {
  const view = new DataView(bytes);
  let channels = 1;
  for (let at = 12; at + 8 <= view.byteLength;) {
    const name = view.getUint32(at);
    const size = Math.min(view.getUint32(at + 4, true), view.byteLength - at - 8);
    if (name === 0x666d7420) channels = view.getUint16(at + 10, true); // "fmt "
    if (name === 0x64617461) { // "data"
      return {channels, samples: new Int16Array(bytes.slice(at + 8, at + 8 + size - size % 2))};
    }
    at += 8 + size + size % 2;
  }
  return {channels, samples: new Int16Array(0)};
}

/** Each channel in a lane of its own, in each column from the lowest to the highest sample. */
function drawWave(canvas, {channels, samples}) {
  const width = canvas.width = Math.max(canvas.clientWidth * window.devicePixelRatio, 1);
  const height = canvas.height = Math.max(canvas.clientHeight * window.devicePixelRatio, 1);
  const context = canvas.getContext('2d');
  context.fillStyle = getComputedStyle(canvas).color;
  const frames = samples.length / channels;
  const lane = height / channels;
  for (let channel = 0; channel < channels; ++channel) {
    const middle = lane * (channel + 0.5);
    for (let x = 0; x < width; ++x) {
      const end = Math.max(Math.floor((x + 1) * frames / width), Math.floor(x * frames / width) + 1);
      let [low, high] = [0, 0];
      for (let i = Math.floor(x * frames / width); i < end && i < frames; ++i) {
        const sample = samples[i * channels + channel];
        low = Math.min(low, sample);
        high = Math.max(high, sample);
      }
      const scale = lane / 2 / 32768;
      context.fillRect(x, middle - high * scale, 1, Math.max((high - low) * scale, 1));
    }
  }
}

export class Sound {
  #getChain;
  /** Of the last excerpt that was asked for. */
  #chain = null;
  #timeline;
  #latest = {before: new Latest(s_impatience), after: new Latest(s_impatience)};
  #waves = {};

  /** `isWanted` tells by their names which effects are on audio. */
  constructor(store, isWanted, timeline) {
    this.#getChain = () => store.getChain(isWanted);
    this.#timeline = timeline;
    find('audio').hidden = false;
    for (const event of ['structure', 'value']) store.addEventListener(event, () => this.#showAfter());
    timeline.addEventListener('input', () => this.#showAll());
    new ResizeObserver(() => Object.entries(this.#waves).forEach(([which, wave]) => drawWave(find(`wave-${which}`), wave)))
        .observe(find('audio'));
    this.#showAll();
  }

  #showAll() {
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
      try {
        const bytes = await getAudio(which, steps, this.#timeline.time, s_seconds, signal);
        this.#waves[which] = readWav(bytes);
        drawWave(find(`wave-${which}`), this.#waves[which]);
        const player = find(`play-${which}`);
        const {currentTime, paused} = player;
        URL.revokeObjectURL(player.src);
        player.src = URL.createObjectURL(new Blob([bytes], {type: 'audio/wav'}));
        player.currentTime = currentTime;
        if (!paused) await player.play();
        find('audio-error').textContent = '';
      } catch (failure) {
        if (!(failure instanceof Refusal)) throw failure;
        if (which === 'after') find('audio-error').textContent = failure.step === null ? failure.message : '';
      }
    });
  }
}
