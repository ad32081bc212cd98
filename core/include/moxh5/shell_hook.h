// A seam for hosts that must never let the library open links or files for
// real, such as the reference host moxh5-play: the library's shell-open
// ("open" a URL or file with the desktop's handler) is replaced by `hook`,
// which gets the target and answers the shell's code (greater than 32:
// success). Null restores the real shell.
//
// It sets the hook inside the library itself: a host that links the platform
// layer too (as moxh5-play does) has a copy of its own, which the library's
// copy never sees where shared libraries keep their own globals (Windows).
//
// Threads: a start-up call; set it before the calls it should observe.
#pragma once

#include <cstdint>
#include <string>

#include "moxh5/export.h"

// `target` is in the platform's wide encoding (UTF-16 on Windows).
using MoxShellOpenHook = uintptr_t (*)(const std::wstring& target);

MOXH5_API void MoxSetShellOpenHook(MoxShellOpenHook hook);
