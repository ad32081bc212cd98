// The script-tag build: sets `moxh5` on the page's global object, ready to
// call, with the SDK's classes beside the modules. Pages written in
// TypeScript that load it by a script tag get the global's type from
// moxh5-sdk.global.d.ts.
import * as sdk from "./index.js";

/** The `moxh5` global of a page that loads the SDK by a script tag. */
export type MoxGlobal = sdk.RenderMox & {
  createMox: typeof sdk.createMox;
  createMockTransport: typeof sdk.createMockTransport;
  MoxError: typeof sdk.MoxError;
  MoxTransportError: typeof sdk.MoxTransportError;
  MoxTimeoutError: typeof sdk.MoxTimeoutError;
  MoxPageKindError: typeof sdk.MoxPageKindError;
  FailureText: typeof sdk.FailureText;
  ClientTransport: typeof sdk.ClientTransport;
  DevTransport: typeof sdk.DevTransport;
  DevLink: typeof sdk.DevLink;
  /** This page's SDK typed for its kind; throws when the page is of the other kind. */
  forPage(kind: "render"): sdk.RenderMox;
  forPage(kind: "worker"): sdk.WorkerMox;
};

declare global {
  /** The MOXH5 page SDK (script-tag build). */
  var moxh5: MoxGlobal;
}

const mox = sdk.createMox();
globalThis.moxh5 = Object.assign(mox, {
  createMox: sdk.createMox,
  createMockTransport: sdk.createMockTransport,
  MoxError: sdk.MoxError,
  MoxTransportError: sdk.MoxTransportError,
  MoxTimeoutError: sdk.MoxTimeoutError,
  MoxPageKindError: sdk.MoxPageKindError,
  FailureText: sdk.FailureText,
  ClientTransport: sdk.ClientTransport,
  DevTransport: sdk.DevTransport,
  DevLink: sdk.DevLink,
  forPage(kind: sdk.PageKind) {
    if (kind !== mox.page) throw new Error(`moxh5.forPage: this is a ${mox.page} page, not a ${kind} page`);
    return mox;
  },
}) as MoxGlobal;
