// Table-driven native calls: one row says what a page sends and what must
// come of it (the result, the answer the host reads, the one host operation
// reached and the arguments it got).
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "moxh5/platform.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"
#include "tests/fakes/platform_fakes.h"

namespace moxh5::test {

enum NativeCaseFlags : unsigned {
    kFromWorker = 1,     // the call comes from a worker page
    kNoHost = 2,         // no action interface installed
    kSwitchOn = 4,       // the configuration callback turns every switch on
    kHostRefuses = 8,    // the host operation fails, and the shell (32, else 33)
    kNoUserCenter = 16,  // no user centre installed
    kNoLinkPrefix = 32,  // the host has no deep-link prefix
};

// The page's session ("mall-1|cs-1", as MakeCall gives it) as the host knows
// it: the mall "mall-1", the account "cs-1", the buyer "buyer-1" in its current
// conversation; current in the host. The host's deep-link prefix is
// "moxclient://open/".
inline void ScriptPageSession(RecordingHost& host) {
    host.SetMallId("", "mall-1");
    host.SetCsId("", "cs-1");
    host.SetCurrentUid("", "buyer-1");
    host.SetCurrentMallCsId("mall-1|cs-1");
    host.SetClientLinkPrefix("moxclient://open/");
}

// The host operations reached, less those that only answer questions (the
// user centre's and the deep-link prefix).
inline std::vector<HostCall> HostActions(const RecordingHost& host) {
    std::vector<HostCall> actions;
    for (HostCall& call : host.Calls()) {
        const std::string& op = call.op;
        if (op != "GetMallId" && op != "GetCsId" && op != "GetCurrentUid" &&
            op != "GetCurrentMallCsId" && op != "GetClientLinkPrefix")
            actions.push_back(std::move(call));
    }
    return actions;
}

// Answers that many rows share.
inline constexpr char kKeptFlag[] = R"({"NoNeedUnifyCallBack":true})";
inline constexpr char kFlagAndNoHost[] =
    R"({"NoNeedUnifyCallBack":true,"message":"Native impl instance is null."})";
inline constexpr char kFlagAndInvalidParams[] =
    R"({"NoNeedUnifyCallBack":true,"message":"Invalid params."})";
inline constexpr char kFlagAndInvalidParam[] =
    R"({"NoNeedUnifyCallBack":true,"message":"Invalid param."})";

struct NativeCase {
    const char* method;
    const char* payload;  // the call's payload less "method"
    bool result;
    const char* answer;    // the whole answer after the call
    const char* hostOp;    // the one operation reached ("ShellOpen": the shell), or null for none
    const char* hostArgs;  // members of its recorded arguments that must match
    unsigned flags = 0;
};

inline mox_h5_module_data NativeCaseCall(const NativeCase& c) {
    mox_h5_module_data call = MakeCall(c.method, Json::objectValue, (c.flags & kFromWorker) != 0);
    call.payload = ParseJson(c.payload);
    call.payload["method"] = c.method;
    if (c.flags & kSwitchOn) {
        call.configCallback = [](const std::string&, const std::string&, const MoxConfigValue&) {
            return true;
        };
    }
    return call;
}

inline void ExpectNativeCase(const NativeCase& c) {
    SCOPED_TRACE(std::string(c.method) + " " + c.payload + " flags " + std::to_string(c.flags));
    RecordingHost host;
    if (c.hostOp && (c.flags & kHostRefuses)) host.SetResult(c.hostOp, false);
    ScriptPageSession(host);
    if (c.flags & kNoLinkPrefix) host.SetClientLinkPrefix("");
    ScopedActionInterface installed((c.flags & kNoHost) ? nullptr : &host);
    ScopedUserCenter users((c.flags & kNoUserCenter) ? nullptr : &host);
    ScopedShellRecorder shell((c.flags & kHostRefuses) ? 32 : 33);
    ScopedLogCapture log;
    ScopedReportCapture reports;
    const mox_h5_module_data call = NativeCaseCall(c);
    Json::Value answer;
    EXPECT_EQ(RunCall("JSCallNative", call, answer), c.result);
    EXPECT_EQ(Compact(answer), Compact(ParseJson(c.answer)));
    std::vector<HostCall> calls = HostActions(host);
    for (HostCall& open : shell.Opens()) calls.push_back(std::move(open));
    if (!c.hostOp) {
        EXPECT_TRUE(calls.empty()) << calls.size() << " host calls, first " << calls[0].op;
        return;
    }
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].op, c.hostOp);
    if (calls[0].args.isMember("request")) {
        EXPECT_EQ(calls[0].args["request"], moxh5::operation::ToJson(&call)) << "the request itself";
    }
    const Json::Value expected = ParseJson(c.hostArgs ? c.hostArgs : "{}");
    for (const std::string& name : expected.getMemberNames()) {
        EXPECT_EQ(Compact(calls[0].args[name]), Compact(expected[name])) << name;
    }
}

}  // namespace moxh5::test
