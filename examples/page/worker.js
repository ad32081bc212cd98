// The sample's worker page: calls the library through the SDK on the page's
// behalf and posts the outcome back.
"use strict";

const tasks = {
  async version() {
    const { data } = await moxh5.native.getWorkbenchVersion();
    return "client " + data.WorkbenchVersion + " (asked by the " + moxh5.page + " page)";
  },
  // The host performs the request; in the dev host, finish it on the panel.
  async fetchOrders() {
    const answer = await moxh5.network.httpRequest({ type: "get", url: "https://shop.example/api/orders?state=open" });
    return "orders: " + JSON.stringify(answer.data);
  },
};

self.onmessage = async ({ data }) => {
  if (data.dev) {
    self.__MOXH5_DEV__ = data.dev;
    importScripts("/__moxh5/sdk.js");
    return;
  }
  try {
    self.postMessage({ job: data.job, result: await tasks[data.task]() });
  } catch (error) {
    self.postMessage({ job: data.job, error: error.message });
  }
};
