// Tests of the message-centre helper's reading of the published address (the
// feedback tests find the window through it).
#include <gtest/gtest.h>

#include "MsgCenter.h"
#include "tests/fakes/platform_fakes.h"

namespace moxh5::test {
namespace {

// Test how the text is read: decimal, at most 49 characters, nothing that is not a number.
TEST(MsgCenter, ReadsTheFirst49CharactersAsADecimalNumber) {
    const std::pair<std::string, uintptr_t> cases[] = {
        {"4096 and more", 4096},
        {std::string(45, '0') + "4096" + "1234", 4096},  // digits after the 49th are not read
        {"0x1000", 0},
        {"-4096", 0},
        {"address", 0},
        {"", 0},
        {"99999999999999999999999", 0},  // does not fit a pointer
    };
    for (const auto& [text, address] : cases) {
        SetTestEnv(ScopedMsgCenter::Name(), text);  // "" unsets it on Windows
        EXPECT_EQ(reinterpret_cast<uintptr_t>(GetMsgCenterInstance()), address) << text;
    }
    UnsetTestEnv(ScopedMsgCenter::Name());
    EXPECT_EQ(GetMsgCenterInstance(), nullptr) << "not published";
}

}  // namespace
}  // namespace moxh5::test
