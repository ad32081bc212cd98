// Conformance checking of a player's events against an expected transcript.
#pragma once

#include <json/value.h>

#include <string>
#include <vector>

namespace moxh5::play {

// Whether `actual` holds every member of `expected` with an equal value;
// members `expected` leaves out are not compared. Objects nested in an
// expected object match the same way; every other value must be equal.
bool MatchesPartially(const Json::Value& expected, const Json::Value& actual);

struct MatchOutcome {
    bool ok = true;
    std::string message;  // the first difference, when not ok
};

// Each expected event must appear in `actual`, in order (other events may
// stand between them). An "error" event that no expected line accounts for is
// a difference too, so that a broken transcript cannot pass.
MatchOutcome MatchTranscript(const std::vector<Json::Value>& expected,
                             const std::vector<Json::Value>& actual);

}  // namespace moxh5::play
