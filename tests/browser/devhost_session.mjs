// Starts what a browser check needs: the SDK's script-tag bundle (esbuild),
// moxh5-devhost serving a folder, and Debian's Chromium headless through
// playwright-core. Whatever is missing makes the caller skip (exit 77), loudly.
import { spawn, spawnSync } from "node:child_process";
import { existsSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

export const root = join(dirname(fileURLToPath(import.meta.url)), "..", "..");

export function skip(reason) {
  console.log(`SKIPPED: ${reason}`);
  process.exit(77);
}

// The bundle as the page gets it from /__moxh5/sdk.js; with `format` "esm",
// the ES module bundle a page would bundle itself.
export function bundleSdk(outDir, format = "iife") {
  const esbuild = join(root, "node_modules", ".bin", "esbuild");
  if (!existsSync(esbuild)) skip("esbuild is not installed; run npm ci (tools/setup.sh does)");
  const esm = format === "esm";
  const file = join(outDir, esm ? "moxh5-sdk.mjs" : "moxh5-sdk.js");
  const done = spawnSync(esbuild, [join(root, esm ? "sdk/src/index.ts" : "sdk/src/global.ts"), "--bundle",
    "--target=es2020", `--format=${format}`, "--log-level=warning", `--outfile=${file}`], { stdio: "inherit" });
  if (done.status !== 0) throw new Error("bundling the SDK failed");
  return file;
}

// A request to the dev host's panel routes, with the token.
export async function panelRoute(host, path, body) {
  const response = await fetch(new URL(path, host.page), {
    method: body === undefined ? "GET" : "POST",
    headers: { "X-MoxH5-Token": host.token, "Content-Type": "application/json" },
    body: body === undefined ? undefined : JSON.stringify(body),
  });
  const reply = await response.json();
  if (!response.ok) throw new Error(`${path}: ${reply.error}`);
  return reply;
}

// Chromium's switches for tests: headless, no network of its own.
export const chromiumArgs = ["--disable-background-networking", "--disable-component-update", "--disable-sync",
  "--no-first-run", ...(process.getuid?.() === 0 ? ["--no-sandbox"] : [])];

// Runs the dev host on `folder`; resolves to {page, panel, token, stop}.
export function startDevhost(devhost, sdk, folder, extra = []) {
  const child = spawn(devhost, ["--port", "0", "--sdk", sdk, ...extra, folder], { stdio: ["ignore", "pipe", "inherit"] });
  return new Promise((resolve, reject) => {
    let out = "";
    child.on("exit", (code) => reject(new Error(`moxh5-devhost exited (${code}): ${out}`)));
    child.stdout.on("data", (chunk) => {
      out += chunk;
      const page = /page: +(\S+)/.exec(out), panel = /panel: +(\S+)/.exec(out);
      if (page && panel) {
        child.removeAllListeners("exit");
        resolve({ page: page[1], panel: panel[1], token: new URL(panel[1]).searchParams.get("token"),
          stop: () => child.kill(), child });
      }
    });
  });
}

export async function launchChromium() {
  let chromium;
  try {
    ({ chromium } = await import("playwright-core"));
  } catch {
    skip("playwright-core is not installed; run npm ci (tools/setup.sh does)");
  }
  const executablePath = process.env.MOXH5_CHROMIUM || "/usr/bin/chromium";
  if (!existsSync(executablePath)) skip(`no Chromium at ${executablePath} (tools/setup.sh installs it)`);
  try {
    return await chromium.launch({ executablePath, headless: true, args: chromiumArgs });
  } catch (error) {
    skip(`Chromium cannot start: ${error.message.split("\n")[0]}`);
  }
}
