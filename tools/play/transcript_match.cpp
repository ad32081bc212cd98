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

// Equality in which a number is a number, however the reader or the writer
// typed it (2 read from text is an int, 2 built from a size is unsigned).
bool SameValue(const Json::Value& a, const Json::Value& b) {
    if (a.isNumeric() && b.isNumeric()) {
        if (a.isIntegral() && b.isIntegral()) {
            if (a.isInt64() && b.isInt64()) return a.asInt64() == b.asInt64();
            return a.isUInt64() && b.isUInt64() && a.asUInt64() == b.asUInt64();
        }
        return a.asDouble() == b.asDouble();
    }
    if (a.type() != b.type()) return false;
    if (a.isArray()) {
        if (a.size() != b.size()) return false;
        for (Json::ArrayIndex i = 0; i < a.size(); ++i) {
            if (!SameValue(a[i], b[i])) return false;
        }
        return true;
    }
    if (a.isObject()) {
        if (a.size() != b.size()) return false;
        for (const std::string& name : a.getMemberNames()) {
            if (!b.isMember(name) || !SameValue(a[name], b[name])) return false;
        }
        return true;
    }
    return a == b;
}

}  // namespace

bool MatchesPartially(const Json::Value& expected, const Json::Value& actual) {
    if (!expected.isObject()) return SameValue(expected, actual);
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
