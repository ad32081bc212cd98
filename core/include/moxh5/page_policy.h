// MoxPagePolicy: what a page may make MOXH5 do on the merchant's machine.
//
// The host is trusted; page content is not (pages show buyers' messages,
// goods and links, so a script injected into one can call any method with
// any argument). The policy bounds what such a call can reach:
//
//   - Shell-open ("windowsDownLoad", "oneClickUpdate", "openWebUseBrowser"):
//     only absolute URLs of `shellSchemes` (default "http" and "https"), as a
//     strict URL parser reads them: no control characters, whitespace,
//     backslashes or credentials. A refusal answers the method's own failure
//     text, makes no shell call and is logged at priority 400.
//   - Local files ("checkFileExist", "getFileInfo", "removeSavedFile" and the
//     paths a page names to "uploadFile", "downloadRemoteFile", "saveFile"):
//     absolute local paths only; UNC and device paths, alternate data
//     streams, reserved device names and ".." segments are refused. The path
//     must lie inside one of `fileRoots`, or be a file the host itself handed
//     to a page in this process (a "selectFile" or "saveFile" result, a
//     completed "downloadRemoteFile" target). Outside that scope a method
//     answers exactly as for a missing file. (A call that names a path
//     outside it to "uploadFile", "downloadRemoteFile" or "saveFile" answers
//     "Invalid param." without reaching the host.)
//   - Network ("uploadFile", "downloadRemoteFile", "httpRequest"): the URL
//     must be an absolute "http" or "https" URL.
//   - Methods: `methodFilter`, when set, is asked before every call; a method
//     it denies answers exactly as an unknown one ("Invalid method.",
//     "support": false), and "canIUse" answers false for it.
//
// Whatever the policy, URLs, cookies, header lines and upload form fields
// holding CR, LF or NUL are refused with "Invalid param.".
//
// A default-constructed policy is the safe one, and the one in force until
// the host sets another. `Unrestricted()` lifts the shell, file and network
// rules for a host that needs the behaviour of earlier versions; a method
// filter installed with it still applies.
//
// Threads: the policy is a start-up setting, like the action interface: set
// it with MoxModuleManager::SetPagePolicy before the first Execute or Exist
// and do not change it while calls can run; it is then read without locks
// from any thread. `methodFilter` is called on the thread that calls Execute
// or Exist, possibly on several at once, and must not call the manager.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// What the request record tells about the page that makes a call.
struct MoxCallingPage {
    bool isWorker = false;      // worker page (true) or render page
    int32_t webindex = 0;       // the web view's index
    std::string_view mallcsid;  // the session that owns the page
    std::string_view workerid;  // the worker page's id; empty for render pages
};

// Whether the page may call `method` of `module` ("JSCallNative",
// "showToast"). Valid for the length of the call only: copy what you keep.
using MoxMethodFilter = std::function<bool(const MoxCallingPage& page, std::string_view module,
                                           std::string_view method)>;

struct MoxPagePolicy {
    // True lifts the shell, file and network rules (not the method filter).
    bool unrestricted = false;
    // Schemes that shell-open may hand to the shell, compared without case.
    // "http" and "https" need a host ("https://host/..."); other schemes a
    // host adds are passed in any form the URL parser accepts.
    std::vector<std::string> shellSchemes = {"http", "https"};
    // Directories (absolute local paths, UTF-8) whose files pages may name.
    // Compared without case on Windows. Paths that are not acceptable
    // absolute local paths are ignored.
    std::vector<std::string> fileRoots;
    // Empty: every method may be called.
    MoxMethodFilter methodFilter;

    // The policy of earlier versions: no shell, file or network rules.
    static MoxPagePolicy Unrestricted() {
        MoxPagePolicy policy;
        policy.unrestricted = true;
        return policy;
    }
};
