// The page SDK: typed promise functions for every method of the library,
// canIUse, and the two transports.
//   const mox = createMox();            // picks the transport itself
//   await mox.native.showToast({content: "Saved"});
//   const info = await mox.device.getSystemInfo();   // info.data.osVersion
//   if (await mox.canIUse("JSStorage.setPasteboard")) ...
// Failures reject with MoxError, whose message is the library's text.
import { Bridge } from "./bridge.js";
import { ClientTransport } from "./client-transport.js";
import { type DevConfig, DevTransport } from "./dev-transport.js";
import { bindModules, methodEntries } from "./generated/api.js";
import type { Transport } from "./types.js";

export { Bridge, envelopeOf } from "./bridge.js";
export { ClientTransport } from "./client-transport.js";
export { DevTransport } from "./dev-transport.js";
export { MoxError } from "./errors.js";
export { methodEntries } from "./generated/api.js";
export type * from "./types.js";

// The dev host's transport when the page was served by it, else the host's.
export function defaultTransport(scope: { __MOXH5_DEV__?: DevConfig } = globalThis as object): Transport {
  return scope.__MOXH5_DEV__ ? new DevTransport(scope.__MOXH5_DEV__) : new ClientTransport();
}

export function createMox(transport: Transport = defaultTransport()) {
  const bridge = new Bridge(transport);
  return {
    ...bindModules((entry, params) => bridge.call(entry, params)),
    canIUse: (name: string) => bridge.canIUse(name),
    page: bridge.page,
    methods: methodEntries,
  };
}

export type Mox = ReturnType<typeof createMox>;
