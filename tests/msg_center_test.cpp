// Tests of the message-centre helper: the host's object found through the
// process environment, and its window read from the object.
#include <gtest/gtest.h>

#include "MsgCenter.h"
#include "tests/fakes/platform_fakes.h"
#include "tests/fakes/test_env.h"

namespace moxh5::test {
namespace {

// Test that a published object is found with its window, and that no variable means no centre.
TEST(MsgCenter, FindsThePublishedObjectAndItsWindow) {
    UnsetTestEnv(ScopedMsgCenter::VariableName());
    EXPECT_EQ(GetMsgCenterInstance(), nullptr);
    EXPECT_EQ(GetMsgCenterWindow(), 0u);
    {
        ScopedMsgCenter centre(0xC8E0);
        EXPECT_EQ(GetMsgCenterInstance(), centre.Address());
        EXPECT_EQ(GetMsgCenterWindow(), 0xC8E0u);
    }
    EXPECT_EQ(GetMsgCenterInstance(), nullptr);
    // Another process's variable is not ours.
    SetTestEnv(ScopedMsgCenter::VariableName() + "0", "4096");
    EXPECT_EQ(GetMsgCenterInstance(), nullptr);
    UnsetTestEnv(ScopedMsgCenter::VariableName() + "0");
}

// Test how the text is read: decimal, at most 49 characters, nothing that is not a number.
TEST(MsgCenter, ReadsTheFirst49CharactersAsADecimalNumber) {
    const std::string name = ScopedMsgCenter::VariableName();
    const struct {
        std::string text;
        uintptr_t address;
    } cases[] = {
        {"4096", 4096},
        {"4096 trailing", 4096},
        {std::string(45, '0') + "4096" + "1234", 4096},  // the digits after 49 are not read
        {"0x1000", 0},
        {"-4096", 0},
        {"", 0},
        {"address", 0},
        {"99999999999999999999999", 0},  // does not fit a pointer
    };
    for (const auto& c : cases) {
        SetTestEnv(name, c.text);
        if (c.text.empty()) UnsetTestEnv(name);  // Windows cannot hold an empty value
        EXPECT_EQ(reinterpret_cast<uintptr_t>(GetMsgCenterInstance()), c.address) << c.text;
    }
    UnsetTestEnv(name);
}

}  // namespace
}  // namespace moxh5::test
