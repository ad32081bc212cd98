// A transport for testing page code without a host: answers per method,
// records every call, and lets the test deliver the answers that come later.
//
//   const mock = createMockTransport({ answers: {
//     "JSDevice.getSystemInfo": { data: { os: "windows" } },   // answered now
//     "JSCallNative.selectFile": "later",                      // the test delivers it
//     "JSCallNative.saveFile": () => ({ failure: "Invalid param." }),
//   }});
//   const mox = createMox(mock);
//   const picked = mox.native.selectFile();
//   mock.deliver(mock.lastCall("JSCallNative.selectFile").callbackId, { success: true, data: { filePath: "a.txt" } });
import type { MethodName } from "./generated/api.js";
import type { CallRequest, CallResult, JsonObject, PageKind, Transport } from "./types.js";

/**
 * How the mock answers one method: an answer object (the call succeeds with
 * it now), `{ failure: "text" }` (fails now with that message), "later" (the
 * test calls deliver), or a function of the params returning one of these.
 * Methods without an entry fail with "Invalid method.", as unknown ones do.
 */
export type MockAnswer = JsonObject | { failure: string } | "later";

export interface MockOptions {
  page?: PageKind;
  answers?: Partial<Record<MethodName, MockAnswer | ((params: JsonObject) => MockAnswer)>>;
}

export interface MockTransport extends Transport {
  /** Every call sent, oldest first. */
  readonly calls: CallRequest[];
  /** The last call of a method ("Module.method"); throws when there is none. */
  lastCall(name: MethodName): CallRequest;
  /** Delivers a later answer under a callback id (the envelope, or the host's own answer). */
  deliver(callbackId: string, answer: unknown): void;
  /** Ends the connection: answers still awaited fail. */
  lose(reason?: string): void;
}

export function createMockTransport(options: MockOptions = {}): MockTransport {
  let onDelivery: (callbackId: string, answer: unknown) => void = () => {};
  let onLost: (reason: Error) => void = () => {};
  const calls: CallRequest[] = [];
  return {
    page: options.page ?? "render",
    calls,
    listen(delivery, lost) {
      onDelivery = delivery;
      if (lost) onLost = lost;
    },
    async send(request): Promise<CallResult> {
      calls.push(request);
      const entry = options.answers?.[`${request.module}.${request.method}` as MethodName];
      const answer = typeof entry === "function" ? entry(request.params) : entry;
      if (answer === undefined) return { registered: true, handled: false, answer: { message: "Invalid method.", support: false } };
      if (answer === "later") return { registered: true, handled: true, answer: { AsynExec: true } };
      if (typeof answer["failure"] === "string") return { registered: true, handled: false, answer: { message: answer["failure"] } };
      return { registered: true, handled: true, answer };
    },
    lastCall(name) {
      const found = calls.filter((c) => `${c.module}.${c.method}` === name).pop();
      if (!found) throw new Error(`no call of ${name}`);
      return found;
    },
    deliver: (callbackId, answer) => onDelivery(callbackId, answer),
    lose: (reason = "the mock connection was lost") => onLost(new Error(reason)),
  };
}
