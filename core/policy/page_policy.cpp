#include "core/policy/page_policy.h"

#include <deque>
#include <mutex>
#include <unordered_set>

#include "AsciiCase.h"
#include "StrictUrl.h"
#include "diagnostics.h"
#include "no_throw.h"
#include "core/dispatch/params.h"
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

// Files the host handed to pages, by comparison key: the most recent
// kCapacity, forgotten oldest first. Completions arrive on any thread.
class HandedFiles {
public:
    void Add(std::wstring key) {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_keys.insert(key).second) return;
        m_order.push_back(std::move(key));
        if (m_order.size() > kCapacity) {
            m_keys.erase(m_order.front());
            m_order.pop_front();
        }
    }
    bool Contains(const std::wstring& key) const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_keys.count(key) != 0;
    }

private:
    static constexpr size_t kCapacity = 1024;
    mutable std::mutex m_mutex;
    std::unordered_set<std::wstring> m_keys;
    std::deque<std::wstring> m_order;
};

// Never destroyed: host threads may complete work while the library unloads
// (docs/architecture.md, "Statics").
HandedFiles& TheHandedFiles() {
    static HandedFiles* files = new HandedFiles;
    return *files;
}

// `key` lies below the directory `rootKey` (both comparison keys).
bool IsBelow(const std::wstring& key, const std::wstring& rootKey) {
    if (key.size() <= rootKey.size() || key.compare(0, rootKey.size(), rootKey) != 0) return false;
    return rootKey.back() == L'/' || key[rootKey.size()] == L'/';
}

bool IsBelowAnyRoot(const std::wstring& key, const std::vector<std::string>& roots) {
    for (const std::string& root : roots) {
        const auto rootPath = platform::CheckLocalPath(platform::Utf8ToWide(root));
        if (rootPath && IsBelow(key, rootPath->key)) return true;
    }
    return false;
}

void RememberPaths(const Json::Value& value) {
    if (value.isString()) {
        RememberHandedFile(value.asString());
    } else if (value.isArray()) {
        for (const Json::Value& item : value) {
            if (item.isString()) RememberHandedFile(item.asString());
        }
    }
}

}  // namespace

bool MethodPermitted(const mox_h5_module_data& data, std::string_view module,
                     std::string_view method) {
    const MoxMethodFilter& filter = Policy().methodFilter;
    if (!filter) return true;
    MoxCallingPage page;
    page.isWorker = data.isWorker;
    page.webindex = data.webindex;
    page.mallcsid = data.mallcsid;
    if (data.isWorker && data.workerid) page.workerid = data.workerid;
    return filter(page, module, method);
}

bool ShellMayOpen(std::string_view target, const CallSite& site) {
    const MoxPagePolicy& policy = Policy();
    if (policy.unrestricted) return true;
    const char* reason = nullptr;
    const std::optional<StrictUrl> url = ParseStrictUrl(target, &reason);
    if (!url) {
        LogRefusal(site, "a shell-open", reason);
        return false;
    }
    bool allowed = false;
    for (const std::string& scheme : policy.shellSchemes) {
        allowed = allowed || EqualsIgnoringAsciiCase(scheme, url->scheme);
    }
    if (!allowed) {
        LogRefusal(site, "a shell-open", "scheme not allowed");
        return false;
    }
    if (IsWebScheme(url->scheme) && url->host.empty()) {
        LogRefusal(site, "a shell-open", "web link without a host");
        return false;
    }
    return true;
}

bool NetworkUrlAllowed(std::string_view url, const CallSite& site) {
    if (!HeaderTextAllowed(url, site)) return false;
    if (Policy().unrestricted || IsWebUrl(url)) return true;
    LogRefusal(site, "a network URL", "not an absolute http or https URL");
    return false;
}

bool HeaderTextAllowed(std::string_view text, const CallSite& site) {
    if (!HasLineBreakOrNul(text)) return true;
    LogRefusal(site, "a request text", "CR, LF or NUL");
    return false;
}

std::optional<std::wstring> PageFileInScope(const std::string& utf8Path, const CallSite& site) {
    const MoxPagePolicy& policy = Policy();
    const std::wstring wide = platform::Utf8ToWide(utf8Path);
    if (policy.unrestricted) return wide;
    const char* reason = nullptr;
    const std::optional<platform::LocalPath> path = platform::CheckLocalPath(wide, &reason);
    if (!path) {
        LogRefusal(site, "a file path", reason);
        return std::nullopt;
    }
    if (IsBelowAnyRoot(path->key, policy.fileRoots) || TheHandedFiles().Contains(path->key)) {
        return path->native;
    }
    LogRefusal(site, "a file path", "outside the page file scope");
    return std::nullopt;
}

void RememberHandedFile(const std::string& utf8Path) {
    std::optional<platform::LocalPath> path =
        platform::CheckLocalPath(platform::Utf8ToWide(utf8Path));
    if (path) TheHandedFiles().Add(std::move(path->key));
}

void RememberHandedFiles(bool success, const Json::Value& answer) noexcept {
    // A file that cannot be remembered (no memory) stays out of reach; the
    // page is answered all the same.
    CatchAll("RememberHandedFiles", [&] {
        const Json::Value* data = FindMember(answer, "data");
        if (success && data && data->isObject()) {
            for (const char* name : {"path", "filePath"}) {
                if (const Json::Value* path = FindMember(*data, name)) RememberPaths(*path);
            }
        }
    });
}

}  // namespace moxh5::detail
