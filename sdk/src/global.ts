// The script-tag build: sets `moxh5` on the page's global object, ready to
// call, with the SDK's classes beside the modules.
import * as sdk from "./index.js";

(globalThis as { moxh5?: unknown }).moxh5 = Object.assign(sdk.createMox(), {
  createMox: sdk.createMox,
  MoxError: sdk.MoxError,
  ClientTransport: sdk.ClientTransport,
  DevTransport: sdk.DevTransport,
});
