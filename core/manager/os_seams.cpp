#include "moxh5/os_seams.h"

#include "moxh5/platform.h"

void MoxH5SetShellOpenHook(moxh5::platform::ShellOpenHook hook) {
    moxh5::platform::SetShellOpenHook(hook);
}

void MoxH5SetRemoveFileHook(moxh5::platform::RemoveFileHook hook) {
    moxh5::platform::SetRemoveFileHook(hook);
}

void MoxH5SetPostWindowMessageHook(moxh5::platform::PostWindowMessageHook hook) {
    moxh5::platform::SetPostWindowMessageHook(hook);
}
