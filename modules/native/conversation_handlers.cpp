// Conversations with buyers: opening one for an order, the count of unread
// urgent messages, the blacklist.
//
// "openNewConversation" and "unReadMsgCount" answer through the unified
// callback (served to render and worker pages); opening a conversation
// finishes later, when the host calls back. "AddUserBlackList" keeps the
// host's own answer path and serves render pages only.
#include "answer.h"
#include "core/dispatch/guard.h"
#include "core/delivery/pending_work.h"
#include "modules/native/H5NativeWorker.h"
#include "modules/native/handler_checks.h"
#include "modules/native/native_log.h"
#include "mox_json.h"
#include "moxh5/page_callback.h"

namespace {

namespace key = moxh5::key;
namespace text = moxh5::text;
using moxh5::detail::RequireCall;

constexpr char kOrderSnEmpty[] = "orderSn is empty.";
// "开启聊天失败，参数不正确" ("could not open the chat: bad parameters").
constexpr char kOpenChatFailedToast[] =
    "\xE5\xBC\x80\xE5\x90\xAF\xE8\x81\x8A\xE5\xA4\xA9\xE5\xA4\xB1\xE8\xB4\xA5\xEF\xBC\x8C"
    "\xE5\x8F\x82\xE6\x95\xB0\xE4\xB8\x8D\xE6\xAD\xA3\xE7\xA1\xAE";
constexpr int kFailureToastMs = 1500;

}  // namespace

// Without an order there is no buyer to talk to: the merchant sees the failure
// toast, the page gets "orderSn is empty.". An empty "mallId" leaves the
// choice of mall to the host (the page's own).
bool H5NativeWorker::openNewConversation(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::openNewConversation";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;
    const std::string orderSn = mox_json::GetJsonValueToString(*call.params, "orderSn", kFunction);
    if (orderSn.empty()) {
        call.host->ShowToast(MOX_TOAST_FAILURE, kOpenChatFailedToast,
                             sizeof(kOpenChatFailedToast) - 1, kFailureToastMs);
        answer[key::kMessage] = kOrderSnEmpty;
        return false;
    }
    const std::string mallId = mox_json::GetJsonValueToString(*call.params, "mallId", kFunction);
    // The host answers once the conversation is open; it keeps its own copy
    // of the page's identity.
    moxh5::detail::LaterWork work(*data);
    if (!work.Open(answer)) return false;
    return work.Handed(
        call.host->OpenNewConversation(data, orderSn, mallId, work.Page(), work.Done()), answer);
}

// The count must be a whole number, zero or more: a page that sends none has
// nothing to report.
bool H5NativeWorker::unReadMsgCount(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::unReadMsgCount";
    IH5ActionImplCallBack* host =
        moxh5::detail::RequireRequestAndHost(data, answer, NATIVE_SITE(kFunction));
    if (!host) return false;
    NATIVE_TRACE_JSON(kFunction, "[MoxH5] Web req UpdateUnReadMessageCount content: %s",
                      data->payload);
    const Json::Value* params =
        moxh5::detail::RequireObjectParams(*data, answer, NATIVE_SITE(kFunction));
    if (!params) return false;
    int count = 0;
    if (!mox_json::GetJsonValueToInt(*params, "unreadUrgentMsgCount", count, kFunction, true,
                                     false) ||
        count < 0) {
        answer[key::kMessage] = text::kInvalidParam;
        return false;
    }
    return host->UpdateUnreadMessageCount(data, count);
}

// The buyer to block is the page's "currentUid"; a page that leaves it out
// means the buyer of the session's current conversation, as the user centre
// knows it.
bool H5NativeWorker::addUserBlackList(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::addUserBlackList";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;
    std::string uid = mox_json::GetJsonValueToString(*call.params, "currentUid", kFunction);
    if (uid.empty()) {
        if (IUserCenter* users = moxh5::native::RequireUserCenter(NATIVE_SITE(kFunction))) {
            uid = users->GetCurrentUid(data->mallcsid);
        }
    }
    if (uid.empty()) {
        answer[key::kMessage] = text::kInvalidParam;
        return false;
    }
    return call.host->AddUserToBlackList(data, uid);
}
