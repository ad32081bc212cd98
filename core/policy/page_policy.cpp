#include "core/policy/page_policy.h"

#include <deque>
#include <mutex>
#include <set>
#include <tuple>

#include "AsciiCase.h"
#include "StrictUrl.h"
#include "WebUrl.h"
#include "diagnostics.h"
#include "core/policy/local_hosts.h"
#include "no_throw.h"
#include "core/dispatch/params.h"
#include "core/policy/shell_file_names.h"
#include "moxh5/module_manager.h"
#include "moxh5/platform.h"

namespace moxh5::detail {
namespace {

const MoxPagePolicy& Policy() { return MoxModuleManager::GetInstance()->GetPagePolicy(); }

void LogRefusal(const CallSite& site, const char* what, const char* reason) {
    WriteLogLine(LOG_PRIORITY_WARNING, site.file, site.line, site.function,
                 "[MoxH5] Page policy refused %s: %s", what, reason);
}

bool IsWebScheme(std::string_view scheme) { return scheme == "http" || scheme == "https"; }

// The clipboard read: refused without a method filter that allows it.
bool IsClipboardRead(std::string_view module, std::string_view method) {
    return module == "JSStorage" && method == "getClipboardData";
}

// A page as the handed files know it: its kind, web view and worker id (render
// pages have none), as the registry of pending work keys it.
struct PageKey {
    bool isWorker = false;
    int32_t webindex = 0;
    std::string workerid;

    friend bool operator<(const PageKey& a, const PageKey& b) {
        return std::tie(a.isWorker, a.webindex, a.workerid) <
               std::tie(b.isWorker, b.webindex, b.workerid);
    }
    friend bool operator==(const PageKey& a, const PageKey& b) { return !(a < b) && !(b < a); }
};

PageKey KeyOf(bool isWorker, int32_t webindex, const char* workerid) {
    return {isWorker, webindex, isWorker && workerid ? workerid : ""};
}

// Files the host handed to pages, each for the page it was handed to, by
// comparison key: the most recent kCapacity, forgotten oldest first.
// Completions arrive on any thread.
class HandedFiles {
public:
    using Entry = std::pair<PageKey, std::wstring>;

    void Add(Entry entry) {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_entries.insert(entry).second) return;
        m_order.push_back(std::move(entry));
        if (m_order.size() > kCapacity) {
            m_entries.erase(m_order.front());
            m_order.pop_front();
        }
    }
    bool Contains(const Entry& entry) const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_entries.count(entry) != 0;
    }
    void ForgetPage(const PageKey& page) {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::deque<Entry> kept;
        for (Entry& entry : m_order) {
            if (entry.first == page) {
                m_entries.erase(entry);
            } else {
                kept.push_back(std::move(entry));
            }
        }
        m_order.swap(kept);
    }

private:
    static constexpr size_t kCapacity = 1024;
    mutable std::mutex m_mutex;
    std::set<Entry> m_entries;
    std::deque<Entry> m_order;
};

// Never destroyed: host threads may complete work while the library unloads
// (docs/architecture.md, "Statics").
HandedFiles& TheHandedFiles() {
    static HandedFiles* files = new HandedFiles;
    return *files;
}

// `key` lies below the directory `rootKey` (both comparison keys): the root's
// every name matches a whole name of `key`.
bool IsBelow(const std::wstring& key, const std::wstring& rootKey) {
    if (key.size() <= rootKey.size() || key.compare(0, rootKey.size(), rootKey) != 0) return false;
    return rootKey.back() == L'/' || key[rootKey.size()] == L'/';
}

// The comparison key of the path `native` leads to, or nullopt.
std::optional<std::wstring> FinalKey(const std::wstring& native) {
    const std::optional<std::wstring> resolved = platform::FinalPath(native);
    if (!resolved) return std::nullopt;
    std::optional<platform::LocalPath> path = platform::CheckLocalPath(*resolved);
    if (!path) return std::nullopt;
    return std::move(path->key);
}

