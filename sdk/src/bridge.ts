// Matches answers to calls.
//
// Every call gets a fresh callback id. The call's result (what the library's
// Execute answered) settles it at once unless the answer is still to come:
// "AsynExec": true, or a method the host answers itself later ("hostLater",
// "callID"). Such a call waits for the delivery under its callback id. A
// delivery may also overtake the result (the dev host streams it on another
// connection), so one that arrives first is kept until the result says
// whether it is the answer.
import { MoxError } from "./errors.js";
import type { CallRequest, CallResult, JsonObject, MethodEntry, MoxAnswer, Transport } from "./types.js";

interface PendingCall {
  entry: MethodEntry;
  resolve: (value: unknown) => void;
  reject: (error: unknown) => void;
  waiting: boolean; // the result said: the answer comes later
  early?: { answer: unknown }; // a delivery that came before the result
}

const isObject = (value: unknown): value is JsonObject =>
  typeof value === "object" && value !== null && !Array.isArray(value);

// The envelope the library builds around an answer (the unified callback).
export function envelopeOf(success: boolean, answer: unknown): MoxAnswer {
  const envelope: JsonObject = isObject(answer) ? { ...answer } : {};
  envelope["success"] = success;
  if (!("message" in envelope)) envelope["message"] = success ? "success" : "failed";
  if (!("data" in envelope)) envelope["data"] = null;
  return envelope as MoxAnswer;
}

export class Bridge {
  private readonly pending = new Map<string, PendingCall>();
  private nextId = 1;

  constructor(private readonly transport: Transport) {
    transport.listen((callbackId, answer) => this.deliver(callbackId, answer));
  }

  get page() {
    return this.transport.page;
  }

  call<T>(entry: MethodEntry, params: JsonObject): Promise<T> {
    const id = this.nextId++;
    const request: CallRequest = { module: entry.module, method: entry.method, params, callbackId: String(id) };
    if (entry.callId?.in === "payload") request.callID = id;
    if (entry.callId?.in === "params") request.params = { ...params, callID: String(id) };
    return new Promise<T>((resolve, reject) => {
      this.pending.set(request.callbackId, { entry, resolve: resolve as (v: unknown) => void, reject, waiting: false });
      this.transport.send(request).then(
        (result) => this.settleByResult(request.callbackId, result),
        (error) => this.finish(request.callbackId, (call) => call.reject(error)),
      );
    });
  }

  // Whether the library has the module ("JSStorage") or the method
  // ("JSStorage.setPasteboard"): the result of JSCallBasic.canIUse.
  async canIUse(name: string): Promise<boolean> {
    const entry: MethodEntry = { module: "JSCallBasic", method: "canIUse", pages: ["render", "worker"], answer: "now" };
    try {
      await this.call(entry, { name });
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
        if (answer["success"]) call.resolve(answer);
        else call.reject(new MoxError(call.entry.module, call.entry.method, answer));
      } else {
        call.resolve(answer);
      }
    });
  }

  private finish(callbackId: string, settle: (call: PendingCall) => void): void {
    const call = this.pending.get(callbackId);
    if (!call) return;
    this.pending.delete(callbackId);
    settle(call);
  }
}
