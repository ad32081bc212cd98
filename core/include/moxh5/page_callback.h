// Answering a page later: the unified callback.
//
// A handler that cannot answer at once hands the host `callBackToWebPage` and
// the page's identity; the host calls it when the work is done. It wraps the
// answer in the envelope
//     {"success": <bool>, "message": "success"|"failed", "data": null, ...}
// ("success" always set; "message" and "data" only when the answer lacks them;
// every other member passed through) and hands the JSON text to the host's
// RenderJsCallback (render pages, keyed by callId) or WorkerJsCallback (worker
// pages, keyed by callbackid).
//
// Delivery is skipped when the answer holds "AsynExec": true (the answer comes
// by another path), when the answer of a render page holds
// "NoNeedUnifyCallBack": true (the handler answered by itself; worker pages
// ignore this flag), when the callback id is empty, and when the answer is
// neither an object nor null.
//
// Each piece of host work answers its page at most once. The library records
// the work it hands to the host (by page and callback id: isWorker, webindex,
// workerid, callbackid; render pages have no workerid): the first answer is
// delivered, a second one is dropped, and after MoxModuleManager::PageClosed
// the answers of the closed page's outstanding work are dropped too (each drop
// logged at priority 400, "[MoxH5] Dropped ..."). An answer for a callback id
// that was never handed over with host work (a host answering on its own) is
// delivered as always, and so is the answer to a new call under an id used
// before (a reloaded page counts its ids from the start). The record is
// bounded (4096 outstanding pieces of work and 4096 answered or closed keys,
// the oldest forgotten first; ids over 256 bytes are not tracked). Limit:
// through this function pointer, a late answer of a closed page's work cannot
// be told apart from an answer for new work of the reloaded page under the
// same callback id; the first of them is delivered. The C interface's tokens
// tell them apart.
//
// No exception leaves these functions: one thrown inside (by the host's
// RenderJsCallback, say, or a failed allocation) is logged at priority 300
// and the answer counts as not passed on.
//
// Threads: may run on any thread; reads only the installed action interface
// and the record of outstanding work (locked).
#pragma once

#include <json/value.h>

#include <cstdint>
#include <string>

#include "moxh5/export.h"
#include "moxh5/records.h"

class IH5ActionImplCallBack;

// The signature of callBackToWebPage, as the host receives it. (The library's
// functions are noexcept; they convert to this type.)
using MoxPageCallbackFn = bool (*)(bool isWorker, bool success, int webindex,
                                   const std::string& mallcsid, const std::string& callbackid,
                                   const std::string& workerid, const Json::Value& answer);

// What the host needs to answer one page later: a copy of the request's page
// identity. It owns its texts, so it outlives the request record.
struct MoxPageIdentity {
    bool isWorker = false;
    int32_t webindex = 0;
    std::string mallcsid;
    std::string callbackid;
    std::string workerid;
};

MOXH5_API MoxPageIdentity PageIdentityOf(const mox_h5_module_data& request);

// Returns true when the answer was passed on to the render or worker path
// (which may still decide to stay silent), false when there is no action
// interface or no callback id.
MOXH5_API bool callBackToWebPage(bool isWorker, bool success, int webindex,
                                 const std::string& mallcsid, const std::string& callbackid,
                                 const std::string& workerid, const Json::Value& answer) noexcept;

// callBackToWebPage for a saved page identity.
MOXH5_API bool AnswerPage(const MoxPageIdentity& page, bool success,
                          const Json::Value& answer) noexcept;

void doCallBackToRender(IH5ActionImplCallBack* callback, bool success, int webindex,
                        const std::string& mallcsid, const std::string& callId,
                        const Json::Value& answer);

void doCallBackToWorker(IH5ActionImplCallBack* callback, bool success, int webindex,
                        const std::string& mallcsid, const std::string& callbackid,
                        const std::string& workerid, const Json::Value& answer);
