// The page SDK: typed promise functions for every method of the library,
// canIUse, the transports and a mock transport for tests.
//   const mox = createMox();            // picks the transport itself
//   await mox.native.showToast({content: "Saved"});
//   const info = await mox.device.getSystemInfo();   // info.data.osVersion
//   if (await mox.canIUse("JSStorage.setPasteboard")) ...
// Failures reject with MoxError, whose message is the library's text.
import { Bridge } from "./bridge.js";
import { ClientTransport } from "./client-transport.js";
import { type DevConfig, DevTransport } from "./dev-transport.js";
import { bindModules, methodEntries } from "./generated/api.js";
import type { RenderModules, WorkerModules } from "./generated/api-types.js";
import type { CallOptions, PageKind, Transport } from "./types.js";

export { Bridge, envelopeOf, nextCallbackId } from "./bridge.js";
export { ClientTransport } from "./client-transport.js";
export { DevLink, DevTransport } from "./dev-transport.js";
export type { DevConfig, SocketFactory, SocketLike } from "./dev-transport.js";
export { MoxError, MoxPageKindError, MoxTimeoutError, MoxTransportError } from "./errors.js";
export { FailureText, failureTexts, methodEntries } from "./generated/api.js";
export type { MethodName } from "./generated/api.js";
export type * from "./generated/api-types.js";
export { createMockTransport } from "./mock-transport.js";
export type { MockAnswer, MockOptions, MockTransport } from "./mock-transport.js";
export type * from "./types.js";

/** What every page object has beside its modules. */
export interface MoxBase<K extends PageKind> {
  /**
   * Whether this page can use a module ("JSStorage") or a method
   * ("JSStorage.setPasteboard"): the library has it and, for a method, serves
   * it on this page's kind.
   */
  canIUse(name: string, options?: CallOptions): Promise<boolean>;
  /** The kind of page this object calls from. */
  readonly page: K;
  /** Every method's table entry, keyed "Module.method". */
  readonly methods: typeof methodEntries;
}

/** The SDK on a render page: the methods a render page may call. */
export type RenderMox = RenderModules & MoxBase<"render">;
/** The SDK on a worker page: the methods a worker page may call. */
export type WorkerMox = WorkerModules & MoxBase<"worker">;

export interface MoxOptions extends CallOptions {
  /** The transport; default: the dev host's when the page was served by it, else the host's. */
  transport?: Transport;
}

// The dev host's transport when the page was served by it, else the host's.
export function defaultTransport(scope: { __MOXH5_DEV__?: DevConfig } = globalThis as object): Transport {
  return scope.__MOXH5_DEV__ ? new DevTransport(scope.__MOXH5_DEV__) : new ClientTransport();
}

/**
 * The SDK for this page. Its type is the render page's unless the page kind
 * is named; a method of the other kind is refused before anything is sent
 * (MoxPageKindError). `timeoutMs` and `signal` apply to every call unless the
 * call's own options say otherwise.
 */
export function createMox(options?: MoxOptions & { page?: "render" }): RenderMox;
export function createMox(options: MoxOptions & { page: "worker" }): WorkerMox;
export function createMox(options: MoxOptions & { page?: PageKind } = {}): RenderMox | WorkerMox {
  const { transport = defaultTransport(), page, ...defaults } = options;
  if (page && page !== transport.page) throw new Error(`createMox: this is a ${transport.page} page, not a ${page} page`);
  const bridge = new Bridge(transport, defaults, methodEntries);
  const canIUse = (name: string, callOptions?: CallOptions) => bridge.canIUse(name, callOptions);
  return {
    ...bindModules((entry, params, callOptions) => bridge.call(entry, params, callOptions), canIUse),
    canIUse,
    page: bridge.page,
    methods: methodEntries,
  } as RenderMox | WorkerMox;
}

export type Mox = RenderMox;
