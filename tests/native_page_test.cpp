// Tests of the native page life-cycle and message-list actions.
#include <gtest/gtest.h>

#include "tests/fakes/native_case.h"

namespace moxh5::test {
namespace {

const NativeCase kCases[] = {
    // A loaded worker page is announced with its name, empty when absent or not a string.
    {"workerOnLoad", R"({"params":{"pageName":"\u5de5\u4f5c"}})", true, kKeptFlag, "WorkerOnLoad",
     R"({"pageName":"\u5de5\u4f5c","reserved":0})", kFromWorker},
    {"workerOnLoad", R"({"params":{}})", true, kKeptFlag, "WorkerOnLoad", R"({"pageName":""})",
     kFromWorker},
    {"workerOnLoad", R"({"params":{"pageName":12}})", false, kKeptFlag, "WorkerOnLoad",
     R"({"pageName":""})", kFromWorker | kHostRefuses},
    {"workerOnLoad", R"({})", false, kFlagAndInvalidParams, nullptr, nullptr, kFromWorker},
    {"workerOnLoad", R"({"params":["a"]})", false, kFlagAndInvalidParams, nullptr, nullptr,
     kFromWorker},
    {"workerOnLoad", R"({"params":{}})", false, kFlagAndNoHost, nullptr, nullptr,
     kFromWorker | kNoHost},
    // The message list gets the whole call, params or not.
    {"updateMsg", R"({"msgId":"m-1"})", true, kKeptFlag, "UpdateMsg",
     R"({"payload":{"method":"updateMsg","msgId":"m-1"}})"},
    {"updateMsg", R"({"params":5})", false, kKeptFlag, "UpdateMsg",
     R"({"payload":{"method":"updateMsg","params":5}})", kFromWorker | kHostRefuses},
    {"updateMsg", R"({})", false, kFlagAndNoHost, nullptr, nullptr, kNoHost},
    {"logisticOrderSelect", R"({"callID":9,"params":{"order":"o-1"}})", true, kKeptFlag,
     "LogisticOrderSelect",
     R"({"payload":{"method":"logisticOrderSelect","callID":9,"params":{"order":"o-1"}},
         "webindex":7,"callId":9})"},
    {"logisticOrderSelect", R"({"params":{"callID":9}})", false, kKeptFlag, "LogisticOrderSelect",
     R"({"callId":0})", kHostRefuses},
    // Locating a message needs object params ("Invalid param.", singular).
    {"locateMessage", R"({"params":{"msgId":"m-9"}})", true, kKeptFlag, "LocateMessage",
     R"({"params":{"msgId":"m-9"}})", kFromWorker},
    {"locateMessage", R"({"params":{}})", false, kKeptFlag, "LocateMessage", R"({"params":{}})",
     kHostRefuses},
    {"locateMessage", R"({"params":"m-9"})", false, kFlagAndInvalidParam, nullptr, nullptr},
    {"locateMessage", R"({})", false, kFlagAndInvalidParam, nullptr, nullptr, kFromWorker},
    {"locateMessage", R"({"params":{}})", false, kFlagAndNoHost, nullptr, nullptr, kNoHost},
};

// Test each row: what reaches the host, its result, and the distinct failure texts.
TEST(NativePage, CallsAnswerAndReachTheHostAsListed) {
    for (const NativeCase& c : kCases) ExpectNativeCase(c);
}

}  // namespace
}  // namespace moxh5::test
