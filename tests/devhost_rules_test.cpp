// The dev host's rules on who may drive it and which files it serves.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tools/devhost/request_rules.h"

namespace moxh5::devhost {
namespace {

TEST(DevhostRules, OnlyLoopbackNamesAndAddressesOfThisPort) {
    const struct {
        const char* host;
        bool allowed;
    } hosts[] = {{"127.0.0.1:8123", true},       {"LOCALHOST:8123", true},
                 {"127.0.0.1:8124", false},      {"127.0.0.1", false},
                 {"evil.example:8123", false},   {"127.0.0.1.evil.example:8123", false},
                 {"localhost:8123.evil", false}, {"", false}};
    for (const auto& c : hosts) EXPECT_EQ(IsAllowedHost(c.host, 8123), c.allowed) << c.host;
    for (const char* address : {"127.0.0.1", "127.8.9.1", "::1", "::ffff:127.0.0.1"})
        EXPECT_TRUE(IsLoopbackAddress(address)) << address;
    for (const char* address : {"10.0.0.127", "192.168.1.2", "::ffff:10.0.0.1", "", "1127.0.0.1"})
        EXPECT_FALSE(IsLoopbackAddress(address)) << address;
}

TEST(DevhostRules, TokensMatchOnlyWhole) {
    const std::string token = NewToken();
    EXPECT_EQ(token.size(), 32u);
    EXPECT_NE(token, NewToken());
    EXPECT_TRUE(TokenMatches(token, token));
    for (const std::string& other :
         {std::string(), token.substr(1), token + "0", std::string(token.size(), '0')})
        EXPECT_FALSE(TokenMatches(other, token)) << other;
    EXPECT_FALSE(TokenMatches("", ""));
}

TEST(DevhostRules, PathsStayInsideTheFolder) {
    const auto root = std::filesystem::path(testing::TempDir()) / "devhost_rules_site";
    std::filesystem::create_directories(root / "app");
    for (const char* name : {"index.html", "app/index.html", "app/main.js"}) {
        std::ofstream(root / name) << "x";
    }
    std::ofstream(root.parent_path() / "devhost_rules_secret.txt") << "x";
    const struct {
        const char* url;
        const char* file;  // nullptr: refused
    } cases[] = {
        {"/", "index.html"},
        {"/app/", "app/index.html"},
        {"/app", "app/index.html"},
        {"/app//./main.js", "app/main.js"},
        {"/../devhost_rules_secret.txt", nullptr},
        {"/app/../../devhost_rules_secret.txt", nullptr},
        {"/app\\..\\index.html", nullptr},
        {"/C:/Windows/win.ini", nullptr},
        {"/missing.html", nullptr},
        {"app/main.js", nullptr},
    };
    for (const auto& c : cases) {
        const auto file = ResolvePagePath(root, c.url);
        if (c.file) {
            ASSERT_TRUE(file) << c.url;
            EXPECT_EQ(*file, root / c.file) << c.url;
        } else {
            EXPECT_FALSE(file) << c.url;
        }
    }
    std::filesystem::remove_all(root);
    std::filesystem::remove(root.parent_path() / "devhost_rules_secret.txt");
}

TEST(DevhostRules, ScriptsGoBeforeTheHeadEndOrOnTop) {
    const std::string config = R"({"token":"t","x":"</script><b>"})";
    const std::string tags =
        "<script>globalThis.__MOXH5_DEV__ = {\"token\":\"t\",\"x\":\"<\\/script><b>\"};"
        "</script>\n<script src=\"/__moxh5/sdk.js\"></script>\n";
    EXPECT_EQ(InjectDevScripts("<html><HEAD><title>a</title></Head><body>", config),
              "<html><HEAD><title>a</title>" + tags + "</Head><body>");
    EXPECT_EQ(InjectDevScripts("<p>bare</p>", config), tags + "<p>bare</p>");
}

}  // namespace
}  // namespace moxh5::devhost
