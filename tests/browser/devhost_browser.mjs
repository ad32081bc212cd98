// The sample page in headless Chromium against moxh5-devhost and the real
// library: a synchronous method, canIUse, a failure text, asynchronous work
// finished on the control panel (and by an auto-answer), a worker page's
// call, a closed page's work dropped, live reload, a page of another dev
// server, reconnecting after a restart, and the dev host's refusals.
// Screenshots of the page and the panel go to --out.
//   node devhost_browser.mjs --devhost BIN --out DIR
// Exit 0 passed, 1 failed, 77 skipped (no Chromium, no npm packages).
import assert from "node:assert/strict";
import { appendFileSync, cpSync, mkdirSync, mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { createServer, request } from "node:http";
import { connect } from "node:net";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { parseArgs } from "node:util";
import { bundleSdk, launchChromium, panelRoute, root, startDevhost } from "./devhost_session.mjs";

const { values: args } = parseArgs({ options: { devhost: { type: "string" }, out: { type: "string" } } });
mkdirSync(args.out, { recursive: true });
const work = mkdtempSync(join(tmpdir(), "moxh5-devhost-"));
const folder = join(work, "page");
cpSync(join(root, "examples", "page"), folder, { recursive: true });
// Another dev server's page: it loads the dev settings and the SDK from the dev host.
let devhostBase = "";
const foreign = createServer((req, res) => {
  res.setHeader("Content-Type", "text/html");
  res.end(`<script src="${devhostBase}/__moxh5/dev.js?token=${req.url.slice(2)}"></script>` +
    `<script src="${devhostBase}/__moxh5/sdk.js"></script>`);
});
await new Promise((resolve) => foreign.listen(0, "127.0.0.1", resolve));
const foreignOrigin = `http://127.0.0.1:${foreign.address().port}`;
const browser = await launchChromium();
const tokenFile = join(work, "token");
let host = await startDevhost(args.devhost, bundleSdk(work), folder, ["--token-file", tokenFile, "--allow-origin", foreignOrigin]);
devhostBase = new URL(host.page).origin;
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
    req.on("upgrade", (res, socket) => {
      socket.destroy();
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
    await panel.locator(".work.finished", { hasText: "SelectFile succeeded" }).waitFor(wait);
    await page.click("#pick-file");
    await panel.locator('.work[data-op="SelectFile"] [data-action="fail"]').click();
    await page.locator("#out-files").filter({ hasText: "cancelled" }).waitFor(wait);
  });
  await check("an auto-answer finishes every such work at once; off brings the cards back", async () => {
    await panelRoute(host, "/__moxh5/auto", { op: "SelectFile", success: true, answer: { data: { filePath: "D:/auto.csv" } } });
    assert.equal(await clickFor(page, "#pick-file", "#out-files", "auto"), 'picked {"filePath":"D:/auto.csv"}');
    await panelRoute(host, "/__moxh5/auto", { op: "SelectFile", off: true });
    await page.click("#pick-file");
    await panel.locator('.work[data-op="SelectFile"]').waitFor(wait);
  });
  await check("a page that goes away takes its unfinished work with it", async () => {
    const other = await browser.newPage();
    await other.goto(host.page);
    await other.evaluate(() => void moxh5.native.showCommonTip({ content: "Leave?" }));
    const card = panel.locator('.work[data-op="ShowCommonTip"]');
    await card.waitFor(wait);
    await other.close();
    await card.waitFor({ state: "detached", ...wait });
    await panel.locator("#activity li", { hasText: "closed; 1 unfinished work dropped" }).first().waitFor(wait);
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
  await check("the panel shows the host operations and each result's call", async () => {
    await panel.locator("#activity li", { hasText: "SelectFile" }).first().waitFor(wait);
    await panel.locator("#activity li", { hasText: /getWorkbenchVersion \(call \d+, (render|worker) page \d+\)/ }).first().waitFor(wait);
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
    // The pages' WebSocket: the same token, Host and origin rules.
    const socket = (await panelRoute(host, "/__moxh5/socket-address")).socket.replace("ws:", "http:");
    const upgrade = { Upgrade: "websocket", Connection: "Upgrade", "Sec-WebSocket-Key": "dGhlIHNhbXBsZSBub25jZQ==", "Sec-WebSocket-Version": "13" };
    for (const [label, query, headers, expected] of [
      ["with the token", `?token=${host.token}`, { Origin: devhostBase }, 101],
      ["from an allowed other dev server", `?token=${host.token}`, { Origin: foreignOrigin }, 101],
      ["without the token", "", {}, 403],
      ["from another origin", `?token=${host.token}`, { Origin: "http://evil.example" }, 403],
    ]) {
      assert.equal(await status(`${socket}${query}`, { headers: { ...upgrade, ...headers } }), expected, label);
    }
  });
  await check("malformed frames and messages from a page never stop the dev host", async () => {
    const { port } = new URL((await panelRoute(host, "/__moxh5/socket-address")).socket);
    const frame = (text, first = 0x81) => { // masked with a zero key
      const body = Buffer.from(text);
      return Buffer.concat([Buffer.from([first, 0x80 | 126, body.length >> 8, body.length & 255, 0, 0, 0, 0]), body]);
    };
    const hostile = [
      ...["[", "5", '{"type":"call"}', '{"type":"call","call":{"page":{"kind":"render","webIndex":"x"}}}',
        '{"type":"call","call":{"module":7,"page":{"kind":"worker"}}}', '{"type":"hello","page":[]}', '{"type":"x"}']
        .map((t) => frame(t)),
      frame("x", 0x01), frame("y", 0x00), frame("z", 0x8b), Buffer.from([0x81, 0xff, 255, 255, 255, 255, 255, 255, 255, 255]),
    ];
    for (const bytes of hostile) {
      const socket = connect(Number(port), "127.0.0.1");
      socket.write(`GET /__moxh5/socket?token=${host.token} HTTP/1.1\r\nHost: 127.0.0.1:${port}\r\nUpgrade: websocket\r\n` +
        "Connection: Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n");
      socket.resume().end(bytes);
      await new Promise((resolve) => socket.on("close", resolve).on("error", resolve));
    }
    assert.equal(await page.evaluate(() => moxh5.native.getWorkbenchVersion().then((a) => a.data.WorkbenchVersion)), "3.4.8.3");
  });
  await check("a page of another dev server calls through the dev host", async () => {
    const other = await browser.newPage();
    await other.goto(`${foreignOrigin}/?${host.token}`);
    assert.equal(await other.evaluate(() => moxh5.native.getWorkbenchVersion().then((a) => a.data.WorkbenchVersion)), "3.4.8.3");
    await other.close();
  });
  await check("an edited file reloads the open page", async () => {
    await page.evaluate(() => { globalThis.beforeReload = true; });
    appendFileSync(join(folder, "style.css"), "\n/* edited */\n");
    await page.waitForFunction(() => !globalThis.beforeReload, null, wait);
  });
  await page.screenshot({ path: join(args.out, "devhost-sample-page.png"), fullPage: true });
  await check("after a restart on the same port with the token file, open pages call again", async () => {
    const port = new URL(host.page).port;
    host.stop();
    await new Promise((resolve) => host.child.once("exit", resolve));
    host = await startDevhost(args.devhost, join(work, "moxh5-sdk.js"), folder, ["--port", port, "--token-file", tokenFile]);
    const version = () => page.evaluate(() => moxh5.native.getWorkbenchVersion().then((a) => a.data.WorkbenchVersion, (e) => e.name));
    await page.waitForFunction(async () => (await moxh5.native.getWorkbenchVersion().catch(() => null)) !== null, null, wait);
    assert.equal(await version(), "3.4.8.3");
  });
} finally {
  await browser.close();
  host.stop();
  foreign.close();
  rmSync(work, { recursive: true, force: true });
}
console.log(failed ? `${failed} check(s) failed` : "all checks passed");
process.exit(failed ? 1 : 0);
