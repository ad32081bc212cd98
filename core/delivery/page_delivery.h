// The render and worker paths of the unified callback with a given action
// interface instead of the installed one. Inside the library only: hosts answer
// pages with callBackToWebPage and moxh5::AnswerPage (moxh5/page_callback.h).
//
// They apply the same silencing flags, envelope and record of outstanding work
// as callBackToWebPage, then call `callback`'s RenderJsCallback or
// WorkerJsCallback (nothing when `callback` is null, after the trace line).
#pragma once

#include <json/value.h>

#include <string>

class IH5ActionImplCallBack;

namespace moxh5::detail {

void doCallBackToRender(IH5ActionImplCallBack* callback, bool success, int webindex,
                        const std::string& mallcsid, const std::string& callId,
                        const Json::Value& answer);

void doCallBackToWorker(IH5ActionImplCallBack* callback, bool success, int webindex,
                        const std::string& mallcsid, const std::string& callbackid,
                        const std::string& workerid, const Json::Value& answer);

}  // namespace moxh5::detail
