// The checks that carry out the installed page policy (moxh5/page_policy.h).
// Handlers call them where a page's value is about to reach the shell, the
// file system or the host's network code; the dispatch calls MethodPermitted.
// Each refusal is logged at priority 400 with its reason (never with the
// page's text); the caller answers with its own failure text.
//
// Threads: any. The policy is read without locks (it is a start-up setting);
// the set of files handed to pages takes a lock of its own.
#pragma once

#include <json/value.h>

#include <optional>
#include <string>
#include <string_view>

#include "core/dispatch/dispatch.h"
#include "moxh5/page_callback.h"
#include "moxh5/records.h"

namespace moxh5::detail {

// Whether the policy in force is the unrestricted one.
bool PolicyUnrestricted();

// Whether the page of `data` may call `method` of `module`: the policy's
// method filter decides; without one every method may be called but the
// clipboard read (unless the policy is unrestricted).
bool MethodPermitted(const mox_h5_module_data& data, std::string_view module,
                     std::string_view method);

// The text to hand the shell for the page's `target`, or nullopt (logged)
// when the policy keeps it from the shell: a URL of one of the policy's
// shell schemes, serialized when its scheme carries an authority (WebUrl.h),
// as the page wrote it otherwise. Unrestricted: `target` as it is.
std::optional<std::string> ShellTarget(std::string_view target, const CallSite& site);

// The same for a link that must be a web link ("http" or "https"); a link of
// another scheme is refused (and logged) whatever the shell schemes. Under
// the unrestricted policy the rule of earlier versions: an "http" or "https"
// scheme followed by "://" and more, passed as written.
std::optional<std::string> WebShellTarget(std::string_view target, const CallSite& site);

// The URL to hand the host's network code for the page's `url`, or nullopt
// (logged): an absolute http or https URL with a host and no credentials,
// whose host is not local unless the policy lists it (core/policy/
// local_hosts.h), serialized; free of CR, LF and NUL whatever the policy.
// Unrestricted: `url` as it is (once free of CR, LF and NUL).
std::optional<std::string> NetworkUrl(std::string_view url, const CallSite& site);

// Whether `text` (a cookie, a header line, a form field) is free of CR, LF
// and NUL.
bool HeaderTextAllowed(std::string_view text, const CallSite& site);

// The path to use for the local file `utf8Path` that the page of `data` names,
// or nullopt when the policy keeps it out of reach: not an acceptable absolute
// local path, or neither inside a file root (by its words and, once links and
// junctions are followed, by its final path) nor a file the host handed to
// that page.
std::optional<std::wstring> PageFileInScope(const mox_h5_module_data& data,
                                            const std::string& utf8Path, const CallSite& site);

// Whether a download or save may write a file under the name at the end of
// `pathOrName`: not one the Windows shell acts on (core/policy/
// shell_file_names.h) unless the policy allows it.
bool FileNameAllowed(std::string_view pathOrName, const CallSite& site);

// Runs before the answer of work that gives `page` files ("selectFile",
// "saveFile", "downloadRemoteFile") reaches it: on success it lets that page
// use the answer's "data" "path" and "filePath" (each a string or an array of
// strings). The most recent files only are kept (a bounded number). Never
// throws.
void RememberHandedFiles(const MoxPageIdentity& page, bool success,
                         const Json::Value& answer) noexcept;

// The page closed or reloaded: the files handed to it are no longer in its
// scope, nor in that of the page that takes its place.
void ForgetHandedFilesOf(bool isWorker, int32_t webindex, const std::string& workerid) noexcept;

}  // namespace moxh5::detail
