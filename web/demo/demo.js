// Enrol, verify and identify with the client module, as an application would.
import { BusyError, MvFpi, readRecord } from '../mv_fpi.js';
import { TEXTS } from './texts.js';

const query = new URLSearchParams(location.search);
const port = Number(query.get('port')) || undefined;
const at = (id) => document.getElementById(id);
const actions = ['enroll', 'verify', 'identify'].map(at);
const SVG = 'http://www.w3.org/2000/svg';

let language = query.get('lang') ??
  (navigator.language.startsWith('zh') ? 'zh' : 'en');
let reader = null;
let template = null;
let shown = null; // the record that is drawn
let running = null; // the AbortController of the call
let say = (texts) => [texts.ready, texts.readyAdvice];

function showTexts() {
  const texts = TEXTS[language];
  document.documentElement.lang = language;
  document.title = texts.title;
  for (const element of document.querySelectorAll('[data-text]')) {
    element.textContent = texts[element.dataset.text];
  }
  at('language').textContent = language === 'zh' ? 'English' : '中文';
  at('language').lang = language === 'zh' ? 'en' : 'zh';
  at('connection').textContent = reader
    ? texts[reader.connected ? 'connected' : 'disconnected'] : '';
  [at('due').textContent, at('advice').textContent] = say(texts);
  const count = shown?.minutiae.length;
  at('caption').textContent = shown ? texts.minutiae(count) : texts.noFinger;
  at('finger').setAttribute('aria-label', at('caption').textContent);
}

function tell(state, what) {
  say = what;
  at('ring').className = `ring ${state}`;
  if (state !== 'waiting') {
    at('seconds').textContent = { done: '✓', differs: '✗', failed: '!' }[state] ?? '';
  }
  showTexts();
}

function draw(parent, name, attributes) {
  const element = document.createElementNS(SVG, name);
  for (const [key, value] of Object.entries(attributes)) {
    element.setAttribute(key, value);
  }
  return parent.appendChild(element);
}

function show(text) {
  shown = readRecord(text);
  for (const { x, y, direction, kind } of shown.minutiae) {
    const turned = draw(at('finger'), 'g',
      { transform: `translate(${x} ${y}) rotate(${-direction})` });
    draw(turned, 'path', { d: 'M3.5 0H11' });
    if (kind === 1) draw(turned, 'circle', { r: 3.5 });
    else draw(turned, 'rect', { x: -3, y: -3, width: 6, height: 6 });
  }
}

function clearFinger() {
  shown = null;
  at('finger').replaceChildren();
  draw(at('finger'), 'rect',
    { class: 'pad', x: 0, y: 0, width: 256, height: 256, rx: 60 });
}

function onProgress({ state, presses, secondsLeft }) {
  if (state !== 'waiting' || !running) return;
  const [what, how] = presses === 1
    ? ['pressOnce', 'onceAdvice'] : ['pressThrice', 'thriceAdvice'];
  const texts = TEXTS[language];
  if (at('due').textContent !== texts[what]) {
    tell('waiting', (t) => [t[what], t[how]]);
  }
  const whole = Number(at('timeout').value);
  at('seconds').textContent = secondsLeft;
  document.querySelector('.left').style.strokeDasharray =
    `${(100 * secondsLeft) / whole} 100`;
}

// The table of result codes has parts of sentences.
function sentence(text) {
  return text.charAt(0).toUpperCase() + text.slice(1);
}

function explain(error) {
  return (texts) => {
    if (error instanceof BusyError && error.origin) {
      const since = new Date(error.since).toLocaleTimeString(language);
      return [sentence(error.text(language)), texts.busy(error.origin, since)];
    }
    const advice = texts.advice[error.name] ?? sentence(error.remedy(language));
    return [sentence(error.text(language)), advice];
  };
}

async function connect() {
  if (reader) return;
  reader = await MvFpi.connect({ port });
  reader.addEventListener('connectionchange', showTexts);
}

// A failed call changes nothing that the page knows.
async function run(button, work) {
  running = new AbortController();
  for (const action of actions) action.disabled = true;
  at('cancel').disabled = false;
  at('cancel').focus();
  tell('starting', (texts) => [texts.starting, '']);
  try {
    await connect();
    const timeout = Number(at('timeout').value);
    const [state, texts] =
      await work({ timeout, signal: running.signal, onProgress });
    tell(state, texts);
  } catch (error) {
    if (!error.text) throw error;
    tell('failed', explain(error));
  } finally {
    running = null;
    document.querySelector('.left').style.strokeDasharray = '';
    for (const action of actions) action.disabled = false;
    at('verify').disabled = template === null;
    at('cancel').disabled = true;
    button.focus();
  }
}

async function enroll(options) {
  clearFinger();
  template = await reader.enroll({ ...options, guided: at('guided').checked });
  show(template);
  return ['done', (texts) => [texts.enrolled, texts.enrolledAdvice]];
}

async function verify(options) {
  clearFinger();
  const feature = await reader.capture(options);
  const found = await reader.match(template, feature);
  show(feature);
  return [found.match ? 'done' : 'differs',
    (texts) => [found.match ? texts.matches : texts.differs,
      texts.score(found.score, found.scoreMustExceed)]];
}

async function identify(options) {
  clearFinger();
  const { hits, compared } = await reader.identify(options);
  const [best] = hits;
  return [best ? 'done' : 'differs', (texts) => [
    best ? texts.found(best.id, best.finger) : texts.nobody,
    texts.compared(compared)]];
}

for (const [button, work] of [[at('enroll'), enroll], [at('verify'), verify],
  [at('identify'), identify]]) {
  button.addEventListener('click', () => run(button, work));
}
at('cancel').addEventListener('click', () => running?.abort());
document.addEventListener('keydown', (event) => {
  if (event.key === 'Escape') running?.abort();
});
at('language').addEventListener('click', () => {
  language = language === 'zh' ? 'en' : 'zh';
  showTexts();
});
at('verify').disabled = true;
clearFinger();
showTexts();
