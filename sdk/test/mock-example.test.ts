// The testing kit's example (sdk/README.md): page code tested against
// createMockTransport, with an answer now, a failure and a later answer.
import assert from "node:assert/strict";
import { test } from "node:test";
import { createMockTransport, createMox, FailureText, MoxError, type RenderMox } from "../src/index.js";

// The page code under test: exports the picked file, or says why not.
async function exportOrders(mox: RenderMox): Promise<string> {
  const { data } = await mox.device.getSystemInfo();
  try {
    const picked = await mox.native.selectFile({ filter: "*.xlsx" });
    return `${data.os}: ${JSON.stringify(picked.data)}`;
  } catch (error) {
    return error instanceof MoxError ? `${data.os}: not picked (${error.message})` : "broken";
  }
}

test("the page exports what the user picked, and reports a refusal", async () => {
  const mock = createMockTransport({
    answers: {
      "JSDevice.getSystemInfo": { data: { os: "windows", bit: 64, osVersion: "10.0", screen: { width: 1, height: 1 } } },
      "JSCallNative.selectFile": "later",
    },
  });
  const mox = createMox({ transport: mock });
  const picked = exportOrders(mox);
  await new Promise((r) => setImmediate(r));
  mock.deliver(mock.lastCall("JSCallNative.selectFile").callbackId, { success: true, data: { filePath: "a.xlsx" } });
  assert.equal(await picked, 'windows: {"filePath":"a.xlsx"}');
  assert.deepEqual(mock.lastCall("JSCallNative.selectFile").params, { filter: "*.xlsx" });

  const refusing = createMockTransport({ answers: { "JSDevice.getSystemInfo": { data: {} }, "JSCallNative.selectFile": { failure: FailureText.NoHost } } });
  assert.equal(await exportOrders(createMox({ transport: refusing })), "undefined: not picked (Native impl instance is null.)");
});
