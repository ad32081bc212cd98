// Tests of the native local-file calls: those the host performs, and those
// the library performs on the file system itself, for real, in a temporary
// directory.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/fakes/native_case.h"
#include "tests/fakes/platform_fakes.h"

namespace moxh5::test {
namespace {

// Test that a file with a Chinese name is found, sized and removed, for real, and then is gone.
TEST(NativeFiles, ChineseNamedFileIsFoundSizedAndRemoved) {
    ScopedTempDir dir;
    const std::string name = "\xE6\x8A\xA5\xE5\x91\x8A-1.txt";  // 报告-1.txt
    Json::Value params;
    params["filePath"] = dir.WriteFile(name, "\xE4\xBD\xA0\xE5\xA5\xBD");  // 你好: 6 bytes
    params["filePathName"] = params["filePath"];
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    const auto run = [&params](const char* method) {
        Json::Value answer;
        const bool result = RunCall("JSCallNative", MakeCall(method, params), answer);
        return Compact(answer) + (result ? " true" : " false");
    };
    const auto found = [&host] {
        return host.CallsOf("RenderJsCallback").back().args["data"].asString();
    };

    EXPECT_EQ(run("checkFileExist"), std::string(kKeptFlag) + " true");
    EXPECT_EQ(ParseJson(found()), ParseJson(R"({"finded":true})"));
    EXPECT_TRUE(log->Contains("[MoxH5] Find file[" + params["filePath"].asString() + "]"));
    EXPECT_EQ(run("getFileInfo"),
              R"({"data":{"filePath":)" + Compact(params["filePath"]) + R"(,"size":6}} true)");
    EXPECT_EQ(run("removeSavedFile"), "{} true");
    EXPECT_FALSE(std::filesystem::exists(dir.Path(name)));

    run("checkFileExist");
    EXPECT_EQ(ParseJson(found()), ParseJson(R"({"finded":false})"));
    EXPECT_EQ(run("getFileInfo"), R"({"message":"get file info failed."} false)");
    EXPECT_EQ(run("removeSavedFile"), R"({"message":"file not exist."} false)");
}

// Test that a directory is neither removed nor sized, and that an empty file is sized 0.
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
