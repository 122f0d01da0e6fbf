// The fingerprint reader of this machine, for a web page: talks to the local
// service mvfp-web. No dependencies.
//
//   import { MvFpi } from './mv_fpi.js';
//   const reader = await MvFpi.connect();
//   const template = await reader.enroll({ timeout: 60, onProgress });
//
// Call connect when the user acts, not when the page loads: a browser that asks
// whether the page may reach this machine is then answered "yes".

const PORT = 47653;
const FIRST_RETRY_MS = 500;
const LONGEST_RETRY_MS = 15000;

/** Base of everything that this module throws on its own account. */
export class MvFpiError extends Error {
  constructor(message, { meanings = [], ...details } = {}, options) {
    super(message, options);
    this.name = new.target.name;
    this.meanings = meanings;
    Object.assign(this, details);
  }

  /** What went wrong, for a person; `language` is "en" or "zh". */
  text(language = 'en') { return this.#column('meaning', language); }

  /** What to do about it. */
  remedy(language = 'en') { return this.#column('remedy', language); }

  #column(name, language) {
    const suffix = language.startsWith('zh') ? '_zh' : '';
    const texts = this.meanings.map((m) => m[name + suffix] ?? m[name]);
    return [...new Set(texts)].join(suffix ? '；或：' : '; or ') || this.message;
  }
}

/** The service cannot be reached, or the connection to it was lost. */
export class ConnectionError extends MvFpiError {}

/** The page asked for what there is not, or wrongly. */
export class RequestError extends MvFpiError {}

/** The service cannot carry calls out: it is set up wrongly, or one crashed. */
export class ServiceError extends MvFpiError {}

/** A text is no well-formed record. */
export class RecordError extends MvFpiError {}

/** A call of the driver failed: its `code`, `function` and `meanings`. */
export class CallError extends MvFpiError {}
export class ArgumentError extends CallError {}
export class FingerTimeoutError extends CallError {}
export class PortError extends CallError {}
export class NoFingerError extends CallError {}
export class SelectorError extends CallError {}
/** Another call has the reader: of a page, then with `origin` and `since`. */
export class BusyError extends CallError {}
/** By `signal`, or in the prompt window. */
export class CancelledError extends CallError {}
export class AlgorithmLibraryError extends CallError {}
export class SynthesisError extends CallError {}
export class ReaderError extends CallError {}
export { FingerTimeoutError as TimeoutError };

// By the constant of the likeliest meaning; what is not here is trouble with
// the reader.
const KINDS = {
  FG_ERR_ARGUMENT: ArgumentError,
  FG_ERR_TIMEOUT: FingerTimeoutError,
  FG_ERR_PORT: PortError,
  FG_ERR_NO_FINGER: NoFingerError,
  FG_ERR_SELECTOR: SelectorError,
  FG_ERR_BUSY: BusyError,
  FG_ERR_CANCELLED: CancelledError,
  FG_ERR_NO_LIBRARY: AlgorithmLibraryError,
  FG_ERR_SYNTHESIS: SynthesisError,
  FG_ERR_GUIDED_SYNTHESIS: SynthesisError,
};
const SPEED_REFUSED = '设备串口波特率失败';

// The service's own, by the number of the answer.
const OWN_KINDS = {
  [-32001]: BusyError,
  [-32002]: CancelledError,
  [-32003]: ServiceError,
  [-32004]: RecordError,
  [-32005]: ServiceError,
  [-32006]: ReaderError,
};
const DRIVER_GAVE_CODE = -32000;

function kindOf({ code, data = {} }) {
  if (code !== DRIVER_GAVE_CODE) return OWN_KINDS[code] ?? RequestError;
  const likeliest = data.meanings?.[0];
  if (!likeliest) return CallError;
  // Under the number of the switch box, but no fault of its.
  if (likeliest.message === SPEED_REFUSED) return ReaderError;
  return KINDS[likeliest.name] ?? ReaderError;
}

function errorOf(answer, options) {
  const { message: status, ...data } = answer.data ?? {};
  return new (kindOf(answer))(answer.message, { ...data, status }, options);
}

// Newer browsers ask whether a page may reach this machine, and say then what
// was answered.
async function isForbidden() {
  try {
    const name = 'loopback-network';
    const permission = await navigator.permissions.query({ name });
    return permission.state === 'denied';
  } catch {
    return false;
  }
}

async function unreachable() {
  const { origin } = globalThis.location ?? {};
  let row = {
    meaning: 'the fingerprint service does not answer this page',
    meaning_zh: '指纹服务没有应答此页面',
    remedy: `see that mvfp-web runs, and that its list allows ${origin}`,
    remedy_zh: `请确认 mvfp-web 正在运行，且其配置允许 ${origin}`,
  };
  if (origin === 'null') {
    row = {
      meaning: 'a page from a file may not use the reader',
      meaning_zh: '本地文件页面不能使用读头',
      remedy: 'serve it over http, and allow that origin',
      remedy_zh: '请通过 http 提供此页面，并允许其来源',
    };
  } else if (await isForbidden()) {
    row = {
      meaning: 'the browser keeps this page from the reader',
      meaning_zh: '浏览器禁止此页面访问读头',
      remedy: "allow local network access in the site's settings",
      remedy_zh: '请在浏览器的网站设置中允许访问本地网络',
    };
  }
  return new ConnectionError(`mvfp-web does not answer ${origin}`,
    { meanings: [row] });
}

function connectionLost() {
  return new ConnectionError('the connection to mvfp-web was lost', {
    meanings: [{
      meaning: 'the fingerprint service ended during the call',
      meaning_zh: '调用期间指纹服务已终止',
      remedy: 'try again',
      remedy_zh: '请重试',
    }],
  });
}

function open(url) {
  return new Promise((resolve, reject) => {
    const socket = new WebSocket(url);
    socket.onopen = () => resolve(socket);
    socket.onclose = () => reject();
  });
}

function cancelled(reason) {
  return new CancelledError('cancelled', {
    meanings: [{ meaning: 'the call was cancelled', meaning_zh: '调用已取消',
      remedy: 'start it again', remedy_zh: '请重新开始' }],
  }, { cause: reason });
}

/**
 * The connection to the service. When it is lost, the calls that run are
 * rejected; it comes back by itself, and a call waits for one attempt.
 * Fires "connectionchange".
 */
export class MvFpi extends EventTarget {
  #urls;
  #socket = null;
  #attempt = null;
  #retry;
  #retryMs = FIRST_RETRY_MS;
  #closed = false;
  #calls = new Map();
  #lastId = 0;

