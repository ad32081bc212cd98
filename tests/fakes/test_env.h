// Setting environment variables from tests (the library only reads them).
#pragma once

#include <cstdlib>
#include <string>

namespace moxh5::test {

inline void SetTestEnv(const std::string& name, const std::string& value) {
#if defined(_WIN32)
    _putenv_s(name.c_str(), value.c_str());
#else
    setenv(name.c_str(), value.c_str(), 1);
#endif
}

inline void UnsetTestEnv(const std::string& name) {
#if defined(_WIN32)
    _putenv_s(name.c_str(), "");
#else
    unsetenv(name.c_str());
#endif
}

}  // namespace moxh5::test
