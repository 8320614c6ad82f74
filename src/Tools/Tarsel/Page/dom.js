// Short ways to what the page consists of.

export const find = (id) => document.getElementById(id);

/** A new element; properties that begin with "on" listen, those with '-' and "role" are attributes. */
export function make(tag, properties = {}, ...children) {
  const element = document.createElement(tag);
  for (const [key, value] of Object.entries(properties)) {
    if (key.startsWith('on')) element.addEventListener(key.slice(2), value);
    else if (key.includes('-') || key === 'role' || key === 'for') element.setAttribute(key, value);
    else element[key] = value;
  }
  element.append(...children);
  return element;
}

/** Tells those who do not see the page. */
export function announce(text) {
  find('status').textContent = text;
}
