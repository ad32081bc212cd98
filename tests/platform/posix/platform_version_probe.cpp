#include "platform_version_probe.h"

namespace moxh5::test {
// ELF shared objects carry no version resource.
std::string ReadLibraryFileVersion() { return {}; }
}  // namespace moxh5::test
