// The transport of a page served by the dev host (moxh5-devhost), which
// injects `__MOXH5_DEV__` = {"base", "token", "socket", "page"} before the SDK.
//
// A tab holds one WebSocket to the dev host, kept on the document's global
// object and shared by every SDK instance of the document (a page with two
// SDKs, a bundled one and the injected one, uses one connection) and by its
// workers: the document's link names a BroadcastChannel in the settings
// (`relay`), which the page hands on to its workers with the rest, and a
// worker's link sends and hears its messages through the document's socket
// over that channel; a worker given no relay name connects on its own. Over
// the connection go the calls and their results, the answers the host
// delivers later and live reloads (docs/devhost.md has the messages). When
// the connection drops, awaited answers fail with MoxTransportError and the
// link connects again on its own, asking the dev host where its socket is
// now (a restarted dev host on the same port, with the same token, is found).
import { MoxTransportError } from "./errors.js";
import type { CallRequest, CallResult, JsonObject, PageKind, Transport } from "./types.js";

export interface DevConfig {
  base: string;
  token: string;
  socket: string;
  page: { kind: PageKind; webIndex?: number; workerId?: string };
  /** The channel a tab's workers reach its connection through; set by the document's link. */
  relay?: string;
}

// The parts of WebSocket the link uses (tests pass fakes).
export interface SocketLike {
  readonly readyState: number;
  send(text: string): void;
  close(): void;
  onopen: ((event: unknown) => void) | null;
  onmessage: ((event: { data: unknown }) => void) | null;
  onclose: ((event: unknown) => void) | null;
}
export type SocketFactory = (url: string) => SocketLike;

// The parts of BroadcastChannel the relay uses (tests pass fakes).
export interface ChannelLike {
  postMessage(message: unknown): void;
  close(): void;
  onmessage: ((event: { data: unknown }) => void) | null;
}
export type ChannelFactory = (name: string) => ChannelLike;

type RelayMessage = { to?: string; ask?: boolean; open?: boolean; closed?: boolean; text?: unknown };

type Delivery = (page: DevConfig["page"], callbackId: string, answer: unknown) => void;
type Loss = (reason: Error) => void;

const OPEN = 1;
const CLOSED = 3;

// A worker's socket: the tab's connection, over the tab's relay channel. It
// opens when the tab says its socket is open and closes when the tab's does.
class RelaySocket implements SocketLike {
  readyState = 0;
  onopen: ((event: unknown) => void) | null = null;
  onmessage: ((event: { data: unknown }) => void) | null = null;
  onclose: ((event: unknown) => void) | null = null;

  constructor(private readonly channel: ChannelLike) {
    channel.onmessage = ({ data }) => this.hear(data as RelayMessage);
    channel.postMessage({ to: "tab", ask: true });
  }

  send(text: string): void {
    this.channel.postMessage({ to: "tab", text });
  }

  close(): void {
    this.readyState = CLOSED;
    this.channel.close();
  }

  private hear(message: RelayMessage): void {
    if (message?.to !== "workers") return;
    if (message.open && this.readyState !== OPEN) {
      this.readyState = OPEN;
      this.onopen?.({});
    } else if (message.closed && this.readyState === OPEN) {
      this.close();
      this.onclose?.({});
    } else if (typeof message.text === "string" && this.readyState === OPEN) {
      this.onmessage?.({ data: message.text });
    }
  }
}

function browserChannels(scope: object): ChannelFactory | undefined {
  if (scope !== globalThis || typeof BroadcastChannel !== "function") return undefined;
  return (name) => new BroadcastChannel(name) as unknown as ChannelLike;
}

const RECONNECT_MS = [100, 250, 500, 1000, 2000];

// One realm's connection, shared by its transports.
export class DevLink {
  private socket?: SocketLike;
  private socketUrl: string;
  private readonly queue: string[] = [];
  private readonly results = new Map<string, { resolve: (r: CallResult) => void; reject: (e: Error) => void }>();
  private readonly deliveries = new Set<Delivery>();
  private readonly losses = new Set<Loss>();
  private readonly pages = new Map<string, DevConfig["page"]>();
  private attempts = 0;
  private readonly openSocket: SocketFactory;
  // A document's relay channel; its socket's messages go there once a worker has asked.
  private relay?: { channel: ChannelLike; asked: boolean };

  constructor(
    private readonly config: DevConfig,
    openSocket: SocketFactory = (url) => new WebSocket(url) as unknown as SocketLike,
    private readonly scope: { location?: { reload(): void }; document?: unknown } = globalThis as object,
    channels: ChannelFactory | undefined = browserChannels(scope),
  ) {
    this.socketUrl = config.socket;
    const relay = config.relay;
    if (scope.document === undefined && relay && channels) {
      this.openSocket = () => new RelaySocket(channels(relay));
    } else {
      this.openSocket = openSocket;
      if (scope.document !== undefined && channels) this.serveWorkers(channels);
    }
    this.connect();
  }

  // The link of this realm, made on first use.
  static of(config: DevConfig, scope: object = globalThis): DevLink {
    const key = Symbol.for("moxh5.devLink");
    const holder = scope as { [key]?: DevLink };
    holder[key] ??= new DevLink(config);
    return holder[key];
  }

  subscribe(onDelivery: Delivery, onLost: Loss): void {
    this.deliveries.add(onDelivery);
    this.losses.add(onLost);
  }

  send(page: DevConfig["page"], request: CallRequest): Promise<CallResult> {
    this.hello(page);
    return new Promise<CallResult>((resolve, reject) => {
      this.results.set(request.callbackId, { resolve, reject });
      this.post({ type: "call", call: { ...request, page } });
    });
  }

