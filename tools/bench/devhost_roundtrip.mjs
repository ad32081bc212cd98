#!/usr/bin/env node
// A page call's round trip through moxh5-devhost: headless Chromium runs the
// sample page and times calls from the page to the library and back.
//   node tools/bench/devhost_roundtrip.mjs [--devhost BIN] [--calls N]
// Prints the median and 99th percentile of two synchronous calls, from the
// SDK's promise function to its settling: HTTP to the dev host, Execute in the
// library through the reference host, the reply back into the page.
import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { parseArgs } from "node:util";
import { bundleSdk, launchChromium, root, startDevhost } from "../../tests/browser/devhost_session.mjs";

const { values: args } = parseArgs({
  options: {
    devhost: { type: "string", default: join(root, "build/dev/bin/moxh5-devhost") },
    calls: { type: "string", default: "500" },
  },
});
const calls = Number(args.calls);
const work = mkdtempSync(join(tmpdir(), "moxh5-bench-"));
const browser = await launchChromium();
const host = await startDevhost(args.devhost, bundleSdk(work), join(root, "examples", "page"));
try {
  const page = await browser.newPage();
  await page.goto(host.page);
  const samples = await page.evaluate(async (n) => {
    const time = async (call) => {
      for (let i = 0; i < 20; i++) await call(); // warm up
      const ms = [];
      for (let i = 0; i < n; i++) {
        const start = performance.now();
        await call();
        ms.push(performance.now() - start);
      }
      return ms;
    };
    return {
      "JSCallNative.getWorkbenchVersion": await time(() => moxh5.native.getWorkbenchVersion()),
      "JSCallBasic.canIUse": await time(() => moxh5.canIUse("JSStorage.setPasteboard")),
    };
  }, calls);
  const at = (sorted, q) => sorted[Math.min(sorted.length - 1, Math.ceil(q * sorted.length) - 1)];
  console.log(`${calls} calls each, page -> dev host -> library -> page (ms)`);
  for (const [name, ms] of Object.entries(samples)) {
    ms.sort((a, b) => a - b);
    console.log(`${name.padEnd(36)} median ${at(ms, 0.5).toFixed(2)}  p99 ${at(ms, 0.99).toFixed(2)}`);
  }
} finally {
  await browser.close();
  host.stop();
  rmSync(work, { recursive: true, force: true });
}
