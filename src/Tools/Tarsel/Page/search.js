// Effects found by their names, everyday words and help, to be added.

import {announce, find, make} from './dom.js';

const s_most = 12;

/** Effects that all words are found in, the best first. */
export function findEffects(effects, query) {
  const words = query.toLowerCase().split(/\s+/).filter((word) => word !== '' && word !== 'and');
  const rank = ({id, keywords, summary, parameters}, word) => {
    if (id === word) return 0;
    if (id.startsWith(word)) return 1;
    if (keywords.includes(word)) return 2;
    if (id.includes(word)) return 3;
    if (keywords.some((keyword) => keyword.startsWith(word))) return 4;
    if (parameters.some(({key}) => key.includes(word))) return 5;
    return `${summary} ${parameters.map(({help}) => help).join(' ')}`.toLowerCase().includes(word) ? 6 : Infinity;
  };
  return effects
      .map((effect) => ({effect, sum: words.reduce((sum, word) => sum + rank(effect, word), 0)}))
      .filter(({sum}) => sum < Infinity)
      .sort((a, b) => a.sum - b.sum)
      .map(({effect}) => effect);
}

/** The box with its list; `onChoose` gets the name of an effect. */
export function setUpSearch(effects, onChoose) {
  const query = find('query');
  const list = find('found');
  let found = [];
  let active = -1;

  const close = () => {
    list.hidden = true;
    query.setAttribute('aria-expanded', 'false');
    query.removeAttribute('aria-activedescendant');
  };
  const choose = (effect) => {
    query.value = '';
    close();
    onChoose(effect.id);
  };
  const activate = (index) => {
    active = index;
    [...list.children].forEach((option, i) => option.setAttribute('aria-selected', String(i === index)));
    query.setAttribute('aria-activedescendant', `found-${index}`);
    list.children[index]?.scrollIntoView({block: 'nearest'});
  };
  const draw = () => {
    found = findEffects(effects, query.value).slice(0, query.value === '' ? effects.length : s_most);
    list.replaceChildren(...found.map((effect, i) => make('li', {
      id: `found-${i}`, role: 'option', onmousedown: (event) => event.preventDefault(), onclick: () => choose(effect),
    }, make('b', {}, effect.id), ` ${effect.summary}`)));
    if (found.length === 0) list.append(make('li', {className: 'none'}, 'No effect has these words.'));
    list.hidden = false;
    query.setAttribute('aria-expanded', 'true');
    announce(`${found.length} effects found`);
    if (found.length > 0) activate(0);
  };
  query.addEventListener('input', draw);
  query.addEventListener('click', draw);
  query.addEventListener('blur', close);
  query.addEventListener('keydown', (event) => {
    if (event.key === 'Escape') close();
    else if (event.key === 'Enter' && !list.hidden && found[active]) choose(found[active]);
    else if (event.key === 'ArrowDown' || event.key === 'ArrowUp') {
      if (list.hidden) draw();
      else if (found.length > 0) {
        activate((active + (event.key === 'ArrowDown' ? 1 : found.length - 1)) % found.length);
      }
    } else return;
    event.preventDefault();
  });
}
