import type { JsonObject } from "./types.js";

/**
 * A call the library (or the host) answered with a failure. `message` is the
 * library's "message" text as it stands ("Invalid param.", "Not enabled", ...;
 * compare with FailureText and failureTexts) or "failed" when it gave none;
 * `answer` is the whole answer the page got.
 */
export class MoxError extends Error {
  readonly module: string;
  readonly method: string;
  readonly answer: JsonObject;
  /** False when no module of that name is registered in the library. */
  readonly registered: boolean;

  constructor(module: string, method: string, answer: JsonObject, registered = true) {
    const text = typeof answer["message"] === "string" ? answer["message"] : "failed";
    super(registered ? text : `Module not registered: ${module}`);
    this.name = "MoxError";
    this.module = module;
    this.method = method;
    this.answer = answer;
    this.registered = registered;
  }
}

/**
 * The call never reached the library, or its answer cannot reach the page:
 * the dev host refused it (its text is the message), or the connection to the
 * host went away.
 */
export class MoxTransportError extends Error {
  constructor(message: string) {
    super(message);
    this.name = "MoxTransportError";
  }
}

/** No answer within the call's `timeoutMs`. */
export class MoxTimeoutError extends Error {
  constructor(
    readonly module: string,
    readonly method: string,
    readonly timeoutMs: number,
  ) {
    super(`${module}.${method}: no answer within ${timeoutMs} ms`);
    this.name = "MoxTimeoutError";
  }
}

/** The method does not run on this kind of page; nothing was sent. */
export class MoxPageKindError extends Error {
  constructor(module: string, method: string, page: string, pages: readonly string[]) {
    super(`${module}.${method} runs on ${pages.join(" and ")} pages only; this is a ${page} page`);
    this.name = "MoxPageKindError";
  }
}