  /** Use `connect`. */
  constructor({ port = PORT } = {}) {
    super();
    // Some machines keep a browser from one of them.
    this.#urls = [`ws://127.0.0.1:${port}/`, `ws://[::1]:${port}/`];
  }

  static async connect(options) {
    const reader = new MvFpi(options);
    await reader.#connected();
    return reader;
  }

  get connected() { return this.#socket !== null; }

  /** Ends the connection, and with it what still runs, for good. */
  close() {
    this.#closed = true;
    clearTimeout(this.#retry);
    this.#socket?.close();
  }

  async version(options) {
    return (await this.#call('reader.version', {}, options)).version;
  }

  async serialNumber(options) {
    return (await this.#call('reader.serial', {}, options)).serial_number;
  }

  async fingerPresent(options) {
    return (await this.#call('reader.pressed', {}, options)).finger;
  }

  /** One press; its feature. */
  async capture({ timeout, ...options } = {}) {
    return (await this.#call('reader.capture', { timeout }, options)).feature;
  }

  /** Three presses; their template. `guided` shows the prompt window. */
  async enroll({ timeout, guided, ...options } = {}) {
    const parameters = { timeout, guided };
    return (await this.#call('reader.enroll', parameters, options)).template;
  }

  /** Whether two records match at a level from 1 to 5. */
  async match(first, second, { level = 3, ...options } = {}) {
    const parameters = { first, second, level };
    const found = await this.#call('record.match', parameters, options);
    return { match: found.match, score: found.score, level: found.level,
      scoreMustExceed: found.score_must_exceed };
  }

  /** How alike two records are, 0 to 100. */
  async score(first, second, options) {
    const parameters = { first, second, level: 0 };
    return (await this.#call('record.match', parameters, options)).score;
  }

  /** Whose finger it is: of the next press, or of `record`. */
  async identify({ timeout, level, best, record, ...options } = {}) {
    const parameters = { timeout, level, best, record };
    return this.#call('gallery.identify', parameters, options);
  }

  async #call(method, params, { signal, onProgress } = {}) {
    if (signal?.aborted) throw cancelled(signal.reason);
    const socket = await this.#connected();
    if (signal?.aborted) throw cancelled(signal.reason);
    const id = ++this.#lastId;
    // Rejected when the service has ended the call: the reader is free then.
    const cancel = () => this.#send(socket, 'cancel', { id });
    signal?.addEventListener('abort', cancel, { once: true });
    try {
      return await new Promise((resolve, reject) => {
        this.#calls.set(id, { resolve, reject, onProgress, signal });
        this.#send(socket, method, params, id);
      });
    } finally {
      this.#calls.delete(id);
      signal?.removeEventListener('abort', cancel);
    }
  }

  #send(socket, method, params, id = ++this.#lastId) {
    if (socket.readyState !== WebSocket.OPEN) return;
    socket.send(JSON.stringify({ jsonrpc: '2.0', id, method, params }));
  }

  #connected() {
    if (this.#closed) return Promise.reject(connectionLost());
    if (this.#socket) return Promise.resolve(this.#socket);
    this.#attempt ??= this.#open().finally(() => { this.#attempt = null; });
    return this.#attempt;
  }

  async #open() {
    let socket;
    for (const url of this.#urls) {
      socket = await open(url).catch(() => null);
      if (socket) break;
    }
    if (!socket) throw await unreachable();
    if (this.#closed) {
      socket.close();
      throw connectionLost();
    }
    socket.onmessage = ({ data }) => this.#take(JSON.parse(data));
    socket.onclose = () => this.#lose();
    this.#retryMs = FIRST_RETRY_MS;
    this.#socket = socket;
    this.dispatchEvent(new Event('connectionchange'));
    return socket;
  }

  #take({ id, method, params, result, error }) {
    if (method === 'progress') {
      this.#calls.get(params.id)?.onProgress?.({ state: params.state,
        presses: params.presses, secondsLeft: params.seconds_left });
      return;
    }
    const call = this.#calls.get(id);
    if (!call) return;
    if (!error) return call.resolve(result);
    const { aborted, reason } = call.signal ?? {};
    call.reject(errorOf(error, aborted ? { cause: reason } : undefined));
  }

  #lose() {
    this.#socket = null;
    for (const { reject } of this.#calls.values()) reject(connectionLost());
    this.dispatchEvent(new Event('connectionchange'));
    this.#tryLater();
  }

  #tryLater() {
    if (this.#closed) return;
    clearTimeout(this.#retry);
    this.#retry = setTimeout(() => {
      this.#connected().catch(() => this.#tryLater());
    }, this.#retryMs);
    this.#retryMs = Math.min(2 * this.#retryMs, LONGEST_RETRY_MS);
  }
}

const TAG = 18;
const HEAD_BYTES = 3;
const MINUTIA_BYTES = 5;
const MAX_MINUTIAE = 50;
const DUAL_FEATURE_CLASSES = [128, 129, 130, 131, 136];

function recordError(why) {
  return new RecordError(why, {
    meanings: [{ meaning: `not a record that can be shown: ${why}`,
      meaning_zh: '不是可显示的指纹记录',
      remedy: 'enrol or capture again', remedy_zh: '请重新登记或采集' }],
  });
}

function bytesOf(text) {
  try {
    return Uint8Array.from(atob(text), (c) => c.charCodeAt(0));
  } catch {
    throw recordError('not Base64');
  }
}

/** The minutiae in the text of a feature or template, for drawing. */
export function readRecord(text) {
  const bytes = bytesOf(text);
  const [tag, headerClass, count] = bytes;
  if (tag !== TAG) throw recordError('the format tag is not 18');
  if (DUAL_FEATURE_CLASSES.includes(headerClass)) {
    throw recordError('dual-feature records cannot be read');
  }
  if (count > MAX_MINUTIAE ||
      bytes.length !== HEAD_BYTES + MINUTIA_BYTES * count) {
    throw recordError(`${bytes.length} bytes are not ${count} minutiae`);
  }
  const minutiae = Array.from({ length: count }, (_, index) => {
    const at = HEAD_BYTES + MINUTIA_BYTES * index;
    const word = bytes[at + 2] | bytes[at + 3] << 8;
    const last = bytes[at + 4];
    return { x: bytes[at], y: bytes[at + 1], direction: word & 0x1ff,
      weight: word >> 9, kind: last & 0x80 ? 2 : 1, auxiliary: last & 0x7f };
  });
  return { headerClass, minutiae };
}
