// Compiled by tsc against the published declarations (sdk/dist): each line
// marked as an expected error must be one, every other line must compile.
import { createMox, failureTexts, FailureText, type JSNetworkHttpRequestParams, type MethodTypes, type MoxAnswer } from "moxh5-sdk";

const render = createMox();
const worker = createMox({ page: "worker" });

export async function checks() {
  // Enumerated parameters take only the table's values.
  await worker.network.httpRequest({ type: "get", url: "https://shop.example/" });
  // @ts-expect-error only lower case is valid
  await worker.network.httpRequest({ type: "GET" });
  await render.storage.setPasteboard({ type: "text", data: "x" });
  // @ts-expect-error "text" or "image"
  await render.storage.setPasteboard({ type: "txt", data: "x" });
  await render.basic.setLog({ content: "x", logLevel: "notice" });
  // @ts-expect-error not a log level
  await render.basic.setLog({ content: "x", logLevel: "loud" });
  await render.native.showToast({ type: 2 });
  // @ts-expect-error 1, 2 or 3
  await render.native.showToast({ type: 7 });
  // @ts-expect-error a required parameter is missing
  await render.photo.watch({ url: "x" });

  // Methods of one page kind only are on that kind's object only.
  // @ts-expect-error httpRequest is for worker pages
  await render.network.httpRequest({ type: "get" });
  // @ts-expect-error request is for render pages
  await worker.network.request({});
  // @ts-expect-error getMallInfo is for render pages
  await worker.native.getMallInfo();

  // Honest results: the host's own answer is unknown, the client's data typed.
  const answer = await render.network.request({ url: "/api" });
  // @ts-expect-error the host decides the shape: unknown until checked
  answer.status;
  const info = await render.device.getSystemInfo();
  const width: number = info.data.screen.width;
  // @ts-expect-error no such member
  info.data.colour;
  const usable: boolean = await render.basic.canIUse({ name: "JSStorage" });
  const picked: MoxAnswer<unknown> = await render.native.selectFile({ filter: "*.txt" });

  // Named types per method, per-call options, failure texts.
  const params: JSNetworkHttpRequestParams = { type: "post", content: "{}" };
  const data: MethodTypes["JSDevice.getSystemInfo"]["data"] = info.data;
  await render.device.getSystemInfo({}, { timeoutMs: 500, signal: new AbortController().signal });
  // @ts-expect-error timeoutMs is a number
  await render.device.getSystemInfo({}, { timeoutMs: "soon" });
  const texts: readonly string[] = failureTexts["JSStorage.setPasteboard"];
  const invalid: "Invalid method." = FailureText.InvalidMethod;
  return [width, usable, picked, params, data, texts, invalid];
}
