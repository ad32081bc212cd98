// A script-tag page in TypeScript: the `moxh5` global is typed (no import).
// (the test tsconfig lists moxh5-sdk.global.d.ts, as a page's tsconfig would)

export async function scriptTag() {
  const { data } = await moxh5.native.getWorkbenchVersion();
  const version: unknown = data;
  // @ts-expect-error httpRequest is for worker pages
  await moxh5.network.httpRequest({ type: "get" });
  const worker = moxh5.forPage("worker");
  await worker.network.httpRequest({ type: "post" });
  if (!(await moxh5.canIUse("JSStorage"))) throw new moxh5.MoxError("JSStorage", "x", {});
  return version;
}
