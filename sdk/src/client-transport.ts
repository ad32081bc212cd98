// The transport of a page inside a real host (docs/page-binding.md).
//
// The host defines `__moxh5_send(text)` on the page's global object; the SDK
// defines `__moxh5_receive(message)`, which the host calls with the call's
// result ({"type": "result", ...}) and with every later answer
// ({"type": "answer", ...}), as a JSON text or as an object literal. Every SDK
// instance of the page hears every message (each ignores the ids it did not
// send), so a second instance does not take the first one's answers.
import type { CallRequest, CallResult, JsonObject, PageKind, Transport } from "./types.js";

export interface HostScope {
  __moxh5_send?: (text: string) => unknown;
  __moxh5_receive?: (message: unknown) => void;
  __moxh5_page?: { kind?: PageKind };
}

// The kind the host declared, else what the global object looks like.
function pageKindOf(scope: HostScope): PageKind {
  const declared = scope.__moxh5_page?.kind;
  if (declared === "render" || declared === "worker") return declared;
  return typeof (scope as { document?: unknown }).document === "undefined" ? "worker" : "render";
}

export class ClientTransport implements Transport {
  readonly page: PageKind;
  private readonly results = new Map<string, (result: CallResult) => void>();
  private onDelivery: (callbackId: string, answer: unknown) => void = () => {};

  constructor(private readonly scope: HostScope = globalThis as HostScope) {
    this.page = pageKindOf(scope);
    const key = Symbol.for("moxh5.receivers");
    const holder = scope as { [key]?: Set<(message: unknown) => void> };
    if (!holder[key]) {
      const receivers = new Set<(message: unknown) => void>();
      holder[key] = receivers;
      scope.__moxh5_receive = (message) => {
        for (const receive of receivers) receive(message);
      };
    }
    holder[key].add((message) => this.receive(message));
  }

  listen(onDelivery: (callbackId: string, answer: unknown) => void): void {
    this.onDelivery = onDelivery;
  }

  send(request: CallRequest): Promise<CallResult> {
    const send = this.scope.__moxh5_send;
    if (typeof send !== "function") {
      return Promise.reject(new Error("No host bridge: the page has no __moxh5_send"));
    }
    return new Promise<CallResult>((resolve) => {
      this.results.set(request.callbackId, resolve);
      const returned = send(JSON.stringify(request));
      // A host that answers synchronously may return the result message.
      if (returned !== undefined && returned !== null) this.receive(returned);
    });
  }

  // One message from the host. Malformed ones are dropped: they cannot be
  // matched to a call.
  receive(message: unknown): void {
    let parsed: unknown = message;
    if (typeof message === "string") {
      try {
        parsed = JSON.parse(message);
      } catch {
        return;
      }
    }
    if (typeof parsed !== "object" || parsed === null) return;
    const m = parsed as JsonObject;
    const id = m["callbackId"];
    const callbackId = typeof id === "number" ? String(id) : id;
    if (typeof callbackId !== "string") return;
    if (m["type"] === "result") {
      const resolve = this.results.get(callbackId);
      this.results.delete(callbackId);
      resolve?.({
        registered: m["registered"] === true,
        handled: m["handled"] === true,
        answer: (m["answer"] ?? {}) as JsonObject,
      });
    } else if (m["type"] === "answer") {
      let answer = m["answer"];
      if (typeof answer === "string") {
        try {
          answer = JSON.parse(answer);
        } catch {}
      }
      this.onDelivery(callbackId, answer);
    }
  }
}
