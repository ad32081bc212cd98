#include "modules/network/H5NetworkWorker.h"

#include <optional>
#include <vector>

#include "answer.h"
#include "diagnostics.h"
#include "core/dispatch/guard.h"
#include "core/policy/page_policy.h"
#include "core/delivery/pending_work.h"
#include "mox_json.h"
#include "moxh5/module_manager.h"

namespace {

namespace detail = moxh5::detail;
namespace key = moxh5::key;

constexpr char kRenderFunction[] = "H5NetworkWorker::request_render";
constexpr char kWorkerFunction[] = "H5NetworkWorker::request_worker";
constexpr char kHttpFunction[] = "H5HttpRequest";
// The host's request kind for page HTTP requests.
constexpr int kPageHttpRequest = 1;

// The header lines of params "headers", when it is an array, in its order.
// `params` is an object.
std::vector<std::string> HeaderLines(const Json::Value& params) {
    std::vector<std::string> lines;
    static constexpr char kHeaders[] = "headers";
    const Json::Value* headers = params.find(kHeaders, kHeaders + sizeof(kHeaders) - 1);
    if (!headers || !headers->isArray()) return lines;
    lines.reserve(headers->size());
    for (Json::ArrayIndex i = 0; i < headers->size(); ++i) {
        lines.push_back(mox_json::GetJsonValueToString(*headers, i, kHttpFunction));
    }
    return lines;
}

// The URL to hand the host's HTTP code when the URL, the cookie and every
// header line may reach it under the page policy.
std::optional<std::string> AllowedRequestUrl(const std::string& url, const std::string& cookie,
                                             const std::vector<std::string>& headers,
                                             const detail::CallSite& site) {
    std::optional<std::string> allowed = detail::NetworkUrl(url, site);
    if (!allowed || !detail::HeaderTextAllowed(cookie, site)) return std::nullopt;
    for (const std::string& line : headers) {
        if (!detail::HeaderTextAllowed(line, site)) return std::nullopt;
    }
    return allowed;
}

}  // namespace

H5NetworkWorker::H5NetworkWorker() {
    m_methods.emplace("request", &H5NetworkWorker::request_render);
    m_methods.emplace("httpRequest", &H5NetworkWorker::request_worker);
}

bool H5NetworkWorker::Execute(const mox_module_data* data, Json::Value& answer) {
    return detail::DispatchPlain(kModuleName, m_methods, data, answer,
                                 MOX_CALL_SITE("H5NetworkWorker::Execute"),
                                 {/*logUnknownMethod=*/true});
}

bool H5NetworkWorker::Exist(const std::string& method) {
    return detail::MapsMethod(m_methods, method);
}

bool H5NetworkWorker::request_render(const mox_h5_module_data* data, Json::Value& answer) {
    const detail::CallSite site = MOX_CALL_SITE(kRenderFunction);
    if (!detail::RequireRequest(data, site)) return false;
    if (data->isWorker) {
        MOX_LOG(LOG_PRIORITY_ERROR, kRenderFunction,
                "[MoxH5] request_render cannot work on worker");
        return false;
    }
    IH5ActionImplCallBack* host = detail::RequireActionInterface(answer, site);
    if (!host) return false;
    // The host answers the page itself; its result says nothing more.
    host->RequestFromRenderPage(data, data->payload, data->webindex, data->callbackid);
    answer[key::kNoNeedUnifyCallBack] = true;
    return true;
}

bool H5NetworkWorker::request_worker(const mox_h5_module_data* data, Json::Value& answer) {
    const detail::CallSite site = MOX_CALL_SITE(kWorkerFunction);
    if (!detail::RequireRequest(data, site)) return false;
    if (!data->isWorker) {
        MOX_LOG(LOG_PRIORITY_ERROR, kWorkerFunction,
                "[MoxH5] request_worker cannot work on render");
        return false;
    }
    IH5ActionImplCallBack* host = detail::RequireActionInterface(answer, site);
    if (!host) return false;
    return H5HttpRequest(0, host, std::string(), data, answer);
}

bool H5HttpRequest(int, IH5ActionImplCallBack* host, const std::string& extra,
                   const mox_h5_module_data* data, Json::Value& answer) {
    const detail::CallSite site = MOX_CALL_SITE(kHttpFunction);
    if (!detail::RequireRequest(data, site)) return false;
    MOX_TRACE_JSON(kHttpFunction, "[MoxH5] Web req H5HttpRequest content: %s", data->payload);
    const Json::Value* params = detail::RequireObjectParams(*data, answer, site);
    if (!params) return false;
    const std::string type = mox_json::GetJsonValueToString(*params, "type", kHttpFunction);
    const std::string url = mox_json::GetJsonValueToString(*params, "url", kHttpFunction);
    const std::string content = mox_json::GetJsonValueToString(*params, "content", kHttpFunction);
    const std::string cookie = mox_json::GetJsonValueToString(*params, "cookie", kHttpFunction);
    if (!host) return false;
    const std::vector<std::string> headers = HeaderLines(*params);
    const std::optional<std::string> requestUrl = AllowedRequestUrl(url, cookie, headers, site);
    if (!requestUrl) {
        answer[key::kMessage] = moxh5::text::kInvalidParam;
        return false;
    }

    if (type != "post" && type != "get") {
        answer[key::kMessage] = moxh5::text::kInvalidParam;
        return false;
    }
    detail::LaterWork work(*data);
    if (!work.Open(answer)) return false;
    // Header lines are not passed for GET, even when the page sends them.
    const bool accepted =
        type == "post" ? host->HttpPost(kPageHttpRequest, data, data->webindex, data->callbackid,
                                        extra, work.Done(), *requestUrl, content, cookie, headers)
                       : host->HttpGet(kPageHttpRequest, data, data->webindex, data->callbackid,
                                       extra, work.Done(), *requestUrl, content, cookie);
    return work.Handed(accepted, answer);
}
