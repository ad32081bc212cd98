// Reads the version resource of the loaded MOXH5 library file, as
// "major.minor.patch.tweak"; empty where files carry no version resource.
#pragma once

#include <string>

namespace moxh5::test {
std::string ReadLibraryFileVersion();
}
