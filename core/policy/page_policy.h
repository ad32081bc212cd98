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

// Whether the policy's method filter lets the page of `data` call `method`
// of `module`. Without a filter it is one test of an empty function.
bool MethodPermitted(const mox_h5_module_data& data, std::string_view module,
                     std::string_view method);

// Whether `target` may go to the shell: an absolute URL of one of the
// policy's shell schemes ("http"/"https" with a host).
bool ShellMayOpen(std::string_view target, const CallSite& site);

// Whether `url` may go to the host's network code: an absolute http or https
// URL (any text when the policy is unrestricted), without CR, LF or NUL.
bool NetworkUrlAllowed(std::string_view url, const CallSite& site);

// Whether `text` (a cookie, a header line, a form field) is free of CR, LF
// and NUL.
bool HeaderTextAllowed(std::string_view text, const CallSite& site);

// The path to use for the page-named local file `utf8Path`, or nullopt when
// the policy keeps it out of reach: not an acceptable absolute local path, or
// neither inside a file root nor a file the host handed to a page.
std::optional<std::wstring> PageFileInScope(const std::string& utf8Path, const CallSite& site);

// Adds a file the host handed to a page to the page file scope. The set
// keeps the most recent files only (a bounded number).
void RememberHandedFile(const std::string& utf8Path);

// Runs before the answer of work that gives a page files ("selectFile",
// "saveFile", "downloadRemoteFile") reaches the page: on success it remembers
// the answer's "data" "path" and "filePath" (each a string or an array of
// strings). Never throws.
void RememberHandedFiles(bool success, const Json::Value& answer) noexcept;

}  // namespace moxh5::detail
