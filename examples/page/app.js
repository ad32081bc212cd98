// The sample page: every button calls the library through the SDK's global
// `moxh5` (render page) or asks the worker page to.
"use strict";

const $ = (id) => document.getElementById(id);

// Shows what a call gave, or the library's failure text.
async function show(outputId, call) {
  const out = $(outputId);
  out.className = "";
  out.textContent = "…";
  try {
    out.textContent = await call();
  } catch (error) {
    out.className = "failed";
    out.textContent = "failed: " + error.message;
  }
}

$("page-kind").textContent = moxh5.page + " page";

$("system-info").onclick = () =>
  show("out-system-info", async () => {
    const { data } = await moxh5.device.getSystemInfo();
    return `${data.os} ${data.osVersion}, ${data.bit}-bit, screen ${data.screen.width}×${data.screen.height}`;
  });

$("can-i-use").onclick = () =>
  show("out-can-i-use", async () => {
    const name = $("feature").value;
    return `${name}: ${(await moxh5.canIUse(name)) ? "available" : "not available"}`;
  });

$("copy-order").onclick = () =>
  show("out-order", async () => {
    await moxh5.storage.setPasteboard({ type: "text", data: "20261121-0042" });
    return "order number copied";
  });

$("toast").onclick = () =>
  show("out-order", async () => {
    await moxh5.native.showToast({ type: 1, content: "Order 20261121-0042 saved", duration: 2000 });
    return "toast shown";
  });

// Finished by the host when the user has picked a file (in the dev host: on
// the control panel).
$("pick-file").onclick = () =>
  show("out-files", async () => {
    const answer = await moxh5.native.selectFile({ filter: "Spreadsheets (*.xlsx)|*.xlsx" });
    return "picked " + JSON.stringify(answer.data);
  });

$("save-nothing").onclick = () =>
  show("out-files", async () => {
    await moxh5.native.saveFile({});
    return "saved";
  });

// The worker page gets the same SDK. Under the dev host it learns the dev
// transport's settings from this page; in the client the host sets it up.
const worker = new Worker("worker.js");
const dev = globalThis.__MOXH5_DEV__;
if (dev) {
  worker.postMessage({ dev: { ...dev, page: { kind: "worker", workerId: "orders-worker", webIndex: dev.page.webIndex } } });
}
let nextJob = 1;
const jobs = new Map();
worker.onmessage = ({ data }) => {
  const job = jobs.get(data.job);
  jobs.delete(data.job);
  if (job) data.error ? job.reject(new Error(data.error)) : job.resolve(data.result);
};
function askWorker(task) {
  return new Promise((resolve, reject) => {
    const job = nextJob++;
    jobs.set(job, { resolve, reject });
    worker.postMessage({ job, task });
  });
}

$("worker-version").onclick = () => show("out-worker", () => askWorker("version"));
$("worker-fetch").onclick = () => show("out-worker", () => askWorker("fetchOrders"));
