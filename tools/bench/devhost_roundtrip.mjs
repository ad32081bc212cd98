#!/usr/bin/env node
// A page call's round trip through moxh5-devhost in headless Chromium, beside
// its floor, in one run:
//   call   JSCallNative.getWorkbenchVersion through the SDK, from the promise
//          function to its settling (the page's WebSocket to the dev host,
//          Execute in the library through the reference host, the reply back)
//   floor  a bare WebSocket echo from the same page to the same server
// then 4 tabs at once, each page and its worker page calling in a loop: no
// tab's calls should wait on another's.
//   node tools/bench/devhost_roundtrip.mjs [--devhost BIN] [--calls N]
import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { parseArgs } from "node:util";
import { bundleSdk, launchChromium, root, startDevhost } from "../../tests/browser/devhost_session.mjs";

const { values: args } = parseArgs({
  options: {
    devhost: { type: "string", default: join(root, "build/dev/bin/moxh5-devhost") },
    calls: { type: "string", default: "1000" },
  },
});
const calls = Number(args.calls);
const work = mkdtempSync(join(tmpdir(), "moxh5-bench-"));
const browser = await launchChromium();
const host = await startDevhost(args.devhost, bundleSdk(work), join(root, "examples", "page"), ["--no-reload"]);

// Runs in the page (and in worker pages): times `n` calls of the SDK, or of
// the bare echo, after a warm-up.
async function timeCalls(n, kind) {
  const dev = globalThis.__MOXH5_DEV__;
  let call;
  if (kind === "floor") {
    const socket = new WebSocket(`${dev.socket}?token=${dev.token}`);
    await new Promise((resolve) => { socket.onopen = resolve; });
    let next = null;
    socket.onmessage = () => next();
    call = () => new Promise((resolve) => { next = resolve; socket.send('{"type":"echo"}'); });
  } else {
    call = () => moxh5.native.getWorkbenchVersion();
  }
  for (let i = 0; i < 50; i++) await call();
  const ms = [];
  for (let i = 0; i < n; i++) {
    const start = performance.now();
    await call();
    ms.push(performance.now() - start);
  }
  return ms;
}

// In a tab: its own calls and a worker page's, at once.
async function tabWithWorker(n, source, kind) {
  const dev = globalThis.__MOXH5_DEV__;
  const code = `self.onmessage = async ({ data }) => {
    self.__MOXH5_DEV__ = data.dev; importScripts(data.sdk); ${source}
    self.postMessage(await timeCalls(data.n, data.kind)); };`;
  const worker = new Worker(URL.createObjectURL(new Blob([code], { type: "text/javascript" })));
  const fromWorker = new Promise((resolve) => { worker.onmessage = ({ data }) => resolve(data); });
  worker.postMessage({ n, kind, sdk: `${location.origin}/__moxh5/sdk.js`,
    dev: { ...dev, page: { kind: "worker", workerId: "bench", webIndex: dev.page.webIndex } } });
  const [page, inWorker] = await Promise.all([timeCalls(n, kind), fromWorker]);
  return page.concat(inWorker);
}

const at = (sorted, q) => sorted[Math.min(sorted.length - 1, Math.ceil(q * sorted.length) - 1)];
const figures = (ms) => {
  const sorted = [...ms].sort((a, b) => a - b);
  return { median: at(sorted, 0.5), p99: at(sorted, 0.99) };
};
const line = (label, f) => console.log(`${label.padEnd(44)} median ${f.median.toFixed(3)} ms  p99 ${f.p99.toFixed(3)} ms`);

try {
  const page = await browser.newPage();
  await page.goto(host.page);
  await page.evaluate(`globalThis.timeCalls = ${timeCalls}; globalThis.tabWithWorker = ${tabWithWorker};`);
  // Alternate the two so that both see the same machine.
  const call = [], floor = [];
  for (let round = 0; round < 4; round++) {
    call.push(...await page.evaluate(([n]) => timeCalls(n, "call"), [calls / 4]));
    floor.push(...await page.evaluate(([n]) => timeCalls(n, "floor"), [calls / 4]));
  }
  const c = figures(call), f = figures(floor);
  console.log(`${calls} calls each, headless Chromium -> moxh5-devhost (${args.devhost})`);
  line("SDK call JSCallNative.getWorkbenchVersion", c);
  line("floor: bare WebSocket echo, same page/server", f);
  console.log(`ratio call/floor: median ${(c.median / f.median).toFixed(2)}x  p99 ${(c.p99 / f.p99).toFixed(2)}x`);

  const tabs = await Promise.all(Array.from({ length: 4 }, () => browser.newPage()));
  await Promise.all(tabs.map((tab) => tab.goto(host.page)));
  const source = `globalThis.timeCalls = ${timeCalls};`;
  const allTabs = (kind) => Promise.all(tabs.map(async (tab) => {
    await tab.evaluate(`globalThis.timeCalls = ${timeCalls}; globalThis.tabWithWorker = ${tabWithWorker};`);
    return tab.evaluate(([n, s, k]) => tabWithWorker(n, s, k), [calls / 4, source, kind]);
  }));
  const perTab = await allTabs("call");
  const floorTabs = await allTabs("floor");
  console.log(`4 tabs at once, each a page and a worker page calling in a loop (${calls / 4} calls each):`);
  perTab.forEach((ms, i) => line(`  tab ${i + 1} (page + worker), SDK call`, figures(ms)));
  line("  all 4 tabs, SDK call", figures(perTab.flat()));
  line("  all 4 tabs, floor (bare echo, same load)", figures(floorTabs.flat()));
} finally {
  await browser.close();
  host.stop();
  rmSync(work, { recursive: true, force: true });
}
