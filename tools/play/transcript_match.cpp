#include "tools/play/transcript_match.h"

#include <json/writer.h>

namespace moxh5::play {
namespace {

std::string Compact(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

// Integers are equal by value: an expected 1 (read as signed) matches an
// event's unsigned 1 (such as a pending work number or a shell code).
bool SameInteger(const Json::Value& expected, const Json::Value& actual) {
    if (expected.isInt64() && actual.isInt64()) return expected.asInt64() == actual.asInt64();
    if (expected.isUInt64() && actual.isUInt64()) return expected.asUInt64() == actual.asUInt64();
    return false;
}

bool IsError(const Json::Value& event) { return event.isObject() && event["event"] == "error"; }

}  // namespace

bool MatchesPartially(const Json::Value& expected, const Json::Value& actual) {
    if (expected.isIntegral() && actual.isIntegral()) return SameInteger(expected, actual);
    if (!expected.isObject()) return expected == actual;
    if (!actual.isObject()) return false;
    for (const std::string& name : expected.getMemberNames()) {
        const Json::Value* member = actual.find(name.data(), name.data() + name.size());
        if (!member || !MatchesPartially(expected[name], *member)) return false;
    }
    return true;
}

MatchOutcome MatchTranscript(const std::vector<Json::Value>& expected,
                             const std::vector<Json::Value>& actual) {
    size_t next = 0;
    for (size_t e = 0; e < expected.size(); ++e) {
        bool found = false;
        for (; next < actual.size(); ++next) {
            if (MatchesPartially(expected[e], actual[next])) {
                found = true;
                ++next;
                break;
            }
            if (IsError(actual[next])) {
                return {false, "unexpected output line " + std::to_string(next + 1) + ": " +
                                   Compact(actual[next]) + "\n  while looking for expected line " +
                                   std::to_string(e + 1) + ": " + Compact(expected[e])};
            }
        }
        if (!found) {
            return {false, "expected line " + std::to_string(e + 1) +
                               " not found in the output: " + Compact(expected[e])};
        }
    }
    for (; next < actual.size(); ++next) {
        if (IsError(actual[next])) {
            return {false, "unexpected output line " + std::to_string(next + 1) + ": " +
                               Compact(actual[next])};
        }
    }
    return {};
}

}  // namespace moxh5::play
