// What merchant pages report to the host: that they finished loading, that one
// of their HTTP requests failed, and the window keys they set (whether the
// robot-learning guide shows).
//
// Each asks one host operation, whose result is the call's; the answers keep
// "NoNeedUnifyCallBack". "updateKeysSetOfWindows" serves render and worker
// pages, the others render pages only.
#include "answer.h"
#include "core/dispatch/guard.h"
#include "core/dispatch/params.h"
#include "modules/native/H5NativeWorker.h"
#include "modules/native/native_log.h"

namespace {

using moxh5::detail::FindMember;
using moxh5::detail::RequireCall;

// The page's key "robot_learn_guide" is the host's window key
// "ShowRobotLearnGuide" of the group "Guide".
constexpr char kRobotLearnGuide[] = "robot_learn_guide";
constexpr char kGuideGroup[] = "Guide";
constexpr char kShowRobotLearnGuide[] = "ShowRobotLearnGuide";

bool RefuseParam(Json::Value& answer) {
    answer[moxh5::key::kMessage] = moxh5::text::kInvalidParam;
    return false;
}

}  // namespace

// Nothing is read: the call itself is the news.
bool H5NativeWorker::merchantLoadFinish(const mox_h5_module_data* data, Json::Value& answer) {
    IH5ActionImplCallBack* host = moxh5::detail::RequireRequestAndHost(
        data, answer, NATIVE_SITE("H5NativeWorker::merchantLoadFinish"));
    return host && host->MerchantLoadFinished(data);
}

// "response" may be any JSON the page got back, but it must be there.
bool H5NativeWorker::httpError(const mox_h5_module_data* data, Json::Value& answer) {
    const auto call = RequireCall(data, answer, NATIVE_SITE("H5NativeWorker::httpError"));
    if (!call) return false;
    const Json::Value* response = FindMember(*call.params, "response");
    if (!response || response->isNull()) return RefuseParam(answer);
    return call.host->ReportHttpError(data, *response);
}

// "robot_learn_guide" must be a boolean.
bool H5NativeWorker::updateKeysSetOfWindows(const mox_h5_module_data* data, Json::Value& answer) {
    const auto call =
        RequireCall(data, answer, NATIVE_SITE("H5NativeWorker::updateKeysSetOfWindows"));
    if (!call) return false;
    const Json::Value* show = FindMember(*call.params, kRobotLearnGuide);
    if (!show || !show->isBool()) return RefuseParam(answer);
    return call.host->UpdateWindowsKey(data, kGuideGroup, kShowRobotLearnGuide, show->asBool());
}
