import type { JsonObject } from "./types.js";

// A call the library (or the host) answered with a failure. `message` is the
// library's "message" text as it stands ("Invalid param.", "Not enabled", ...)
// or "failed" when it gave none; `answer` is the whole answer the page got.
export class MoxError extends Error {
  readonly module: string;
  readonly method: string;
  readonly answer: JsonObject;
  // False when no module of that name is registered in the library.
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
