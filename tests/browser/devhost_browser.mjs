// The sample page in headless Chromium against moxh5-devhost and the real
// library: a synchronous method, canIUse, a failure text, asynchronous work
// finished on the control panel, a worker page's call, and the dev host's
// refusals. Screenshots of the page and the panel go to --out.
//   node devhost_browser.mjs --devhost BIN --out DIR
// Exit 0 passed, 1 failed, 77 skipped (no Chromium, no npm packages).
import assert from "node:assert/strict";
import { mkdirSync } from "node:fs";
import { request } from "node:http";
import { join } from "node:path";
import { parseArgs } from "node:util";
import { bundleSdk, launchChromium, root, startDevhost } from "./devhost_session.mjs";

const { values: args } = parseArgs({ options: { devhost: { type: "string" }, out: { type: "string" } } });
mkdirSync(args.out, { recursive: true });
const browser = await launchChromium();
const host = await startDevhost(args.devhost, bundleSdk(args.out), join(root, "examples", "page"));
const wait = { timeout: 10000 };
let failed = 0;

async function check(name, body) {
  try {
    await body();
    console.log(`ok - ${name}`);
  } catch (error) {
    failed++;
    console.log(`not ok - ${name}\n  ${String(error.stack || error).replace(/\n/g, "\n  ")}`);
  }
}

// Clicks a button of the sample page and waits for its output to change.
async function clickFor(page, button, output, expected) {
  await page.click(button);
  const out = page.locator(output);
  await out.filter({ hasText: expected }).waitFor(wait);
  return out.textContent();
}

// A raw request, to set headers a browser would not let a page set.
function status(path, { method = "GET", headers = {}, body } = {}) {
  const url = new URL(path, host.page);
  return new Promise((resolve, reject) => {
    const req = request(url, { method, headers: { Host: url.host, ...headers } }, (res) => {
      res.resume();
      resolve(res.statusCode);
    });
    req.on("error", reject);
    req.end(body);
  });
}

try {
  const page = await browser.newPage({ viewport: { width: 1100, height: 640 } });
  const panel = await browser.newPage({ viewport: { width: 1280, height: 720 } });
  await page.goto(host.page);
  await panel.goto(host.panel);
  await page.locator("#page-kind").filter({ hasText: "render page" }).waitFor(wait);

  await check("a synchronous method answers with the library's data", async () => {
    assert.match(await clickFor(page, "#system-info", "#out-system-info", "-bit"), /\d+-bit, screen \d+×\d+/);
  });
  await check("canIUse tells known from unknown names", async () => {
    for (const [name, expected] of [["JSStorage.setPasteboard", "available"], ["JSStorage.noSuchMethod", "not available"]]) {
      await page.fill("#feature", name);
      assert.equal(await clickFor(page, "#can-i-use", "#out-can-i-use", `${name}: ${expected}`), `${name}: ${expected}`);
    }
  });
  await check("a failure rejects with the library's text", async () => {
    assert.equal(await clickFor(page, "#save-nothing", "#out-files", "failed"), "failed: Invalid param.");
  });
  await check("asynchronous work finished on the control panel answers the page", async () => {
    await page.click("#pick-file");
    const work = panel.locator('.work[data-op="SelectFile"]');
    await work.waitFor(wait);
    await work.locator("textarea").fill('{"data": {"filePath": "C:/orders.xlsx"}}');
    await panel.screenshot({ path: join(args.out, "devhost-panel.png"), fullPage: true });
    await work.locator('[data-action="succeed"]').click();
    await page.locator("#out-files").filter({ hasText: "picked" }).waitFor(wait);
    assert.equal(await page.textContent("#out-files"), 'picked {"filePath":"C:/orders.xlsx"}');
    await work.waitFor({ state: "detached", ...wait });
  });
  await check("a worker page calls through the same SDK and hears its later answers", async () => {
    assert.equal(await clickFor(page, "#worker-version", "#out-worker", "client"),
      "client 3.4.8.3 (asked by the worker page)");
    await page.click("#worker-fetch");
    const work = panel.locator('.work[data-op="HttpGet"]');
    await work.locator("textarea").fill('{"data": {"status": 200}}');
    await work.locator('[data-action="succeed"]').click();
    await page.locator("#out-worker").filter({ hasText: "orders" }).waitFor(wait);
    assert.equal(await page.textContent("#out-worker"), 'orders: {"status":200}');
  });
  await check("the panel shows the host operations", async () => {
    await panel.locator("#activity li", { hasText: "SelectFile" }).first().waitFor(wait);
    await panel.locator("#activity li", { hasText: "getWorkbenchVersion" }).first().waitFor(wait);
  });
  await check("the page policy set on the panel decides what reaches the shell", async () => {
    const download = (url) => page.evaluate((u) => moxh5.native.windowsDownLoad({ url: u })
      .then(() => "opened", (error) => error.message), url);
    assert.equal(await download("ftp://files.example/x.zip"), "download failed");
    await panel.fill("#shellSchemes", "https, ftp");
    await panel.click("#applyPolicy");
    await panel.locator("#note", { hasText: "Host settings applied." }).waitFor(wait);
    assert.equal(await download("ftp://files.example/x.zip"), "opened");
    assert.equal(await download("file:///etc/passwd"), "download failed");
  });
  await check("only the token, a loopback Host and the page's own origin drive the dev host", async () => {
    const call = JSON.stringify({ module: "JSCallBasic", method: "canIUse", params: { name: "JSStorage" }, page: { kind: "render" } });
    const json = { "Content-Type": "application/json" };
    const cases = [
      ["with the token", { ...json, "X-MoxH5-Token": host.token }, 200],
      ["without the token", json, 403],
      ["with a wrong token", { ...json, "X-MoxH5-Token": "0".repeat(32) }, 403],
      ["under another name", { ...json, "X-MoxH5-Token": host.token, Host: "rebound.example:80" }, 403],
      ["from another origin", { ...json, "X-MoxH5-Token": host.token, Origin: "http://evil.example" }, 403],
    ];
    for (const [label, headers, expected] of cases) {
      assert.equal(await status("/__moxh5/call", { method: "POST", headers, body: call }), expected, label);
    }
    assert.equal(await status("/__moxh5/panel"), 403, "the panel without the token");
    assert.equal(await status("/__moxh5/call", { method: "POST", headers: { "X-MoxH5-Token": host.token }, body: "[" }), 400);
  });
  await page.screenshot({ path: join(args.out, "devhost-sample-page.png"), fullPage: true });
} finally {
  await browser.close();
  host.stop();
}
console.log(failed ? `${failed} check(s) failed` : "all checks passed");
process.exit(failed ? 1 : 0);
