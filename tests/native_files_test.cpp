// Tests of the native local-file calls: those the host performs (answered
// later through the unified callback or under the page's "callID") and those
// the library performs on the file system itself, for real, inside a
// temporary directory.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/fakes/native_case.h"
#include "tests/fakes/platform_fakes.h"

namespace moxh5::test {
namespace {

#define RENDER_PAGE \
    R"({"isWorker":false,"webindex":7,"mallcsid":"mall-1|cs-1","callbackid":"cb-1","workerid":""})"
#define WORKER_PAGE \
    R"({"isWorker":true,"webindex":7,"mallcsid":"mall-1|cs-1","callbackid":"cb-1","workerid":)"
#define NOT_FOUND R"("data":"{\n\t\"finded\" : false\n}")"
constexpr char kNoFile[] = "moxh5-no-such-dir/\xE6\x8A\xA5\xE5\x91\x8A.xlsx";  // .../报告.xlsx

const NativeCase kCases[] = {
    // Existence is answered under the page's own "callID", through the host.
    {"checkFileExist", R"({"params":{"filePathName":"moxh5-no-such-dir/a.txt","callID":"c9"}})",
     true, kKeptFlag, "RenderJsCallback",
     R"({"mallcsid":"mall-1|cs-1","webindex":7,"callId":"c9",)" NOT_FOUND "}"},
    {"checkFileExist", R"({"callID":"top","params":{"filePathName":7}})", true, kKeptFlag,
     "RenderJsCallback", R"({"callId":"",)" NOT_FOUND "}"},
    {"checkFileExist", R"({"params":{"filePathName":"a"}})", false, kFlagAndNoHost, nullptr,
     nullptr, kNoHost},
    {"checkFileExist", R"({"params":[]})", false, kFlagAndInvalidParams, nullptr, nullptr},
    // The host's file work finishes later: the answer only says so.
    {"selectFile", R"({"params":{"filter":"*.xlsx"}})", true, R"({"AsynExec":true})", "SelectFile",
     R"({"filter":"*.xlsx","page":)" RENDER_PAGE "}"},
    {"selectFile", R"({"params":{}})", true, R"({"AsynExec":true})", "SelectFile",
     R"({"filter":"","page":)" WORKER_PAGE R"("w-3"}})", kFromWorker | kWithWorkerId},
    {"selectFile", R"({"params":{}})", false, R"({"message":"Native impl instance is null."})",
     nullptr, nullptr, kNoHost},
    {"selectFile", R"({"params":"*.xlsx"})", false, R"({"message":"Invalid params."})", nullptr,
     nullptr},
    {"downloadRemoteFile", R"({"params":{"filePath":"d/r.xlsx","url":"https://x/r","cookie":""}})",
     true, R"({"AsynExec":true})", "DownloadRemoteFile",
     R"({"filePath":"d/r.xlsx","url":"https://x/r","cookie":"","page":)" RENDER_PAGE "}}"},
    {"downloadRemoteFile", R"({"params":{"filePath":"d/r.xlsx","url":""}})", false,
     R"({"message":"Invalid param."})", nullptr, nullptr},
    {"downloadRemoteFile", R"({"params":{"url":"https://x/r","cookie":"k=v"}})", false,
     R"({"message":"Invalid param."})", nullptr, nullptr},
    // Upload values go unchecked, empty ones included.
    {"uploadFile",
     R"({"params":{"url":"u","cookie":"c","filePath":"p","signName":"n","signValue":"v",
        "fileDataName":"f"}})",
     true, R"({"AsynExec":true})", "UploadFile",
     R"({"url":"u","cookie":"c","filePath":"p","signName":"n","signValue":"v",
        "fileDataName":"f","page":)" WORKER_PAGE R"("worker-9"}})",
     kFromWorker},
    {"uploadFile", R"({"params":{}})", true, R"({"AsynExec":true})", "UploadFile",
     R"({"url":"","cookie":"","filePath":"","signName":"","signValue":"","fileDataName":""})"},
    {"saveFile", R"({"params":{"tempFilePath":"t/1.png"}})", true, R"({"AsynExec":true})",
     "SaveFile", R"({"tempFilePath":"t/1.png","page":)" WORKER_PAGE R"("w-3"}})",
     kFromWorker | kWithWorkerId},
    {"saveFile", R"({"params":{"tempFilePath":""}})", false, R"({"message":"Invalid param."})",
     nullptr, nullptr},
    {"saveFile", R"({})", false, R"({"message":"Invalid params."})", nullptr, nullptr},
    // The file system's own calls need no host.
    {"removeSavedFile", R"({"params":{"filePath":""}})", false,
     R"({"message":"file path is empty."})", nullptr, nullptr, kNoHost},
    {"removeSavedFile", R"({"params":{"path":"x"}})", false, R"({"message":"file path is empty."})",
     nullptr, nullptr},
    {"removeSavedFile", R"({"params":null})", false, R"({"message":"Invalid params."})", nullptr,
     nullptr, kNoHost},
    {"getFileInfo", R"({"params":{"filePath":""}})", false, R"({"message":"Invalid param."})",
     nullptr, nullptr, kNoHost | kFromWorker},
    {"getFileInfo", R"({"params":[]})", false, R"({"message":"Invalid params."})", nullptr,
     nullptr},
};

