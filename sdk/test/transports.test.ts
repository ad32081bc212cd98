// The two transports against fake hosts: what they send, and how the host's
// messages become results and deliveries.
import assert from "node:assert/strict";
import { test } from "node:test";
import { ClientTransport, type HostScope } from "../src/client-transport.js";
import { DevLink, DevTransport, type ChannelLike } from "../src/dev-transport.js";
import { MoxTransportError } from "../src/errors.js";
import type { CallRequest } from "../src/types.js";

const request: CallRequest = { module: "JSCallNative", method: "saveFile", params: { tempFilePath: "a" }, callbackId: "4" };
const result = { registered: true, handled: true, answer: { AsynExec: true } };

test("client: result returned by __moxh5_send or sent later; answers as text or object", async () => {
  const sent: string[] = [];
  const scope: HostScope = { __moxh5_page: { kind: "worker" }, __moxh5_send: (text) => void sent.push(text) };
  const transport = new ClientTransport(scope);
  const delivered: Array<[string, unknown]> = [];
  transport.listen((id, answer) => delivered.push([id, answer]));

  const later = transport.send(request);
  assert.deepEqual([transport.page, JSON.parse(sent[0]!)], ["worker", request]);
  scope.__moxh5_receive!(JSON.stringify({ type: "answer", callbackId: "4", answer: { success: true } }));
  scope.__moxh5_receive!({ type: "answer", callbackId: 9, answer: '{"finded":false}' });
  for (const junk of ["not json", 5, null, { type: "answer" }, { type: "other", callbackId: "4" }]) scope.__moxh5_receive!(junk);
  scope.__moxh5_receive!({ type: "result", callbackId: "4", ...result });
  assert.deepEqual(await later, result);
  assert.deepEqual(delivered, [["4", { success: true }], ["9", { finded: false }]]);

  scope.__moxh5_send = () => JSON.stringify({ type: "result", callbackId: "5", registered: false, handled: false });
  assert.deepEqual(await transport.send({ ...request, callbackId: "5" }), { registered: false, handled: false, answer: {} });
});

test("client: no host bridge rejects; page kind from the global object", async () => {
  const render = new ClientTransport({ document: {} } as HostScope);
  assert.equal(render.page, "render");
  await assert.rejects(render.send(request), /__moxh5_send/);
});

class FakeSocket {
  readyState = 0;
  sent: Array<Record<string, unknown>> = [];
  onopen: ((e: unknown) => void) | null = null;
  onmessage: ((e: { data: unknown }) => void) | null = null;
  onclose: ((e: unknown) => void) | null = null;
  constructor(readonly url: string) {}
  send(text: string) { this.sent.push(JSON.parse(text)); }
  close() {}
  open() { this.readyState = 1; this.onopen?.({}); }
  hear(message: unknown) { this.onmessage?.({ data: typeof message === "string" ? message : JSON.stringify(message) }); }
}

function fakeDevHost() {
  const sockets: FakeSocket[] = [];
  const reloads: number[] = [];
  const config = { base: "http://127.0.0.1:1", token: "t k", socket: "ws://127.0.0.1:2/__moxh5/socket", page: { kind: "render" as const, webIndex: 3 } };
  const link = new DevLink(config, (url) => { const s = new FakeSocket(url); sockets.push(s); return s; },
    { document: {}, location: { reload: () => void reloads.push(1) } });
  return { link, sockets, reloads, transport: new DevTransport(config, link), config };
}

