// Answer matching: which answer settles a call, with what, and the errors'
// texts, through a fake transport the test drives by hand.
import assert from "node:assert/strict";
import { test } from "node:test";
import { Bridge } from "../src/bridge.js";
import { MoxError, MoxPageKindError, MoxTimeoutError, MoxTransportError } from "../src/errors.js";
import { createMox } from "../src/index.js";
import type { CallRequest, CallResult, MethodEntry, Transport } from "../src/types.js";

class FakeTransport implements Transport {
  readonly page = "render" as const;
  sent: CallRequest[] = [];
  results: Array<(r: CallResult) => void> = [];
  failures: Array<(e: unknown) => void> = [];
  listeners: Array<(id: string, answer: unknown) => void> = [];
  deliver = (id: string, answer: unknown) => this.listeners.forEach((listener) => listener(id, answer));
  lose: (reason: Error) => void = () => {};
  send(request: CallRequest) {
    this.sent.push(request);
    return new Promise<CallResult>((resolve, reject) => {
      this.results.push(resolve);
      this.failures.push(reject);
    });
  }
  listen(onDelivery: (id: string, answer: unknown) => void, onLost?: (reason: Error) => void) {
    this.listeners.push(onDelivery);
    if (onLost) this.lose = onLost;
  }
}

const entry = (answer: MethodEntry["answer"], callId?: MethodEntry["callId"]): MethodEntry =>
  ({ module: "JSCallNative", method: "m", pages: ["render"], answer, ...(callId ? { callId } : {}) });
const ok = (answer: object = {}): CallResult => ({ registered: true, handled: true, answer: { ...answer } });
const failed = (answer: object = {}, registered = true): CallResult => ({ registered, handled: false, answer: { ...answer } });
const tick = () => new Promise((r) => setImmediate(r));

// Each case: the method's answer path, then what the host does in order.
type Step = { result: CallResult } | { deliver: unknown };
const cases: Array<{ name: string; path: MethodEntry["answer"]; steps: Step[]; resolves?: unknown; rejects?: string }> = [
  { name: "answered now", path: "now", steps: [{ result: ok({ data: { x: 1 } }) }],
    resolves: { data: { x: 1 }, success: true, message: "success" } },
  { name: "a later envelope does not change a settled call; internal flags stay inside", path: "host",
    steps: [{ result: ok({ NoNeedUnifyCallBack: true }) }, { deliver: { success: false, message: "late" } }],
    resolves: { success: true, message: "success", data: null } },
  { name: "failure text", path: "now", steps: [{ result: failed({ message: "Invalid param." }) }], rejects: "Invalid param." },
  { name: "failure without text", path: "now", steps: [{ result: failed() }], rejects: "failed" },
  { name: "module not registered", path: "now", steps: [{ result: failed({}, false) }], rejects: "Module not registered: JSCallNative" },
  { name: "async envelope", path: "later",
    steps: [{ result: ok({ AsynExec: true }) }, { deliver: { success: true, message: "success", data: "C:/a.txt", AsynExec: true } }],
    resolves: { success: true, message: "success", data: "C:/a.txt" } },
  { name: "async failure", path: "later",
    steps: [{ result: ok({ AsynExec: true }) }, { deliver: { success: false, message: "cancelled", data: null } }], rejects: "cancelled" },
  { name: "envelope before the result", path: "later",
    steps: [{ deliver: { success: true, message: "success", data: 2 } }, { result: ok({ AsynExec: true }) }],
    resolves: { success: true, message: "success", data: 2 } },
  { name: "raw answer delivered before a result that settles now", path: "now",
    steps: [{ deliver: { message: "Invalid method." } }, { result: ok() }], resolves: { success: true, message: "success", data: null } },
  { name: "host's own answer under callID", path: "callID", steps: [{ result: ok() }, { deliver: { finded: true } }], resolves: { finded: true } },
  { name: "host answers later under the callback id", path: "hostLater", steps: [{ result: ok() }, { deliver: "body" }], resolves: "body" },
];

