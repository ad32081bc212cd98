// The transport of a page served by the dev host (moxh5-devhost), which
// injects `__MOXH5_DEV__` = {"base", "token", "page"} before the SDK.
//
// Calls: POST <base>/__moxh5/call, answered {"registered", "handled",
// "answer"}. Later answers: server-sent events "answer" on
// <base>/__moxh5/events; the event's id is the callback id and its data the
// envelope text as the library delivered it. Data of the form
// {"callbackId": ..., "answer": ...} is accepted too.
import type { CallRequest, CallResult, JsonObject, PageKind, Transport } from "./types.js";

export interface DevConfig {
  base: string;
  token: string;
  page: { kind: PageKind; webIndex?: number; workerId?: string };
}

// The parts of fetch and EventSource the transport uses (tests pass fakes).
export type FetchLike = (url: string, init: { method: string; headers: Record<string, string>; body: string }) => Promise<{
  ok: boolean;
  status: number;
  json(): Promise<unknown>;
}>;
export interface EventSourceLike {
  addEventListener(type: string, listener: (event: { data?: unknown; lastEventId?: string }) => void): void;
}
export type EventSourceFactory = (url: string) => EventSourceLike;

// How long the first call waits for the event stream to open, so that an
// answer delivered during the call is not missed.
const STREAM_OPEN_WAIT_MS = 2000;

export class DevTransport implements Transport {
  readonly page: PageKind;
  private onDelivery: (callbackId: string, answer: unknown) => void = () => {};
  private readonly streamOpen: Promise<void>;

  constructor(
    private readonly config: DevConfig,
    // fetch must be called on the global object, not on the transport.
    private readonly fetchFn: FetchLike = (url, init) => (globalThis.fetch as unknown as FetchLike)(url, init),
    openEvents: EventSourceFactory = (url) => new EventSource(url) as unknown as EventSourceLike,
  ) {
    this.page = config.page.kind === "worker" ? "worker" : "render";
    const events = openEvents(this.eventsUrl());
    this.streamOpen = new Promise<void>((resolve) => {
      events.addEventListener("open", () => resolve());
      setTimeout(resolve, STREAM_OPEN_WAIT_MS);
    });
    events.addEventListener("answer", (event) => this.receive(event));
  }

  listen(onDelivery: (callbackId: string, answer: unknown) => void): void {
    this.onDelivery = onDelivery;
  }

  async send(request: CallRequest): Promise<CallResult> {
    await this.streamOpen;
    const response = await this.fetchFn(`${this.config.base}/__moxh5/call`, {
      method: "POST",
      headers: { "Content-Type": "application/json", "X-MoxH5-Token": this.config.token },
      body: JSON.stringify({ ...request, page: this.config.page }),
    });
    if (!response.ok) throw new Error(`The dev host refused the call (HTTP ${response.status})`);
    const body = (await response.json()) as JsonObject;
    return {
      registered: body["registered"] === true,
      handled: body["handled"] === true,
      answer: (body["answer"] ?? {}) as JsonObject,
    };
  }

  private eventsUrl(): string {
    const { kind, webIndex, workerId } = this.config.page;
    const query = new URLSearchParams({ token: this.config.token, kind: kind });
    if (kind === "worker") query.set("workerId", workerId ?? "");
    else query.set("webIndex", String(webIndex ?? 0));
    return `${this.config.base}/__moxh5/events?${query}`;
  }

  private receive(event: { data?: unknown; lastEventId?: string }): void {
    if (typeof event.data !== "string") return;
    let data: unknown;
    try {
      data = JSON.parse(event.data);
    } catch {
      return;
    }
    if (event.lastEventId) {
      this.onDelivery(event.lastEventId, data);
    } else if (typeof data === "object" && data !== null && "callbackId" in data) {
      const wrapped = data as JsonObject;
      this.onDelivery(String(wrapped["callbackId"]), wrapped["answer"]);
    }
  }
}
