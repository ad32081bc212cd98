// Merchant tools the host provides: the help-link dialog of an order, the
// help-buy modal of goods, small-amount payments and collections, sharing a
// goods link, work-order reminders.
//
// Each checks the page's parameters and asks one host operation; the host's
// result is the call's, and the host answers the page itself (the answers keep
// "NoNeedUnifyCallBack"). Render pages only.
#include "answer.h"
#include "core/dispatch/guard.h"
#include "core/dispatch/params.h"
#include "modules/native/H5NativeWorker.h"
#include "modules/native/handler_checks.h"
#include "modules/native/native_log.h"
#include "mox_json.h"

namespace {

namespace key = moxh5::key;
namespace text = moxh5::text;
using moxh5::detail::FindMember;
using moxh5::detail::RequireCall;

constexpr char kNotCurrentAccount[] = "Not current account";

// Small-amount money: the operations a page names with "operateName". Paying
// is the tool's first use and has no name of its own.
constexpr char kPay[] = "";
constexpr char kGethering[] = "gethering";  // spelled so by the pages
constexpr char kLookRule[] = "lookRule";
// Paying and collecting run only while this switch is on; the rules always show.
constexpr char kLittleMoneySwitch[] = "func_little_money_pay";
// "暂不支持小额打款功能" ("small payments are not supported yet").
constexpr char kPayNotSupported[] =
    "\xE6\x9A\x82\xE4\xB8\x8D\xE6\x94\xAF\xE6\x8C\x81\xE5\xB0\x8F\xE9\xA2\x9D\xE6\x89\x93\xE6\xAC"
    "\xBE\xE5\x8A\x9F\xE8\x83\xBD";
// "暂不支持小额收款功能" ("small collections are not supported yet").
constexpr char kGetheringNotSupported[] =
    "\xE6\x9A\x82\xE4\xB8\x8D\xE6\x94\xAF\xE6\x8C\x81\xE5\xB0\x8F\xE9\xA2\x9D\xE6\x94\xB6\xE6\xAC"
    "\xBE\xE5\x8A\x9F\xE8\x83\xBD";

bool RefuseParam(Json::Value& answer) {
    answer[key::kMessage] = text::kInvalidParam;
    return false;
}

}  // namespace

// The dialog belongs to the account in front of the merchant: a page of
// another session gets "Not current account". A failed dialog is logged with
// the whole call.
bool H5NativeWorker::helpLinkTipsShow(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::helpLinkTipsShow";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;
    std::string orderSequenceNo;
    if (!moxh5::native::RequireText(*call.params, "orderSequenceNo", answer, kFunction,
                                    orderSequenceNo)) {
        return false;
    }
    if (!moxh5::native::IsCurrentSession(*data, NATIVE_SITE(kFunction))) {
        answer[key::kMessage] = kNotCurrentAccount;
        return false;
    }
    const std::string from = mox_json::GetJsonValueToString(*call.params, "from", kFunction);
    if (call.host->ShowHelpLinkDlg(data, from, orderSequenceNo)) return true;
    MOX_LOG_JSON_AT(::moxh5::native::kLogFile, LOG_PRIORITY_ERROR, kFunction,
                    "[MoxH5] CH5MsgImpl::OnJsSendData() ShowHelpLinkDlg failed,data %s",
                    data->payload);
    return false;
}

// "goodsInfo" must be an object that names something.
bool H5NativeWorker::helpBuyModalShow(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::helpBuyModalShow";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;
    const Json::Value* goodsInfo = FindMember(*call.params, "goodsInfo");
    if (!goodsInfo || !goodsInfo->isObject() || goodsInfo->empty()) {
        MOX_LOG_JSON_AT(::moxh5::native::kLogFile, LOG_PRIORITY_ERROR, kFunction,
                        "Invalid parameter, %s", *call.params);
        return RefuseParam(answer);
    }
    return call.host->ShowHelpBuyModal(data, *goodsInfo);
}

// "operateName": absent or "" pays, "gethering" collects, "lookRule" shows the
// rules. Paying and collecting need the switch on and a non-empty
// "orderGoodsList" array.
bool H5NativeWorker::littleMoney(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::littleMoney";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;
    const Json::Value* operateName = FindMember(*call.params, "operateName");
    if (operateName && !operateName->isString()) return RefuseParam(answer);
    const std::string operation = operateName ? operateName->asString() : kPay;
    if (operation == kLookRule) {
        return call.host->OpenLittleMoney(data, operation, Json::Value::nullSingleton());
    }
    const char* notSupported = operation == kPay         ? kPayNotSupported
                               : operation == kGethering ? kGetheringNotSupported
                                                         : nullptr;
    if (!notSupported) return RefuseParam(answer);
    if (!moxh5::detail::FeatureEnabled(*data, kLittleMoneySwitch)) {
        answer[key::kMessage] = notSupported;
        return false;
    }
    const Json::Value* goods = FindMember(*call.params, "orderGoodsList");
    if (!goods || !goods->isArray() || goods->empty()) return RefuseParam(answer);
    return call.host->OpenLittleMoney(data, operation, *goods);
}

bool H5NativeWorker::shareGoodsUrl(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::shareGoodsUrl";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;
    std::string goodsUrl;
    if (!moxh5::native::RequireText(*call.params, "goodsUrl", answer, kFunction, goodsUrl)) {
        return false;
    }
    return call.host->ShareGoodsUrl(data, goodsUrl);
}

// What a reminder holds is between the page and the host: the params go over
// whole.
bool H5NativeWorker::workOrderReminder(const mox_h5_module_data* data, Json::Value& answer) {
    const auto call = RequireCall(data, answer, NATIVE_SITE("H5NativeWorker::workOrderReminder"));
    return call && call.host->RemindWorkOrder(data, *call.params);
}
