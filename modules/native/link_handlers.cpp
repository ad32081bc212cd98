// Links and downloads a page hands over: a web link to open in the system's
// browser, a link into the client itself, a file to download.
//
// "openWebUseBrowser" answers through the unified callback and serves render
// and worker pages; "downloadFile" keeps the host's own answer path and serves
// render pages only.
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>

#include "StrictUrl.h"
#include "core/dispatch/answer.h"
#include "core/dispatch/guard.h"
#include "core/policy/page_policy.h"
#include "core/dispatch/params.h"
#include "modules/native/H5NativeWorker.h"
#include "modules/native/handler_checks.h"
#include "modules/native/native_log.h"
#include "mox_json.h"
#include "moxh5/platform.h"

namespace {

namespace key = moxh5::key;
namespace text = moxh5::text;
using moxh5::detail::CallSite;

// Pages write links into the client in this form; the host's own deep-link
// prefix replaces it.
constexpr char kClientLinkScheme[] = "openexternalclient://";
constexpr size_t kClientLinkSchemeLength = sizeof(kClientLinkScheme) - 1;
constexpr char kMallIdArgument[] = "&mallId=";
// The shell's convention: a result greater than 32 means it started a handler.
constexpr uintptr_t kShellStarted = 33;

constexpr char kDownloadAction[] = "download";
constexpr char kInvalidData[] = "invalid_data";
constexpr char kInvalidDownloadParam[] = "invalid_param";
// The roles a download's account may have in the page's session.
constexpr char kMallRole[] = "mall";
constexpr char kCsRole[] = "cs";

bool StartsWith(const std::string& text, const char* prefix, size_t length) {
    return text.compare(0, length, prefix, length) == 0;
}

// Whether a byte may stand in the page's part of a client link: no control
// characters or spaces, which could end or split the link where the host
// passes it on, and no "#", which would push the mall argument appended after
// it into a fragment that the client never reads.
bool FitsClientLink(unsigned char c) { return c > 0x20 && c != 0x7F && c != '#'; }

bool NamesMallId(std::string_view argument) {
    constexpr std::string_view kName = "mallid";
    const std::string_view name = argument.substr(0, argument.find('='));
    if (name.size() != kName.size()) return false;
    for (size_t i = 0; i < name.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(name[i])) != kName[i]) return false;
    }
    return true;
}

// The page's part of a client link, without any mall argument of its own:
// the mall comes from the page's session only. Null when it cannot be used.
std::optional<std::string> PagePartOfClientLink(std::string_view rest) {
    for (const char c : rest) {
        if (!FitsClientLink(static_cast<unsigned char>(c))) return std::nullopt;
    }
    const size_t query = rest.find('?');
    if (query == std::string_view::npos) return std::string(rest);
    std::string kept(rest.substr(0, query + 1));
    size_t start = query + 1;
    for (;;) {
        const size_t end = std::min(rest.find('&', start), rest.size());
        const std::string_view argument = rest.substr(start, end - start);
        if (!NamesMallId(argument)) {
            if (kept.back() != '?') kept += '&';
            kept.append(argument);
        }
        if (end == rest.size()) break;
        start = end + 1;
    }
    return kept;
}

// `text` with every byte but the unreserved ones percent-encoded, for a value
// in a link's query.
std::string QueryValue(const std::string& text) {
    std::string encoded;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) || c == '-' || c == '.' || c == '_' || c == '~') {
            encoded += c;
        } else {
            encoded += fmt::format("%{:02X}", byte);
        }
    }
    return encoded;
}

// A client link: the host's prefix, the rest of the page's link, and the mall
// of the page's session. The host opens it.
bool OpenInClient(const mox_h5_module_data& data, const Json::Value& params,
                  const std::string& targetUrl, Json::Value& answer, const CallSite& site) {
    const std::optional<std::string> pagePart =
        PagePartOfClientLink(std::string_view(targetUrl).substr(kClientLinkSchemeLength));
    if (!pagePart) {
        answer[key::kMessage] = text::kInvalidParam;
        return false;
    }
    IH5ActionImplCallBack* host = moxh5::detail::RequireActionInterface(answer, site);
    if (!host) return false;
    IUserCenter* users = moxh5::native::RequireUserCenter(site);
    if (!users) return false;
    std::string link = host->GetClientLinkPrefix();
    if (link.empty()) {
        moxh5::detail::LogFalseIn(site);
        return false;
    }
    link += *pagePart;
    link += kMallIdArgument;
    link += QueryValue(users->GetMallId(data.mallcsid));
    return host->OpenClientLink(&data, link,
                                mox_json::GetJsonValueToInt(params, "targetUrlType", site.function),
                                mox_json::GetJsonValueToString(params, "msg_id", site.function));
}

