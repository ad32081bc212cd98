// Matches answers to calls.
//
// Every call gets a callback id unique in its page realm: every SDK instance
// of the page (a bundled one and one a dev host injects, say) takes its ids
// from one counter kept on the global object, so no instance settles
// another's call. The call's result (what the library's Execute answered)
// settles it at once unless the answer is still to come: "AsynExec": true,
// or a method the host answers itself later ("hostLater", "callID"). Such a
// call waits for the delivery under its callback id. A delivery may also
// overtake the result, so one that arrives first is kept until the result
// says whether it is the answer.
import { MoxError, MoxPageKindError, MoxTimeoutError, MoxTransportError } from "./errors.js";
import type { CallOptions, CallRequest, CallResult, JsonObject, MethodEntry, MoxAnswer, Transport } from "./types.js";

interface PendingCall {
  entry: MethodEntry;
  resolve: (value: unknown) => void;
  reject: (error: unknown) => void;
  waiting: boolean; // the result said: the answer comes later
  early?: { answer: unknown }; // a delivery that came before the result
  cleanup: () => void;
}

const isObject = (value: unknown): value is JsonObject =>
  typeof value === "object" && value !== null && !Array.isArray(value);

// Flags the library sets for the host, not for the page.
const INTERNAL_FLAGS = ["NoNeedUnifyCallBack", "AsynExec"];

// The envelope the library builds around an answer (the unified callback).
export function envelopeOf(success: boolean, answer: unknown): MoxAnswer {
  const envelope: JsonObject = isObject(answer) ? { ...answer } : {};
  for (const flag of INTERNAL_FLAGS) delete envelope[flag];
  envelope["success"] = success;
  if (!("message" in envelope)) envelope["message"] = success ? "success" : "failed";
  if (!("data" in envelope)) envelope["data"] = null;
  return envelope as MoxAnswer;
}

// The next callback id of this realm. Ids start at a random point so that a
// page reloaded into the same host does not reuse its predecessor's, and stay
// integers (the "callID" methods send them as numbers).
const COUNTER = Symbol.for("moxh5.callbackIds");
export function nextCallbackId(scope: object = globalThis): string {
  const holder = scope as { [COUNTER]?: { next: number } };
  holder[COUNTER] ??= { next: 1 + Math.floor(Math.random() * 0x3fffffff) };
  const id = holder[COUNTER].next++;
  if (holder[COUNTER].next > 0x7ffffffe) holder[COUNTER].next = 1;
  return String(id);
}

export class Bridge {
  private readonly pending = new Map<string, PendingCall>();

  constructor(
    private readonly transport: Transport,
    private readonly defaults: CallOptions = {},
    // The method table ("Module.method" -> entry), for canIUse's page kind.
    private readonly table: Readonly<Record<string, MethodEntry>> = {},
  ) {
    transport.listen(
      (callbackId, answer) => this.deliver(callbackId, answer),
      (reason) => this.loseWaiting(reason),
    );
  }

  get page() {
    return this.transport.page;
  }

  call<T>(entry: MethodEntry, params: JsonObject, options: CallOptions = {}): Promise<T> {
    if (!entry.pages.includes(this.page)) {
      return Promise.reject(new MoxPageKindError(entry.module, entry.method, this.page, entry.pages));
    }
    const { timeoutMs = this.defaults.timeoutMs, signal = this.defaults.signal } = options;
    if (signal?.aborted) return Promise.reject(signal.reason);
    const id = nextCallbackId();
    const request: CallRequest = { module: entry.module, method: entry.method, params, callbackId: id };
    if (entry.callId?.in === "payload") request.callID = Number(id);
    if (entry.callId?.in === "params") request.params = { ...params, callID: id };
    return new Promise<T>((resolve, reject) => {
      const timer = timeoutMs === undefined ? undefined
        : setTimeout(() => this.finish(id, (c) => c.reject(new MoxTimeoutError(entry.module, entry.method, timeoutMs))), timeoutMs);
      const onAbort = () => this.finish(id, (c) => c.reject(signal?.reason));
      signal?.addEventListener("abort", onAbort, { once: true });
      const cleanup = () => {
        if (timer !== undefined) clearTimeout(timer);
        signal?.removeEventListener("abort", onAbort);
      };
      this.pending.set(id, { entry, resolve: resolve as (v: unknown) => void, reject, waiting: false, cleanup });
      this.transport.send(request).then(
        (result) => this.settleByResult(id, result),
        (error) => this.finish(id, (call) => call.reject(error)),
      );
    });
  }

  // Whether this page can use the module ("JSStorage") or the method
  // ("JSStorage.setPasteboard"): the library's JSCallBasic.canIUse, which
  // does not look at the page kind, and for a method of the table whether it
  // is served on this page's kind (its call would be refused otherwise).
  async canIUse(name: string, options?: CallOptions): Promise<boolean> {
    const [module, method] = name.split(/\s/)[0]!.split(".");
    const known = this.table[`${module}.${method}`];
    if (known && !known.pages.includes(this.page)) return false;
    const entry: MethodEntry = { module: "JSCallBasic", method: "canIUse", pages: ["render", "worker"], answer: "now" };
    try {
      await this.call(entry, { name }, options);
      return true;
    } catch (error) {
      if (error instanceof MoxError) return false;
      throw error;
    }
  }

  private settleByResult(callbackId: string, result: CallResult): void {
    const call = this.pending.get(callbackId);
    if (!call) return;
    const answer = isObject(result.answer) ? result.answer : {};
    const { entry } = call;
    if (!result.registered || !result.handled) {
      this.finish(callbackId, (c) => c.reject(new MoxError(entry.module, entry.method, envelopeOf(false, answer), result.registered)));
      return;
    }
    const later = answer["AsynExec"] === true || entry.answer === "hostLater" || entry.answer === "callID";
    if (!later) {
      this.finish(callbackId, (c) => c.resolve(envelopeOf(true, answer)));
    } else if (call.early) {
      this.settleByDelivery(callbackId, call.early.answer);
    } else {
      call.waiting = true;
    }
  }

  private deliver(callbackId: string, answer: unknown): void {
    const call = this.pending.get(callbackId);
    if (!call) return; // already settled by its result, or not ours
    if (call.waiting) this.settleByDelivery(callbackId, answer);
    else call.early ??= { answer };
  }

  // An envelope settles by its "success"; anything else is the host's own
  // answer (under "callID") and resolves as it is.
  private settleByDelivery(callbackId: string, answer: unknown): void {
    this.finish(callbackId, (call) => {
      if (isObject(answer) && typeof answer["success"] === "boolean") {
        if (answer["success"]) call.resolve(envelopeOf(true, answer));
        else call.reject(new MoxError(call.entry.module, call.entry.method, envelopeOf(false, answer)));
      } else {
        call.resolve(answer);
      }
    });
  }

  // The host cannot answer any more: calls waiting for a delivery fail.
  private loseWaiting(reason: Error): void {
    for (const [id, call] of [...this.pending]) {
      if (call.waiting) this.finish(id, (c) => c.reject(new MoxTransportError(`${c.entry.module}.${c.entry.method}: ${reason.message}`)));
    }
  }

  private finish(callbackId: string, settle: (call: PendingCall) => void): void {
    const call = this.pending.get(callbackId);
    if (!call) return;
    this.pending.delete(callbackId);
    call.cleanup();
    settle(call);
  }
}
