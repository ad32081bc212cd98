// Seams for tools that embed the library: replace, for the whole process, the
// operating-system calls that a tool or test must observe without making them
// (opening links and files in the shell, removing files, posting window
// messages). The transcript player uses them; a production host sets none.
//
// They reach the library's own copy of its OS layer. A tool that links the
// shared library has a second copy of that layer in its executable on
// Windows, whose hooks the library never consults.
//
// Not thread-safe: set them before the calls they should observe. Null
// restores the real call.
#pragma once

#include "moxh5/export.h"
#include "moxh5/platform_hooks.h"

MOXH5_API void MoxH5SetShellOpenHook(moxh5::platform::ShellOpenHook hook);
MOXH5_API void MoxH5SetRemoveFileHook(moxh5::platform::RemoveFileHook hook);
MOXH5_API void MoxH5SetPostWindowMessageHook(moxh5::platform::PostWindowMessageHook hook);
