// The time that is looked at and listened to.

import {find} from './dom.js';

/** Emits "input" when `time`, in seconds of the file, changes. */
export class Timeline extends EventTarget {
  #start;
  #end;
  #frame;
  time;

  constructor(video, audio) {
    super();
    this.#start = video?.start ?? 0;
    this.#frame = video?.rate > 0 ? 1 / video.rate : 0.1;
    const length = video ? video.seconds : audio.seconds;
    this.#end = this.#start + Math.max(length - this.#frame, 0);
    this.time = this.#start;
    if (this.#end <= this.#start) return;
    find('timeline').hidden = false;
    for (const box of [find('time'), find('seconds')]) {
      Object.assign(box, {min: this.#start, max: this.#end, value: this.#start});
      box.addEventListener('input', () => this.#go(Number(box.value), box));
    }
    find('earlier').addEventListener('click', () => this.#go(this.time - this.#frame));
    find('later').addEventListener('click', () => this.#go(this.time + this.#frame));
  }

  #go(time, source) {
    this.time = Math.min(Math.max(time, this.#start), this.#end);
    const text = String(Number(this.time.toFixed(3)));
    for (const box of [find('time'), find('seconds')]) if (box !== source) box.value = text;
    find('time').setAttribute('aria-valuetext', `${text} seconds`);
    this.dispatchEvent(new Event('input'));
  }
}
