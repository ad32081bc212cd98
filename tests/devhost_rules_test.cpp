// The dev host's rules on who may drive it and which files it serves.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tools/devhost/request_rules.h"
#include "tools/devhost/websocket.h"

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
    // A page that bundles the SDK gets the settings only.
    const std::string bundled = "<head><META content=\"bundled\" name=\"moxh5-sdk\"></head>";
    EXPECT_EQ(InjectDevScripts(bundled, config).find("sdk.js"), std::string::npos);
    EXPECT_FALSE(BundlesSdk("<meta name=\"viewport\"><p>moxh5-sdk bundled</p>"));
}

// A client frame: masked with the key 1 2 3 4, `lengthBytes` 0, 2 or 8.
std::string ClientFrame(uint8_t first, const std::string& payload, int lengthBytes = 0, bool masked = true) {
    std::string frame(1, static_cast<char>(first));
    const uint8_t mask = masked ? 0x80 : 0;
    if (lengthBytes == 0) frame += static_cast<char>(mask | payload.size());
    else frame += static_cast<char>(mask | (lengthBytes == 2 ? 126 : 127));
    for (int i = lengthBytes - 1; i >= 0; --i) frame += static_cast<char>((payload.size() >> (8 * i)) & 0xFF);
    const char key[4] = {1, 2, 3, 4};
    if (masked) frame.append(key, 4);
    for (size_t i = 0; i < payload.size(); ++i) frame += static_cast<char>(payload[i] ^ (masked ? key[i % 4] : 0));
    return frame;
}

TEST(DevhostSocket, HandshakeAnswersTheKnownAcceptValue) {
    EXPECT_EQ(WebSocketAccept("dGhlIHNhbXBsZSBub25jZQ=="), "s3pPLMBiTxaQ9kYGzzhZRbK+xOo=");
}

TEST(DevhostSocket, FramesAreReadWholeOrRefused) {
    const std::string big(70000, 'x');
    struct Case { std::string name, bytes; FrameStatus status; std::string payload; size_t limit = 100000; };
    const std::vector<Case> cases = {
        {"short text", ClientFrame(0x81, "{\"a\":1}"), FrameStatus::Complete, "{\"a\":1}"},
        {"16-bit length", ClientFrame(0x81, std::string(300, 'y'), 2), FrameStatus::Complete, std::string(300, 'y')},
        {"64-bit length", ClientFrame(0x81, big, 8), FrameStatus::Complete, big},
        {"half a frame", ClientFrame(0x81, "hello").substr(0, 7), FrameStatus::NeedMore, ""},
        {"length not yet whole", ClientFrame(0x81, big, 8).substr(0, 5), FrameStatus::NeedMore, ""},
        {"unmasked", ClientFrame(0x81, "x", 0, false), FrameStatus::Bad, ""},
        {"reserved bit", ClientFrame(0xC1, "x"), FrameStatus::Bad, ""},
        {"unknown opcode", ClientFrame(0x83, "x"), FrameStatus::Bad, ""},
        {"fragmented ping", ClientFrame(0x09, "x"), FrameStatus::Bad, ""},
        {"long close", ClientFrame(0x88, std::string(200, 'z'), 2), FrameStatus::Bad, ""},
        {"over the limit", ClientFrame(0x82, std::string(1001, 'b'), 2), FrameStatus::Bad, "", 1000},
    };
    for (const Case& c : cases) {
        Frame frame;
        size_t used = 0;
        std::string problem;
        // A whole frame is read up to its end, not into the next one.
        const bool whole = c.status == FrameStatus::Complete;
        EXPECT_EQ(ParseClientFrame(c.bytes + (whole ? "next" : ""), c.limit, frame, used, problem), c.status)
            << c.name << ": " << problem;
        if (whole) {
            EXPECT_EQ(std::make_pair(frame.payload, used), std::make_pair(c.payload, c.bytes.size())) << c.name;
        }
    }
}

TEST(DevhostSocket, ServerFramesCarryTheirLength) {
    EXPECT_EQ(EncodeFrame(1, "hi"), std::string("\x81\x02hi", 4));
    EXPECT_EQ(EncodeFrame(1, std::string(300, 'a')).substr(0, 4), std::string("\x81\x7e\x01\x2c", 4));
    EXPECT_EQ(EncodeFrame(2, std::string(70000, 'a')).substr(0, 10), std::string("\x82\x7f\0\0\0\0\0\x01\x11\x70", 10));
}

}  // namespace
}  // namespace moxh5::devhost
