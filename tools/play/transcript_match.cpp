#include "tools/play/transcript_match.h"

#include <json/writer.h>

namespace moxh5::play {
namespace {

std::string Compact(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

bool IsError(const Json::Value& event) { return event.isObject() && event["event"] == "error"; }

}  // namespace

bool MatchesPartially(const Json::Value& expected, const Json::Value& actual) {
    // Compared as written: the output writes some counts as unsigned numbers,
    // which jsoncpp's == never finds equal to the signed ones read back.
    if (!expected.isObject()) return Compact(expected) == Compact(actual);
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
