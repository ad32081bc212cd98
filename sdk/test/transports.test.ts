// The two transports against fake hosts: what they send, and how the host's
// messages become results and deliveries.
import assert from "node:assert/strict";
import { test } from "node:test";
import { ClientTransport, type HostScope } from "../src/client-transport.js";
import { DevTransport, type EventSourceLike } from "../src/dev-transport.js";
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

function fakeDevHost(status = 200) {
  const listeners = new Map<string, (event: { data?: unknown; lastEventId?: string }) => void>();
  const calls: Array<{ url: string; headers: Record<string, string>; body: unknown }> = [];
  const events: string[] = [];
  const transport = new DevTransport(
    { base: "http://127.0.0.1:1", token: "t0k", page: { kind: "render", webIndex: 3 } },
    async (url, init) => {
      calls.push({ url, headers: init.headers, body: JSON.parse(init.body) });
      return { ok: status === 200, status, json: async () => ({ ...result, extra: 1 }) };
    },
    (url): EventSourceLike => {
      events.push(url);
      return { addEventListener: (type, listener) => void listeners.set(type, listener) };
    },
  );
  return { transport, calls, events, emit: (type: string, event: object) => listeners.get(type)!(event) };
}

test("dev: posts the call with token and page once the stream is open", async () => {
  const host = fakeDevHost();
  assert.deepEqual(host.events, ["http://127.0.0.1:1/__moxh5/events?token=t0k&kind=render&webIndex=3"]);
  const sending = host.transport.send({ ...request, callID: 4 });
  await new Promise((r) => setImmediate(r));
  assert.equal(host.calls.length, 0, "waits for the event stream");
  host.emit("open", {});
  assert.deepEqual(await sending, result);
  assert.deepEqual([host.calls[0]!.url, host.calls[0]!.headers["X-MoxH5-Token"]], ["http://127.0.0.1:1/__moxh5/call", "t0k"]);
  assert.deepEqual(host.calls[0]!.body, { ...request, callID: 4, page: { kind: "render", webIndex: 3 } });
  const refused = fakeDevHost(403);
  refused.emit("open", {});
  await assert.rejects(refused.transport.send(request), /HTTP 403/);
});

test("dev: events by id or wrapped reach the listener; malformed ones are dropped", () => {
  const host = fakeDevHost();
  const delivered: Array<[string, unknown]> = [];
  host.transport.listen((id, answer) => delivered.push([id, answer]));
  host.emit("answer", { lastEventId: "7", data: '{"success":true,"message":"success","data":null}' });
  host.emit("answer", { data: '{"callbackId":"8","answer":{"finded":true}}' });
  host.emit("answer", { lastEventId: "9", data: "{broken" });
  host.emit("answer", { data: '{"success":true}' });
  assert.deepEqual(delivered, [
    ["7", { success: true, message: "success", data: null }],
    ["8", { finded: true }],
  ]);
});
