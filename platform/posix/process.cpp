#include <unistd.h>

#include <cstdlib>

#include "moxh5/platform.h"

namespace moxh5::platform {

std::optional<std::string> GetEnvironmentText(const std::string& name, size_t maxChars) {
    const char* value = std::getenv(name.c_str());
    if (!value) return std::nullopt;
    std::string text(value);
    if (text.size() > maxChars) text.resize(maxChars);
    return text;
}

uint32_t CurrentProcessId() { return static_cast<uint32_t>(::getpid()); }

}  // namespace moxh5::platform