// Test each row: guards, required keys, the page identity and values the host receives.
TEST(NativeFiles, CallsAnswerAndReachTheHostAsListed) {
    for (const NativeCase& c : kCases) ExpectNativeCase(c);
}

// Test that a path that does not exist is neither removed nor sized, with distinct texts.
TEST(NativeFiles, MissingFilesAreReportedNotErrors) {
    Json::Value params;
    params["filePath"] = kNoFile;
    for (const auto& [method, message] : {std::pair{"removeSavedFile", "file not exist."},
                                          {"getFileInfo", "get file info failed."}}) {
        Json::Value answer;
        EXPECT_FALSE(RunCall("JSCallNative", MakeCall(method, params), answer)) << method;
        Json::Value expected;
        expected["message"] = message;
        EXPECT_EQ(Compact(answer), Compact(expected)) << method;
    }
}

// Test that the plug-in's version is the host's answer, sent under the page's "callID".
TEST(NativeFiles, PluginVersionIsAskedThenSentUnderTheCallId) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    host.SetPluginVersionAnswer(ParseJson(R"({"version":"2.1"})"));
    Json::Value answer;
    EXPECT_TRUE(RunCall("JSCallNative",
                        MakeCall("getPluginVersion", ParseJson(R"({"pluginID":"\u63d2\u4ef6",
                                                                   "callID":"v1"})")),
                        answer));
    EXPECT_EQ(Compact(answer), kKeptFlag);
    const std::vector<HostCall> calls = host.Calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].op, "GetPluginVersion");
    EXPECT_EQ(calls[0].args["pluginId"], "\xE6\x8F\x92\xE4\xBB\xB6");
    EXPECT_EQ(calls[1].op, "RenderJsCallback");
    EXPECT_EQ(calls[1].args["callId"], "v1");
    EXPECT_EQ(ParseJson(calls[1].args["data"].asString()), ParseJson(R"({"version":"2.1"})"));
    EXPECT_TRUE(log->Contains("[MoxH5] Get Plugin[\xE6\x8F\x92\xE4\xBB\xB6] version."));

    // A host that fills in nothing: the page gets null, and no identifier is logged.
    host.Reset();
    host.SetPluginVersionAnswer(Json::Value());
    log->Clear();
    RunCall("JSCallNative", MakeCall("getPluginVersion", Json::objectValue), answer);
    ASSERT_EQ(host.CallsOf("RenderJsCallback").size(), 1u);
    EXPECT_EQ(host.CallsOf("RenderJsCallback")[0].args["data"], "null");
    EXPECT_FALSE(log->Contains("Get Plugin["));
}

// Test that the host's later completion answers the calling page, render or worker.
TEST(NativeFiles, HostCompletionsAnswerTheCallingPage) {
    const char* const kParams = R"({"filter":"*","filePath":"p","url":"u","tempFilePath":"t"})";
    for (const char* method : {"selectFile", "downloadRemoteFile", "uploadFile", "saveFile"}) {
        for (const bool isWorker : {false, true}) {
            SCOPED_TRACE(std::string(method) + (isWorker ? " from a worker" : " from a render"));
            RecordingHost host;
            ScopedActionInterface installed(&host);
            Json::Value answer;
            ASSERT_TRUE(
                RunCall("JSCallNative", MakeCall(method, ParseJson(kParams), isWorker), answer));
            Json::Value chosen;
            chosen["data"]["path"] = "C:\\r.xlsx";
            ASSERT_EQ(host.CompleteAll(true, chosen), 1u);
            const auto sent = host.CallsOf(isWorker ? "WorkerJsCallback" : "RenderJsCallback");
            ASSERT_EQ(sent.size(), 1u);
            EXPECT_EQ(sent[0].args[isWorker ? "callbackid" : "callId"], "cb-1");
            EXPECT_EQ(ParseJson(sent[0].args["data"].asString()),
                      ParseJson(R"({"success":true,"message":"success",
                                   "data":{"path":"C:\\r.xlsx"}})"));
        }
    }
}