// Which roots `path` lies below: by its words, and once links are followed.
struct RootMatch {
    bool lexical = false;
    bool resolved = false;
};

RootMatch MatchRoots(const platform::LocalPath& path, const std::vector<std::string>& roots) {
    RootMatch match;
    for (const std::string& root : roots) {
        const auto rootPath = platform::CheckLocalPath(platform::Utf8ToWide(root));
        match.lexical = match.lexical || (rootPath && IsBelow(path.key, rootPath->key));
    }
    if (!match.lexical) return match;
    // Below a root by its words; what it leads to may lie elsewhere (or in
    // another root).
    const std::optional<std::wstring> finalKey = FinalKey(path.native);
    for (const std::string& root : roots) {
        if (!finalKey) break;
        const auto rootPath = platform::CheckLocalPath(platform::Utf8ToWide(root));
        const std::optional<std::wstring> rootKey =
            rootPath ? FinalKey(rootPath->native) : std::nullopt;
        match.resolved = match.resolved || (rootKey && IsBelow(*finalKey, *rootKey));
    }
    return match;
}

void RememberPaths(const PageKey& page, const Json::Value& value) {
    const auto remember = [&page](const std::string& utf8Path) {
        std::optional<platform::LocalPath> path =
            platform::CheckLocalPath(platform::Utf8ToWide(utf8Path));
        if (path) TheHandedFiles().Add({page, std::move(path->key)});
    };
    if (value.isString()) {
        remember(value.asString());
    } else if (value.isArray()) {
        for (const Json::Value& item : value) {
            if (item.isString()) remember(item.asString());
        }
    }
}

// The rule of earlier versions for "openWebUseBrowser": "http" or "https"
// (any case), "://" and at least one more character.
bool IsLegacyWebLink(std::string_view url) {
    const size_t colon = url.find("://");
    if (colon == std::string_view::npos || url.size() == colon + 3) return false;
    const std::string_view scheme = url.substr(0, colon);
    return EqualsIgnoringAsciiCase(scheme, "http") || EqualsIgnoringAsciiCase(scheme, "https");
}

}  // namespace

bool PolicyUnrestricted() { return Policy().unrestricted; }

bool MethodPermitted(const mox_h5_module_data& data, std::string_view module,
                     std::string_view method) {
    const MoxPagePolicy& policy = Policy();
    const MoxMethodFilter& filter = policy.methodFilter;
    if (!filter) return policy.unrestricted || !IsClipboardRead(module, method);
    MoxCallingPage page;
    page.isWorker = data.isWorker;
    page.webindex = data.webindex;
    page.mallcsid = data.mallcsid;
    if (data.isWorker && data.workerid) page.workerid = data.workerid;
    return filter(page, module, method);
}

std::optional<std::string> ShellTarget(std::string_view target, const CallSite& site) {
    const MoxPagePolicy& policy = Policy();
    if (policy.unrestricted) return std::string(target);
    const std::string scheme = UrlScheme(target);
    const char* reason = nullptr;
    if (scheme.empty()) {
        // Tell a malformed link from a path or a bare word for the log.
        ParseStrictUrl(target, &reason);
        LogRefusal(site, "a shell-open", reason ? reason : "no scheme");
        return std::nullopt;
    }
    bool allowed = false;
    for (const std::string& name : policy.shellSchemes) {
        allowed = allowed || EqualsIgnoringAsciiCase(name, scheme);
    }
    if (!allowed) {
        LogRefusal(site, "a shell-open", "scheme not allowed");
        return std::nullopt;
    }
    if (IsAuthorityScheme(scheme)) {
        std::optional<WebUrl> url = ParseWebUrl(target, &reason);
        if (!url) {
            LogRefusal(site, "a shell-open", reason);
            return std::nullopt;
        }
        return std::move(url->href);
    }
    if (!ParseStrictUrl(target, &reason)) {
        LogRefusal(site, "a shell-open", reason);
        return std::nullopt;
    }
    return std::string(target);
}

