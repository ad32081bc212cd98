// libFuzzer target: the checks a page's links, hosts and paths meet, on any
// text, with the properties they promise:
//   - a URL the web parser takes comes out serialized with nothing but the
//     characters RFC 3986 allows (no space, quote, "|", control or non-ASCII
//     byte), and reading that form again gives the same form;
//   - the local-host and listed-host checks answer for every parsed URL;
//   - a local path CheckLocalPath takes has no ".." segment, and checking its
//     normalized form again gives the same path and key;
//   - the strict opaque-URL parser and the shell-active file name check never
//     fail on any text.
// The file system is never touched.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "StrictUrl.h"
#include "WebUrl.h"
#include "core/policy/local_hosts.h"
#include "core/policy/shell_file_names.h"
#include "moxh5/platform.h"

namespace {

void Require(bool condition) {
    if (!condition) std::abort();
}

bool IsSerializedChar(char c, bool inHost) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
    if (inHost && (c == '[' || c == ']')) return true;
    return std::string_view("-._~!$&()*+,;=:@/?#%").find(c) != std::string_view::npos;
}

void CheckWebUrl(std::string_view text) {
    const char* refusal = nullptr;
    const std::optional<moxh5::WebUrl> url = moxh5::ParseWebUrl(text, &refusal);
    Require(url.has_value() == (refusal == nullptr));
    if (!url) return;
    const std::string& href = url->href;
    const size_t hostEnd = url->scheme.size() + 3 + url->host.size();
    for (size_t i = 0; i < href.size(); ++i) Require(IsSerializedChar(href[i], i < hostEnd));
    const std::optional<moxh5::WebUrl> again = moxh5::ParseWebUrl(href);
    Require(again && again->href == href && again->host == url->host && again->port == url->port);
    moxh5::detail::LocalHostRefusal(*url);
    static const std::vector<std::string> kListed = {"localhost", "*.corp", "10.0.0.0/8",
                                                     "fd00::/8", "127.0.0.1"};
    moxh5::detail::HostListed(*url, kListed);
}

void CheckPath(std::string_view text) {
    const std::wstring wide = moxh5::platform::Utf8ToWide(text);
    const std::optional<moxh5::platform::LocalPath> path = moxh5::platform::CheckLocalPath(wide);
    if (!path) return;
    // Windows takes both separators; POSIX only "/" ("a\\..\\b" is one name).
    const wchar_t* separators =
        moxh5::platform::LocalPathRules() == moxh5::platform::PathRules::kWindows ? L"/\\" : L"/";
    for (size_t start = 0; start <= path->native.size();) {
        const size_t end =
            std::min(path->native.find_first_of(separators, start), path->native.size());
        Require(path->native.compare(start, end - start, L"..") != 0);
        start = end + 1;
    }
    const std::optional<moxh5::platform::LocalPath> again =
        moxh5::platform::CheckLocalPath(path->native);
    Require(again && again->native == path->native && again->key == path->key);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    CheckWebUrl(text);
    // The same text after an authority scheme, so that most inputs reach the
    // host and path rules.
    CheckWebUrl("https://" + std::string(text));
    moxh5::ParseStrictUrl(text);
    CheckPath(text);
    moxh5::detail::ShellActiveNameRefusal(text, {".url"});
    return 0;
}
