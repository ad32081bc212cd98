// MoxPagePolicy: what a page may make MOXH5 do on the merchant's machine.
//
// The host is trusted; page content is not (pages show buyers' messages,
// goods and links, so a script injected into one can call any method with
// any argument). The policy bounds what such a call can reach:
//
//   - Shell-open ("windowsDownLoad", "oneClickUpdate", "openWebUseBrowser"):
//     only URLs of `shellSchemes` (default "http" and "https"). Schemes that
//     carry an authority ("http", "https", "ftp", "ws", "wss", "file") are
//     read as browsers read them and need "//", a host and no credentials;
//     the shell gets the link in its serialized, percent-encoded form (see
//     WebUrl.h). Other schemes a host adds are checked as opaque text by a
//     strict parser (no control characters, whitespace, backslashes or
//     credentials) and handed on as written. "openWebUseBrowser" opens
//     "http" and "https" links only. A refusal answers the method's own
//     failure text, makes no shell call and is logged at priority 400.
//   - Local files ("checkFileExist", "getFileInfo", "removeSavedFile" and the
//     paths a page names to "uploadFile", "downloadRemoteFile", "saveFile"):
//     absolute local paths only; UNC and device paths, alternate data
//     streams, reserved device names and ".." segments are refused. The path
//     must lie inside one of `fileRoots` (also once links and junctions are
//     followed), or be a file the host itself handed to that very page (a
//     "selectFile" or "saveFile" result, a completed "downloadRemoteFile"
//     target) and the page has not closed or reloaded since. Outside that
//     scope a method answers exactly as for a missing file. (A call that
//     names a path outside it to "uploadFile", "downloadRemoteFile" or
//     "saveFile" answers "Invalid param." without reaching the host.)
//   - File names: downloads and saves ("downloadRemoteFile", "saveFile",
//     "downloadFile") may not write a file the Windows shell acts on when its
//     folder is merely shown (desktop.ini, shortcuts, search connectors, ...)
//     unless `allowedShellFileNames` lists it.
//   - Network ("uploadFile", "downloadRemoteFile", "httpRequest"): the URL
//     must be an absolute "http" or "https" URL with a host and no
//     credentials, and the host may not be a loopback, private, link-local
//     or other special-purpose address nor a local name ("localhost",
//     "*.localhost", names without a dot, ".local", ...) unless
//     `allowedNetworkHosts` lists it. The host's network code gets the URL
//     in its serialized form. What a name resolves to is the host's to check.
//   - Methods: `methodFilter`, when set, is asked before every call; a method
//     it denies answers exactly as an unknown one ("Invalid method.",
//     "support": false), and "canIUse" answers false for it. Without a
//     filter every method may be called but the clipboard read
//     ("JSStorage" "getClipboardData"): a host opens that to the pages it
//     chooses with a filter that answers true for it.
//
// Whatever the policy, URLs, cookies, header lines and upload form fields
// holding CR, LF or NUL are refused with "Invalid param.".
//
// A default-constructed policy is the safe one, and the one in force until
// the host sets another. `Unrestricted()` lifts the shell, file, file name,
// network and clipboard rules and the clamp of "setLog" priorities, for a
// host that needs the behaviour of earlier versions; a method filter
// installed with it still applies.
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
    // worker page (true) or render page
    bool isWorker = false;
    int32_t webindex = 0;       // the web view's index
    std::string_view mallcsid;  // the session that owns the page
    std::string_view workerid;  // the worker page's id; empty for render pages
};

// Whether the page may call `method` of `module` ("JSCallNative",
// "showToast"). Valid for the length of the call only: copy what you keep.
using MoxMethodFilter = std::function<bool(const MoxCallingPage& page, std::string_view module,
                                           std::string_view method)>;

struct MoxPagePolicy {
    // True lifts the shell, file, file name, network and clipboard rules and
    // the "setLog" clamp (not the method filter).
    bool unrestricted = false;
    // Schemes that shell-open may hand to the shell, compared without case.
    // "http", "https", "ftp", "ws", "wss" and "file" need "//" and a host
    // and no credentials, and go to the shell serialized; other schemes a host
    // adds are checked as opaque text and passed as written.
    std::vector<std::string> shellSchemes = {"http", "https"};
    // Directories (absolute local paths, UTF-8) whose files pages may name.
    // Compared without case on Windows. Paths that are not acceptable
    // absolute local paths are ignored.
    std::vector<std::string> fileRoots;
    // Empty: every method may be called but "getClipboardData".
    MoxMethodFilter methodFilter;
    // Local hosts that page requests may reach all the same: names
    // ("printer.corp", "localhost"), "*.corp" for every name below "corp",
    // addresses ("127.0.0.1", "::1") and ranges ("10.0.0.0/8", "fd00::/8").
    // Names compare without case. Entries that are none of these are ignored.
    std::vector<std::string> allowedNetworkHosts;
    // File names (".url" for an extension, "desktop.ini" for a whole name)
    // that downloads and saves may write although the Windows shell acts on
    // them; compared without case.
    std::vector<std::string> allowedShellFileNames;

    // The policy of earlier versions: no shell, file, file name, network or
    // clipboard rules, and "setLog" at the priority the page asks for.
    static MoxPagePolicy Unrestricted() {
        MoxPagePolicy policy;
        policy.unrestricted = true;
        return policy;
    }
};
