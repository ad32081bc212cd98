// Calls every method of the API table through two SDK instances at once: the
// script-tag SDK the dev host injects and a second copy of the SDK (the ES
// module bundle, as a page that bundles its own would carry). Each instance
// records the callback id of every call, so that the test can check that
// each promise settled with the answer given to its own call. Worker-only
// methods go through a worker page of this tab.
"use strict";

function recording(transport) {
  const ids = [];
  return {
    ids,
    transport: {
      get page() { return transport.page; },
      listen: (...args) => transport.listen(...args),
      send(request) {
        ids.push(request.callbackId);
        return transport.send(request);
      },
    },
  };
}

// Calls each [name, sdk object, method, params] with `mox`; resolves to one
// outcome per call, with the callback id it was sent under.
async function callAll(mox, ids, calls) {
  return Promise.all(calls.map(async ([name, object, method, params]) => {
    const before = ids.length;
    const call = mox[object][method](params);
    const id = ids[before];
    try {
      return { name, id, ok: true, value: await call };
    } catch (error) {
      return { name, id, ok: false, error: `${error.name}: ${error.message}` };
    }
  }));
}
globalThis.callAll = callAll;

globalThis.runEveryMethod = async (renderCalls, workerCalls, sdkModule) => {
  const dev = globalThis.__MOXH5_DEV__;
  const second = await import(sdkModule);
  const one = recording(new moxh5.DevTransport(dev));
  const two = recording(new second.DevTransport(dev));
  const instances = [moxh5.createMox({ transport: one.transport }), second.createMox({ transport: two.transport })];
  const worker = new Worker("every-method-worker.js");
  const workerDone = new Promise((resolve) => { worker.onmessage = ({ data }) => resolve(data); });
  worker.postMessage({ dev: { ...dev, page: { kind: "worker", workerId: "w1", webIndex: dev.page.webIndex } }, calls: workerCalls });
  const [a, b, w] = await Promise.all([callAll(instances[0], one.ids, renderCalls), callAll(instances[1], two.ids, renderCalls), workerDone]);
  document.getElementById("state").textContent = "done";
  return { webIndex: dev.page.webIndex, instances: [a, b, w] };
};