test("dev: one socket per realm; calls wait for it to open, then carry the page", async () => {
  const host = fakeDevHost();
  const other = new DevTransport({ ...host.config, page: { kind: "render", webIndex: 4 } }, host.link);
  const sending = host.transport.send(request);
  const second = other.send({ ...request, callbackId: "5" });
  const [socket] = host.sockets;
  assert.deepEqual([host.sockets.length, socket!.url, socket!.sent.length], [1, "ws://127.0.0.1:2/__moxh5/socket?token=t%20k", 0]);
  socket!.open();
  assert.deepEqual(socket!.sent.map((m) => m["type"]), ["hello", "hello", "call", "call"]);
  assert.deepEqual(socket!.sent[2], { type: "call", call: { ...request, page: { kind: "render", webIndex: 3 } } });
  socket!.hear({ type: "result", callbackId: "4", ...result, extra: 1 });
  socket!.hear({ type: "result", callbackId: "5", error: "\"page\" must be an object" });
  assert.deepEqual(await sending, result);
  await assert.rejects(second, (e) => e instanceof MoxTransportError && /refused the call: "page" must be an object/.test(e.message));
});

test("dev: answers reach the transport of their page; junk is dropped; reload reloads", () => {
  const host = fakeDevHost();
  const delivered: Array<[string, unknown]> = [];
  host.transport.listen((id, answer) => delivered.push([id, answer]));
  const socket = host.sockets[0]!;
  socket.open();
  socket.hear({ type: "answer", page: { kind: "render", webIndex: 3 }, callbackId: "7", answer: { success: true } });
  socket.hear({ type: "answer", page: { kind: "render", webIndex: 9 }, callbackId: "8", answer: { success: true } });
  socket.hear({ type: "answer", page: { kind: "worker", webIndex: 3 }, callbackId: "9", answer: {} });
  for (const junk of ["{broken", "5", { type: "result", callbackId: "404" }]) socket.hear(junk);
  socket.hear({ type: "reload" });
  assert.deepEqual([delivered, host.reloads.length], [[["7", { success: true }]], 1]);
});

// A BroadcastChannel stand-in: a message reaches every other channel of the name.
function fakeChannels() {
  const open: Array<[string, ChannelLike]> = [];
  return (name: string): ChannelLike => {
    const channel: ChannelLike = { onmessage: null, close() {}, postMessage(data) {
      for (const [n, other] of open) if (n === name && other !== channel) other.onmessage?.({ data });
    } };
    open.push([name, channel]);
    return channel;
  };
}

test("dev: a worker calls through its tab's socket, hears its own answers, and its loss; the tab connects again", async () => {
  const [channels, sockets] = [fakeChannels(), [] as FakeSocket[]];
  const config = { base: "http://127.0.0.1:1", token: "t", socket: "ws://h/s", page: { kind: "render" as const, webIndex: 3 } };
  new DevLink(config, (url) => sockets[sockets.push(new FakeSocket(url)) - 1]!, { document: {} }, channels);
  const workerPage = { kind: "worker" as const, webIndex: 3, workerId: "w" };
  const workerConfig = { ...config, page: workerPage };  // the relay's name comes along
  const worker = new DevTransport(workerConfig, new DevLink(workerConfig, () => assert.fail("a socket of its own"), {}, channels));
  const [heard, lost]: string[][] = [[], []];
  worker.listen((id) => heard.push(id), (reason) => lost.push(reason.message));
  const calling = worker.send(request);
  const socket = sockets[0]!;
  socket.open();
  assert.deepEqual(socket.sent, [{ type: "hello", page: workerPage }, { type: "call", call: { ...request, page: workerPage } }]);
  socket.hear({ type: "answer", page: { kind: "render", webIndex: 3 }, callbackId: "r", answer: {} });
  socket.hear({ type: "answer", page: workerPage, callbackId: "w1", answer: {} });
  socket.hear({ type: "result", callbackId: "4", ...result });
  assert.deepEqual([await calling, heard], [result, ["w1"]]);
  const waiting = worker.send({ ...request, callbackId: "6" });
  socket.readyState = 3;
  socket.onclose?.({});
  await assert.rejects(waiting, MoxTransportError);
  assert.deepEqual(lost, ["the connection to the dev host was lost"]);
  await new Promise((r) => setTimeout(r, 150));
  assert.equal(sockets.length, 2, "a new socket after the first retry delay, the tab's only");
});
