// The shapes the SDK and its transports share.

export type PageKind = "render" | "worker";

// How a method's answer reaches the page (api/api.json, "answers").
export type AnswerPath = "now" | "later" | "host" | "hostLater" | "callID";

export interface MethodEntry {
  readonly module: string;
  readonly method: string;
  readonly pages: readonly PageKind[];
  readonly answer: AnswerPath;
  // Where the page's own "callID" goes, for the methods answered under it.
  readonly callId?: { readonly in: "payload" | "params"; readonly type: "integer" | "string" };
}

export type JsonObject = { [key: string]: unknown };

/**
 * The envelope a page hears: the method's answer with "success", "message"
 * and "data" always present (the library's internal flags left out).
 */
export type MoxAnswer<D = unknown> = JsonObject & { success: boolean; message: string; data: D };

/** Per-call options, the last argument of every method. */
export interface CallOptions {
  /** Reject with MoxTimeoutError when no answer came within this many milliseconds. */
  timeoutMs?: number;
  /** Reject with the signal's reason when it aborts (the host may still do the work). */
  signal?: AbortSignal;
}

// One call as a transport sends it to the host.
export interface CallRequest {
  module: string;
  method: string;
  params: JsonObject;
  callbackId: string;
  // The page's own call id, at the top level of the payload (integer form).
  callID?: number;
}

// What the library's Execute answered for one call.
export interface CallResult {
  registered: boolean;
  handled: boolean;
  answer: JsonObject;
}

// Carries calls to the host and answers back. `send` settles with the call's
// result; answers delivered later (the unified envelope, or the host's own
// answer under the page's "callID") reach the listener given to `listen`.
// `onLost`, when the transport has it, hears that answers still awaited will
// never come (the connection to the host went away).
export interface Transport {
  readonly page: PageKind;
  send(request: CallRequest): Promise<CallResult>;
  listen(onDelivery: (callbackId: string, answer: unknown) => void, onLost?: (reason: Error) => void): void;
}
