/* The C interface of MOXH5: for hosts written in C, in languages that call C
 * (C#, Python, Node...) and for hosts built with another C++ compiler than
 * the library's.
 *
 * C89, no C++ types. Every text that crosses it is UTF-8 and NUL-terminated;
 * structured values are JSON text. Every buffer the library hands out is
 * released with moxh5_free; texts handed to a callback belong to the library
 * and are valid only during the callback. No C++ exception leaves a function
 * of this interface: failures come back as the MOXH5_ERROR_* codes below,
 * with a text that says what was wrong (moxh5_last_error) and a log line at
 * priority 400. A null pointer where one is required is always
 * MOXH5_ERROR_ARGUMENT; a handle that is not the live host's is
 * MOXH5_ERROR_STATE.
 *
 * The C interface and the C++ one (moxh5/module_manager.h) are served by the
 * same core; a process has one host, using one or the other.
 *
 * Use:
 *   moxh5_host_table table;
 *   memset(&table, 0, sizeof table);
 *   table.size = sizeof table;
 *   table.user = my_context;
 *   table.operation = my_operation;        host operations (see below)
 *   table.page_answer = my_page_answer;    answers for render and worker pages
 *   ...
 *   moxh5_create(&table, &host);
 *   then, for every script call of a page:
 *   moxh5_execute(host, "JSCallNative", request_json, &outcome, &answer);
 *   if (outcome & MOXH5_REGISTERED)
 *       moxh5_answer_page(host, request_json, outcome & MOXH5_HANDLED, answer);
 *   moxh5_free(answer);
 * The rule: moxh5_answer_page follows every moxh5_execute that returned
 * MOXH5_OK with MOXH5_REGISTERED set. It is what answers the page now, and it
 * stays silent when the answer comes later. For a module that is not
 * registered the host tells the page itself (docs/page-binding.md).
 *
 * Threads: moxh5_execute, moxh5_exist, moxh5_answer_page, moxh5_complete and
 * moxh5_page_closed may run on any threads at once, also while another thread
 * runs moxh5_destroy: they then either run wholly before the destroy ends or
 * give MOXH5_ERROR_STATE; once moxh5_destroy has returned, no callback of
 * the destroyed table is called. moxh5_create, moxh5_destroy and
 * moxh5_set_page_policy may not be called from inside a callback
 * (MOXH5_ERROR_STATE); moxh5_set_page_policy only before the first
 * moxh5_execute or moxh5_exist. The callbacks run on the thread that calls
 * moxh5_execute, except page_answer, which also runs on the thread that calls
 * moxh5_complete, and log and report, which run wherever the library logs or
 * reports, possibly on several threads at once.
 *
 * Every page call is answered exactly once, unless its page closed first:
 * at once through moxh5_answer_page, or later when the host completes its
 * token. Work the host refuses (answers false or nothing) is answered at once
 * as failed.
 */
#ifndef MOXH5_C_H
#define MOXH5_C_H

#include <stddef.h>

