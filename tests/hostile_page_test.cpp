// Tests of what a hostile page can make the library do under the default page
// policy: open programs through the shell, reach files outside the page file
// scope, smuggle line breaks into requests, call methods the host denies.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "moxh5/platform.h"
#include "tests/fakes/capture_sinks.h"
#include "tests/fakes/native_case.h"
#include "tests/fakes/platform_fakes.h"

namespace moxh5::test {
namespace {

// "<answer> <result>" of one native call.
std::string CallOf(const char* method, const Json::Value& params, bool isWorker = false,
                   const char* module = "JSCallNative") {
    Json::Value answer;
    const bool result = RunCall(module, MakeCall(method, params, isWorker), answer);
    return Compact(answer) + (result ? " true" : " false");
}

// Test that only absolute http(s) links reach the shell from each shell-opening method, in
// their serialized form, and that every refusal is logged.
TEST(HostilePage, ShellOpensOnlyStrictWebLinks) {
    const std::vector<std::pair<std::string, std::string>> kOpened = {
        {"https://dl.example/setup.exe", "https://dl.example/setup.exe"},
        {"HTTP://dl.example:8080/a?b=c#d", "http://dl.example:8080/a?b=c#d"},
        {"https://shop.example/\xE8\xAE\xA2\xE5\x8D\x95",
         "https://shop.example/%E8%AE%A2%E5%8D%95"},
        {"https://[::1]:8443/x", "https://[::1]:8443/x"},
        {"https://dl.example/a b?q=\"x\"|y", "https://dl.example/a%20b?q=%22x%22%7Cy"},
        {"https://dl.example/%zz", "https://dl.example/%25zz"}};
    // clang-format off
    const std::vector<std::string> kRefused = {
        "C:\\Windows\\System32\\calc.exe", "\\\\evil.example\\share\\x.exe",
        "file:///C:/Windows/System32/calc.exe", "search-ms:query=x&crumb=location:\\\\evil\\s",
        "ms-msdt:/id PCWDiagnostic", "javascript:alert(1)", "https://user:pw@dl.example/",
        "https://dl.example/a\tb", "https://dl.example/\r\nx", "https:\\\\dl.example\\x",
        "https://dl.example/\xC2\xA0", "https:dl.example/x", "https://", "https://dl.example:99999/",
        "https://dl.example/\xE2\x80\xAE" "exe.pdf", "ftp://dl.example/x", "https:///dl.example/"};
    // clang-format on
    const struct {
        const char* method;
        const char* key;
        const char* failed;
    } kMethods[] = {{"windowsDownLoad", "url", R"({"message":"download failed"} false)"},
                    {"oneClickUpdate", "jump", R"({"message":"update failed"} false)"},
                    {"openWebUseBrowser", "targetUrl", nullptr}};
    ScopedPagePolicy policy;
    for (const auto& m : kMethods) {
        const auto params = [&m](const std::string& target) {
            Json::Value p;
            p[m.key] = target;
            return p;
        };
        for (const auto& [target, opened] : kOpened) {
            ScopedShellRecorder shell;
            CallOf(m.method, params(target));
            EXPECT_EQ(shell.targets, std::vector<std::string>{opened}) << m.method;
        }
        for (const std::string& target : kRefused) {
            ScopedShellRecorder shell;
            ScopedLogCapture log;
            const std::string answer = CallOf(m.method, params(target));
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
    const auto call = [](const char* method, const std::string& path) {
        Json::Value params;
        params["filePath"] = path;
        params["filePathName"] = path;
        return CallOf(method, params);
    };
    const auto found = [&] {
        return host.CallsOf("RenderJsCallback").back().args["data"].asString();
    };

    EXPECT_EQ(call("getFileInfo", inside),
              R"({"data":{"filePath":)" + Compact(inside) + R"(,"size":5}} true)");
    for (const std::string& path : {outside, escaping, handed, missing, std::string("out.txt")}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(call("getFileInfo", path), R"({"message":"get file info failed."} false)");
        EXPECT_EQ(call("removeSavedFile", path), R"({"message":"file not exist."} false)");
        call("checkFileExist", path);
        EXPECT_EQ(ParseJson(found()), ParseJson(R"({"finded":false})"));
    }
    EXPECT_TRUE(std::filesystem::exists(dir.Path("out.txt")));

    // The page names paths for the host's work only inside the scope as well.
    Json::Value upload = ParseJson(R"({"url":"https://up.example/f","filePath":""})");
    upload["filePath"] = handed;
    Json::Value download = ParseJson(R"({"url":"https://dl.example/f","filePath":""})");
    download["filePath"] = handed;
    EXPECT_EQ(CallOf("uploadFile", upload), R"({"message":"Invalid param."} false)");
    EXPECT_EQ(CallOf("downloadRemoteFile", download), R"({"message":"Invalid param."} false)");
    EXPECT_EQ(host.CountOf("UploadFile") + host.CountOf("DownloadRemoteFile"), 0u);

    // Once the host has handed the file to a page, pages may use it.
    CallOf("selectFile", Json::objectValue);
    Json::Value chosen;
    chosen["data"]["path"] = handed;
    EXPECT_EQ(host.CompleteAll(true, chosen), 1u);
    EXPECT_EQ(call("getFileInfo", handed),
              R"({"data":{"filePath":)" + Compact(handed) + R"(,"size":1}} true)");
    EXPECT_EQ(CallOf("uploadFile", upload), R"({"AsynExec":true} true)");
    EXPECT_EQ(call("removeSavedFile", handed), "{} true");
    EXPECT_EQ(call("removeSavedFile", inside), "{} true");
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
        {"JSNetwork", "httpRequest", R"({"type":"get","url":"ftp://x.example/"})"},
        {"JSNetwork", "httpRequest", R"({"type":"get","url":"https://x.example/\r\nHost: evil"})"},
        {"JSNetwork", "httpRequest",
         R"({"type":"get","url":"https://x.example/","cookie":"a=1\nb=2"})"},
        {"JSNetwork", "httpRequest",
         R"({"type":"post","url":"https://x.example/","headers":["A: 1","B: 2\r\nEvil: 3"]})"},
        {"JSNetwork", "httpRequest",
         R"({"type":"post","url":"https://x.example/","headers":["A\u0000: 1"]})"},
        {"JSCallNative", "uploadFile", R"({"url":"smb://evil.example/x","filePath":""})"},
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
// or extend the link where the host passes it on.
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
        Json::Value params;
        params["targetUrl"] = c.target;
        const std::string answer = CallOf("openWebUseBrowser", params);
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
        Json::Value name;
        name["name"] = std::string(module) + "." + method;
        EXPECT_EQ(CallOf("canIUse", name, false, "JSCallBasic"), "null false");
    }
    asked.clear();
    Json::Value name;
    name["name"] = "JSCallNative.getFileInfo";
    EXPECT_EQ(CallOf("canIUse", name, true, "JSCallBasic"), "null true");
    EXPECT_EQ(asked, (std::vector<std::string>{"mall-1|cs-1/7/worker-9 JSCallBasic.canIUse",
                                               "mall-1|cs-1/7/worker-9 JSCallNative.getFileInfo"}));
}

// Takes a value nested through "a" apart level by level: its destructor would recurse.
void Dismantle(Json::Value& value) {
    for (Json::Value level = std::move(value), inner; level.isObject(); level.swap(inner)) {
        inner = Json::Value();
        inner.swap(level["a"]);
    }
}

// Test that payloads nested too deep or carrying too much text reach no module, from Execute
// and from "canIUse", and that a long dotted name asks only for its first two parts.
TEST(HostilePage, DeepOrHugePayloadsReachNoModule) {
    // Depth, bytes of text, whether that text is a member's name, accepted.
    const std::tuple<int, size_t, bool, bool> kShapes[] = {{128, 0, false, true},
                                                           {129, 0, false, false},
                                                           {100000, 0, false, false},
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
        Dismantle(call.payload["params"]["y"]);
    }
    const std::string dots(16 << 20, '.');
    for (const auto& [name, exists] : {std::pair{"JSCallBasic.canIUse" + dots, true},
                                       {"JSCallBasic" + dots, false},
                                       {dots, false}}) {
        Json::Value params;
        params["name"] = name;
        EXPECT_EQ(ReadySingleton().Exist(MakeCall("canIUse", params)), exists) << name.size();
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
        {kStart, "selectFile", "late-2", "w-a", 0}, {kFinish, "", "late-2", "w-a", 1},
        // clang-format on
    };
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
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
    for (const MoxLogRecord& line : log->Records()) {
        EXPECT_EQ(line.text.find('\n'), std::string::npos) << line.text;
    }
}

}  // namespace
}  // namespace moxh5::test

namespace moxh5::test {
namespace {

// Test that a reloaded page reusing its predecessor's callback ids hears only
// its own answers: tips and work answered through the identity they were
// handed are told apart by their tickets, and a bare late answer of the
// closed page is dropped while the new page has no work under that id.
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
    PendingPageWork oldFile = start("selectFile", "2");
    PendingPageWork oldBare = start("selectFile", "3");
    ReadySingleton().PageClosed(true, 7, "w-r");
    PendingPageWork newTip = start("showCommonTip", "1");
    PendingPageWork newFile = start("selectFile", "2");

    EXPECT_FALSE(oldTip.tipDone(true, old));
    EXPECT_FALSE(AnswerPage(oldFile.page, true, old));
    oldBare.done(true, true, 7, oldBare.page.mallcsid, "3", "w-r", old);
    EXPECT_TRUE(answers().empty());
    EXPECT_TRUE(newTip.tipDone(true, fresh));
    EXPECT_TRUE(AnswerPage(newFile.page, true, fresh));
    EXPECT_FALSE(AnswerPage(newFile.page, true, fresh));
    ASSERT_EQ(answers().size(), 2u);
    for (const HostCall& call : answers()) {
        EXPECT_NE(call.args["data"].asString().find("new"), std::string::npos);
    }
}

}  // namespace
}  // namespace moxh5::test
