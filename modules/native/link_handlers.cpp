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

#include "answer.h"
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

// Rounds of percent-decoding a client link is read through: more than any
// receiver applies.
constexpr int kDecodeRounds = 4;

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// `text` percent-decoded until nothing is left to decode (a receiver may
// decode more than once), or null when it is still not after kDecodeRounds.
std::optional<std::string> FullyDecoded(std::string_view text) {
    std::string decoded(text);
    for (int round = 0; round <= kDecodeRounds; ++round) {
        std::string next;
        bool changed = false;
        for (size_t i = 0; i < decoded.size(); ++i) {
            if (decoded[i] == '%' && i + 2 < decoded.size() && HexDigit(decoded[i + 1]) >= 0 &&
                HexDigit(decoded[i + 2]) >= 0) {
                next += static_cast<char>(HexDigit(decoded[i + 1]) * 16 + HexDigit(decoded[i + 2]));
                i += 2;
                changed = true;
            } else {
                next += decoded[i];
            }
        }
        if (!changed) return decoded;
        decoded.swap(next);
    }
    return std::nullopt;
}

// Whether an argument of a client link names the mall as the client reads
// names: percent-decoded, cut at a NUL, without surrounding whitespace,
// without case ("I" and "i" also as the dotted capital and the dotless
// small letter, which case-insensitive comparisons take for them).
// A name escaped deeper than that counts as the mall's.
bool NamesMallId(std::string_view argument) {
    std::optional<std::string> decoded = FullyDecoded(argument.substr(0, argument.find('=')));
    if (!decoded) return true;
    const std::string name = decoded->substr(0, decoded->find('\0'));
    std::string folded;
    for (size_t i = 0; i < name.size(); ++i) {
        const auto byte = static_cast<unsigned char>(name[i]);
        // name[name.size()] is the string's terminating NUL, which matches neither.
        // U+0130, U+0131
        if (byte == 0xC4 && (name[i + 1] == '\xB0' || name[i + 1] == '\xB1')) {
            folded += 'i';
            ++i;
        } else if (!std::isspace(byte)) {
            folded += static_cast<char>(std::tolower(byte));
        }
    }
    return folded == "mallid";
}

bool IsArgumentSeparator(char c) { return c == '?' || c == '&'; }

// The page's part of a client link, without any mall argument of its own:
// the mall comes from the page's session only. The client reads arguments
// after "?" or "&" (the library itself appends the mall after "&"), so every
// argument between those marks that names the mall is dropped, the first
// included. Null when the link cannot be used: it holds a byte that does not
// fit, or decoding it as the client may would still bring out a mall
// argument (an escaped "&", a ";" some readers split at).
std::optional<std::string> PagePartOfClientLink(std::string_view rest) {
    for (const char c : rest) {
        if (!FitsClientLink(static_cast<unsigned char>(c))) return std::nullopt;
    }
    std::string kept;
    size_t start = 0;
    char separator = '\0';  // before the first argument: none
    for (;;) {
        size_t end = start;
        while (end < rest.size() && !IsArgumentSeparator(rest[end])) ++end;
        const std::string_view argument = rest.substr(start, end - start);
        if (separator == '?') kept += '?';
        if (!NamesMallId(argument)) {
            if (separator == '&' && !kept.empty() && kept.back() != '?') kept += '&';
            kept.append(argument);
        }
        if (end == rest.size()) break;
        separator = rest[end];
        start = end + 1;
    }
    const std::optional<std::string> decoded = FullyDecoded(kept);
    if (!decoded) return std::nullopt;
    for (size_t from = 0;;) {
        const size_t end = decoded->find_first_of("?&;", from);
        if (NamesMallId(std::string_view(*decoded).substr(from, end - from))) return std::nullopt;
        if (end == std::string::npos) break;
        from = end + 1;
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
    const std::optional<std::string> opened =
        moxh5::detail::WebShellTarget(targetUrl, NATIVE_SITE(kFunction));
    if (!opened) {
        answer[key::kMessage] = text::kInvalidParam;
        return false;
    }
    return moxh5::platform::ShellOpen(moxh5::platform::Utf8ToWide(*opened)) >= kShellStarted;
}

// {"action": "download", "user", "role", "node": {"download_url", "file_name"}}:
// a request that does not say what to download for whom is "invalid_param",
// a node without a link "invalid_data". The account must be the page's own,
// and the file name not one the Windows shell acts on ("invalid_param").
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
    const std::string fileName = mox_json::GetJsonValueToString(*node, "file_name", kFunction);
    if (!moxh5::detail::FileNameAllowed(fileName, NATIVE_SITE(kFunction))) {
        answer[key::kMessage] = kInvalidDownloadParam;
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
    return call.host->DownloadFile(data, downloadUrl, fileName);
}