// Whether `user` is the page's session's mall (role "mall") or account (role
// "cs"). Without a user centre nobody is.
bool IsSessionAccount(const mox_h5_module_data& data, const std::string& user,
                      const std::string& role, const CallSite& site) {
    IUserCenter* users = moxh5::native::RequireUserCenter(site);
    if (!users) return false;
    if (role == kMallRole) return user == users->GetMallId(data.mallcsid);
    if (role == kCsRole) return user == users->GetCsId(data.mallcsid);
    return false;
}

}  // namespace

// "targetUrl" is an http(s) link for the system's browser, or a client link
// ("openexternalclient://...") for the host. Only client links need the host.
bool H5NativeWorker::openWebUseBrowser(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::openWebUseBrowser";
    if (!moxh5::detail::RequireRequest(data, NATIVE_SITE(kFunction))) return false;
    NATIVE_TRACE_JSON(kFunction, "[MoxH5] Web req OpenWebUseBrowser content: %s", data->payload);
    const Json::Value* params =
        moxh5::detail::RequireObjectParams(*data, answer, NATIVE_SITE(kFunction));
    if (!params) return false;
    std::string targetUrl;
    if (!moxh5::native::RequireText(*params, "targetUrl", answer, kFunction, targetUrl)) {
        return false;
    }
    if (StartsWith(targetUrl, kClientLinkScheme, kClientLinkSchemeLength)) {
        return OpenInClient(*data, *params, targetUrl, answer, NATIVE_SITE(kFunction));
    }
    // Only web links go to the shell (anything else would let a page open
    // local files or start programs), and only those the page policy allows.
    if (!moxh5::IsWebUrl(targetUrl) ||
        !moxh5::detail::ShellMayOpen(targetUrl, NATIVE_SITE(kFunction))) {
        answer[key::kMessage] = text::kInvalidParam;
        return false;
    }
    return moxh5::platform::ShellOpen(moxh5::platform::Utf8ToWide(targetUrl)) >= kShellStarted;
}

// {"action": "download", "user", "role", "node": {"download_url", "file_name"}}:
// a request that does not say what to download for whom is "invalid_param",
// a node without a link "invalid_data". The account must be the page's own.
bool H5NativeWorker::downloadFile(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::downloadFile";
    const auto call = moxh5::detail::RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;
    const Json::Value& params = *call.params;
    const std::string user = mox_json::GetJsonValueToString(params, "user", kFunction);
    const std::string role = mox_json::GetJsonValueToString(params, "role", kFunction);
    if (mox_json::GetJsonValueToString(params, "action", kFunction) != kDownloadAction ||
        user.empty() || role.empty()) {
        answer[key::kMessage] = kInvalidDownloadParam;
        return false;
    }
    const Json::Value* node = moxh5::detail::FindMember(params, "node");
    const std::string downloadUrl =
        node ? mox_json::GetJsonValueToString(*node, "download_url", kFunction) : std::string();
    if (downloadUrl.empty()) {
        answer[key::kMessage] = kInvalidData;
        return false;
    }
    if (!IsSessionAccount(*data, user, role, NATIVE_SITE(kFunction))) {
        if (CMoxLog::IsEnabled(LOG_PRIORITY_WARNING)) {
            const std::string line = fmt::format("{}-{} not current uid", user, role);
            NATIVE_LOG(LOG_PRIORITY_WARNING, kFunction, "%s", line.c_str());
        }
        answer[key::kMessage] = kInvalidDownloadParam;
        return false;
    }
    return call.host->DownloadFile(data, downloadUrl,
                                   mox_json::GetJsonValueToString(*node, "file_name", kFunction));
}
