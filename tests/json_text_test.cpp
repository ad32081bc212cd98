// The C interface's JSON reader and writer against jsoncpp's: the same values
// from the same texts, the same refusals, and a written text reads back equal.
#include "json_text.h"

#include <gtest/gtest.h>
#include <json/reader.h>

#include <memory>
#include <string>

#include "diagnostics.h"

namespace {

using moxh5::detail::CompactJson;
using moxh5::detail::ParseJson;

Json::Value JsoncppParse(const std::string& text, bool& ok) {
    Json::CharReaderBuilder builder;
    builder["allowComments"] = false;
    builder["failIfExtra"] = true;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    ok = reader->parse(text.data(), text.data() + text.size(), &value, nullptr);
    return value;
}

TEST(JsonText, ReadsAsJsoncppDoesAndWritesWhatReadsBack) {
    const char* const valid[] = {
        "null",
        " true ",
        "false",
        "0",
        "-0",
        "-12",
        "9223372036854775807",
        "-9223372036854775808",
        "18446744073709551615",
        "18446744073709551616",
        "1.5e-3",
        "2E+10",
        R"("a\"b\\c\/d\b\f\n\r\t")",
        R"("\u00e9\u4e2d\ud83d\ude00")",
        "\"\xE4\xB8\xAD\"",
        R"({"b":[1,{"c":null}],"a":"x","a":"last"})",
        "[[],{},[[]]]",
        "{\"\":1}",
    };
    for (const char* text : valid) {
        Json::Value ours;
        bool theirsOk = false;
        const Json::Value theirs = JsoncppParse(text, theirsOk);
        ASSERT_TRUE(theirsOk) << text;
        ASSERT_TRUE(ParseJson(text, ours)) << text;
        EXPECT_EQ(ours, theirs) << text;
        Json::Value again;
        ASSERT_TRUE(ParseJson(CompactJson(ours), again)) << CompactJson(ours);
        EXPECT_EQ(again, ours) << text;
    }
    bool ok = false;
    EXPECT_EQ(CompactJson(JsoncppParse("{\"k\":[\"\\u0001\xC3\xA9\",1.5,-2,true]}", ok)),
              "{\"k\":[\"\\u0001\xC3\xA9\",1.5,-2,true]}");
}

TEST(JsonText, RefusesWhatIsNotOneJsonValue) {
    const char* const invalid[] = {
        "",
        " ",
        "{",
        "[1,]",
        "{\"a\":1,}",
        "{a:1}",
        "01",
        "1.",
        ".5",
        "-",
        "1e",
        "+1",
        "tru",
        "nul",
        "\"abc",
        "\"\\x\"",
        "\"\\u12\"",
        "\"\\udc00\"",
        "\"\\ud800x\"",
        "\"a\tb\"",
        "{} {}",
        "[1] x",
        "'a'",
        "{\"a\" 1}",
        "[1 2]",
        "// comment\n1",
    };
    for (const char* text : invalid) {
        Json::Value value;
        EXPECT_FALSE(ParseJson(text, value)) << text;
    }
    Json::Value value;
    EXPECT_FALSE(ParseJson(std::string(129, '[') + std::string(129, ']'), value));
    EXPECT_TRUE(ParseJson(std::string(128, '[') + "1" + std::string(128, ']'), value));
}

// Test the JSON of log lines: compact, cut like a line, and without cookies or credentials.
TEST(JsonText, LogTextIsCompactCutAndRedacted) {
    const std::pair<std::string, std::string> cases[] = {
        {R"({"b":[1,"x\n"],"a":{"k":true}})", R"({"a":{"k":true},"b":[1,"x\n"]})"},
        {R"({"cookie":"sid=1","COOKIE":{"x":1},"url":"u"})",
         R"({"COOKIE":"[redacted]","cookie":"[redacted]","url":"u"})"},
        {R"({"headers":["Accept: */*","authorization: Bearer t","Cookie : a=1","X: Cookie: y"]})",
         R"({"headers":["Accept: */*","authorization: [redacted]","Cookie: [redacted]","X: Cookie: y"]})"},
        {R"({"Headers":{"Authorization":"Bearer t","Via":"Cookie: c","Accept":"a"}})",
         R"({"Headers":{"Accept":"a","Authorization":"[redacted]","Via":"Cookie: [redacted]"}})"},
        {R"({"p":{"cookie":"","d":[{"Cookie":"x"}],"a":["Cookie: x"]}})",
         R"({"p":{"a":["Cookie: x"],"cookie":"[redacted]","d":[{"Cookie":"[redacted]"}]}})"},
        {R"({"a":")" + std::string(3000, 'y') + "\"}",
         R"({"a":")" + std::string(2002, 'y') + "...[cut 1000 bytes]"},
    };
    for (const auto& [json, logged] : cases) {
        Json::Value value;
        ASSERT_TRUE(ParseJson(json, value)) << json;
        EXPECT_EQ(moxh5::detail::LogJsonText(value), logged);
        EXPECT_EQ(CompactJson(value).find("[redacted]"), std::string::npos);  // answers keep all
    }
}

}  // namespace
