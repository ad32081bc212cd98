// Every method of the API table, called through the SDK in headless Chromium
// against moxh5-devhost: three tabs, each with two SDK instances on the page
// and a worker page, all calling at once. Every card the dev host shows is
// answered through the panel's routes with the call's own callback id and
// web index in the answer; every promise must settle, and every later answer
// must reach the call it was given to (no cross-talk between instances,
// workers or tabs).
//   node every_method_browser.mjs --devhost BIN
// Exit 0 passed, 1 failed, 77 skipped (no Chromium, no npm packages).
import assert from "node:assert/strict";
import { cpSync, mkdtempSync, readFileSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { parseArgs } from "node:util";
import { bundleSdk, launchChromium, panelRoute, root, startDevhost } from "./devhost_session.mjs";

const { values: args } = parseArgs({ options: { devhost: { type: "string" }, tabs: { type: "string", default: "3" } } });
const api = JSON.parse(readFileSync(join(root, "api/api.json"), "utf8"));
const LATER = ["later", "hostLater", "callID"];

// A value of the field's type that the library accepts.
function sample(field) {
  if (field.values) return field.values[0];
  if (/url/i.test(field.name)) return "https://shop.example/api";
  if (/path/i.test(field.name)) return "C:/Users/me/orders.xlsx";
  return { string: "x", integer: 1, number: 1, boolean: true, object: {}, array: [], any: "x" }[field.type];
}
const calls = { render: [], worker: [] };
const laterMethods = new Set();
for (const module of api.modules) {
  for (const method of module.methods) {
    const params = Object.fromEntries(method.params.filter((f) => f.name !== "*").map((f) => [f.name, sample(f)]));
    const name = `${module.name}.${method.name}`;
    calls[method.pages.includes("render") ? "render" : "worker"].push([name, module.sdk, method.name, params]);
    if (LATER.includes(method.answer)) laterMethods.add(name);
  }
}

const work = mkdtempSync(join(tmpdir(), "moxh5-every-"));
cpSync(join(root, "tests/browser/pages"), work, { recursive: true });
bundleSdk(work, "esm");
const browser = await launchChromium();
const host = await startDevhost(args.devhost, bundleSdk(work), work, ["--no-reload"]);
let failed = 0;
try {
  await panelRoute(host, "/__moxh5/host", { pagePolicy: { unrestricted: true }, switches: { func_enable_h5_easy_wnd_327: true } });
  const answered = [];
  let running = true;
  // Answers every card as the panel's Succeed would, naming its own call.
  const answering = (async () => {
    while (running) {
      for (const card of await panelRoute(host, "/__moxh5/pending")) {
        const mark = { callbackId: card.callbackId, webIndex: card.page.webIndex };
        const answer = card.shape === "HostAnswers" ? mark : { data: mark };
        await panelRoute(host, "/__moxh5/complete", { pending: card.number, success: true, answer });
        answered.push(card);
      }
      await new Promise((r) => setTimeout(r, 20));
    }
  })();
  const tabs = await Promise.all(Array.from({ length: Number(args.tabs) }, () => browser.newPage()));
  await Promise.all(tabs.map((tab) => tab.goto(host.page)));
  const runs = tabs.map((tab) => tab.evaluate(([r, w]) => runEveryMethod(r, w, "/moxh5-sdk.mjs"), [calls.render, calls.worker]));
  const timeout = new Promise((_, reject) => setTimeout(() => reject(new Error("some promises never settled")), 60000));
  const results = await Promise.race([Promise.all(runs), timeout]);
  running = false;
  await answering;
  // Each tab's document, its second SDK and its worker share the tab's one connection.
  assert.equal((await panelRoute(host, "/__moxh5/socket-address")).connections, tabs.length, "connections");

  const total = calls.render.length + calls.worker.length;
  assert.equal(total, api.modules.reduce((n, m) => n + m.methods.length, 0));
  // A later answer is the mark of its own call, or (for what the library
  // answers itself under the page's callID) no mark at all.
  const problems = [];
  let marked = 0;
  for (const { webIndex, instances } of results) {
    const [first, second, worker] = instances;
    if (first.length + worker.length !== total || second.length !== calls.render.length) problems.push(`tab ${webIndex}: not every call settled`);
    for (const outcome of [...first, ...second, ...worker]) {
      if (!laterMethods.has(outcome.name)) continue;
      const mine = JSON.stringify({ callbackId: outcome.id, webIndex });
      const got = outcome.ok ? JSON.stringify(outcome.value.data ?? outcome.value) : outcome.error;
      if (got === mine) marked++;
      else if (/callbackId|Error/.test(got)) problems.push(`tab ${webIndex} ${outcome.name} (${outcome.id}): ${got}`);
    }
  }
  if (marked !== answered.length) problems.push(`${answered.length} cards answered, ${marked} calls got their own answer`);
  assert.deepEqual(problems, []);
  console.log(`ok - ${results.length} tabs x (2 SDK instances + a worker): ${total} methods each, all settled; ` +
    `${answered.length} cards (${new Set(answered.map((c) => c.op)).size} operations) each answered its own call`);
} catch (error) {
  failed++;
  console.log(`not ok - ${String(error.stack || error).replace(/\n/g, "\n  ")}`);
} finally {
  await browser.close();
  host.stop();
  rmSync(work, { recursive: true, force: true });
}
process.exit(failed ? 1 : 0);
