// The user manager's tabs: the chosen tab lives in the URL's fragment, so reload and the back
// button show it again. Arrow keys move between tabs as in any tab list.
import { $ } from '../ui.js';

function tabsOf(list) {
  return [...list.querySelectorAll('[role="tab"]')];
}

function nameOf(tab) {
  return tab.getAttribute('href').slice(1);
}

function show(list, name) {
  const tabs = tabsOf(list);
  const chosen = tabs.find((tab) => nameOf(tab) === name) || tabs[0];
  for (const tab of tabs) {
    const selected = tab === chosen;
    tab.setAttribute('aria-selected', String(selected));
    tab.tabIndex = selected ? 0 : -1;
    document.getElementById(tab.getAttribute('aria-controls')).hidden = !selected;
  }
}

export function initTabs() {
  const list = $('[role="tablist"]');
  const fromUrl = () => show(list, decodeURIComponent(location.hash.slice(1)));
  window.addEventListener('hashchange', fromUrl);
  list.addEventListener('keydown', (event) => {
    const tabs = tabsOf(list);
    const index = tabs.indexOf(document.activeElement);
    if (index < 0) return;
    const moves = { ArrowRight: index + 1, ArrowLeft: index - 1, Home: 0, End: tabs.length - 1 };
    if (!(event.key in moves)) return;
    event.preventDefault();
    const next = tabs[(moves[event.key] + tabs.length) % tabs.length];
    location.hash = nameOf(next); // a history entry, like a click
    next.focus();
  });
  fromUrl();
}