// Test the wide log lines, the download line also before its refusal.
TEST(NativeFiles, WideLogLinesCarryTheNonAsciiTexts) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    Json::Value answer;
    RunCall("JSCallNative",
            MakeCall("downloadRemoteFile", ParseJson(R"({"filePath":"\u4e0b\u8f7d/a"})")), answer);
    RunCall("JSCallNative", MakeCall("selectFile", ParseJson(R"({"filter":"\u8868"})")), answer);
    const auto download =
        log->Matching("[MoxH5] H5 download url[], path[\xE4\xB8\x8B\xE8\xBD\xBD/a]");
    ASSERT_EQ(download.size(), 1u);
    EXPECT_EQ(download[0].priority, 600);
    EXPECT_EQ(download[0].file, "H5NativeWorker.cpp");
    EXPECT_EQ(download[0].function, "H5NativeWorker::downloadRemoteFile");
    EXPECT_TRUE(log->Contains("[MoxH5] Web req downloadRemoteFile content: {"));
    EXPECT_TRUE(log->Contains("[MoxH5] Get filter[\xE8\xA1\xA8]"));
}

// Test that a file with a Chinese name is found, sized and removed, for real.
TEST(NativeFiles, ChineseNamedFileIsFoundSizedAndRemoved) {
    ScopedTempDir dir;
    const std::string content = "\xE4\xBD\xA0\xE5\xA5\xBD, world";  // 你好, world
    const std::string path = dir.WriteFile("\xE6\x8A\xA5\xE5\x91\x8A-1.txt", content);  // 报告-1
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    Json::Value params;
    params["filePathName"] = path;
    params["filePath"] = path;
    params["callID"] = "c1";

    Json::Value answer;
    EXPECT_TRUE(RunCall("JSCallNative", MakeCall("checkFileExist", params), answer));
    ASSERT_EQ(host.CallsOf("RenderJsCallback").size(), 1u);
    EXPECT_EQ(ParseJson(host.CallsOf("RenderJsCallback")[0].args["data"].asString()),
              ParseJson(R"({"finded":true})"));
    EXPECT_TRUE(log->Contains("[MoxH5] Find file[" + path + "]"));

    answer = Json::Value();
    EXPECT_TRUE(RunCall("JSCallNative", MakeCall("getFileInfo", params, true), answer));
    Json::Value expected;
    expected["data"]["size"] = static_cast<Json::UInt64>(content.size());
    expected["data"]["filePath"] = path;
    EXPECT_EQ(Compact(answer), Compact(expected));

    answer = Json::Value();
    EXPECT_TRUE(RunCall("JSCallNative", MakeCall("removeSavedFile", params), answer));
    EXPECT_EQ(Compact(answer), "{}");
    EXPECT_FALSE(std::filesystem::exists(dir.Path("\xE6\x8A\xA5\xE5\x91\x8A-1.txt")));

    // Gone: not found, not sized, not removed again.
    host.ClearCalls();
    RunCall("JSCallNative", MakeCall("checkFileExist", params), answer);
    EXPECT_EQ(ParseJson(host.CallsOf("RenderJsCallback")[0].args["data"].asString()),
              ParseJson(R"({"finded":false})"));
    answer = Json::Value();
    EXPECT_FALSE(RunCall("JSCallNative", MakeCall("removeSavedFile", params), answer));
    EXPECT_EQ(answer["message"], "file not exist.");
}

// Test that a directory exists for the page but is neither removed nor sized; an empty file is.
TEST(NativeFiles, DirectoriesAreKeptAndEmptyFilesSized) {
    ScopedTempDir dir;
    std::filesystem::create_directory(dir.Path("\xE7\x9B\xAE\xE5\xBD\x95"));  // 目录
    Json::Value params;
    params["filePath"] = dir.Utf8("\xE7\x9B\xAE\xE5\xBD\x95");
    Json::Value answer;
    EXPECT_FALSE(RunCall("JSCallNative", MakeCall("removeSavedFile", params), answer));
    EXPECT_EQ(Compact(answer), R"({"message":"remove failed."})");
    EXPECT_TRUE(std::filesystem::is_directory(dir.Path("\xE7\x9B\xAE\xE5\xBD\x95")));
    answer = Json::Value();
    EXPECT_FALSE(RunCall("JSCallNative", MakeCall("getFileInfo", params), answer));
    EXPECT_EQ(Compact(answer), R"({"message":"get file info failed."})");

    params["filePath"] = dir.WriteFile("empty", "");
    answer = Json::Value();
    EXPECT_TRUE(RunCall("JSCallNative", MakeCall("getFileInfo", params), answer));
    EXPECT_EQ(answer["data"]["size"].asUInt64(), 0u);
}

}  // namespace
}  // namespace moxh5::test
