// Tests of what a hostile page can make the library do under the default page
// policy: open programs through the shell, reach files outside the page file
// scope, smuggle line breaks into requests, call methods the host denies.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>

#include "core/delivery/pending_work.h"
#include "moxh5/platform.h"
#include "tests/fakes/capture_sinks.h"
#include "tests/fakes/native_case.h"
#include "tests/fakes/platform_fakes.h"

namespace moxh5::test {
namespace {

// "<answer> <result>" of one call from a page of the given kind and web view.
std::string CallOf(const char* method, const Json::Value& params, bool isWorker = false,
                   const char* module = "JSCallNative", int32_t webindex = 7,
                   const char* workerid = "worker-9") {
    mox_h5_module_data call = MakeCall(method, params, isWorker);
    call.webindex = webindex;
    call.workerid = isWorker ? workerid : nullptr;
    Json::Value answer;
    const bool result = RunCall(module, call, answer);
    return Compact(answer) + (result ? " true" : " false");
}

// Params of the given string members.
Json::Value Params(std::initializer_list<std::pair<const char*, std::string>> members) {
    Json::Value params(Json::objectValue);
    for (const auto& [key, value] : members) params[key] = value;
    return params;
}

// CallOf a file method naming `path` (checkFileExist reads it as "filePathName").
std::string FileCall(const char* method, const std::string& path) {
    return CallOf(method, Params({{"filePath", path}, {"filePathName", path}}));
}

// "<answer> <result>" of a page (a render page unless `isWorker`) asking "canIUse" about `name`.
std::string CanIUse(const std::string& name, bool isWorker = false) {
    return CallOf("canIUse", Params({{"name", name}}), isWorker, "JSCallBasic");
}

// Test that only absolute http(s) links reach the shell from each shell-opening method, in
// their serialized form, and that every refusal is logged.
TEST(HostilePage, ShellOpensOnlyStrictWebLinks) {
    // What WebUrl reads and refuses is its own test's; here, one link of each kind per method.
    const std::vector<std::pair<std::string, std::string>> kOpened = {
        {"HTTP://dl.example:8080/a?b=c#d", "http://dl.example:8080/a?b=c#d"},
        {"https://dl.example/a b?q=\"x\"|y", "https://dl.example/a%20b?q=%22x%22%7Cy"}};
    const std::vector<std::string> kRefused = {
        "C:\\Windows\\System32\\calc.exe", "\\\\evil.example\\share\\x.exe",
        "search-ms:query=x&crumb=location:\\\\evil\\s", "javascript:alert(1)",
        "https://user:pw@dl.example/", "https://dl.example/\r\nx", "ftp://dl.example/x", "https://"};
    const struct {
        const char* method;
        const char* key;
        const char* failed;
    } kMethods[] = {{"windowsDownLoad", "url", R"({"message":"download failed"} false)"},
                    {"oneClickUpdate", "jump", R"({"message":"update failed"} false)"},
                    {"openWebUseBrowser", "targetUrl", nullptr}};
    ScopedPagePolicy policy;
    for (const auto& m : kMethods) {
        for (const auto& [target, opened] : kOpened) {
            ScopedShellRecorder shell;
            CallOf(m.method, Params({{m.key, target}}));
            EXPECT_EQ(shell.targets, std::vector<std::string>{opened}) << m.method;
        }
        for (const std::string& target : kRefused) {
            ScopedShellRecorder shell;
            ScopedLogCapture log;
            const std::string answer = CallOf(m.method, Params({{m.key, target}}));
            EXPECT_TRUE(shell.targets.empty()) << m.method << " " << target;
            EXPECT_EQ(answer, m.failed ? m.failed : R"({"message":"Invalid param."} false)");
            const auto refusals = log->Matching("[MoxH5] Page policy refused a shell-open: ");
            ASSERT_EQ(refusals.size(), 1u) << m.method << " " << target;
            EXPECT_EQ(refusals[0].priority, LOG_PRIORITY_WARNING);
        }
    }
}

// Test the path rules of this platform: what a page may name, and the comparison key.
TEST(HostilePage, PathRulesRefuseWhatCouldEscapeTheScope) {
    const bool windows = platform::LocalPathRules() == platform::PathRules::kWindows;
    const struct {
        const wchar_t* path;
        bool onWindows, onPosix;
    } kPaths[] = {
        {L"C:\\Users\\m\\a.txt", true, false},
        {L"c:/Users/m/\u62a5\u544a.txt", true, false},
        {L"/home/m/a.txt", false, true},
        {L"/tmp/NUL", false, true},
        {L"/tmp/a\\..\\b", false, true},
        {L"\\\\host\\share\\x.exe", false, false},
        {L"\\\\?\\C:\\x.txt", false, false},
        {L"\\\\.\\PhysicalDrive0", false, false},
        {L"//host/share/x", false, false},
        {L"C:\\a\\..\\b.txt", false, false},
        {L"/home/m/../../etc/passwd", false, false},
        {L"C:\\a\\f.txt:secret:$DATA", false, false},
        {L"C:\\a\\NUL", false, false},
        {L"C:\\a\\com1.txt", false, false},
        {L"C:\\a\\CON .log", false, false},
        {L"C:\\a\\lpt\u00b9", false, false},
        {L"C:\\a\\b.\\c", false, false},
        {L"C:\\a\\b \\c", false, false},
        {L"C:relative.txt", false, false},
        {L"relative/a.txt", false, false},
        {L"/tmp/a\nb", false, false},
        {L"C:\\a\\b\nc", false, false},
        {L"C:\\a\\b?.txt", false, false},
        {L"", false, false},
    };
    for (const auto& p : kPaths) {
        EXPECT_EQ(platform::CheckLocalPath(p.path).has_value(), windows ? p.onWindows : p.onPosix)
            << platform::WideToUtf8(p.path);
    }
    const auto key = [](const wchar_t* path) { return platform::CheckLocalPath(path)->key; };
    if (windows) {
        EXPECT_EQ(key(L"c:/users/M/./a.TXT"), key(L"C:\\Users\\m\\\\A.txt"));
    } else {
        EXPECT_EQ(key(L"/home/m/./a//b"), L"/home/m/a/b");
        EXPECT_NE(key(L"/home/M/a"), key(L"/home/m/a"));
    }
}

// Test that the file methods reach files inside the roots and the files the host
// handed out, and answer every other path as a missing file.
TEST(HostilePage, FileMethodsSeeOnlyTheFileScope) {
    ScopedTempDir dir;
    std::filesystem::create_directories(dir.Path("root"));
    const std::string inside = dir.WriteFile("root/in.txt", "12345");
    const std::string outside = dir.WriteFile("out.txt", "123");
    const std::string handed = dir.WriteFile("handed.txt", "1");
    const std::string missing = dir.Utf8("root/missing.txt");
    const std::string escaping = dir.Utf8("root") + "/../out.txt";
    MoxPagePolicy roots;
    roots.fileRoots = {dir.Utf8("root")};
    ScopedPagePolicy policy(roots);
    RecordingHost host;
    ScopedActionInterface installed(&host);
    const auto found = [&] {
        return host.CallsOf("RenderJsCallback").back().args["data"].asString();
    };

    EXPECT_EQ(FileCall("getFileInfo", inside),
              R"({"data":{"filePath":)" + Compact(inside) + R"(,"size":5}} true)");
    for (const std::string& path : {outside, escaping, handed, missing, std::string("out.txt")}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(FileCall("getFileInfo", path), R"({"message":"get file info failed."} false)");
        EXPECT_EQ(FileCall("removeSavedFile", path), R"({"message":"file not exist."} false)");
        FileCall("checkFileExist", path);
        EXPECT_EQ(ParseJson(found()), ParseJson(R"({"finded":false})"));
    }
    EXPECT_TRUE(std::filesystem::exists(dir.Path("out.txt")));

    // The page names paths for the host's work only inside the scope as well.
    const Json::Value upload = Params({{"url", "https://up.example/f"}, {"filePath", handed}});
    EXPECT_EQ(CallOf("uploadFile", upload), R"({"message":"Invalid param."} false)");
    EXPECT_EQ(host.CountOf("UploadFile"), 0u);

    // Once the host has handed the file to a page, pages may use it.
    CallOf("selectFile", Json::objectValue);
    Json::Value chosen;
    chosen["data"]["path"] = handed;
    EXPECT_EQ(host.CompleteAll(true, chosen), 1u);
    EXPECT_EQ(FileCall("getFileInfo", handed),
              R"({"data":{"filePath":)" + Compact(handed) + R"(,"size":1}} true)");
    EXPECT_EQ(CallOf("uploadFile", upload), R"({"AsynExec":true} true)");
    EXPECT_EQ(FileCall("removeSavedFile", handed), "{} true");
}

// Test that URLs that are not http(s) and texts with CR, LF or NUL never reach the host's network
// code.
TEST(HostilePage, RequestsCarryNoForeignUrlsOrLineBreaks) {
    const struct {
        const char* module;
        const char* method;
        const char* params;
    } kCalls[] = {
        {"JSNetwork", "httpRequest", R"({"type":"get","url":"file:///etc/passwd"})"},
        {"JSNetwork", "httpRequest", R"({"type":"get","url":"https://x.example/\r\nHost: evil"})"},
        {"JSNetwork", "httpRequest",
         R"({"type":"get","url":"https://x.example/","cookie":"a=1\nb=2"})"},
        {"JSNetwork", "httpRequest",
         R"({"type":"post","url":"https://x.example/","headers":["A: 1","B: 2\r\nEvil: 3"]})"},
        {"JSNetwork", "httpRequest",
         R"({"type":"post","url":"https://x.example/","headers":["A\u0000: 1"]})"},
        {"JSCallNative", "uploadFile", R"({"url":"https://x.example/","signName":"n\r\nX: y"})"},
        {"JSCallNative", "downloadRemoteFile",
         R"({"url":"https://x.example/f","filePath":"/tmp/f","cookie":"a\r\nb"})"},
    };
    ScopedPagePolicy policy;
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    for (const auto& c : kCalls) {
        EXPECT_EQ(CallOf(c.method, ParseJson(c.params), /*isWorker=*/true, c.module),
                  R"({"message":"Invalid param."} false)")
            << c.params;
    }
    EXPECT_EQ(host.Calls().size(), 0u);
    // Their traces neither break lines nor show the cookies.
    EXPECT_TRUE(log->Contains(R"("cookie":"[redacted]")"));
    for (const MoxLogRecord& line : log->Records()) {
        EXPECT_EQ(line.text.find_first_of("\r\n"), std::string::npos) << line.text;
        EXPECT_EQ(line.text.find("a=1"), std::string::npos) << line.text;
    }
}

// Test that a client link carries only the session's mall, escaped, and nothing that would cut
// or extend the link where the host passes it on: every spelling of the page's own mall argument
// that the client could read (after "&" without a query, escaped, escaped twice, in other case
// forms, padded, cut by a NUL) is dropped, and a link that would bring one out once decoded is
// refused.
TEST(HostilePage, ClientLinksCarryOnlyTheSessionsMall) {
    const struct {
        const char* target;
        const char* mallId;
        const char* link;  // null: refused with "Invalid param."
    } kLinks[] = {
        {"openexternalclient://order?sn=1", "1001", "moxclient://open/order?sn=1&mallId=1001"},
        {"openexternalclient://order?mallId=9&sn=1&MALLID=8", "1001",
         "moxclient://open/order?sn=1&mallId=1001"},
        {"openexternalclient://order?mallId=9", "1001", "moxclient://open/order?&mallId=1001"},
        {"openexternalclient://order", "m&x=1 /", "moxclient://open/order&mallId=m%26x%3D1%20%2F"},
        {"openexternalclient://chat&mallId=666", "1001", "moxclient://open/chat&mallId=1001"},
        {"openexternalclient://mallId=666&x=1", "1001", "moxclient://open/x=1&mallId=1001"},
        {"openexternalclient://order?mall%49d=666&sn=1", "1001",
         "moxclient://open/order?sn=1&mallId=1001"},
        {"openexternalclient://order?sn=1&mall%2549d=6", "1001",
         "moxclient://open/order?sn=1&mallId=1001"},
        {"openexternalclient://order?sn=1&MALL\xC4\xB1"
         "D=6&%20mallid%09=7&mallId%00x=8",
         "1001", "moxclient://open/order?sn=1&mallId=1001"},
        {"openexternalclient://order?note=mallId&sn=1", "1001",
         "moxclient://open/order?note=mallId&sn=1&mallId=1001"},
        {"openexternalclient://order?sn=1%26mallId%3D666", "1001", nullptr},
        {"openexternalclient://order?sn=1;mallId=666", "1001", nullptr},
        {"openexternalclient://order?sn=%2525252525252541", "1001", nullptr},
        {"openexternalclient://order?sn=1#", "1001", nullptr},
        {"openexternalclient://order?sn=1 &x=2", "1001", nullptr},
        {"openexternalclient://order?sn=1\r\nx", "1001", nullptr},
    };
    for (const auto& c : kLinks) {
        RecordingHost host;
        ScriptPageSession(host);
        host.SetMallId("", c.mallId);
        ScopedActionInterface installed(&host);
        ScopedUserCenter users(&host);
        const std::string answer = CallOf("openWebUseBrowser", Params({{"targetUrl", c.target}}));
        const auto opened = host.CallsOf("OpenClientLink");
        if (!c.link) {
            EXPECT_EQ(answer, R"({"message":"Invalid param."} false)") << c.target;
            EXPECT_TRUE(opened.empty()) << c.target;
            continue;
        }
        ASSERT_EQ(opened.size(), 1u) << c.target;
        EXPECT_EQ(opened[0].args["link"].asString(), c.link);
    }
}

// Test that a method the host's filter denies answers as an unknown one, in every
// dispatch form, and that "canIUse" says it is unavailable.
TEST(HostilePage, DeniedMethodsLookUnknown) {
    std::vector<std::string> asked;
    MoxPagePolicy filtered;
    filtered.methodFilter = [&asked](const MoxCallingPage& page, std::string_view module,
                                     std::string_view method) {
        asked.push_back(std::string(page.mallcsid) + "/" + std::to_string(page.webindex) + "/" +
                        std::string(page.workerid) + " " + std::string(module) + "." +
                        std::string(method));
        return method != "showToast" && method != "getClipboardData" && method != "getSystemInfo";
    };
    ScopedPagePolicy policy(filtered);
    RecordingHost host;
    ScopedActionInterface installed(&host);
    for (const auto& [module, method] : {std::pair{"JSCallNative", "showToast"},
                                         {"JSStorage", "getClipboardData"},
                                         {"JSDevice", "getSystemInfo"}}) {
        for (bool isWorker : {false, true}) {
            host.Reset();
            const std::string denied =
                CallOf(method, ParseJson(R"({"content":"x"})"), isWorker, module);
            const size_t deniedCalls = host.Calls().size();
            host.Reset();
            EXPECT_EQ(denied,
                      CallOf("noSuchMethod", ParseJson(R"({"content":"x"})"), isWorker, module));
            EXPECT_EQ(deniedCalls, host.Calls().size()) << module << "." << method;
        }
        EXPECT_EQ(CanIUse(std::string(module) + "." + method), "null false");
    }
    asked.clear();
    EXPECT_EQ(CanIUse("JSCallNative.getFileInfo", true), "null true");
    EXPECT_EQ(asked, (std::vector<std::string>{"mall-1|cs-1/7/worker-9 JSCallBasic.canIUse",
                                               "mall-1|cs-1/7/worker-9 JSCallNative.getFileInfo"}));
}

// Test that payloads nested too deep or carrying too much text reach no module, from Execute
// and from "canIUse", and that a long dotted name asks only for its first two parts.
TEST(HostilePage, DeepOrHugePayloadsReachNoModule) {
    // Depth, bytes of text, whether that text is a member's name, accepted.
    const std::tuple<int, size_t, bool, bool> kShapes[] = {{128, 0, false, true},
                                                           {129, 0, false, false},
                                                           {2, (64 << 20) - 100, false, true},
                                                           {2, (64 << 20) + 1, false, false},
                                                           {2, (64 << 20) + 1, true, false}};
    for (const auto& [depth, textBytes, asName, accepted] : kShapes) {
        SCOPED_TRACE(std::to_string(depth) + " deep, text " + std::to_string(textBytes));
        mox_h5_module_data call =
            MakeCall("setLog", ParseJson(R"({"content":"hi","logLevel":"notice"})"));
        const std::string text(textBytes, 'x');
        call.payload["params"][asName ? text : "x"] = asName ? Json::Value(1) : Json::Value(text);
        Json::Value* inner = &call.payload["params"]["y"];
        for (int level = 2; level < depth; ++level) inner = &(*inner)["a"];  // no copies
        ScopedLogCapture log;
        Json::Value answer;
        EXPECT_EQ(RunCall("JSCallBasic", call, answer), accepted);
        EXPECT_EQ(log->Contains("[MoxH5] hi"), accepted);
        call.payload["params"]["name"] = "JSCallBasic";
        EXPECT_EQ(ReadySingleton().Exist(call), accepted);
        EXPECT_EQ(answer.isMember("message"), !accepted);  // "Invalid params."
        EXPECT_EQ(log->Matching("[MoxH5] Refused a call to ").size(), accepted ? 0u : 2u);
    }
    const std::string dots(16 << 20, '.');
    for (const auto& [name, exists] : {std::pair{"JSCallBasic.canIUse" + dots, true},
                                       {"JSCallBasic" + dots, false},
                                       {dots, false}}) {
        EXPECT_EQ(ReadySingleton().Exist(MakeCall("canIUse", Params({{"name", name}}))), exists)
            << name.size();
    }
}

// Test that host work answers its page once, never after the page closed, and that the
// reloaded page's calls under the same ids are answered again.
TEST(HostilePage, LateAnswersReachOnlyOpenPagesOnce) {
    enum Step { kStart, kFinish, kClose, kCallNow };
    // A callback id that would forge a log line of its own.
    static const char kForged[] = "late-1\n[400] forged";
    const struct {
        Step step;
        const char* method;  // kStart: the work; kCallNow: an immediate call
        const char* id;
        const char* workerid;
        size_t delivered;
    } kSteps[] = {
        // clang-format off
        {kStart, "selectFile", kForged, "w-a", 0}, {kFinish, "", kForged, "w-a", 1},
        {kFinish, "", kForged, "w-a", 0}, {kStart, "showCommonTip", "tip-1", "w-a", 0},
        {kFinish, "", "tip-1", "w-a", 1}, {kFinish, "", "tip-1", "w-a", 0},
        {kStart, "uploadFile", "late-2", "w-a", 0}, {kStart, "saveFile", "late-3", "w-b", 0},
        {kClose, "", "", "w-a", 0}, {kFinish, "", "late-2", "w-a", 0},
        {kFinish, "", "late-3", "w-b", 1}, {kCallNow, "showToast", "late-2", "w-a", 1},
        {kClose, "", "", "w-z", 0},
        // clang-format on
    };
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log(LOG_PRIORITY_INFO);
    std::map<std::string, PendingPageWork> work;
    for (const auto& s : kSteps) {
        host.ClearCalls();
        mox_h5_module_data call = MakeCall(
            s.method,
            ParseJson(R"({"url":"https://x.example/","filePath":"/f","tempFilePath":"/f"})"), true,
            s.id);
        call.workerid = s.workerid;
        Json::Value answer;
        PendingPageWork* w = &work[std::string(s.id) + s.workerid];
        if (s.step == kStart || s.step == kCallNow) {
            const bool handled = RunCall("JSCallNative", call, answer);
            callBackToWebPage(true, handled, call.webindex, call.mallcsid, s.id, s.workerid,
                              answer);
            if (s.step == kStart) *w = host.TakePending().at(0);
        } else if (s.step == kClose) {
            ReadySingleton().PageClosed(true, call.webindex, s.workerid);
        } else if (w->tipDone) {
            w->tipDone(true, answer);
        } else {
            w->done(true, true, w->page.webindex, w->page.mallcsid, w->page.callbackid,
                    w->page.workerid, answer);
        }
        EXPECT_EQ(host.CountOf("WorkerJsCallback"), s.delivered) << s.step << " " << s.id;
    }
    EXPECT_EQ(log->Matching("[MoxH5] Dropped repeated answer: worker[1]").size(), 1u);
    EXPECT_EQ(log->Matching("[MoxH5] Dropped repeated answer: ticket[").size(), 1u);
    EXPECT_EQ(log->Matching("[MoxH5] Dropped answer for closed page: worker[1]").size(), 1u);
    for (const char* closed :
         {"workerid[w-a], 1 answers outstanding", "workerid[w-z], 0 answers"}) {
        EXPECT_TRUE(log->Contains(closed)) << closed;
    }
    for (const MoxLogRecord& line : log->Records()) {
        EXPECT_EQ(line.text.find('\n'), std::string::npos) << line.text;
    }
}

// Test that later work under an id too long to keep (over 256 bytes) fails at once, instead of
// waiting for an answer that could not be matched.
TEST(HostilePage, LaterWorkUnderAnOverlongIdFailsAtOnce) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    const Json::Value params =
        ParseJson(R"({"url":"https://x.example/","filePath":"/f","tempFilePath":"/f"})");
    const char* const kLaterMethods[] = {"showCommonTip", "selectFile", "downloadRemoteFile",
                                         "uploadFile", "saveFile"};
    for (const char* method : kLaterMethods) {
        for (const size_t length : {256, 257}) {
            for (const bool longWorkerId : {false, true}) {
                const std::string longId(length, 'i');
                mox_h5_module_data call =
                    MakeCall(method, params, true, longWorkerId ? "later" : longId);
                call.workerid = longWorkerId ? longId.c_str() : "w";
                Json::Value answer;
                EXPECT_EQ(RunCall("JSCallNative", call, answer), length == 256) << method << length;
                EXPECT_EQ(answer["message"],
                          length == 256 ? Json::Value() : "Too many pending calls.")
                    << method;
            }
        }
    }
    EXPECT_EQ(host.CompleteAll(true, Json::Value()), 2 * std::size(kLaterMethods));
}

// Test that a reloaded page reusing its predecessor's callback ids hears only
// its own answers: tips answered through the identity they were handed are
// told apart by their tickets. (Later work likewise: CInterface.ClosedPagesHearNoLateAnswers.)
TEST(HostilePage, AReloadedPageNeverHearsItsPredecessor) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    const auto start = [&](const char* method, const char* id) {
        mox_h5_module_data call = MakeCall(method, ParseJson("{}"), true, id);
        call.workerid = "w-r";
        Json::Value answer;
        RunCall("JSCallNative", call, answer);
        return host.TakePending().at(0);
    };
    const auto answers = [&] { return host.CallsOf("WorkerJsCallback"); };
    const Json::Value old = ParseJson(R"({"data":"old"})");
    const Json::Value fresh = ParseJson(R"({"data":"new"})");

    PendingPageWork oldTip = start("showCommonTip", "1");
    ReadySingleton().PageClosed(true, 7, "w-r");
    PendingPageWork newTip = start("showCommonTip", "1");

    EXPECT_FALSE(oldTip.tipDone(true, old));
    EXPECT_TRUE(answers().empty());
    EXPECT_TRUE(newTip.tipDone(true, fresh));
    EXPECT_FALSE(newTip.tipDone(true, fresh));
    ASSERT_EQ(answers().size(), 1u);
    EXPECT_NE(answers()[0].args["data"].asString().find("new"), std::string::npos);
}

// Test that a reloaded page's first call under the id of its predecessor's
// only outstanding work forgets that work, the last record of the page,
// without touching the page's record after it is gone: the late answer is
// dropped and nothing stays pending.
TEST(HostilePage, ANewCallForgetsThePredecessorsLastWork) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    const size_t pendingBefore = moxh5::detail::PendingWorkCount();
    for (const bool isWorker : {false, true}) {
        host.ClearCalls();
        mox_h5_module_data call = MakeCall("selectFile", ParseJson("{}"), isWorker, "only");
        call.webindex = 31;
        Json::Value answer;
        RunCall("JSCallNative", call, answer);
        const PendingPageWork old = host.TakePending().at(0);
        ReadySingleton().PageClosed(isWorker, 31, call.workerid ? call.workerid : "");
        call.payload["method"] = "showToast";
        answer = Json::Value(Json::objectValue);
        const bool handled = RunCall("JSCallNative", call, answer);
        callBackToWebPage(isWorker, handled, 31, call.mallcsid, "only",
                          call.workerid ? call.workerid : "", answer);
        EXPECT_FALSE(AnswerPage(old.page, true, ParseJson(R"({"data":"old"})")));
        EXPECT_EQ(host.CountOf(isWorker ? "WorkerJsCallback" : "RenderJsCallback"), 1u);
        EXPECT_EQ(moxh5::detail::PendingWorkCount(), pendingBefore) << isWorker;
    }
}

// Test that page requests never reach the merchant's own machine or network unless the host lists
// the host, from each method that makes one, and that the host's network code gets the URL as the
// check read it (the spellings themselves are LocalHosts' and WebUrl's tests).
TEST(HostilePage, RequestsStayOffTheLocalNetwork) {
    const bool windows = platform::LocalPathRules() == platform::PathRules::kWindows;
    const std::string root = windows ? "C:\\" : "/";
    const auto calls = [&root](const std::string& url) {
        // The files are never made: the host only records.
        return std::vector<std::tuple<const char*, const char*, Json::Value>>{
            {"JSNetwork", "httpRequest", Params({{"type", "get"}, {"url", url}})},
            {"JSCallNative", "uploadFile",
             Params({{"filePath", root + "moxh5-up.txt"}, {"url", url}})},
            {"JSCallNative", "downloadRemoteFile",
             Params({{"filePath", root + "moxh5-down.txt"}, {"url", url}})}};
    };
    RecordingHost host;
    ScopedActionInterface installed(&host);
    MoxPagePolicy unlisted;
    unlisted.fileRoots = {root};
    MoxPagePolicy listed = unlisted;
    listed.allowedNetworkHosts = {"127.0.0.0/8", "*.local"};
    for (const auto& [url, sent] :
         {std::pair{"http://0x7f.1:8080/a b", "http://127.0.0.1:8080/a%20b"},
          {"HTTP://Nas.Local", "http://nas.local/"},
          {"https://user:pw@api.example/", ""},
          {"http://router/", ""}}) {
        for (const MoxPagePolicy* in : {&unlisted, &listed}) {
            ScopedPagePolicy policy(*in);
            ScopedLogCapture log;
            host.ClearCalls();
            const bool passes = in == &listed && *sent;
            for (const auto& [module, method, params] : calls(url)) {
                EXPECT_EQ(CallOf(method, params, true, module),
                          passes ? R"({"AsynExec":true} true)" : R"({"message":"Invalid param."} false)")
                    << method << " " << url;
            }
            EXPECT_EQ(log->Matching("[MoxH5] Page policy refused a network URL: ").size(),
                      passes ? 0u : 3u)
                << url;
            ASSERT_EQ(host.Calls().size(), passes ? 3u : 0u) << url;
            for (const HostCall& call : host.Calls()) EXPECT_EQ(call.args["url"].asString(), sent);
        }
    }
}

// Test that no download or save writes a file the Windows shell acts on when its folder is
// shown, unless the host allows that name.
TEST(HostilePage, DownloadsWriteNoShellActiveFiles) {
    ScopedTempDir dir;
    const std::string kNames[] = {"desktop.ini", "Desktop.INI. .", "x.lnk", "x.URL"};
    RecordingHost host;
    ScriptPageSession(host);
    ScopedActionInterface installed(&host);
    ScopedUserCenter users(&host);
    const auto tryAll = [&](const std::string& name) {
        host.ClearCalls();
        Json::Value file = ParseJson(
            R"({"action":"download","user":"mall-1","role":"mall","node":{"download_url":"https://dl.example/f"}})");
        file["node"]["file_name"] = name;
        return std::vector<std::string>{
            CallOf("downloadRemoteFile",
                   Params({{"url", "https://dl.example/f"}, {"filePath", dir.Utf8(name)}})),
            CallOf("saveFile", Params({{"tempFilePath", dir.Utf8(name)}})),
            CallOf("downloadFile", file)};
    };
    MoxPagePolicy roots;
    roots.fileRoots = {dir.Utf8("")};
    {
        ScopedPagePolicy policy(roots);
        ScopedLogCapture log;
        for (const std::string& name : kNames) {
            // Windows itself refuses the name with trailing dots and spaces as a path.
            EXPECT_EQ(tryAll(name),
                      (std::vector<std::string>{
                          R"({"message":"Invalid param."} false)",
                          R"({"message":"Invalid param."} false)",
                          R"({"NoNeedUnifyCallBack":true,"message":"invalid_param"} false)"}))
                << name;
            EXPECT_EQ(HostActions(host).size(), 0u) << name;
        }
        EXPECT_GE(log->Matching("[MoxH5] Page policy refused a file name: ").size(),
                  2 * std::size(kNames) - 2);
        EXPECT_EQ(
            tryAll("report.xlsx"),
            (std::vector<std::string>{R"({"AsynExec":true} true)", R"({"AsynExec":true} true)",
                                      R"({"NoNeedUnifyCallBack":true} true)"}));
    }
    roots.allowedShellFileNames = {".url"};
    ScopedPagePolicy policy(roots);
    EXPECT_EQ(tryAll("x.URL"),
              (std::vector<std::string>{R"({"AsynExec":true} true)", R"({"AsynExec":true} true)",
                                        R"({"NoNeedUnifyCallBack":true} true)"}));
    EXPECT_EQ(tryAll("x.lnk")[2],
              R"({"NoNeedUnifyCallBack":true,"message":"invalid_param"} false)");
}

// Test that the clipboard read is closed to pages until the host's method filter opens it, while
// writing stays open. (The filter's judgement page by page: DeniedMethodsLookUnknown.)
TEST(HostilePage, ClipboardReadNeedsTheHostsYes) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    const auto read = [] {
        return CallOf("getClipboardData", Json::objectValue, false, "JSStorage");
    };
    {
        ScopedPagePolicy policy;
        ScopedLogCapture log;
        EXPECT_EQ(
            read(),
            R"({"NoNeedUnifyCallBack":true,"message":"Invalid method.","support":false} false)");
        EXPECT_EQ(CanIUse("JSStorage.getClipboardData"), "null false");
        EXPECT_TRUE(log->Contains("[MoxH5] Page policy denied JSStorage.getClipboardData"));
        EXPECT_EQ(
            CallOf("setPasteboard", Params({{"type", "text"}, {"data", "x"}}), false, "JSStorage"),
            R"({"NoNeedUnifyCallBack":true} true)");
    }
    MoxPagePolicy filtered;
    filtered.methodFilter = [](const MoxCallingPage&, std::string_view, std::string_view) {
        return true;
    };
    ScopedPagePolicy policy(filtered);
    EXPECT_EQ(read(), R"({"NoNeedUnifyCallBack":true} true)");
}

// Test that every scheme with an authority gets the web rules once a host lets it reach the shell,
// and that a custom scheme is checked as opaque text and handed on as written.
TEST(HostilePage, ShellSchemesWithAnAuthorityKeepTheWebRules) {
    MoxPagePolicy schemes;
    schemes.shellSchemes = {"http", "https", "ftp", "ws", "wss", "file", "my-app.2+x", "my_app"};
    ScopedPagePolicy policy(schemes);
    const std::pair<const char*, const char*> kTargets[] = {
        {"FTP://files.example:21/a b", "ftp://files.example/a%20b"},
        {"file://server/share/a.pdf", "file://server/share/a.pdf"},
        {"my-app.2+x://open/x?y=1", "my-app.2+x://open/x?y=1"},
        {"my-app.2+x://u:p@host/", nullptr},
        {"my_app:open", nullptr},  // "_" is no scheme character
        {"mailto:help@shop.example", nullptr},
    };
    for (const auto& [target, opened] : kTargets) {
        ScopedShellRecorder shell;
        ScopedLogCapture log;
        CallOf("windowsDownLoad", Params({{"url", target}}));
        EXPECT_EQ(shell.targets,
                  opened ? std::vector<std::string>{opened} : std::vector<std::string>{})
            << target;
        EXPECT_EQ(log->Matching("[MoxH5] Page policy refused a shell-open: ").size(),
                  opened ? 0u : 1u)
            << target;
    }
}

// Test that a file handed to one page is that page's only, and only until it closes or reloads.
TEST(HostilePage, HandedFilesBelongToTheirPage) {
    ScopedTempDir dir;
    const std::string handed = dir.WriteFile("handed.txt", "12");
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedPagePolicy policy;
    Json::Value chosen = ParseJson(R"({"data":{"filePath":[]}})");
    chosen["data"]["filePath"].append(handed);
    EXPECT_EQ(CallOf("selectFile", Json::objectValue), R"({"AsynExec":true} true)");
    // Answered through the identity it was handed: exactly this work.
    EXPECT_TRUE(AnswerPage(host.TakePending().at(0).page, true, chosen));
    const Json::Value path = Params({{"filePath", handed}, {"url", "https://up.example/"}});
    const std::string kInfo = R"({"data":{"filePath":)" + Compact(handed) + R"(,"size":2}} true)";
    const std::string kMissing = R"({"message":"get file info failed."} false)";
    const struct {
        bool isWorker;
        int32_t webindex;
        const char* workerid;
        bool reaches;
    } kPages[] = {{false, 7, "", true}, {false, 8, "", false}, {true, 7, "", false}};
    for (const auto& p : kPages) {
        const auto call = [&](const char* method) {
            return CallOf(method, path, p.isWorker, "JSCallNative", p.webindex, p.workerid);
        };
        EXPECT_EQ(call("getFileInfo"), p.reaches ? kInfo : kMissing) << p.isWorker << p.webindex;
        if (p.reaches) continue;
        EXPECT_EQ(call("removeSavedFile"), R"({"message":"file not exist."} false)");
        EXPECT_EQ(call("uploadFile"), R"({"message":"Invalid param."} false)");
    }
    EXPECT_EQ(host.CountOf("UploadFile"), 0u);
    // A reload is a new page: it may show anything, so it starts without the files.
    ReadySingleton().PageClosed(false, 7, "");
    EXPECT_EQ(CallOf("getFileInfo", path), kMissing);
    EXPECT_TRUE(std::filesystem::exists(dir.Path("handed.txt")));
}

// Test that a link or junction inside a file root leads nowhere outside it, while links that stay
// inside (the root itself reached through a link included) still work.
TEST(HostilePage, LinksInARootDoNotLeadOutOfIt) {
    ScopedTempDir dir;
    namespace fs = std::filesystem;
    fs::create_directories(dir.Path("root/sub"));
    fs::create_directories(dir.Path("outside"));
    dir.WriteFile("outside/secret.txt", "secret");
    dir.WriteFile("root/sub/in.txt", "1234");
    std::error_code error;
    fs::create_symlink(dir.Path("outside/secret.txt"), dir.Path("root/file-link.txt"), error);
    if (error) GTEST_SKIP() << "links cannot be made here: " << error.message();
    fs::create_directory_symlink(dir.Path("outside"), dir.Path("root/dir-link"), error);
    fs::create_symlink(dir.Path("outside/none.txt"), dir.Path("root/dangling.txt"), error);
    fs::create_symlink(dir.Path("root/sub/in.txt"), dir.Path("root/inner-link.txt"), error);
    fs::create_directory_symlink(dir.Path("root"), dir.Path("root-link"), error);
    ASSERT_FALSE(error) << error.message();
    MoxPagePolicy roots;
    roots.fileRoots = {dir.Utf8("root"), dir.Utf8("root-link")};
    ScopedPagePolicy policy(roots);
    RecordingHost host;
    ScopedActionInterface installed(&host);
    const auto info = [&](const char* name) { return FileCall("getFileInfo", dir.Utf8(name)); };
    const auto download = [&](const char* name) {
        return CallOf("downloadRemoteFile",
                      Params({{"url", "https://dl.example/f"}, {"filePath", dir.Utf8(name)}}));
    };
    ScopedLogCapture log;
    for (const char* name : {"root/file-link.txt", "root/dir-link/secret.txt"}) {
        EXPECT_EQ(info(name), R"({"message":"get file info failed."} false)") << name;
        EXPECT_EQ(FileCall("removeSavedFile", dir.Utf8(name)),
                  R"({"message":"file not exist."} false)");
    }
    for (const char* name :
         {"root/dir-link/new.txt", "root/dangling.txt", "root/dir-link/a/b.txt"}) {
        EXPECT_EQ(download(name), R"({"message":"Invalid param."} false)") << name;
    }
    EXPECT_EQ(log->Matching("leads out of the file roots").size(), 7u);
    EXPECT_EQ(host.CountOf("DownloadRemoteFile"), 0u);
    EXPECT_TRUE(fs::exists(dir.Path("outside/secret.txt")));
    EXPECT_EQ(info("root/inner-link.txt").substr(0, 9), R"({"data":{)");
    EXPECT_EQ(info("root-link/sub/in.txt").substr(0, 9), R"({"data":{)");
    EXPECT_EQ(download("root/sub/new/deeper.txt"), R"({"AsynExec":true} true)");
}

// Test that the text of an exception a host throws stays on one line of the log, whether a call
// or a late answer meets it.
TEST(HostilePage, ExceptionTextsStayOnOneLine) {
    RecordingHost host;
    host.SetCallObserver([](const HostCall& call) {
        if (call.op == "ShowToast" || call.op == "WorkerJsCallback") {
            throw std::runtime_error("boom\n[100] forged\xE2\x80\xA8line");
        }
    });
    ScopedActionInterface installed(&host);
    const std::function<void()> kThrowers[] = {
        [] { CallOf("showToast", ParseJson(R"({"content":"x"})")); },
        [] { callBackToWebPage(true, true, 7, "mall-1|cs-1", "cb-late", "worker-9", {}); }};
    for (const auto& meet : kThrowers) {
        ScopedLogCapture log;
        meet();
        const auto lines = log->Matching("[MoxH5] exception in ");
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_NE(lines[0].text.find("boom\\n[100] forged\\u2028line"), std::string::npos)
            << lines[0].text;
    }
}

// Test that a root compares without case on Windows but only by whole names: a sibling whose
// name starts with the root's, in any case, stays outside.
TEST(HostilePage, RootsMatchWholeNamesOnly) {
    ScopedTempDir dir;
    std::filesystem::create_directories(dir.Path("data"));
    std::filesystem::create_directories(dir.Path("Data2"));
    std::filesystem::create_directories(dir.Path("data.old"));
    const std::string inside = dir.WriteFile("data/a.txt", "1");
    dir.WriteFile("Data2/a.txt", "22");
    dir.WriteFile("data.old/a.txt", "333");
    const bool windows = platform::LocalPathRules() == platform::PathRules::kWindows;
    MoxPagePolicy roots;
    roots.fileRoots = {dir.Utf8("data")};
    ScopedPagePolicy policy(roots);
    const auto upper = [](std::string text) {
        for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        return text;
    };
    const std::string kMissing = R"({"message":"get file info failed."} false)";
    for (const std::string& sibling :
         {dir.Utf8("Data2/a.txt"), upper(dir.Utf8("Data2/a.txt")), dir.Utf8("data.old/a.txt"),
          upper(dir.Utf8("data.old/a.txt")), dir.Utf8("data") + "2/a.txt", dir.Utf8("data")}) {
        EXPECT_EQ(FileCall("getFileInfo", sibling), kMissing) << sibling;
    }
    EXPECT_NE(FileCall("getFileInfo", inside), kMissing);
    EXPECT_EQ(FileCall("getFileInfo", upper(inside)) != kMissing, windows);
}

}  // namespace
}  // namespace moxh5::test
