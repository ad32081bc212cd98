#!/usr/bin/env node
// Generates the page API reference (docs/page-api.md), the SDK's method table
// (sdk/src/generated/api.ts) and its types (sdk/src/generated/api-types.d.ts)
// from api/api.json.
//   node tools/gen-api.mjs          write both files
//   node tools/gen-api.mjs --check  exit 1 when either differs from what the
//                                   table gives (the CI check)
import { readFileSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const root = join(dirname(fileURLToPath(import.meta.url)), "..");
const api = JSON.parse(readFileSync(join(root, "api/api.json"), "utf8"));

const GUARD_TEXTS = {
  host: ["Native impl instance is null.", "the host has not installed its action interface"],
  params: ["Invalid params.", "the payload's \"params\" is missing or not an object"],
};
const PAGE_MARK = { render: "R", worker: "W" };

const q = (text) => JSON.stringify(text);
const cell = (text) => String(text).replaceAll("|", "\\|").replaceAll("\n", " ");
const upperFirst = (text) => text[0].toUpperCase() + text.slice(1);
const count = () => api.modules.reduce((n, m) => n + m.methods.length, 0);

// ---------------------------------------------------------------- reference

function fieldRows(fields, prefix = "") {
  return fields.flatMap((f) => {
    const name = f.name === "*" ? "(any other member)" : q(prefix + f.name);
    const type = f.values ? f.values.map((v) => JSON.stringify(v)).join(" or ") : `${f.type}${f.items ? ` of ${f.items}` : ""}`;
    const row = `| ${cell(name)} | ${cell(type)} | ${
      f.required ? "yes" : "no"
    } | ${cell(f.doc)} |`;
    return [row, ...fieldRows(f.fields ?? [], `${prefix}${f.name}.`)];
  });
}

function fieldTable(fields) {
  if (fields.length === 1 && fields[0].name === "*") return [`Any JSON: ${fields[0].doc}`];
  return ["| key | type | required | meaning |", "|---|---|---|---|", ...fieldRows(fields)];
}

function failureRows(module, method) {
  // JSCallNative has one handler table per page kind; the other modules take
  // every name on both kinds and refuse the other kind in the handler.
  const rows = module.name === "JSCallNative" || method.pages.length === 2
    ? [['"Invalid method." (with "support": false)', module.name === "JSCallNative" ? "the name is unknown, or not served on the calling page's kind" : "the name is unknown"]]
    : [['"Invalid method." (with "support": false)', "the name is unknown"],
       ['(none: the envelope says "failed")', `called from a ${method.pages[0] === "render" ? "worker" : "render"} page`]];
  for (const guard of method.guards) rows.push([q(GUARD_TEXTS[guard][0]), GUARD_TEXTS[guard][1]]);
  for (const m of method.messages) rows.push([q(m.text), m.when]);
  return rows.map(([text, when]) => `| ${cell(text)} | ${cell(when)} |`);
}

// A value of a field's type, for the examples.
function exampleValue(field) {
  if (field.values) return field.values[0];
  if (field.type === "object") return field.fields?.length ? exampleObject(field.fields) : {};
  return { string: "…", integer: 0, number: 0, boolean: true, array: [], any: null }[field.type] ?? null;
}
const exampleObject = (fields) => Object.fromEntries(fields.filter((f) => f.name !== "*").map((f) => [f.name, exampleValue(f)]));

// What the SDK resolves a call with: the envelope around the documented data,
// or the host's own answer as the host gives it (its example says so).
function exampleAnswer(method) {
  const hostDecides = method.data?.length === 1 && method.data[0].name === "*";
  if (method.name === "canIUse") return true;
  if (["callID", "hostLater"].includes(method.answer)) {
    return hostDecides || !method.data?.length ? "(the host's own answer, as it is; in the dev host, the card's answer)" : exampleObject(method.data);
  }
  const data = !method.data?.length ? null
    : hostDecides ? "(the \"data\" the host finishes the work with; in the dev host, the card's answer's \"data\")" : exampleObject(method.data);
  return { success: true, message: "success", data };
}

function methodSection(module, method) {
  const lines = [
    `### ${module.name}.${method.name}`,
    "",
    method.summary,
    "",
    `- Pages: ${method.pages.join(", ")}. Answer: **${method.answer}**${
      method.callId ? ` (the page's "callID", ${method.callId.type}, in the ${method.callId.in})` : ""
    }. Host: ${method.host}.`,
    `- SDK: \`${module.sdk}.${method.name}(${method.params.length ? "params" : ""})\``,
    "",
  ];
  if (method.params.length) lines.push("Params:", "", ...fieldTable(method.params), "");
  else lines.push("Params: none read.", "");
  if (method.data?.length) {
    const where = ["callID", "hostLater"].includes(method.answer) ? "The host's answer" : 'The answer\'s "data"';
    lines.push(`${where}:`, "", ...fieldTable(method.data), "");
  }
  lines.push("What the page's promise resolves with:", "", "```json", JSON.stringify(exampleAnswer(method)), "```", "");
  lines.push("Failures:", "", "| \"message\" | when |", "|---|---|", ...failureRows(module, method), "");
  for (const note of method.notes ?? []) lines.push(`- ${note}`);
  if (method.notes?.length) lines.push("");
  return lines;
}

function reference() {
  const out = [
    "<!-- Generated by tools/gen-api.mjs from api/api.json. Do not edit. -->",
    "# The page API",
    "",
    `Pages call ${count()} methods in ${api.modules.length} modules. A call names the module, the method, a`,
    'JSON object of params and a callback id; the payload the library reads is',
    '`{"method": <name>, "params": {...}}` (plus "callID" for the methods that',
    "take one). Names are exact and case-sensitive. The page SDK (`sdk/`) has one",
    "typed function per method; `docs/page-binding.md` tells how a host connects a",
    "page to the library.",
    "",
    "## How answers reach the page",
    "",
    "| Answer | What the page gets |",
    "|---|---|",
    ...Object.entries(api.answers).map(([k, v]) => `| **${k}** | ${cell(v)} |`),
    "",
    'The envelope is the answer with "success" set to the result, "message" set to',
    '"success" or "failed" when the method put none there, "data" null when it put',
    "none, and every other member passed through. A page whose callback id is empty",
    "gets no envelope.",
    "",
    "## Page kinds and canIUse",
    "",
    "Each method does its work on the page kinds its section names (R render, W worker).",
    "Called from the other kind it fails: JSCallNative answers \"Invalid method.\" there,",
    "the other modules fail without a \"message\". The library's `JSCallBasic.canIUse`",
    "answers whether it has the module or method at all, whatever the calling page's",
    "kind. The SDK's `canIUse` (and `basic.canIUse`) answers whether this page can use",
    "it: false for a method of the table not served on the page's kind, without",
    "asking; the SDK's methods refuse such a call before sending (`MoxPageKindError`),",
    "and its types offer each method only on the page objects of its kinds.",
    "",
    "## What the host's page policy changes",
    "",
    "The host decides what a page may reach (`docs/security.md`). By default only",
    "absolute http(s) links reach the shell, file methods see only the host's file",
    "roots and the files the host handed to the page, and a method the host denies",
    'answers exactly as an unknown one ("Invalid method.", and `canIUse` says',
    "false). A refused link or path answers the method's own failure text, and a",
    "file outside the scope answers as a missing file.",
    "",
    "## Methods",
    "",
    "| Module | Method | Pages | Answer | Failure texts beside \"Invalid method.\" |",
    "|---|---|---|---|---|",
  ];
  for (const module of api.modules) {
    for (const m of module.methods) {
      const texts = [...m.guards.map((g) => GUARD_TEXTS[g][0]), ...m.messages.map((x) => x.text)];
      out.push(
        `| ${module.name} | [${q(m.name)}](#${(module.name + m.name).toLowerCase()}) | ${m.pages
          .map((p) => PAGE_MARK[p])
          .join(", ")} | ${m.answer} | ${cell([...new Set(texts)].map(q).join(", "))} |`,
      );
    }
  }
  out.push(
    "",
    'The texts "Invalid params.", "Invalid param." and "Invalid Param." are distinct on',
    "purpose; compare them exactly.",
    "",
  );
  for (const module of api.modules) {
    out.push(`## ${module.name}`, "", `${module.summary} Worker: \`${module.worker}\`; SDK object: \`${module.sdk}\`.`, "");
    for (const method of module.methods) out.push(...methodSection(module, method));
  }
  return out.join("\n").replace(/\n+$/, "\n");
}

// ---------------------------------------------------------------- SDK table

const TS_TYPES = { string: "string", integer: "number", number: "number", boolean: "boolean", any: "unknown" };
const LATER_ANSWERS = ["callID", "hostLater"];

// A JSDoc block at `indent`, from lines of text.
function jsdoc(lines, indent) {
  const text = lines.filter(Boolean).map((line) => line.replaceAll("*/", "* /"));
  if (!text.length) return [];
  if (text.length === 1) return [`${indent}/** ${text[0]} */`];
  return [`${indent}/**`, ...text.map((line) => `${indent} * ${line}`), `${indent} */`];
}

function tsType(field, indent) {
  if (field.values) return field.values.map((v) => JSON.stringify(v)).join(" | ");
  if (field.type === "object") return field.fields?.length ? tsObject(field.fields, indent) : "Record<string, unknown>";
  if (field.type === "array") return `${field.items ? tsType({ type: field.items }, indent) : "unknown"}[]`;
  return TS_TYPES[field.type] ?? "unknown";
}

// An object type with one documented member per field.
function tsObject(fields, indent = "") {
  if (fields.length === 1 && fields[0].name === "*") return "Record<string, unknown>";
  const inner = `${indent}  `;
  const members = fields.flatMap((f) => [
    ...jsdoc([f.doc], inner),
    f.name === "*" ? `${inner}[key: string]: unknown;` : `${inner}${q(f.name)}${f.required ? "" : "?"}: ${tsType(f, inner)};`,
  ]);
  return `{\n${members.join("\n")}\n${indent}}`;
}

const typeBase = (module, method) => `${module.name}${upperFirst(method.name)}`;

// What the page's promise resolves with: the envelope around the documented
// data; for answers the host gives in its own form, that form (unknown when
// the host alone decides it).
function resultType(module, method) {
  const base = typeBase(module, method);
  if (module.name === "JSCallBasic" && method.name === "canIUse") return "boolean";
  if (LATER_ANSWERS.includes(method.answer)) return `${base}Data`;
  return `MoxAnswer<${base}Data>`;
}

function dataType(method) {
  if (!method.data?.length) return LATER_ANSWERS.includes(method.answer) ? "unknown" : "null";
  return tsObject(method.data);
}

function methodDoc(module, method) {
  const pages = method.pages.length === 2 ? "render and worker pages" : `${method.pages[0]} pages only`;
  const lines = [method.summary, "", `Pages: ${pages}. Answer: ${method.answer} (${api.answers[method.answer].split(". ")[0]}).`];
  const texts = [...method.guards.map((g) => GUARD_TEXTS[g][0]), ...method.messages.map((m) => m.text)];
  if (texts.length) lines.push(`Failure texts: ${[...new Set(texts)].map(q).join(", ")}.`);
  for (const note of method.notes ?? []) lines.push(note);
  lines.push(`@see docs/page-api.md#${(module.name + method.name).toLowerCase()}`);
  return lines;
}

function moduleInterface(name, kind) {
  const out = [];
  out.push(...jsdoc([`The methods ${kind === "all" ? "of every page kind" : `a ${kind} page may call`}, one object per module.`], ""));
  out.push(`export interface ${name} {`);
  for (const module of api.modules) {
    const methods = module.methods.filter((m) => kind === "all" || m.pages.includes(kind));
    if (!methods.length) continue;
    out.push(...jsdoc([module.summary], "  "), `  ${module.sdk}: {`);
    for (const m of methods) {
      const base = typeBase(module, m);
      const required = m.params.some((p) => p.required && p.name !== "*");
      out.push(...jsdoc(methodDoc(module, m), "    "));
      out.push(`    ${q(m.name)}(params${required ? "" : "?"}: ${base}Params, options?: CallOptions): Promise<${resultType(module, m)}>;`);
    }
    out.push("  };");
  }
  out.push("}", "");
  return out;
}

function sdkTypes() {
  const out = [
    "// Generated by tools/gen-api.mjs from api/api.json. Do not edit.",
    "// The page API's types: each method's params and data, and the module",
    "// objects of each page kind, with the table's documentation.",
    'import type { CallOptions, MoxAnswer } from "../types.js";',
    "",
  ];
  for (const module of api.modules) {
    for (const m of module.methods) {
      const base = typeBase(module, m);
      const params = m.params.length ? tsObject(m.params) : "Record<string, unknown>";
      out.push(...jsdoc([`The params of ${module.name}.${m.name}.`], ""), `export type ${base}Params = ${params};`);
      const where = LATER_ANSWERS.includes(m.answer) ? "The host's own answer to" : 'The "data" of the answer to';
      out.push(...jsdoc([`${where} ${module.name}.${m.name}.`], ""), `export type ${base}Data = ${dataType(m)};`, "");
    }
  }
  out.push("/** Params, data and result of every method, by name. */", "export interface MethodTypes {");
  for (const module of api.modules) {
    for (const m of module.methods) {
      const base = typeBase(module, m);
      out.push(`  ${q(`${module.name}.${m.name}`)}: { params: ${base}Params; data: ${base}Data; result: ${resultType(module, m)} };`);
    }
  }
  out.push("}", "");
  out.push(...moduleInterface("RenderModules", "render"), ...moduleInterface("WorkerModules", "worker"), ...moduleInterface("AllModules", "all"));
  return out.join("\n");
}

function sdkTable() {
  const out = [
    "// Generated by tools/gen-api.mjs from api/api.json. Do not edit.",
    'import type { CallOptions, MethodEntry } from "../types.js";',
    'import type { AllModules } from "./api-types.js";',
    "",
    "// Every method a page can call, keyed \"Module.method\".",
    "export const methodEntries = {",
  ];
  for (const module of api.modules) {
    for (const m of module.methods) {
      const entry = { module: module.name, method: m.name, pages: m.pages, answer: m.answer };
      if (m.callId) entry.callId = m.callId;
      out.push(`  ${q(`${module.name}.${m.name}`)}: ${JSON.stringify(entry)},`);
    }
  }
  out.push("} as const satisfies Record<string, MethodEntry>;", "");
  out.push("/** A method's name as a page calls it: \"Module.method\". */", "export type MethodName = keyof typeof methodEntries;", "");
  out.push(
    "/** The failure texts (MoxError.message) shared by many methods. Compare exactly. */",
    "export const FailureText = {",
    "  /** The name is unknown, or not served on the calling page's kind. */",
    '  InvalidMethod: "Invalid method.",',
    `  /** ${upperFirst(GUARD_TEXTS.params[1])}. */`,
    `  InvalidParams: ${q(GUARD_TEXTS.params[0])},`,
    `  /** ${upperFirst(GUARD_TEXTS.host[1])}. */`,
    `  NoHost: ${q(GUARD_TEXTS.host[0])},`,
    "} as const;",
    "",
    "/** Every failure text each method may answer beside \"Invalid method.\". */",
    "export const failureTexts: { readonly [name in MethodName]: readonly string[] } = {",
  );
  for (const module of api.modules) {
    for (const m of module.methods) {
      const texts = [...new Set([...m.guards.map((g) => GUARD_TEXTS[g][0]), ...m.messages.map((x) => x.text)])];
      out.push(`  ${q(`${module.name}.${m.name}`)}: [${texts.map(q).join(", ")}],`);
    }
  }
  out.push("};", "");
  out.push(
    "// Sends one call and settles with what the page hears back.",
    "export type Invoke = (entry: MethodEntry, params: Record<string, unknown>, options?: CallOptions) => Promise<unknown>;",
    "",
    "// One object per module, one function per method (canIUse answers a boolean).",
    "export function bindModules(invoke: Invoke, canIUse: (name: string, options?: CallOptions) => Promise<boolean>): AllModules {",
    "  const bind = (name: MethodName) => (params?: object, options?: CallOptions) =>",
    "    invoke(methodEntries[name], (params ?? {}) as Record<string, unknown>, options);",
    "  return {",
  );
  for (const module of api.modules) {
    out.push(`    ${module.sdk}: {`);
    for (const m of module.methods) {
      const name = `${module.name}.${m.name}`;
      if (name === "JSCallBasic.canIUse") {
        out.push(`      ${q(m.name)}: (params: { name: string }, options?: CallOptions) => canIUse(params.name, options),`);
      } else {
        out.push(`      ${q(m.name)}: bind(${q(name)}),`);
      }
    }
    out.push("    },");
  }
  out.push("  } as AllModules;", "}", "");
  return out.join("\n");
}

// ---------------------------------------------------------------- main

const outputs = [
  ["docs/page-api.md", reference()],
  ["sdk/src/generated/api.ts", sdkTable()],
  ["sdk/src/generated/api-types.d.ts", sdkTypes()],
];
const check = process.argv.includes("--check");
let stale = 0;
for (const [path, text] of outputs) {
  const file = join(root, path);
  if (check) {
    let current = "";
    try {
      current = readFileSync(file, "utf8");
    } catch {}
    if (current !== text) {
      console.error(`${path} is not what api/api.json gives: run node tools/gen-api.mjs`);
      stale++;
    }
  } else {
    writeFileSync(file, text);
  }
}
if (check && !stale) console.log("generated files are current");
process.exit(stale ? 1 : 0);
