// What the program is asked for.

export class Refusal extends Error {
  constructor({message, step}) {
    super(message);
    this.step = step;
  }
}

/** The answer; a Refusal for what the program refuses, an AbortError once `signal` aborts. */
async function ask(method, path, body, signal) {
  const response = await fetch('api/' + path, {
    method,
    signal,
    headers: body === undefined ? {} : {'Content-Type': 'application/json'},
    body: body === undefined ? undefined : JSON.stringify(body),
  }).catch((failure) => {
    if (failure.name === 'AbortError') throw failure;
    throw new Refusal({message: 'Start tarsel try again: it has ended.', step: null});
  });
  if (!response.ok) {
    throw new Refusal(await response.json().catch(() => ({message: response.statusText, step: null})));
  }
  return response;
}

export const get = async (path) => (await ask('GET', path)).json();
export const post = async (path, body) => (await ask('POST', path, body)).json();
export const remove = async (path) => (await ask('DELETE', path)).json();

/** A frame as ImageData, and the facts about it. */
export async function getFrame(slot, steps, at, signal) {
  const response = await ask('POST', 'frame', {slot, steps, at}, signal);
  const facts = JSON.parse(response.headers.get('X-Frame'));
  const pixels = new Uint8ClampedArray(await response.arrayBuffer());
  return {facts, image: new ImageData(pixels, facts.width, facts.height)};
}

/** The bytes of a WAV file. */
export async function getAudio(slot, steps, at, seconds, signal) {
  return (await ask('POST', 'audio', {slot, steps, at, seconds}, signal)).arrayBuffer();
}

/**
 * Does the latest of what is asked for: one piece of work at a time, the newest next. Work that takes longer than
 * `patience` milliseconds is aborted for it.
 */
export class Latest {
  #work = null;
  #controller = null;
  #begun = 0;
  #timer = 0;

  constructor(patience) {
    this.patience = patience;
  }

  do(work) {
    this.#work = work;
    if (this.#controller === null) {
      this.#run();
      return;
    }
    const left = this.patience - (performance.now() - this.#begun);
    clearTimeout(this.#timer);
    const controller = this.#controller;
    this.#timer = setTimeout(() => controller.abort(), Math.max(left, 0));
  }

  async #run() {
    while (this.#work !== null) {
      const work = this.#work;
      this.#work = null;
      this.#controller = new AbortController();
      this.#begun = performance.now();
      try {
        await work(this.#controller.signal);
      } catch (failure) {
        if (failure.name !== 'AbortError') console.error(failure);
      }
      clearTimeout(this.#timer);
    }
    this.#controller = null;
  }
}