for (const c of cases) {
  test(`settles: ${c.name}`, async () => {
    const transport = new FakeTransport();
    const bridge = new Bridge(transport);
    const call = bridge.call(entry(c.path), {});
    const settled = call.then((value) => ({ value }), (error: unknown) => ({ error }));
    for (const step of c.steps) {
      if ("result" in step) transport.results[0]!(step.result);
      else transport.deliver(transport.sent[0]!.callbackId, step.deliver);
      await tick();
    }
    const outcome = await settled;
    if (c.rejects) {
      assert.ok("error" in outcome && outcome.error instanceof MoxError, "rejects with MoxError");
      assert.deepEqual([outcome.error.message, typeof outcome.error.answer], [c.rejects, "object"]);
    } else {
      assert.deepEqual(outcome, { value: c.resolves });
    }
  });
}

test("the page's callID goes where the method reads it", () => {
  const transport = new FakeTransport();
  const bridge = new Bridge(transport);
  void bridge.call(entry("callID", { in: "payload", type: "integer" }), { a: 1 });
  void bridge.call(entry("callID", { in: "params", type: "string" }), { a: 1 });
  const [top, inParams] = transport.sent;
  assert.deepEqual([top!.callID, top!.params], [Number(top!.callbackId), { a: 1 }]);
  assert.deepEqual([inParams!.callID, inParams!.params], [undefined, { a: 1, callID: inParams!.callbackId }]);
});

test("canIUse is the call's result; a broken transport is not a false", async () => {
  const transport = new FakeTransport();
  const mox = createMox({ transport });
  const yes = mox.canIUse("JSDevice.getSystemInfo");
  const no = mox.canIUse("JSDevice.nothing");
  const broken = mox.canIUse("JSDevice");
  assert.deepEqual({ ...transport.sent[0], callbackId: "" }, { module: "JSCallBasic", method: "canIUse", params: { name: "JSDevice.getSystemInfo" }, callbackId: "" });
  transport.results[0]!(ok());
  transport.results[1]!(failed());
  transport.failures[2]!(new Error("offline"));
  assert.deepEqual([await yes, await no], [true, false]);
  await assert.rejects(broken, /offline/);
  const sent = transport.sent.length;
  assert.equal(await mox.canIUse("JSNetwork.httpRequest"), false, "a worker method on a render page");
  assert.equal(transport.sent.length, sent, "answered without asking the library");
});

test("two SDK instances on one page number their calls from one counter; answers reach only their own call", async () => {
  const transport = new FakeTransport();
  const [one, two] = [new Bridge(transport), new Bridge(transport)];
  const calls = [one.call(entry("later"), {}), two.call(entry("later"), {}), one.call(entry("later"), {})];
  const ids = transport.sent.map((r) => r.callbackId);
  assert.equal(new Set(ids).size, 3);
  transport.results.forEach((resolve) => resolve(ok({ AsynExec: true })));
  await tick();
  transport.deliver("no-such-call", { success: true });
  [...ids].reverse().forEach((id, i) => transport.deliver(id, { success: true, message: `#${2 - i}` }));
  assert.deepEqual((await Promise.all(calls)).map((a) => (a as { message: string }).message), ["#0", "#1", "#2"]);
});

test("a call ends by timeout, abort, lost connection or the wrong page kind", async () => {
  const transport = new FakeTransport();
  const bridge = new Bridge(transport, { timeoutMs: 10 });
  const controller = new AbortController();
  const [timedOut, aborted, lost] = [{}, { signal: controller.signal, timeoutMs: 10_000 }, { timeoutMs: 10_000 }]
    .map((options) => bridge.call(entry("later"), {}, options).then(() => undefined, (e: unknown) => e as Error));
  transport.results[2]!(ok({ AsynExec: true }));
  await tick();
  controller.abort(new Error("user left"));
  transport.lose(new Error("gone"));
  const [t, a, l] = [await timedOut, await aborted, await lost];
  assert.ok(t instanceof MoxTimeoutError && /no answer within 10 ms/.test(t.message), String(t));
  assert.equal(a?.message, "user left");
  assert.ok(l instanceof MoxTransportError && /JSCallNative.m: gone/.test(l.message), String(l));
  const sent = transport.sent.length;
  const workerOnly = { ...entry("now"), pages: ["worker"] as const };
  await assert.rejects(bridge.call(workerOnly, {}), (e) => e instanceof MoxPageKindError && /worker pages only; this is a render page/.test(e.message));
  assert.equal(transport.sent.length, sent, "nothing sent for the wrong page kind");
});