#include "moxh5/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Version of this interface. It changes only when a function, a callback or
 * the meaning of a JSON member changes incompatibly; new members at the end of
 * moxh5_host_table do not change it (the table's size tells them apart). */
#define MOXH5_C_ABI_VERSION 1

/* Results of the functions below. */
#define MOXH5_OK 0
#define MOXH5_ERROR_ARGUMENT (-1) /* a null pointer, a table too small */
#define MOXH5_ERROR_JSON (-2)     /* a text that is not JSON or not of the documented shape */
#define MOXH5_ERROR_STATE (-3)    /* no such host or token, or a host already created */
#define MOXH5_ERROR_INTERNAL (-4) /* out of memory or a failure inside the library (logged) */

/* Bits of moxh5_execute's outcome. */
#define MOXH5_REGISTERED 1u /* a module of that name exists */
#define MOXH5_HANDLED 2u    /* its handler ran and succeeded */

typedef struct moxh5_host moxh5_host;             /* the created host */
typedef struct moxh5_reply_slot moxh5_reply_slot; /* where a callback's answer goes */
typedef struct moxh5_token moxh5_token;           /* asynchronous work the host finishes */

/* A host operation. `operation` names it and `args_json` holds its arguments
 * as an object; both are listed in docs/c_interface.md (the operations of
 * IH5ActionImplCallBack, with the same names). The host answers through
 * moxh5_reply(reply, result_json) before returning:
 *   - operations that return whether the host accepted: true or false;
 *   - "GetClientLinkPrefix": a string;
 *   - "GetPluginVersion": the version answer (any JSON but false, which
 *     refuses);
 *   - operations that return nothing: no answer needed.
 * No answer, or an answer of another type, means "not supported": false, or
 * the empty string.
 *
 * `token` is null except for operations that finish later (docs/c_interface.md
 * marks them). When the host accepts such an operation (answers true; for
 * "ShowEasyWnd", always) it keeps the token and calls moxh5_complete once,
 * from any thread, when the work is done. When it refuses, the library
 * withdraws the token as the callback returns and answers the page "failed".
 * A token is a number, never reused, not an address: a token completed
 * before, withdrawn, or of a destroyed host is refused with MOXH5_ERROR_STATE
 * and cannot complete other work. */
typedef void(MOXH5_CALL* moxh5_operation_fn)(void* user, const char* operation,
                                             const char* args_json, moxh5_token* token,
                                             moxh5_reply_slot* reply);

/* An answer for a page: run the render page's callback `callback_id` (is_worker
 * 0) or the worker page's (is_worker 1) with `data_json`, the answer envelope
 * {"success": ..., "message": ..., "data": ...}. */
typedef void(MOXH5_CALL* moxh5_page_answer_fn)(void* user, int is_worker, const char* mallcsid,
                                               int webindex, const char* callback_id,
                                               const char* data_json);

/* A user-centre value: "GetMallId", "GetCsId" or "GetCurrentUid" of the
 * session `mallcsid`, or "GetCurrentMallCsId" (mallcsid ""). The host answers
 * with a JSON string through moxh5_reply; no answer is the empty string. */
typedef void(MOXH5_CALL* moxh5_user_value_fn)(void* user, const char* name, const char* mallcsid,
                                              moxh5_reply_slot* reply);

/* A feature switch: is `key` on for the session `mallcsid` ("" when the
 * question is about no session)? `default_json` is the switch's default
 * value. Nonzero: on. */
typedef int(MOXH5_CALL* moxh5_switch_fn)(void* user, const char* key, const char* mallcsid,
                                         const char* default_json);

/* A log line: priority 100 (alert) ... 700 (debug), the source file's base
 * name, the line, the function text and the message. */
typedef void(MOXH5_CALL* moxh5_log_fn)(void* user, int priority, const char* file, int line,
                                       const char* function, const char* text);

/* A business report: {"id": <integer>, "tags": {<string>...},
 * "counters": {<integer>...}}. */
typedef void(MOXH5_CALL* moxh5_report_fn)(void* user, const char* report_json);

/* May the page call `method` of `module` ("JSCallNative", "showToast")?
 * `page_json` is {"isWorker": bool, "webindex": integer, "mallcsid": string,
 * "workerid": string}. Nonzero: allowed. A denied method answers as an
 * unknown one ("Invalid method."), and "canIUse" answers false for it. Asked
 * before every call, on the thread of moxh5_execute or moxh5_exist, possibly
 * on several at once; it must not call the library. */
typedef int(MOXH5_CALL* moxh5_method_allowed_fn)(void* user, const char* page_json,
                                                 const char* module, const char* method);

/* An answer for a page, with the page's whole identity; a table that has it
 * gets answers here instead of page_answer. `page_json` is
 * {"isWorker": bool, "webindex": integer, "mallcsid": string,
 *  "callbackid": string, "workerid": string} (two worker pages of one
 * webindex differ in "workerid"), `data_json` the envelope, both compact JSON
 * text. */
typedef void(MOXH5_CALL* moxh5_page_answer_to_fn)(void* user, const char* page_json,
                                                  const char* data_json);

/* A host operation with the page it is done for; a table that has it gets
 * operations here instead of operation. As moxh5_operation_fn, with
 * `page_json` the calling page (as for moxh5_page_answer_to_fn), or "null"
 * when the operation serves no page call: the window to parent a toast, tip
 * or dialog to. */
typedef void(MOXH5_CALL* moxh5_page_operation_fn)(void* user, const char* operation,
                                                  const char* page_json, const char* args_json,
                                                  moxh5_token* token, moxh5_reply_slot* reply);

/* What the host provides. Any callback may be null: without operation and
 * page_answer no action interface is installed (calls that need it answer
 * "Native impl instance is null."), without user_value no user centre,
 * without config_switch every switch is off, without log and report the
 * library's default log and report outputs stay. */
typedef struct moxh5_host_table {
    size_t size; /* sizeof(moxh5_host_table) as the host was compiled; an older
                    host's table may end after page_answer, user_value,
                    config_switch, log, log_priority, report or
                    method_allowed; any other size is refused
                    (MOXH5_ERROR_ARGUMENT) */
    void* user;  /* handed back to every callback */
    moxh5_operation_fn operation;
    moxh5_page_answer_fn page_answer;
    moxh5_user_value_fn user_value;
    moxh5_switch_fn config_switch;
    moxh5_log_fn log;
    int log_priority; /* least urgent priority given to log; 0 means 400 */
    moxh5_report_fn report;
    moxh5_method_allowed_fn method_allowed; /* null: every method may be called */
    /* The page-carrying callbacks: each, when set, replaces its older twin. */
    moxh5_page_answer_to_fn page_answer_to;  /* instead of page_answer */
    moxh5_page_operation_fn page_operation;  /* instead of operation */
} moxh5_host_table;

/* MOXH5_C_ABI_VERSION of the loaded library. */
MOXH5_API unsigned MOXH5_CALL moxh5_abi_version(void);

/* Creates the process's host from `table` (copied) and prepares the modules.
 * MOXH5_ERROR_STATE when a host exists. */
MOXH5_API int MOXH5_CALL moxh5_create(const moxh5_host_table* table, moxh5_host** host);

/* Uninstalls the host's callbacks. Waits for calls under way on other threads
 * to end; after it returns no callback of the table is called. The host's
 * tokens are dead from then on: completing one gives MOXH5_ERROR_STATE and
 * answers no page (not even a later host's). */
MOXH5_API int MOXH5_CALL moxh5_destroy(moxh5_host* host);

/* Runs one script call on the module `module`. `request_json`:
 *   {"mallcsid": string, "payload": {"method": ..., "params": ...},
 *    "isWorker": bool, "webindex": integer, "callbackid": string,
 *    "workerid": string or null}
 * (absent members: "", null, false, 0, "", null; other members are ignored).
 * On MOXH5_OK, `*outcome` holds MOXH5_REGISTERED and MOXH5_HANDLED bits and
 * `*answer_json` the call's answer object (free it with moxh5_free; it is
 * "{}" when the module is not registered). */
MOXH5_API int MOXH5_CALL moxh5_execute(moxh5_host* host, const char* module,
                                       const char* request_json, unsigned* outcome,
                                       char** answer_json);

/* A page's "is it available?": `request_json` as for moxh5_execute, whose
 * payload's params "name" is a module or "Module.method". `*exists` is 1 or
 * 0. */
MOXH5_API int MOXH5_CALL moxh5_exist(moxh5_host* host, const char* request_json, int* exists);

/* The unified answer after a call: hands `answer_json` (an object or null;
 * anything else is MOXH5_ERROR_JSON) wrapped in the envelope to page_answer,
 * as compact JSON text, unless its flags say the page is answered otherwise
 * ("AsynExec", or "NoNeedUnifyCallBack" for render pages) or the call wants
 * no answer. `page_json` names the page with the request's members
 * "mallcsid", "isWorker", "webindex", "callbackid" and "workerid" (the
 * request text itself will do). */
MOXH5_API int MOXH5_CALL moxh5_answer_page(moxh5_host* host, const char* page_json, int success,
                                           const char* answer_json);

/* A callback's answer (see the callbacks); copied. Only during the callback. */
MOXH5_API int MOXH5_CALL moxh5_reply(moxh5_reply_slot* reply, const char* result_json);

/* Finishes asynchronous work, once, from any thread. `result_json`:
 * {"success": bool, "answer": <the page's answer: an object or null>}
 * (absent or null text: true, {}). The page is answered through page_answer
 * before this returns (unless it closed: see moxh5_page_closed) and the token
 * is released. A result refused with MOXH5_ERROR_JSON leaves the token with
 * the host; a token completed before, withdrawn, of a destroyed host, or
 * unknown gives MOXH5_ERROR_STATE (and one log line) and answers nothing. */
MOXH5_API int MOXH5_CALL moxh5_complete(moxh5_token* token, const char* result_json);

/* The page closed or reloaded (`workerid` is ignored for render pages and may
 * be null). Work it started that is still with the host answers no page: a
 * token of it may still be completed (MOXH5_OK), its answer is dropped and
 * logged. Answers to the page already under way on other threads end before
 * this returns, so none reaches the page that replaces it. Costs in
 * proportion to the page's own pending work. Any thread, but not from a
 * page_answer callback for another page. */
MOXH5_API int MOXH5_CALL moxh5_page_closed(moxh5_host* host, int is_worker, int webindex,
                                           const char* workerid);

/* Replaces the page policy (what a page may make the library do; see
 * docs/security.md) with `policy_json`:
 *   {"unrestricted": bool, "shellSchemes": [string...], "fileRoots": [string...],
 *    "allowedNetworkHosts": [string...], "allowedShellFileNames": [string...]}
 * Absent members keep their defaults (false; "http", "https"; none; none;
 * none). Another
 * member or type gives MOXH5_ERROR_JSON and changes nothing. The table's
 * method_allowed stays in force. A start-up call: after the first
 * moxh5_execute or moxh5_exist it gives MOXH5_ERROR_STATE. */
MOXH5_API int MOXH5_CALL moxh5_set_page_policy(moxh5_host* host, const char* policy_json);

/* What the last failed call of this thread found wrong ("moxh5_execute:
 * request_json: member \"webindex\" must be a 32-bit integer or null"); ""
 * after a call that succeeded. Valid until the thread's next call. */
MOXH5_API const char* MOXH5_CALL moxh5_last_error(void);

/* Releases a buffer the library handed out; null is allowed. */
MOXH5_API void MOXH5_CALL moxh5_free(void* buffer);

#ifdef __cplusplus
}
#endif

#endif /* MOXH5_C_H */
