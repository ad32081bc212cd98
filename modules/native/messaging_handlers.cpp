// Messages, quick replies, reports and goods sharing.
//
// Each handler checks the call and hands it, or one piece of its parameters,
// to the host operation of the same name; the host's result is the handler's.
// The host does the work and answers the page itself, so the answers keep
// "NoNeedUnifyCallBack". All are served to render pages only.
#include "core/dispatch/guard.h"
#include "core/dispatch/params.h"
#include "modules/native/H5NativeWorker.h"
#include "modules/native/native_log.h"
#include "mox_json.h"

using moxh5::detail::FindMember;
using moxh5::detail::GuardedCopy;
using moxh5::detail::RequireCall;
using moxh5::detail::RequireRequestAndHost;

bool H5NativeWorker::updateQuickReply(const mox_h5_module_data* data, Json::Value& answer) {
    IH5ActionImplCallBack* host =
        RequireRequestAndHost(data, answer, NATIVE_SITE("H5NativeWorker::updateQuickReply"));
    return host && host->UpdateQuickReply(data);
}

bool H5NativeWorker::exportQuickReply(const mox_h5_module_data* data, Json::Value& answer) {
    IH5ActionImplCallBack* host =
        RequireRequestAndHost(data, answer, NATIVE_SITE("H5NativeWorker::exportQuickReply"));
    return host && host->ExportQuickReply(data, data->workerid);
}

bool H5NativeWorker::importQuickReply(const mox_h5_module_data* data, Json::Value& answer) {
    IH5ActionImplCallBack* host =
        RequireRequestAndHost(data, answer, NATIVE_SITE("H5NativeWorker::importQuickReply"));
    return host && host->ImportQuickReply(data);
}

bool H5NativeWorker::downQuickReplyModule(const mox_h5_module_data* data, Json::Value& answer) {
    IH5ActionImplCallBack* host =
        RequireRequestAndHost(data, answer, NATIVE_SITE("H5NativeWorker::downQuickReplyModule"));
    return host && host->DownQuickReplyModule(data->workerid);
}

bool H5NativeWorker::businessReport(const mox_h5_module_data* data, Json::Value& answer) {
    IH5ActionImplCallBack* host =
        RequireRequestAndHost(data, answer, NATIVE_SITE("H5NativeWorker::businessReport"));
    return host && host->BusinessReport(data);
}

bool H5NativeWorker::sendVideoShow(const mox_h5_module_data* data, Json::Value& answer) {
    IH5ActionImplCallBack* host =
        RequireRequestAndHost(data, answer, NATIVE_SITE("H5NativeWorker::sendVideoShow"));
    return host && host->SendVideoShow();
}

bool H5NativeWorker::sendAddressMsg(const mox_h5_module_data* data, Json::Value& answer) {
    const auto call = RequireCall(data, answer, NATIVE_SITE("H5NativeWorker::sendAddressMsg"));
    return call && call.host->SendAddressMsg(data, *call.params);
}

// "sendRichContent" and "sendGoodsListRichContent" both land here; the host
// tells them apart by the request if it needs to.
bool H5NativeWorker::sendRich_GoodsListContent(const mox_h5_module_data* data,
                                               Json::Value& answer) {
    const auto call =
        RequireCall(data, answer, NATIVE_SITE("H5NativeWorker::sendRich_GoodsListContent"));
    return call && call.host->SendRichContent(data, *call.params);
}

bool H5NativeWorker::sendFaseReply(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::sendFaseReply";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;
    // Without "replyMessage", or with a "content" that is not a string, the
    // reply is empty and still goes to the host.
    const Json::Value* replyMessage = FindMember(*call.params, "replyMessage");
    const Json::Value reply =
        GuardedCopy(replyMessage ? *replyMessage : Json::Value::nullSingleton(), "sendFaseReply",
                    NATIVE_SITE(kFunction));
    return call.host->SendFaseReply(data,
                                    mox_json::GetJsonValueToString(reply, "content", kFunction));
}

bool H5NativeWorker::shareGoods(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::shareGoods";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;
    // Without "goodsInfo" there is nothing to share: refused quietly, with
    // neither a log line nor a "message".
    const Json::Value* goodsInfo = FindMember(*call.params, "goodsInfo");
    if (!goodsInfo) return false;
    const std::wstring goodsName = mox_json::GetJsonValueToUtf8WString(
        GuardedCopy(*goodsInfo, "shareGoods", NATIVE_SITE(kFunction)), "goods_name", kFunction);
    const std::string shareUrl = mox_json::GetJsonValueToString(
        GuardedCopy(*goodsInfo, "shareGoods", NATIVE_SITE(kFunction)), "share_url", kFunction);
    return call.host->ShareGoods(shareUrl, goodsName);
}
