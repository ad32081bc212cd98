#include "modules/photo/H5PhotoWorker.h"

#include <vector>

#include "diagnostics.h"
#include "core/dispatch/guard.h"
#include "core/dispatch/params.h"
#include "mox_json.h"
#include "moxh5/module_manager.h"

namespace {

namespace detail = moxh5::detail;

constexpr char kWatchFunction[] = "H5PhotoWorker::watch";
constexpr char kStoreFunction[] = "H5PhotoWorker::store";
constexpr char kWatchCommonFunction[] = "H5PhotoWorker::watchCommon";
constexpr char kBatchDownloadFunction[] = "H5PhotoWorker::batchDownload";

// What "watch" and "batchDownload" hand to the host.
struct PictureCall {
    IH5ActionImplCallBack* host = nullptr;
    std::string url;
    std::string uid;  // the session's current buyer
    std::string msgId;
};

// The params of a call, read in place; null (after the "false in" line) when
// the payload has none.
const Json::Value* CallParams(const mox_h5_module_data* data, const char* function) {
    if (!data) {
        MOX_LOG_FALSE_IN(function);
        return nullptr;
    }
    const Json::Value* params = detail::FindCallParams(data->payload);
    if (!params) MOX_LOG_FALSE_IN(function);
    return params;
}

// Params "url" as a string; false (after the "false in" line) when missing.
bool ReadUrl(const Json::Value& params, const char* function, std::string& url) {
    if (mox_json::GetJsonValueToString(params, "url", url, function, true, false)) return true;
    MOX_LOG_FALSE_IN(function);
    return false;
}

// The checks and reads that "watch" and "batchDownload" share.
bool ReadPictureCall(const mox_h5_module_data* data, Json::Value& answer, const char* function,
                     PictureCall& call) {
    const Json::Value* params = CallParams(data, function);
    if (!params || !ReadUrl(*params, function, call.url)) return false;
    MOX_LOG(LOG_PRIORITY_INFO, function, "[MoxH5] JS watch pic url:%s.", call.url.c_str());
    if (!getMsgid(data->payload, call.msgId)) {
        MOX_LOG_FALSE_IN(function);
        return false;
    }
    call.host = detail::RequireActionInterface(answer, MOX_CALL_SITE(function));
    if (!call.host) return false;
    IUserCenter* userCenter = MoxModuleManager::GetInstance()->GetUserCenter();
    if (!userCenter) {
        MOX_LOG_JSON(LOG_PRIORITY_ERROR, function, "UserCenter is null, %s", data->payload);
        return false;
    }
    call.uid = userCenter->GetCurrentUid(data->mallcsid);
    return true;
}

}  // namespace

bool getMsgid(const Json::Value& payload, std::string& msg_id) {
    const Json::Value* params = detail::FindCallParams(payload);
    return params &&
           mox_json::GetJsonValueToString(*params, "msg_id", msg_id, "getMsgid", true, false);
}

H5PhotoWorker::H5PhotoWorker() {
    m_methods.emplace("watch", &H5PhotoWorker::watch);
    m_methods.emplace("store", &H5PhotoWorker::store);
    m_methods.emplace("watchCommon", &H5PhotoWorker::watchCommon);
    m_methods.emplace("batchDownload", &H5PhotoWorker::batchDownload);
}

bool H5PhotoWorker::Execute(const mox_module_data* data, Json::Value& answer) {
    return detail::DispatchPlain(kModuleName, m_methods, data, answer,
                                 MOX_CALL_SITE("H5PhotoWorker::Execute"),
                                 {/*logUnknownMethod=*/true, /*silenceRenderAnswers=*/true});
}

bool H5PhotoWorker::Exist(const std::string& method) {
    return detail::MapsMethod(m_methods, method);
}

bool H5PhotoWorker::watch(const mox_h5_module_data* data, Json::Value& answer) {
    // The viewer does not answer the page: the unified callback does, for
    // render pages too.
    detail::UseUnifiedCallback(answer);
    PictureCall call;
    if (!ReadPictureCall(data, answer, kWatchFunction, call)) return false;
    return call.host->ViewPicture(data, call.url, call.uid, call.msgId);
}

bool H5PhotoWorker::batchDownload(const mox_h5_module_data* data, Json::Value& answer) {
    PictureCall call;
    if (!ReadPictureCall(data, answer, kBatchDownloadFunction, call)) return false;
    return call.host->BatchDownloadPictures(data, call.url, call.uid, call.msgId);
}

bool H5PhotoWorker::store(const mox_h5_module_data* data, Json::Value& answer) {
    const Json::Value* params = CallParams(data, kStoreFunction);
    std::string url;
    if (!params || !ReadUrl(*params, kStoreFunction, url)) return false;
    IH5ActionImplCallBack* host =
        detail::RequireActionInterface(answer, MOX_CALL_SITE(kStoreFunction));
    if (!host) return false;
    return host->StorePicture(url, data->workerid);
}

bool H5PhotoWorker::watchCommon(const mox_h5_module_data* data, Json::Value& answer) {
    const Json::Value* params = CallParams(data, kWatchCommonFunction);
    if (!params) return false;
    static constexpr char kUrlArr[] = "urlArr";
    const Json::Value* list =
        params->isObject() ? params->find(kUrlArr, kUrlArr + sizeof(kUrlArr) - 1) : nullptr;
    if (!list || !list->isArray()) {
        MOX_LOG_FALSE_IN(kWatchCommonFunction);
        return false;
    }
    // Not checked against the list: the host's viewer decides what it means.
    const int index = mox_json::GetJsonValueToInt(*params, "index", kWatchCommonFunction);
    std::vector<std::string> urls;
    for (const Json::Value& item : *list) {
        if (item.isObject() && item.isMember("url")) {
            urls.push_back(mox_json::GetJsonValueToString(item, "url", kWatchCommonFunction));
        }
    }
    IH5ActionImplCallBack* host =
        detail::RequireActionInterface(answer, MOX_CALL_SITE(kWatchCommonFunction));
    if (!host) return false;
    return host->ViewPictureList(data, index, urls);
}
