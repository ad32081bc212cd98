// The library's JSON reader and writers against jsoncpp's: the same values
// from the same texts, the same refusals, a written text reads back equal, the
// indented text is jsoncpp's; and the request reader of the C interface.
#include "json_text.h"

#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/writer.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

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

// Generated JSON texts, valid by construction or with one fault that RFC 8259 refuses wherever
// it stands; the same for a seed on every platform (no standard distributions).
class JsonTexts {
public:
    explicit JsonTexts(uint32_t seed) : m_rng(seed) {}

    // A container, so that every proper prefix is invalid; `faulty`: with one fault somewhere.
    std::string Document(bool faulty) {
        m_fault = faulty;
        std::string text = Container(0);
        if (m_fault) text.insert(text.size() - 1, "," + FaultyValue());  // none placed yet
        return Space() + text + Space();
    }
    unsigned Pick(unsigned n) { return static_cast<unsigned>(m_rng() % n); }
    std::string Space() {
        static const char* const spaces[] = {"", "", "", " ", "\t", "\n", "\r", " \r\n\t"};
        return spaces[Pick(8)];
    }

    bool FaultHere(unsigned odds) {
        if (!m_fault || Pick(odds) != 0) return false;
        m_fault = false;
        return true;
    }
    std::string Digits(unsigned most) {
        std::string digits(1, static_cast<char>('1' + Pick(9)));
        for (unsigned n = Pick(most); n; --n) digits += static_cast<char>('0' + Pick(10));
        return digits;
    }
    std::string Number() {
        static const char* const edges[] = {
            "0", "-0", "-0.0", "9223372036854775807", "9223372036854775808", "-9223372036854775808",
            "-9223372036854775809", "18446744073709551615", "18446744073709551616", "0e0", "0.5E-1"};
        const std::string sign = Pick(3) == 0 ? "-" : "";
        switch (Pick(5)) {
            case 0: return edges[Pick(sizeof edges / sizeof *edges)];
            case 1: return sign + Digits(22);
            case 2: return sign + (Pick(2) ? "0" : Digits(4)) + "." + Digits(8);
            case 3:
                return sign + Digits(3) + (Pick(2) ? "." + Digits(3) : "") + (Pick(2) ? "e" : "E") +
                       (Pick(3) == 0 ? "" : Pick(2) ? "+" : "-") + Digits(1);
            default: return sign + Digits(5);
        }
    }
    std::string String() {
        static const char* const pieces[] = {
            "a", "Zz", " ", "\\\"", "\\\\", "\\/", "\\b", "\\f", "\\n", "\\r", "\\t", "\\u0000",
            "\\u001F", "\\u00e9", "\\u4E2D", "\\uFFFF", "\\ud83d\\ude00", "\\uDBFF\\uDFFF",
            "\xC3\xA9", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80", "\x7F", "'", "/", "abcdefghi"};
        std::string text = "\"";
        for (unsigned n = Pick(6); n; --n) text += pieces[Pick(sizeof pieces / sizeof *pieces)];
        return text + "\"";
    }
    // A value no position in a document allows.
    std::string FaultyValue() {
        if (Pick(3) == 0) {  // a bad character or escape anywhere in a string
            static const char* const stops[] = {"\x01", "\x1F", "\t", "\n", "\\q", "\\u12", "\\"};
            return "\"" + std::string(Pick(20), 'x') + stops[Pick(7)] + std::string(1 + Pick(20), 'y') +
                   "\"";
        }
        static const char* const faults[] = {
            "01", "-01", "00", "1.", ".5", "-", "+1", "1e", "1e+", "-.5", "0x1", "1.e3",
            "tru", "nul", "fals", "True", "NULL", "NaN", "Infinity", "-Infinity", "'a'",
            "\"\\x\"", "\"\\u12\"", "\"\\u1\"", "\"\\u12G4\"", "\"\\U0041\"", "\"\\ud800\"", "\"\\ud800\\u0041\"",
            "\"\\udc00\"", "\"\\uDFFF\"", "\"\\udfff\\ud800\"", "\"a\\uDBFF\"",
            "\"\\ud800\\udbff\"", "\"\\ud800\\ue000\"",
            "[1,]", "[,1]", "[1 2]", "[,]", "{\"a\":1,}", "{\"a\" 1}", "{a:1}", "{\"a\":}",
            "{\"a\"}", "{,}", "{'a':1}", "{1:1}", "[1]]"};
        return faults[Pick(sizeof faults / sizeof *faults)];
    }
    std::string Value(int depth) {
        if (FaultHere(12)) return FaultyValue();
        const unsigned kind = Pick(depth < 4 ? 8 : 6);  // 6 and 7: a container
        if (kind >= 6) return Container(depth + 1);
        if (kind == 2 || kind == 3) return kind == 3 && Pick(2) ? "null" : String();
        if (kind == 4) return Pick(2) ? "true" : "false";
        return Number();
    }
    std::string Container(int depth) {
        const bool object = Pick(2) == 0;
        std::string text(1, object ? '{' : '[');
        const unsigned count = Pick(5);
        for (unsigned i = 0; i < count; ++i) {
            if (i) text += Space() + "," + Space();
            if (object) text += (Pick(4) == 0 ? std::string("\"k\"") : String()) + Space() + ":" + Space();
            text += Value(depth);
        }
        return text + (object ? '}' : ']');
    }

    std::mt19937 m_rng;
    bool m_fault = false;
};

// Test the reader against jsoncpp on generated texts: a valid one reads as jsoncpp reads it,
// also as a payload, and writes back (compact and indented) as jsoncpp would; one with a fault
// jsoncpp may let pass too (leading zeros, lone surrogates, raw controls) is refused as a
// document, a payload and a skipped member, and so is every proper prefix of a valid one.
TEST(JsonText, ReaderAgreesWithJsoncppOnGeneratedTexts) {
    JsonTexts texts(20260415);
    for (int round = 0; round < 1500; ++round) {
        const std::string valid = texts.Document(false);
        Json::Value ours;
        bool theirsOk = false;
        const Json::Value theirs = JsoncppParse(valid, theirsOk);
        ASSERT_TRUE(theirsOk) << valid;
        ASSERT_TRUE(ParseJson(valid, ours)) << valid;
        ASSERT_EQ(ours, theirs) << valid;
        Json::Value again;
        EXPECT_TRUE(ParseJson(CompactJson(ours), again) && again == ours) << CompactJson(ours);
        EXPECT_EQ(moxh5::detail::StyledJson(ours), Json::writeString(Json::StreamWriterBuilder(), ours));
        moxh5::detail::RequestRecord call;
        ASSERT_TRUE(moxh5::detail::ReadRequestText("{\"payload\":" + valid + ",\"x\":" + valid + "}",
                                                   call)) << valid;
        EXPECT_EQ(call.data.payload, theirs) << valid;
        const size_t cut = texts.Pick(static_cast<unsigned>(valid.find_last_not_of(" \t\r\n")));
        EXPECT_FALSE(ParseJson(std::string_view(valid).substr(0, cut), again)) << valid.substr(0, cut);

        // Values alone, where the text ends right after them: a view, a digit past its end.
        const std::string scalar = texts.Value(4), badScalar = texts.FaultyValue();
        const std::string followed = scalar + "7";
        ASSERT_TRUE(ParseJson(std::string_view(followed).substr(0, scalar.size()), ours)) << scalar;
        EXPECT_EQ(ours, JsoncppParse(scalar, theirsOk)) << scalar;
        EXPECT_FALSE(ParseJson(badScalar, ours)) << badScalar;
        const std::string faulty = texts.Document(true);
        EXPECT_FALSE(ParseJson(faulty, ours)) << faulty;
        for (const char* member : {"{\"payload\":", "{\"other\":"}) {
            for (const bool withPayload : {true, false}) {
                moxh5::detail::RequestRecord refused;
                EXPECT_FALSE(moxh5::detail::ReadRequestText(member + faulty + "}", refused,
                                                            withPayload)) << faulty;
            }
        }
    }
}

// Test the nesting bound on both sides, for the reader, a request's payload and a skipped member.
TEST(JsonText, NestingStopsPastTheBound) {
    for (const int depth : {128, 129}) {
        const std::string text = std::string(depth - 1, '[') + "{\"a\":1}" + std::string(depth - 1, ']');
        Json::Value value;
        moxh5::detail::RequestRecord payload, skipped;
        EXPECT_EQ(ParseJson(text, value), depth == 128) << depth;
        EXPECT_EQ(moxh5::detail::ReadRequestText("{\"payload\":" + text + "}", payload), depth == 128);
        EXPECT_EQ(moxh5::detail::ReadRequestText("{\"x\":" + text + "}", skipped), depth == 128);
    }
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

namespace moxh5::detail {
namespace {

std::string JsoncppStyled(const Json::Value& value) {
    return Json::writeString(Json::StreamWriterBuilder(), value);
}

// Test that the indented text is jsoncpp's default text byte for byte: escapes of every byte
// alone and in UTF-8 sequences (well-formed, cut short, overlong, surrogates), doubles that are
// no numbers, comments and arrays with indexes missing (layouts: the generated texts).
TEST(JsonText, StyledTextIsJsoncppsDefaultText) {
    std::vector<Json::Value> values;
    for (int byte = 0; byte < 256; ++byte) {
        values.emplace_back(std::string("a") + static_cast<char>(byte) + "z");
    }
    for (const char* bytes : {"\xE4\xB8\xAD", "\xE4\xB8", "\xC3\x28", "\xC0\x80", "\xED\xA0\x80",
                              "\xF0\x9F\x98\x80", "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xF7\xBF\xBF\xBF",
                              "\xF4\x80\x80\x80", "\xEF\xBF\xBF", "\xF8\x88", "\xFC\x80",
                              "\x80", "x\xF0\x9F"}) {
        values.emplace_back(bytes);
    }
    values.emplace_back(std::nan(""));
    values.emplace_back(-std::numeric_limits<double>::infinity());
    Json::Value holes(Json::arrayValue);
    holes[3] = 1;  // indexes 0 to 2 are missing
    holes[5] = Json::Value(Json::objectValue);
    values.push_back(holes);
    Json::Value commented(Json::objectValue);
    commented["a"] = 1;
    commented["a"].setComment(std::string("// before\n// second"), Json::commentBefore);
    commented["b"][0] = 2;
    commented["b"][0].setComment(std::string("// same line"), Json::commentAfterOnSameLine);
    commented["b"][1] = 3;
    commented["b"][1].setComment(std::string("// after"), Json::commentAfter);
    commented.setComment(std::string("// root"), Json::commentBefore);
    values.push_back(commented);
    for (const Json::Value& value : values) {
        EXPECT_EQ(StyledJson(value), JsoncppStyled(value)) << JsoncppStyled(value);
    }
}

// The envelope built as a value, as the page hears it.
Json::Value Enveloped(bool success, const Json::Value& answer) {
    Json::Value envelope = answer.isNull() ? Json::Value(Json::objectValue) : answer;
    envelope["success"] = success;
    if (!envelope.isMember("message")) envelope["message"] = success ? "success" : "failed";
    if (!envelope.isMember("data")) envelope["data"] = Json::Value();
    return envelope;
}

// Test that the envelope text written from the answer is the envelope value's text, with the
// answer's own members sorting before, between and after the envelope's.
TEST(JsonText, EnvelopeTextIsTheEnvelopeValuesText) {
    for (const char* text : {
             "null", "{}", R"({"data":{"x":[1]}})", R"({"message":null,"success":"no"})",
             R"({"":0,"a":1,"dat":2,"data0":3,"messagd":4,"messagf":5,"succ":6,"successs":7,"z":8})",
             R"({"success":true,"\u00ff":1,"message":"kept"})", R"({"AsynExec":true})",
         }) {
        Json::Value answer;
        ASSERT_TRUE(ParseJson(text, answer)) << text;
        for (const bool success : {true, false}) {
            std::string written = "prefix";
            AppendEnvelope(success, answer, written);
            EXPECT_EQ(written, "prefix" + CompactJson(Enveloped(success, answer))) << text;
        }
    }
}

// Test reading a request straight into the record: each member in its place, escaped names
// recognized, a repeated member's last value kept, other members checked and skipped, the
// payload's method and params noted in place, and a page text's payload skipped.
TEST(JsonText, RequestTextReadsIntoTheRecord) {
    RequestRecord call;
    ASSERT_TRUE(ReadRequestText(
        R"({"mallcsid":"m|c","mallcsid":"m|\u0063s","isWorker":true,"webindex":-7,)"
        R"("callbackid":null,"other":{"deep":[1,{"x":"\n"}]},"workerid":"w\"1",)"
        R"("pay\u006coad":{"params":{"k":1},"method":"m","x":[{"method":"inner"}]}})",
        call));
    EXPECT_EQ(call.data.mallcsid, "m|cs");
    EXPECT_TRUE(call.data.isWorker);
    EXPECT_EQ(call.data.webindex, -7);
    EXPECT_EQ(call.data.callbackid, "");
    ASSERT_NE(call.data.workerid, nullptr);
    EXPECT_STREQ(call.data.workerid, "w\"1");
    Json::Value payload;
    ASSERT_TRUE(ParseJson(R"({"params":{"k":1},"method":"m","x":[{"method":"inner"}]})", payload));
    EXPECT_EQ(call.data.payload, payload);
    const std::string method = "method", params = "params";
    EXPECT_EQ(call.members.method, call.data.payload.find(method.data(), method.data() + 6));
    EXPECT_EQ(call.members.params, call.data.payload.find(params.data(), params.data() + 6));

    RequestRecord repeated;
    ASSERT_TRUE(ReadRequestText(" \r\n\t{ \"payload\" :{\"method\":\"a\"} ,\"payload\":"
                                "[{\"method\":\"b\"}] } \n",
                                repeated));
    EXPECT_TRUE(repeated.data.payload.isArray());
    EXPECT_EQ(repeated.members.method, nullptr) << "only the payload object's own members";
    EXPECT_EQ(repeated.data.workerid, nullptr);

    RequestRecord empty;
    EXPECT_TRUE(ReadRequestText("{ }", empty));
    RequestRecord page;
    ASSERT_TRUE(ReadRequestText(R"({"payload":{"method":"m"},"callbackid":"c"})", page,
                                /*withPayload=*/false));
    EXPECT_TRUE(page.data.payload.isNull());
    EXPECT_EQ(page.data.callbackid, "c");
}

// Test that a request text is refused as a whole, with the wrong member named when it is one,
// also when the payload is not wanted.
TEST(JsonText, RequestTextRefusals) {
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"[]", ""},
        {R"({"payload":{"method":"m"}} x)", ""},
        {R"({"mallcsid":"a)", ""},
        {"{\"mallcsid\":\"a\tb\"}", ""},
        {"{\"mallcsid\":\"\\u0041\t,\"x\":1}", ""},  // a raw tab after an escape, then more
        {"{\"x\":\"a\t,\"y\":1}", ""},
        {R"({"mallcsid":1})", "member \"mallcsid\" must be a string or null"},
        {R"({"workerid":{}})", "member \"workerid\" must be a string or null"},
        {R"({"callbackid":[1,2]})", "member \"callbackid\" must be a string or null"},
        {R"({"isWorker":0})", "member \"isWorker\" must be a boolean or null"},
        {R"({"webindex":2147483648})", "member \"webindex\" must be a 32-bit integer or null"},
        {R"({"webindex":1.5})", "member \"webindex\" must be a 32-bit integer or null"},
        {R"({"webindex":[1})", ""},
    };
    for (const auto& [text, problem] : cases) {
        for (const bool withPayload : {true, false}) {
            RequestRecord call;
            EXPECT_FALSE(ReadRequestText(text, call, withPayload)) << text;
            EXPECT_EQ(call.problem, problem) << text;
        }
    }
    RequestRecord deepest;
    EXPECT_TRUE(ReadRequestText(R"({"webindex":1.0,"payload":)" + std::string(128, '[') +
                                    std::string(128, ']') + "}",
                                deepest, false));
    EXPECT_EQ(deepest.data.webindex, 1);
}

}  // namespace
}  // namespace moxh5::detail