  // Echoes a message through the dev host (the benchmark's floor).
  echo(payload: JsonObject): Promise<void> {
    return new Promise((resolve) => {
      const id = `echo-${Math.random()}`;
      this.results.set(id, { resolve: () => resolve(), reject: () => resolve() });
      this.post({ ...payload, type: "echo", callbackId: id });
    });
  }

  private hello(page: DevConfig["page"]): void {
    const key = JSON.stringify(page);
    if (this.pages.has(key)) return;
    this.pages.set(key, page);
    // Not queued: an opening socket says hello for every page first.
    if (this.socket?.readyState === OPEN) this.socket.send(JSON.stringify({ type: "hello", page }));
  }

  // Opens the tab's relay and names it in the settings its workers are given.
  private serveWorkers(channels: ChannelFactory): void {
    this.config.relay ??= `moxh5-relay-${Date.now().toString(36)}-${Math.random().toString(36).slice(2)}`;
    const relay = { channel: channels(this.config.relay), asked: false };
    this.relay = relay;
    relay.channel.onmessage = ({ data }) => {
      const message = data as RelayMessage;
      if (message?.to !== "tab") return;
      relay.asked = true;
      const open = this.socket?.readyState === OPEN;
      if (message.ask && open) relay.channel.postMessage({ to: "workers", open: true });
      else if (typeof message.text === "string" && open) this.socket!.send(message.text);
    };
  }

  private toWorkers(message: RelayMessage): void {
    if (this.relay?.asked) this.relay.channel.postMessage({ ...message, to: "workers" });
  }

  private post(message: JsonObject): void {
    const text = JSON.stringify(message);
    if (this.socket?.readyState === OPEN) this.socket.send(text);
    else this.queue.push(text);
  }

  private connect(): void {
    const url = `${this.socketUrl}?token=${encodeURIComponent(this.config.token)}`;
    let socket: SocketLike;
    try {
      socket = this.openSocket(url);
    } catch {
      this.retry();
      return;
    }
    this.socket = socket;
    socket.onopen = () => {
      this.attempts = 0;
      for (const page of this.pages.values()) socket.send(JSON.stringify({ type: "hello", page }));
      for (const text of this.queue.splice(0)) socket.send(text);
      this.toWorkers({ open: true });
    };
    socket.onmessage = (event) => {
      // A result this realm was waiting for is nobody else's.
      if (!this.receive(event.data)) this.toWorkers({ text: event.data });
    };
    socket.onclose = () => {
      if (this.socket !== socket) return;
      this.socket = undefined;
      this.toWorkers({ closed: true });
      const lost = new MoxTransportError("the connection to the dev host was lost");
      for (const [, waiting] of this.results) waiting.reject(lost);
      this.results.clear();
      this.queue.length = 0;
      for (const onLost of this.losses) onLost(lost);
      this.retry();
    };
  }

  private retry(): void {
    const delay = RECONNECT_MS[Math.min(this.attempts++, RECONNECT_MS.length - 1)];
    setTimeout(() => void this.reconnect(), delay);
  }

  private async reconnect(): Promise<void> {
    try {
      const response = await fetch(`${this.config.base}/__moxh5/socket-address`, {
        headers: { "X-MoxH5-Token": this.config.token },
      });
      if (response.ok) this.socketUrl = ((await response.json()) as { socket: string }).socket;
    } catch {
      // The dev host is not back yet: try its last address anyway.
    }
    this.connect();
  }

  private receiveAnswer(message: JsonObject): void {
    const page = message["page"] as DevConfig["page"];
    for (const onDelivery of this.deliveries) onDelivery(page, String(message["callbackId"] ?? ""), message["answer"]);
  }

  // Whether the message settled a call of this realm's.
  private receive(data: unknown): boolean {
    if (typeof data !== "string") return false;
    let message: JsonObject;
    try {
      message = JSON.parse(data) as JsonObject;
    } catch {
      return false;
    }
    const id = String(message["callbackId"] ?? "");
    if (message["type"] === "result" || message["type"] === "echo") {
      const waiting = this.results.get(id);
      if (!waiting) return false;
      this.results.delete(id);
      if (typeof message["error"] === "string") {
        waiting.reject(new MoxTransportError(`The dev host refused the call: ${message["error"]}`));
      } else {
        waiting.resolve({
          registered: message["registered"] === true,
          handled: message["handled"] === true,
          answer: (message["answer"] ?? {}) as JsonObject,
        });
      }
      // The deliveries the call caused at once come with its result.
      const deliveries = message["deliveries"];
      if (Array.isArray(deliveries)) for (const delivery of deliveries) this.receiveAnswer(delivery as JsonObject);
      return true;
    } else if (message["type"] === "answer") {
      this.receiveAnswer(message);
    } else if (message["type"] === "reload" && this.scope.document !== undefined) {
      this.scope.location?.reload();
    }
    return false;
  }
}

export class DevTransport implements Transport {
  readonly page: PageKind;

  constructor(
    private readonly config: DevConfig,
    private readonly link: DevLink = DevLink.of(config),
  ) {
    this.page = config.page.kind === "worker" ? "worker" : "render";
  }

  listen(onDelivery: (callbackId: string, answer: unknown) => void, onLost?: (reason: Error) => void): void {
    const mine = this.config.page;
    this.link.subscribe(
      (page, callbackId, answer) => {
        if (page?.kind === mine.kind && (page.webIndex ?? 0) === (mine.webIndex ?? 0)) onDelivery(callbackId, answer);
      },
      (reason) => onLost?.(reason),
    );
  }

  send(request: CallRequest): Promise<CallResult> {
    return this.link.send(this.config.page, request);
  }
}
