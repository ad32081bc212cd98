// Tests of the JSON-to-record binder on records of its own, independent of
// any page method.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "AJsonUtil.h"

namespace binder_test {

struct Point {
    int32_t x = -1;
    int32_t y = -1;
};

inline bool operator==(const Point& a, const Point& b) { return a.x == b.x && a.y == b.y; }

struct Sample {
    std::string name = "unnamed";
    int32_t count = 7;
    int64_t big = 0;
    uint8_t small = 0;
    bool flag = false;
    Point at;
    std::vector<int32_t> numbers{9};
    std::vector<std::string> words;
    std::vector<bool> switches;
    std::vector<Point> path;
    std::vector<std::vector<int32_t>> grid;
};

}  // namespace binder_test

MOX_AJSON_FIELDS(binder_test::Point, x, y)
MOX_AJSON_FIELDS(binder_test::Sample, name, count, big, small, flag, at, numbers, words, switches,
                 path, grid)

namespace moxh5::test {
namespace {

using binder_test::Point;
using binder_test::Sample;

// A document with every kind of field, nested records and arrays, and a skipped member.
constexpr std::string_view kEveryKind = R"({
        "name": "\u4E2D\u6587 \ud83d\ude00 \"q\" \\ \/ \t",
        "count": -2147483648, "big": 9223372036854775807, "small": 255.0, "flag": true,
        "at": {"y": 4, "x": 3},
        "numbers": [1, -2, 3], "words": ["a", "", "\u00e9"], "switches": [true, false, true],
        "path": [{"x": 1}, {"y": 2}, {}], "grid": [[1, 2], [], [3]],
        "ignored": {"deep": [1, {"x": "not bound"}, null, true, -0.5e+3, -1E-2, 0e0]}
    })";

// Test that every kind of field binds by name, nested records and arrays included.
TEST(AJsonBinder, FillsEveryKindOfFieldByName) {
    Sample s;
    ajson::Error error;
    ASSERT_TRUE(AJsonUtil::Bind(kEveryKind, s, error)) << error.message << " " << error.position;
    EXPECT_EQ(s.name, "\xE4\xB8\xAD\xE6\x96\x87 \xF0\x9F\x98\x80 \"q\" \\ / \t");
    EXPECT_EQ(s.count, INT32_MIN);
    EXPECT_EQ(s.big, INT64_MAX);
    EXPECT_EQ(s.small, 255);
    EXPECT_TRUE(s.flag);
    EXPECT_EQ(s.at, (Point{3, 4}));
    EXPECT_EQ(s.numbers, (std::vector<int32_t>{1, -2, 3}));
    EXPECT_EQ(s.words, (std::vector<std::string>{"a", "", "\xC3\xA9"}));
    EXPECT_EQ(s.switches, (std::vector<bool>{true, false, true}));
    EXPECT_EQ(s.path, (std::vector<Point>{{1, -1}, {-1, 2}, {-1, -1}}));
    EXPECT_EQ(s.grid, (std::vector<std::vector<int32_t>>{{1, 2}, {}, {3}}));
}

// Test the member loop on generated objects: members in any order, unknown ones of every kind
// between them, nulls, repeats and white space anywhere; each field ends as the last non-null
// member of its name left it, the others keep the record's defaults.
TEST(AJsonBinder, AnyMemberOrderBindsAsTheLastNonNullMemberSays) {
    std::mt19937 rng(7);
    const auto pick = [&](unsigned n) { return static_cast<unsigned>(rng() % n); };
    const char* const spaces[] = {"", " ", "\n\t", "\r\n "};
    const std::pair<const char*, const char*> unknown[] = {
        {"x", R"({"count":1,"name":[{}]})"}, {"names", R"("n")"}, {"Count", "3"}, {"fla", "false"},
        {"", R"([1,"a",null,true,{"flag":true}])"}, {"nam\\u0065s", "-1.5e3"}};
    const char* const nullable[] = {"name", "count", "at", "numbers"};
    for (int round = 0; round < 300; ++round) {
        Sample want;
        std::string text = "{";
        for (unsigned n = pick(9); n; --n) {
            const int v = static_cast<int>(pick(1000));
            std::string key, value = std::to_string(v);
            const unsigned kind = pick(6);
            if (kind == 0) key = "name", value = '"' + value + '"', want.name = std::to_string(v);
            if (kind == 1) key = pick(2) ? "count" : "co\\u0075nt", want.count = v;
            if (kind == 2) key = "flag", value = v % 2 ? "true" : "false", want.flag = v % 2 == 1;
            if (kind == 3) key = "at", value = "{\"y\":" + value + "}", want.at.y = v;
            if (kind == 4) key = nullable[pick(4)], value = "null";
            if (kind == 5) std::tie(key, value) = unknown[pick(6)];
            if (text.size() > 1) text += std::string(spaces[pick(4)]) + ",";
            text += spaces[pick(4)] + ('"' + key + '"') + spaces[pick(4)] + ":" + spaces[pick(4)] +
                    value;
        }
        text += std::string(spaces[pick(4)]) + "}";
        Sample got;
        ajson::Error error;
        ASSERT_TRUE(AJsonUtil::Bind(text, got, error)) << text << "\n" << error.position;
        EXPECT_EQ(std::tie(got.name, got.count, got.flag, got.at, got.numbers),
                  std::tie(want.name, want.count, want.flag, want.at, want.numbers))
            << text;
    }
}

