// Feedback to the host's message centre, the workbench version, and shielding
// updates.
//
// "FeedBackCommon" hands the page's feedback to the host's message-centre
// window as a posted message, never a sent one, so the page's thread never
// waits for the window's. Only pages of the session that is current in the
// host may do so; the others are ignored silently.
#include <cstring>
#include <memory>

#include "MsgCenter.h"
#include "answer.h"
#include "core/dispatch/guard.h"
#include "modules/native/H5NativeWorker.h"
#include "modules/native/native_log.h"
#include "mox_json.h"
#include "moxh5/module_manager.h"
#include "moxh5/platform.h"
#include "moxh5/version.h"

namespace {

namespace key = moxh5::key;
using moxh5::detail::RequireObjectParams;
using moxh5::detail::RequireRequest;
using moxh5::detail::RequireRequestAndHost;
using moxh5::platform::PostResult;

// The message-centre window's message for page feedback: wParam the feedback
// text, lParam its type, both zero-terminated wide strings that the receiver
// frees with delete[].
constexpr uint32_t kFeedbackMessage = 3214;  // 0xC8E

struct Feedback {
    std::string msg;
    std::string type;
    std::string mallid;
    std::string csid;
    std::string uid;
};

// Whether the page belongs to the session that is current in the host: the
// request comes from that session's page (the mall id a page claims in its
// params alone would let another shop's page post into the current session),
// the same mall exactly, and the same customer-service account and buyer where
// the page names them.
bool IsCurrentSession(IUserCenter& users, const std::string& requestMallCsId,
                      const Feedback& page) {
    const std::string current = users.GetCurrentMallCsId();
    if (current != requestMallCsId) return false;
    const std::string mallId = users.GetMallId(current);
    const std::string csId = users.GetCsId(current);
    if (page.mallid != mallId) return false;
    if (!page.csid.empty() && page.csid != csId) return false;
    return page.uid.empty() || page.uid == users.GetCurrentUid(current);
}

// A zero-terminated copy of `text` in UTF-16, two characters longer than the
// text, as the receiver expects.
std::unique_ptr<wchar_t[]> WideBuffer(const std::string& text) {
    const std::wstring wide = moxh5::platform::Utf8ToWide(text);
    std::unique_ptr<wchar_t[]> buffer(new wchar_t[wide.size() + 2]());
    if (!wide.empty()) std::memcpy(buffer.get(), wide.data(), wide.size() * sizeof(wchar_t));
    return buffer;
}

const char* DescribeFailure(PostResult result) {
    return result == PostResult::kNoWindowSystem ? "no window system" : "refused";
}

}  // namespace

// Answers nothing: the result is true also when the page is not of the
// current session or no message centre is running.
bool H5NativeWorker::feedBack(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::feedBack";
    if (!RequireRequest(data, NATIVE_SITE(kFunction))) return false;
    NATIVE_TRACE_JSON(kFunction, "[MoxH5] Web req feedback content: %s", data->payload);
    const Json::Value* params = RequireObjectParams(*data, answer, NATIVE_SITE(kFunction));
    if (!params) return false;

    Feedback page;
    page.msg = mox_json::GetJsonValueToString(*params, "msg", kFunction);
    page.type = mox_json::GetJsonValueToString(*params, "type", kFunction);
    page.mallid = mox_json::GetJsonValueToString(*params, "mallid", kFunction);
    page.csid = mox_json::GetJsonValueToString(*params, "csid", kFunction);
    page.uid = mox_json::GetJsonValueToString(*params, "uid", kFunction);

    IUserCenter* users = MoxModuleManager::GetInstance()->GetUserCenter();
    if (!users) {
        moxh5::detail::LogFalseIn(NATIVE_SITE(kFunction));
        return false;
    }
    if (!IsCurrentSession(*users, data->mallcsid, page)) {
        NATIVE_LOG(LOG_PRIORITY_WARNING, kFunction, "Not Cur Session.");
        return true;
    }

    const uintptr_t window = GetMsgCenterWindow();
    if (window == 0) return true;
    std::unique_ptr<wchar_t[]> msg = WideBuffer(page.msg);
    std::unique_ptr<wchar_t[]> type = WideBuffer(page.type);
    const PostResult posted = moxh5::platform::PostWindowMessage(
        window, kFeedbackMessage, reinterpret_cast<uintptr_t>(msg.get()),
        reinterpret_cast<intptr_t>(type.get()));
    if (posted == PostResult::kPosted) {
        // The window's owner frees both.
        msg.release();
        type.release();
    } else {
        NATIVE_LOG(LOG_PRIORITY_ERROR, kFunction, "[MoxH5] Post feedback to msg center failed, %s",
                   DescribeFailure(posted));
    }
    return true;
}

// The library's own version, the one its file carries; whatever the host's is.
bool H5NativeWorker::getWorkbenchVersion(const mox_h5_module_data*, Json::Value& answer) {
    answer[key::kData]["WorkbenchVersion"] = MOXH5_VERSION_STRING;
    return true;
}

// Without "currentUid" nothing is updated, and the call still succeeds.
bool H5NativeWorker::updateShielding(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::updateShielding";
    IH5ActionImplCallBack* host = RequireRequestAndHost(data, answer, NATIVE_SITE(kFunction));
    if (!host) return false;
    NATIVE_TRACE_JSON(kFunction, "[MoxH5] Web req content: %s", data->payload);
    const Json::Value* params = RequireObjectParams(*data, answer, NATIVE_SITE(kFunction));
    if (!params) return false;

    const std::string currentUid = mox_json::GetJsonValueToString(*params, "currentUid", kFunction);
    if (!currentUid.empty()) host->UpdateShielding(data, currentUid, *params);
    return true;
}
