// Shell-open on POSIX desktops: the desktop's opener (xdg-open), started
// detached so that the caller neither waits for it nor has to reap it.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "moxh5/platform.h"

namespace moxh5::platform {
namespace {

// Codes in the shell's convention: greater than 32 is success.
constexpr uintptr_t kStarted = 42;
constexpr uintptr_t kFileNotFound = 2;
constexpr uintptr_t kNoOpener = 31;

ShellOpenHook g_shellOpenHook = nullptr;

bool LooksLikeUrl(const std::string& target) {
    const size_t colon = target.find("://");
    return colon != std::string::npos && colon > 0;
}

// Runs a system call again while a signal interrupts it.
template <typename SystemCall>
auto Restarting(SystemCall call) {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    return result;
}

// Starts `opener target` in a grandchild of a new session. A pipe closed on
// exec tells whether exec succeeded: it stays silent then, and carries errno
// when it failed.
bool StartDetached(const char* opener, const std::string& target) {
    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0) return false;
    const pid_t child = ::fork();
    if (child < 0) {
        ::close(pipeFds[0]);
        ::close(pipeFds[1]);
        return false;
    }
    if (child == 0) {
        ::close(pipeFds[0]);
        ::setsid();
        if (::fork() != 0) ::_exit(0);
        const int devNull = ::open("/dev/null", O_RDWR);
        if (devNull >= 0) {
            ::dup2(devNull, STDIN_FILENO);
            ::dup2(devNull, STDOUT_FILENO);
            ::dup2(devNull, STDERR_FILENO);
        }
        ::execlp(opener, opener, target.c_str(), static_cast<char*>(nullptr));
        const int error = errno;
        (void)!::write(pipeFds[1], &error, sizeof(error));
        ::_exit(127);
    }
    ::close(pipeFds[1]);
    int status = 0;
    Restarting([&] { return ::waitpid(child, &status, 0); });
    int execError = 0;
    const ssize_t got = Restarting([&] { return ::read(pipeFds[0], &execError, sizeof(execError)); });
    ::close(pipeFds[0]);
    return got == 0;
}

}  // namespace

void SetShellOpenHook(ShellOpenHook hook) { g_shellOpenHook = hook; }

uintptr_t ShellOpen(const std::wstring& target) {
    if (g_shellOpenHook) return g_shellOpenHook(target);
    const std::string narrow = WideToUtf8(target);
    if (narrow.empty()) return kFileNotFound;
    if (!LooksLikeUrl(narrow)) {
        struct stat info {};
        if (::stat(narrow.c_str(), &info) != 0) return kFileNotFound;
    }
    return StartDetached("xdg-open", narrow) ? kStarted : kNoOpener;
}

}  // namespace moxh5::platform
