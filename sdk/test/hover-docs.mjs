// Hover documentation as an editor shows it: the language service over the
// type tests (compiled against the published declarations) must find each
// method's and parameter's documentation from the API table.
//   node hover-docs.mjs TSCONFIG
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { dirname } from "node:path";
import ts from "typescript";

const configFile = process.argv[2];
const { config } = ts.readConfigFile(configFile, ts.sys.readFile);
const parsed = ts.parseJsonConfigFileContent(config, ts.sys, dirname(configFile));
const service = ts.createLanguageService({
  getCompilationSettings: () => parsed.options,
  getScriptFileNames: () => parsed.fileNames,
  getScriptVersion: () => "1",
  getScriptSnapshot: (f) => (ts.sys.fileExists(f) ? ts.ScriptSnapshot.fromString(ts.sys.readFile(f)) : undefined),
  getCurrentDirectory: () => process.cwd(),
  getDefaultLibFileName: (o) => ts.getDefaultLibFilePath(o),
  fileExists: ts.sys.fileExists,
  readFile: ts.sys.readFile,
});
const file = parsed.fileNames.find((f) => f.endsWith("page-types.ts"));
const text = readFileSync(file, "utf8");
const hover = (needle) => {
  const info = service.getQuickInfoAtPosition(file, text.indexOf(needle) + 1);
  return ts.displayPartsToString(info?.documentation ?? []);
};
for (const [needle, expected] of [
  ["httpRequest({ type: \"get\"", /HTTP GET or POST.*Pages: worker pages only/s],
  ["getSystemInfo();", /operating system.*Pages: render and worker pages/s],
  ["logLevel: \"notice\"", /One of "debug"/],
  ["request({ url", /the host performs it and answers the page itself/],
]) {
  assert.match(hover(needle), expected, `hover on ${needle}`);
}
console.log("hover documentation: ok");
