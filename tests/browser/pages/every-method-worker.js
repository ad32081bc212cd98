// The worker page of every-method.js: calls the worker-only methods through
// the SDK, recording each call's callback id.
"use strict";
self.onmessage = async ({ data }) => {
  self.__MOXH5_DEV__ = data.dev;
  importScripts("/__moxh5/sdk.js", "every-method.js");
  const ids = [];
  const transport = new moxh5.DevTransport(data.dev);
  const mox = moxh5.createMox({ page: "worker", transport: {
    page: "worker", listen: (...args) => transport.listen(...args),
    send: (request) => { ids.push(request.callbackId); return transport.send(request); },
  } });
  self.postMessage(await callAll(mox, ids, data.calls));
};
