#!/usr/bin/env node
// Builds the page SDK: type check (tsc --strict), then the two bundles.
//   node sdk/build.mjs          check and bundle into sdk/dist/ (moxh5-sdk.mjs with
//                               its declarations, moxh5-sdk.js for a script tag)
//   node sdk/build.mjs --test   the same, then the unit tests (node --test)
//   --out DIR                   bundle into DIR instead (the tests build there too)
// Exits 77 (a skip for ctest) when the npm packages are not installed.
import { spawnSync } from "node:child_process";
import { copyFileSync, existsSync, mkdirSync, readdirSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const sdk = dirname(fileURLToPath(import.meta.url));
const root = join(sdk, "..");
const bin = (name) => join(root, "node_modules", ".bin", name);

if (!existsSync(bin("tsc")) || !existsSync(bin("esbuild"))) {
  console.log("SKIPPED: typescript and esbuild are not installed; run npm ci (tools/setup.sh does)");
  process.exit(77);
}

function run(command, args) {
  const done = spawnSync(command, args, { cwd: root, stdio: "inherit" });
  if (done.status !== 0) process.exit(done.status ?? 1);
}

const outIndex = process.argv.indexOf("--out");
const dist = outIndex > 0 ? process.argv[outIndex + 1] : join(sdk, "dist");

run(process.execPath, [join(root, "tools", "gen-api.mjs"), "--check"]);
run(bin("tsc"), ["-p", join(sdk, "tsconfig.json")]);
const common = ["--bundle", "--target=es2020", "--log-level=warning"];
run(bin("esbuild"), [join(sdk, "src/index.ts"), ...common, "--format=esm", `--outfile=${join(dist, "moxh5-sdk.mjs")}`]);
run(bin("esbuild"), [join(sdk, "src/global.ts"), ...common, "--format=iife", `--outfile=${join(dist, "moxh5-sdk.js")}`]);
// Type declarations beside the ESM bundle, for pages written in TypeScript.
// tsc does not copy hand-placed .d.ts files: the generated API types go by hand.
run(bin("tsc"), ["-p", join(sdk, "tsconfig.types.json"), "--outDir", join(dist, "types")]);
mkdirSync(join(dist, "types", "generated"), { recursive: true });
copyFileSync(join(sdk, "src/generated/api-types.d.ts"), join(dist, "types/generated/api-types.d.ts"));
writeFileSync(join(dist, "moxh5-sdk.d.mts"), 'export * from "./types/index.js";\n');
// For pages that load moxh5-sdk.js by a script tag: the `moxh5` global.
writeFileSync(join(dist, "moxh5-sdk.global.d.ts"), 'import "./types/global.js";\n');

// The type tests: tsc on page code against the published declarations, where
// every @ts-expect-error must be an error; then hover documentation, as an
// editor gets it from those declarations.
function typeTests() {
  const dir = join(sdk, "test", "types");
  const files = readdirSync(dir).filter((f) => f.endsWith(".ts")).map((f) => join(dir, f));
  const config = join(dist, "types-test.tsconfig.json");
  writeFileSync(config, JSON.stringify({
    compilerOptions: { target: "ES2022", module: "ESNext", moduleResolution: "Bundler", lib: ["ES2022", "DOM"],
      types: [], strict: true, noEmit: true, paths: { "moxh5-sdk": [join(dist, "moxh5-sdk.d.mts")] } },
    files: [...files, join(dist, "moxh5-sdk.global.d.ts")],
  }, null, 2));
  run(bin("tsc"), ["-p", config]);
  return { config, files };
}

if (process.argv.includes("--test")) {
  const { config } = typeTests();
  run(process.execPath, [join(sdk, "test", "hover-docs.mjs"), config]);
  const tests = readdirSync(join(sdk, "test")).filter((f) => f.endsWith(".test.ts"));
  const out = outIndex > 0 ? join(dist, "test") : join(sdk, ".build");
  run(bin("esbuild"), [...tests.map((f) => join(sdk, "test", f)), ...common, "--platform=node", "--format=esm",
    "--out-extension:.js=.mjs", `--outdir=${out}`]);
  run(process.execPath, ["--test", ...tests.map((f) => join(out, f.replace(/\.ts$/, ".mjs")))]);
}
