// Tests of the module "JSCallBasic" through the process-wide manager.
#include <gtest/gtest.h>

#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

std::tuple<bool, bool> RunBasic(const mox_h5_module_data& call, Json::Value& answer) {
    return ReadySingleton().Execute("JSCallBasic", call, answer);
}

// Test setLog's levels, refusals and their distinct texts: a page writes at notice at most
// under the default policy, at the level it names under the unrestricted one.
TEST(BasicModule, SetLogWritesKnownLevelsAndRefusesTheRest) {
    const struct {
        const char* params;
        bool logged;
        int priority;         // default policy
        int unrestricted;     // MoxPagePolicy::Unrestricted()
        const char* message;  // null: answer untouched
    } cases[] = {
        {R"({"content":"hi","logLevel":"debug"})", true, 700, 700, nullptr},
        {R"({"content":"hi","logLevel":"info"})", true, 600, 600, nullptr},
        {R"({"content":"hi","logLevel":"notice"})", true, 500, 500, nullptr},
        {R"({"content":"hi","logLevel":"warning"})", true, 500, 400, nullptr},
        {R"({"content":"hi","logLevel":"error"})", true, 500, 300, nullptr},
        {R"({"content":"hi","logLevel":"critical"})", true, 500, 200, nullptr},
        {R"({"content":"hi","logLevel":"alert"})", true, 500, 100, nullptr},
        {R"({"content":"","logLevel":"info"})", false, 0, 0, "Invalid param."},
    };
    for (const bool unrestricted : {false, true})
        for (const auto& c : cases) {
            const ScopedPagePolicy policy(unrestricted ? MoxPagePolicy::Unrestricted()
                                                       : MoxPagePolicy());
            ScopedLogCapture log;
            Json::Value answer(Json::objectValue);
            EXPECT_EQ(RunBasic(MakeCall("setLog", ParseJson(c.params)), answer),
                      std::make_tuple(true, c.logged))
                << c.params;
            const auto lines = log->Matching("[MoxH5] hi");
            if (c.logged) {
                ASSERT_EQ(lines.size(), 1u) << c.params;
                EXPECT_EQ(lines[0].text, "[MoxH5] hi");
                EXPECT_EQ(lines[0].priority, unrestricted ? c.unrestricted : c.priority)
                    << c.params;
                EXPECT_EQ(lines[0].function, "H5BasicWorker::setLog");
                EXPECT_EQ(answer, Json::Value(Json::objectValue));
            } else {
                EXPECT_TRUE(lines.empty()) << c.params;
                EXPECT_EQ(answer, ParseJson(std::string(R"({"message":")") + c.message + "\"}"))
                    << c.params;
            }
        }
}

// Test that a page's text stays on one line of bounded length, cut at a character boundary, and
// that no code point a log viewer takes for a line break or a change of direction gets through.
TEST(BasicModule, SetLogKeepsPageTextOnOneBoundedLine) {
    std::string accents, breaks, separators, escaped;
    for (int i = 0; i < 2000; ++i) accents += "\xC3\xA9";
    for (int i = 0; i < 1000; ++i) breaks += "\\n";
    for (int i = 0; i < 1000; ++i) separators += "\xE2\x80\xA8";
    for (int i = 0; i < 333; ++i) escaped += "\\u2028";
    const struct {
        std::string content, logged;
    } cases[] = {
        {"hi\n[300] x.cpp(1) f: forged", "[MoxH5] hi\\n[300] x.cpp(1) f: forged"},
        {"a\r\tb\x01\x7F\\n", "[MoxH5] a\\r\\tb\\x01\\x7f\\n"},
        {std::string(5000, 'x'), "[MoxH5] " + std::string(2000, 'x') + "...[cut 3000 bytes]"},
        {std::string(3000, '\n'), "[MoxH5] " + breaks + "...[cut 2000 bytes]"},
        {"x" + accents, "[MoxH5] x" + accents.substr(0, 1998) + "...[cut 2002 bytes]"},
        {"a\xE2\x80\xA8"
         "b\xE2\x80\xA9"
         "c\xC2\x85"
         "d\xC2\x9F"
         "e\xC2\xA0",
         "[MoxH5] a\\u2028b\\u2029c\\u0085d\\u009fe\xC2\xA0"},
        {"\xE2\x80\xAE"
         "fdp.exe\xE2\x80\xAA\xE2\x80\xAD\xE2\x81\xA6"
         "x\xE2\x81\xA9\xE2\x80\x8E\xE2\x80\x8F\xD8\x9C"
         "z",
         "[MoxH5] \\u202efdp.exe\\u202a\\u202d\\u2066x\\u2069\\u200e\\u200f\\u061cz"},
        {"\xE2\x80\x94\xE2\x80\xA7\xE2\x80\xAF\xE2\x81\xA5\xC2\xA0",
         "[MoxH5] \xE2\x80\x94\xE2\x80\xA7\xE2\x80\xAF\xE2\x81\xA5\xC2\xA0"},
        {separators, "[MoxH5] " + escaped + "...[cut 2001 bytes]"},
        // A cut right after an escape never backs into it (a stray continuation byte follows).
        {std::string(1994, 'x') + "\xE2\x80\xA8\x80" + std::string(100, 'y'),
         "[MoxH5] " + std::string(1994, 'x') + "\\u2028...[cut 101 bytes]"},
    };
    for (const auto& c : cases) {
        ScopedLogCapture log;
        Json::Value params;
        params["content"] = c.content;
        params["logLevel"] = "info";
        Json::Value answer;
        RunBasic(MakeCall("setLog", params), answer);
        const auto lines = log->Matching("[MoxH5] ");
        ASSERT_EQ(lines.size(), 2u);  // the trace, then the page's line
        EXPECT_EQ(lines[1].text, c.logged);
        EXPECT_LE(lines[0].text.size(), 2048u);
    }
}

}  // namespace
}  // namespace moxh5::test