// Test each failure's reader message and position, and that the target is left untouched.
TEST(AJsonBinder, FailsWithTheReadersMessageAndPosition) {
    const struct {
        const char* text;
        const char* message;
        const char* position;
    } cases[] = {
        {"", "read object must start with {!", "error at line :1 col :1 msg:"},
        {R"({"name": 5})", "not a valid string!", "error at line :1 col :10 msg:5}"},
        {R"({"name": "\q"})", "not a valid string!", "error at line :1 col :11 msg:\\q\"}"},
        {R"({"name": nulL})", "not a valid string!", "error at line :1 col :10 msg:nulL}"},
        {R"({"name": "\u12)", "not a valid string!", "error at line :1 col :11 msg:\\u12"},
        {R"({"name": "a\n)", "not a valid string!", "error at line :1 col :14 msg:"},
        {"{\"name\": \"tab\there\"}", "not a valid string!", "error at line :1 col :14 msg:"},
        {R"({"count": "5"})", "not a valid number!", "error at line :1 col :11 msg:\"5\"}"},
        {R"({"count": 1.5})", "not a valid number!", "error at line :1 col :11 msg:1.5}"},
        {R"({"small": -1})", "not a valid number!", "error at line :1 col :11 msg:-1}"},
        {R"({"flag": 1})", "not a valid bool!", "error at line :1 col :10 msg:1}"},
        {R"({"at": [1]})", "read object must start with {!", "error at line :1 col :8 msg:[1]}"},
        {R"({"numbers": {}})", "read array must start with [!", "error at line :1 col :13 msg:{}}"},
        {R"({"numbers": [1,]})", "not a valid number!", "error at line :1 col :16 msg:]}"},
        {R"({1: 2})", "object key must be string", "error at line :1 col :2 msg:1: 2}"},
        {R"({"na\qme": 1})", "not a valid string!", "error at line :1 col :5 msg:\\qme\": 1}"},
        {"{\"na\tme\": 1}", "not a valid string!", "error at line :1 col :5 msg:"},
        {R"({"name)", "not a valid string!", "error at line :1 col :7 msg:"},
        {R"({"count" 1})", "invalid json document!", "error at line :1 col :10 msg:1}"},
        {R"({"count": 1} x)", "invalid json document!", "error at line :1 col :14 msg:x"},
        {R"({"other": tru})", "invalid json document!", "error at line :1 col :11 msg:tru}"},
        // Failures inside a member that is skipped, not bound.
        {R"({"other": {"a": [1 2]}})", "invalid json document!", "error at line :1 col :20 msg:"},
        {R"({"other": {"a" 1}})", "invalid json document!", "error at line :1 col :16 msg:1}}"},
        {R"({"other": {"a": 1 "b": 2}})", "invalid json document!", "error at line :1 col :"},
        {R"({"other": [{5: 1}]})", "object key must be string", "error at line :1 col :13 msg:"},
        {"{\n  \"name\": \"ok\",\n  \"flag\": \"yes\"\n}", "not a valid bool!",
         "error at line :3 col :11 msg:\"yes\""},
        // A line break at the fault still belongs to the fault's line.
        {"{\"name\": \"a\nb\"}", "not a valid string!", "error at line :1 col :12 msg:"},
    };
    for (const auto& c : cases) {
        Sample s;
        s.name = "before";
        ajson::Error error;
        EXPECT_FALSE(AJsonUtil::Bind(c.text, s, error)) << c.text;
        EXPECT_EQ(error.message, c.message) << c.text;
        EXPECT_EQ(error.position.substr(0, std::string(c.position).size()), c.position) << c.text;
        EXPECT_EQ(s.name, "before") << "target untouched: " << c.text;
        EXPECT_EQ(s.count, 7) << c.text;
    }
    // The fault text is cut at whole characters, down to nothing when it holds none.
    Sample s;
    ajson::Error error;
    const std::string text = "{\"name\": \xE4\xB8\xAD" + std::string(30, '\x80') + "}";
    EXPECT_FALSE(AJsonUtil::Bind(text, s, error));
    EXPECT_EQ(error.position, "error at line :1 col :10 msg:");
}

// Test that every proper prefix of the document fails as its own copy fails, when it is read as
// a view into the whole text: a reader that looked past its end would find the rest there.
TEST(AJsonBinder, APrefixReadsAsItsCopyWhateverFollowsIt) {
    for (size_t length = 0; length < kEveryKind.size(); ++length) {
        const std::string copy(kEveryKind.substr(0, length));
        ajson::Error inView, inCopy;
        Sample a, b;
        EXPECT_FALSE(AJsonUtil::Bind(kEveryKind.substr(0, length), a, inView)) << copy;
        EXPECT_FALSE(AJsonUtil::Bind(copy, b, inCopy)) << copy;
        EXPECT_EQ(inView.message + inView.position, inCopy.message + inCopy.position) << copy;
    }
}

// Test that nesting a hostile text deep in a skipped member fails instead of exhausting the stack.
TEST(AJsonBinder, DeepNestingFailsCleanly) {
    for (const auto& [depth, binds] : {std::pair{257, true}, std::pair{258, false}, std::pair{100000, false}}) {
        const std::string text =
            R"({"other": )" + std::string(depth, '[') + std::string(depth, ']') + "}";
        Sample s;
        ajson::Error error;
        EXPECT_EQ(AJsonUtil::Bind(text, s, error), binds) << depth;
        EXPECT_EQ(error.message, binds ? "" : "invalid json document!") << depth;
    }
}

}  // namespace
}  // namespace moxh5::test
