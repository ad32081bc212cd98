// Tests of the native queries that the host answers itself, under the page's
// top-level "callID".
#include <gtest/gtest.h>

#include "tests/fakes/native_case.h"

namespace moxh5::test {
namespace {

const NativeCase kCases[] = {
    {"getMallInfo", R"({"callID":42,"params":{}})", true, kKeptFlag, "GetMallInfo",
     R"({"webindex":7,"callId":42})"},
    {"getTesselActions", R"({"callID":-3})", true, kKeptFlag, "GetTesselActions",
     R"({"webindex":7,"callId":-3})"},
    // Not at the top level, not an integer, out of range: the default id, and the host still asked.
    {"getCurrentCustomerInfo", R"({"params":{"callID":42}})", true, kKeptFlag,
     "GetCurrentCustomerInfo", R"({"callId":0})"},
    {"getMallInfo", R"({"callID":"42"})", true, kKeptFlag, "GetMallInfo", R"({"callId":0})"},
    {"getTesselActions", R"({"callID":4294967296})", true, kKeptFlag, "GetTesselActions",
     R"({"callId":0})"},
    {"getCurrentCustomerInfo", R"({"callID":7,"params":"x"})", false, kKeptFlag,
     "GetCurrentCustomerInfo", R"({"callId":7})", kHostRefuses},
    {"getMallInfo", R"({"callID":1})", false, kFlagAndNoHost, nullptr, nullptr, kNoHost},
    {"getTesselActions", R"({"callID":1})", false, kFlagAndNoHost, nullptr, nullptr, kNoHost},
    {"getCurrentCustomerInfo", R"({"callID":1})", false, kFlagAndNoHost, nullptr, nullptr, kNoHost},
};

// Test each row: the request, its web index and the call id reach the host; its result is the
// call's.
TEST(NativeQuery, CallsAnswerAndReachTheHostAsListed) {
    for (const NativeCase& c : kCases) ExpectNativeCase(c);
}

}  // namespace
}  // namespace moxh5::test
