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
// Threads: may run on any thread; reads only the installed action interface.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <string>

#include "moxh5/export.h"
#include "moxh5/records.h"

class IH5ActionImplCallBack;

// The signature of callBackToWebPage, as the host receives it.
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
                                 const std::string& workerid, const Json::Value& answer);

// callBackToWebPage for a saved page identity.
MOXH5_API bool AnswerPage(const MoxPageIdentity& page, bool success, const Json::Value& answer);

void doCallBackToRender(IH5ActionImplCallBack* callback, bool success, int webindex,
                        const std::string& mallcsid, const std::string& callId,
                        const Json::Value& answer);

void doCallBackToWorker(IH5ActionImplCallBack* callback, bool success, int webindex,
                        const std::string& mallcsid, const std::string& callbackid,
                        const std::string& workerid, const Json::Value& answer);
