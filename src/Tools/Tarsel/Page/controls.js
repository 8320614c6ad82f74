// A control for each kind of parameter.

import {make} from './dom.js';

/** Round enough for a slider: 1, 2 or 5 times a power of ten. */
function niceStep(span) {
  const rough = span / 200;
  const power = 10 ** Math.floor(Math.log10(rough));
  return [1, 2, 5, 10].find((factor) => factor * power >= rough) * power;
}

/** How far from 0 values go that anybody wants, where much more is legal. */
function guessReach({key, unit, minimum, default: initial}, video) {
  const size = video ? Math.max(video.width, video.height) : 1000;
  if (unit === 'pixels') return /width|height/.test(key) ? 2 * size : minimum < 0 ? 32 : Math.round(size / 4);
  if (unit === 'degrees') return 180;
  if (unit === 'Hz' && initial === 0) return 96000;
  return 40 * Math.max(Math.abs(initial) || 0, 1);
}

/** The part of the legal range that a slider goes over. */
export function usefulRange(parameter, video) {
  const {kind, minimum, maximum, default: initial} = parameter;
  const reach = guessReach(parameter, video);
  const isWide = (bound) => bound === null || Math.abs(bound) > Math.max(100 * Math.abs(initial), 256);
  const low = isWide(minimum) ? Math.max(minimum ?? -Infinity, -reach) : minimum;
  const high = isWide(maximum) ? Math.min(maximum ?? Infinity, reach) : maximum;
  return {low, high, step: kind === 'integer' ? 1 : niceStep(high - low)};
}

const numberText = (value) => String(Number(Number(value).toPrecision(7)));

/** A slider for what is useful beside a box for all that is legal. */
function makeNumber(parameter, value, context) {
  const {low, high, step} = usefulRange(parameter, context.video);
  const slider = make('input', {type: 'range', min: low, max: high, step, value, 'aria-label': context.label});
  const box = make('input', {type: 'number', step: 'any', value: numberText(value), 'aria-label': context.label + ', typed'});
  slider.addEventListener('input', () => {
    box.value = numberText(slider.value);
    context.onInput(Number(box.value));
  });
  box.addEventListener('input', () => {
    if (box.value === '') return;
    slider.value = box.value;
    context.onInput(Number(box.value));
  });
  return [slider, box, ...(parameter.unit ? [make('span', {className: 'unit'}, parameter.unit)] : [])];
}

function makeFlag(parameter, value, context) {
  return [make('input', {
    type: 'checkbox', checked: value === true || value === 1 || value === '1', 'aria-label': context.label,
    oninput: (event) => context.onInput(event.target.checked),
  })];
}

function makeWord(parameter, value, context) {
  const select = make('select', {'aria-label': context.label, oninput: () => context.onInput(select.value)},
      ...parameter.words.map(({word, help}) => make('option', {value: word, title: help}, word)));
  select.value = value;
  return [select];
}

function makeMask(parameter, value, context) {
  const chosen = new Set(String(value).split('+'));
  const boxes = parameter.words.filter(({value: bits}) => bits !== 0).map(({word, help}) =>
    make('label', {title: help}, make('input', {
      type: 'checkbox', checked: chosen.has(word),
      oninput: (event) => {
        if (event.target.checked) chosen.add(word);
        else chosen.delete(word);
        const words = parameter.words.map((each) => each.word).filter((each) => chosen.has(each));
        context.onInput(words.join('+') || '0');
      },
    }), ' ' + word));
  return [make('span', {className: 'mask', role: 'group', 'aria-label': context.label}, ...boxes)];
}

function makeColor(parameter, value, context) {
  const text = make('input', {type: 'text', value, size: 10, spellcheck: false, 'aria-label': context.label + ', typed',
    oninput: () => context.onInput(text.value)});
  const picker = make('input', {type: 'color', 'aria-label': context.label, oninput: () => {
    text.value = picker.value;
    context.onInput(picker.value);
  }});
  if (/^#[0-9a-f]{6}/i.test(value)) picker.value = value.slice(0, 7);
  return [picker, text];
}

function makeText(parameter, value, context) {
  return [make('input', {
    type: 'text', value, spellcheck: false, 'aria-label': context.label,
    oninput: (event) => context.onInput(event.target.value),
  })];
}

/** Entries as rows, each with a box for a column. */
function makeList(parameter, value, context) {
  const {columns} = parameter;
  const table = make('div', {className: 'list', role: 'group', 'aria-label': context.label});
  let entries = String(value).split('|').filter((entry) => entry !== '').map((entry) => entry.split('/'));
  const tell = () => context.onInput(entries.map((entry) => entry.join('/')).join('|'));
  const draw = () => {
    table.replaceChildren(...entries.map((entry, row) => make('div', {className: 'entry'},
        ...columns.map(({key, kind, minimum, maximum, unit, help}, column) => make('label', {title: help}, key + ' ',
            make('input', {
              type: kind === 'real' || kind === 'integer' ? 'number' : 'text', step: 'any', value: entry[column] ?? '',
              min: minimum ?? '', max: maximum ?? '',
              oninput: (event) => {
                entry[column] = event.target.value;
                if (event.target.value !== '') tell();
              },
            }), unit ? ' ' + unit : '')),
        make('button', {type: 'button', 'aria-label': `Remove entry ${row + 1}`, onclick: () => {
          entries = entries.filter((each) => each !== entry);
          draw();
          tell();
        }}, '\u00d7'))),
    make('button', {type: 'button', onclick: () => {
      const likeLast = entries.at(-1);
      entries.push(likeLast ? [...likeLast] : columns.map(({minimum, maximum, unit}) =>
        String(Math.min(Math.max(unit === 'Hz' ? 1000 : 1, minimum ?? 1), maximum ?? 1000))));
      draw();
      tell();
    }}, 'Add'));
  };
  draw();
  return [table];
}

const makers = {
  integer: makeNumber, real: makeNumber, flag: makeFlag, word: makeWord, mask: makeMask, color: makeColor, list: makeList,
};

/**
 * A row with the control of a parameter. `onInput` gets what is chosen, or undefined for the default; `onChange` ends a
 * gesture. A value that moves over time is shown, and can only be reset.
 */
export function makeControl(parameter, value, {effect, video, onInput, onChange}) {
  const label = `${effect}: ${parameter.key}`;
  const row = make('div', {className: 'control'});
  const reset = make('button', {type: 'button', className: 'reset', title: 'Reset to default', 'aria-label': `Reset ${label}`,
    onclick: () => {
      onInput(undefined);
      draw(undefined);
      onChange();
    }}, '\u21ba');
  const tell = (chosen) => {
    const isDefault = chosen === undefined || String(chosen) === String(parameter.default);
    reset.hidden = isDefault;
    onInput(isDefault ? undefined : chosen);
  };
  const draw = (current) => {
    const shown = current ?? parameter.default;
    const isMoving = typeof shown === 'object' && !Array.isArray(shown);
    const text = Array.isArray(shown) ? shown.map((each) => [each].flat().join('/')).join('|') : shown;
    const parts = isMoving ? [make('span', {}, 'moves over time')]
      : (makers[parameter.kind] ?? makeText)(parameter, text, {label, video, onInput: tell});
    reset.hidden = current === undefined;
    row.replaceChildren(make('span', {className: 'key', title: parameter.help}, parameter.key),
        make('span', {className: 'value'}, ...parts), reset);
  };
  row.addEventListener('change', onChange);
  draw(value);
  return row;
}