std::optional<std::string> WebShellTarget(std::string_view target, const CallSite& site) {
    if (Policy().unrestricted) {
        if (IsLegacyWebLink(target)) return std::string(target);
        return std::nullopt;
    }
    if (!IsWebScheme(UrlScheme(target))) {
        LogRefusal(site, "a shell-open", "not an http or https link");
        return std::nullopt;
    }
    return ShellTarget(target, site);
}

std::optional<std::string> NetworkUrl(std::string_view url, const CallSite& site) {
    if (!HeaderTextAllowed(url, site)) return std::nullopt;
    const MoxPagePolicy& policy = Policy();
    if (policy.unrestricted) return std::string(url);
    if (!IsWebScheme(UrlScheme(url))) {
        LogRefusal(site, "a network URL", "not an absolute http or https URL");
        return std::nullopt;
    }
    const char* reason = nullptr;
    std::optional<WebUrl> parsed = ParseWebUrl(url, &reason);
    if (!parsed) {
        LogRefusal(site, "a network URL", reason);
        return std::nullopt;
    }
    if (const char* local = LocalHostRefusal(*parsed)) {
        if (!HostListed(*parsed, policy.allowedNetworkHosts)) {
            LogRefusal(site, "a network URL", local);
            return std::nullopt;
        }
    }
    return std::move(parsed->href);
}

bool HeaderTextAllowed(std::string_view text, const CallSite& site) {
    if (!HasLineBreakOrNul(text)) return true;
    LogRefusal(site, "a request text", "CR, LF or NUL");
    return false;
}

std::optional<std::wstring> PageFileInScope(const mox_h5_module_data& data,
                                            const std::string& utf8Path, const CallSite& site) {
    const MoxPagePolicy& policy = Policy();
    const std::wstring wide = platform::Utf8ToWide(utf8Path);
    if (policy.unrestricted) return wide;
    const char* reason = nullptr;
    std::optional<platform::LocalPath> path = platform::CheckLocalPath(wide, &reason);
    if (!path) {
        LogRefusal(site, "a file path", reason);
        return std::nullopt;
    }
    const PageKey page = KeyOf(data.isWorker, data.webindex, data.workerid);
    if (TheHandedFiles().Contains({page, path->key})) return std::move(path->native);
    const RootMatch match = MatchRoots(*path, policy.fileRoots);
    if (match.resolved) return std::move(path->native);
    LogRefusal(site, "a file path",
               match.lexical ? "leads out of the file roots" : "outside the page file scope");
    return std::nullopt;
}

bool FileNameAllowed(std::string_view pathOrName, const CallSite& site) {
    const MoxPagePolicy& policy = Policy();
    if (policy.unrestricted) return true;
    const char* reason = ShellActiveNameRefusal(pathOrName, policy.allowedShellFileNames);
    if (!reason) return true;
    LogRefusal(site, "a file name", reason);
    return false;
}

void RememberHandedFiles(const MoxPageIdentity& page, bool success,
                         const Json::Value& answer) noexcept {
    // A file that cannot be remembered (no memory) stays out of reach; the
    // page is answered all the same.
    CatchAll("RememberHandedFiles", [&] {
        const Json::Value* data = FindMember(answer, "data");
        if (!success || !data || !data->isObject()) return;
        const PageKey key = KeyOf(page.isWorker, page.webindex, page.workerid.c_str());
        for (const char* name : {"path", "filePath"}) {
            if (const Json::Value* path = FindMember(*data, name)) RememberPaths(key, *path);
        }
    });
}

void ForgetHandedFilesOf(bool isWorker, int32_t webindex, const std::string& workerid) noexcept {
    CatchAll("ForgetHandedFilesOf",
             [&] { TheHandedFiles().ForgetPage(KeyOf(isWorker, webindex, workerid.c_str())); });
}

}  // namespace moxh5::detail
