/** Service, client and reader share this: state of a call that awaits presses. */
export interface Progress {
  state: 'waiting' | 'done';
  /** How many presses the call takes. */
  presses: number;
  secondsLeft: number;
}

export interface CallOptions {
  /** Aborting ends the call; it rejects with CancelledError. */
  signal?: AbortSignal;
}

export interface PressOptions extends CallOptions {
  /** Seconds for all presses together, 1 to 600. */
  timeout?: number;
  onProgress?: (progress: Progress) => void;
}

export type Level = 1 | 2 | 3 | 4 | 5;

export interface Match {
  match: boolean;
  score: number;
  level: Level;
  scoreMustExceed: number;
}

export interface Hit {
  id: string;
  finger: string;
  score: number;
  level: number;
}

export interface Identified {
  match: boolean;
  hits: Hit[];
  /** How many records were compared. */
  compared: number;
}

export class MvFpi extends EventTarget {
  private constructor();
  static connect(options?: { port?: number }): Promise<MvFpi>;
  readonly connected: boolean;
  close(): void;
  version(options?: CallOptions): Promise<string>;
  serialNumber(options?: CallOptions): Promise<string>;
  fingerPresent(options?: CallOptions): Promise<boolean>;
  capture(options?: PressOptions): Promise<string>;
  enroll(options?: PressOptions & { guided?: boolean }): Promise<string>;
  match(
    first: string, second: string, options?: CallOptions & { level?: Level },
  ): Promise<Match>;
  score(first: string, second: string, options?: CallOptions): Promise<number>;
  identify(
    options?: PressOptions & { level?: Level; best?: number; record?: string },
  ): Promise<Identified>;
  addEventListener(
    type: 'connectionchange', listener: (event: Event) => void,
  ): void;
}

/** A row of the table of result codes. */
export interface Meaning {
  name?: string;
  meaning: string;
  meaning_zh: string;
  remedy: string;
  remedy_zh: string;
}

export type Language = 'en' | 'zh';

export class MvFpiError extends Error {
  /** The likeliest first. */
  readonly meanings: Meaning[];
  text(language?: Language): string;
  remedy(language?: Language): string;
}
export class ConnectionError extends MvFpiError {}
export class RequestError extends MvFpiError {}
export class ServiceError extends MvFpiError {}
export class RecordError extends MvFpiError {}
export class CallError extends MvFpiError {
  /** The driver's; absent when the service ended the call itself. */
  readonly code?: number;
  readonly function?: string;
  /** The driver's own words. */
  readonly status?: string;
  /** A remedy that knows this machine, English. */
  readonly next?: string;
}
export class ArgumentError extends CallError {}
export class FingerTimeoutError extends CallError {}
export class PortError extends CallError {}
export class NoFingerError extends CallError {}
export class SelectorError extends CallError {}
export class BusyError extends CallError {
  /** Of the page whose call runs; absent when it is another program's. */
  readonly origin?: string;
  /** UTC, as 2026-01-31T12:00:00Z. */
  readonly since?: string;
}
export class CancelledError extends CallError {}
export class AlgorithmLibraryError extends CallError {}
export class SynthesisError extends CallError {}
export class ReaderError extends CallError {}
export { FingerTimeoutError as TimeoutError };

export interface Minutia {
  x: number;
  y: number;
  /** Degrees, counter-clockwise seen with y upwards. */
  direction: number;
  weight: number;
  kind: 1 | 2;
  auxiliary: number;
}

/** Throws RecordError. */
export function readRecord(
  text: string,
): { headerClass: number; minutiae: Minutia[] };
