// Tests of the host-library stand-ins: log lines, sinks, reports, JSON getters
// and business access.
#include <gtest/gtest.h>

#include <atomic>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "MoxBizAccess.h"
#include "mox_json.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

// Test that a line carries priority, base file name, line, function and text, whatever its length.
TEST(HostLog, LinesCarryTheirPartsWithTheFileCutToItsBaseName) {
    ScopedLogCapture log;
    CMoxLog::MoxLogFormat(300, "C:\\src\\modules\\H5NativeWorker.cpp", 42,
                          "H5NativeWorker::Execute", "[MoxH5] false in %s %d",
                          "H5NativeWorker::Execute", 42);
    CMoxLog::MoxLog(600, "/src/core/page_callback.cpp", 7, "f", "plain %s text");
    CMoxLog::MoxLogFormatW(400, L"D:\\x\\wide.cpp", 9, L"W::f", L"%ls %d", L"\u63D0\u793A", 5);
    const std::string big(100000, 'x');
    CMoxLog::MoxLogFormat(300, "f", 1, "f", "%s", big.c_str());
    const size_t kWideLengths[] = {255, 256, 5000};  // around the first buffer's 256 units
    for (const size_t length : kWideLengths) {
        CMoxLog::MoxLogFormatW(300, L"f", 1, L"f", L"%ls", std::wstring(length, L'y').c_str());
    }
    const auto records = log->Records();
    ASSERT_EQ(records.size(), 7u);
    EXPECT_EQ(records[0].priority, 300);
    EXPECT_EQ(records[0].file, "H5NativeWorker.cpp");
    EXPECT_EQ(records[0].line, 42);
    EXPECT_EQ(records[0].function, "H5NativeWorker::Execute");
    EXPECT_EQ(records[0].text, "[MoxH5] false in H5NativeWorker::Execute 42");
    EXPECT_EQ(records[1].file, "page_callback.cpp");
    EXPECT_EQ(records[1].text, "plain %s text");  // MoxLog writes its text as it stands
    EXPECT_EQ(records[2].file, "wide.cpp");
    EXPECT_EQ(records[2].function, "W::f");
    EXPECT_EQ(records[2].text, "\xE6\x8F\x90\xE7\xA4\xBA 5");
    EXPECT_EQ(records[3].text, big);
    for (size_t i = 0; i < 3; ++i)
        EXPECT_EQ(records[4 + i].text, std::string(kWideLengths[i], 'y'));
}

// Test that a sink's level drops less urgent lines, and that the default is warning.
TEST(HostLog, SinkLevelDecidesWhichLinesAreKept) {
    {
        ScopedLogCapture log(LOG_PRIORITY_WARNING);
        EXPECT_TRUE(CMoxLog::IsEnabled(400));
        EXPECT_FALSE(CMoxLog::IsEnabled(500));
        CMoxLog::MoxLog(500, "f", 1, "f", "dropped");
        CMoxLog::MoxLog(100, "f", 1, "f", "kept");
        ASSERT_EQ(log->Records().size(), 1u);
        EXPECT_EQ(log->Records()[0].text, "kept");
    }
    const std::shared_ptr<IMoxLogSink> previous = CMoxLog::SetSink(nullptr);  // the default
    EXPECT_TRUE(CMoxLog::IsEnabled(LOG_PRIORITY_WARNING));
    EXPECT_FALSE(CMoxLog::IsEnabled(LOG_PRIORITY_NOTICE));
    CMoxLog::SetSink(previous);
}

// Test the value-returning getters, by key and by index: the value, or zero for absent,
// mistyped or a container of the wrong kind (numbers: BothFormsReadAlikeAtEverySize).
TEST(HostJson, ValueGettersReturnTheValueOrZero) {
    const Json::Value obj = ParseJson(
        R"({"s":"\u63d0\u793a","i":-7,"b":true,"n":null,"a":[1]})");
    const std::string c = "caller";
    EXPECT_EQ(mox_json::GetJsonValueToString(obj, "s", c), "\xE6\x8F\x90\xE7\xA4\xBA");
    EXPECT_EQ(mox_json::GetJsonValueToString(obj, "i", c), "");
    EXPECT_TRUE(mox_json::GetJsonValueToBool(obj, "b", c));
    EXPECT_FALSE(mox_json::GetJsonValueToBool(obj, "i", c));
    EXPECT_EQ(mox_json::GetJsonValueToUtf8WString(obj, "s", c), L"\u63D0\u793A");
    const Json::Value list = ParseJson(R"(["a: 1",3,null,{"s":"x"},["y"]])");
    const char* elements[] = {"a: 1", "", "", "", "", ""};
    for (Json::ArrayIndex i = 0; i < 6; ++i) {
        EXPECT_EQ(mox_json::GetJsonValueToString(list, i, c), elements[i]) << i;
    }
    for (const char* other : {R"({"0":"a"})", "[1,2]", "\"text\"", "null", "12"}) {
        const Json::Value v = ParseJson(other);
        EXPECT_EQ(mox_json::GetJsonValueToString(v, 0u, c), "") << other;
        EXPECT_EQ(mox_json::GetJsonValueToString(v, "s", c), "") << other;
        EXPECT_EQ(mox_json::GetJsonValueToInt(v, "i", c), 0) << other;
        EXPECT_FALSE(mox_json::GetJsonValueToBool(v, "b", c)) << other;
    }
}

// Test the out-argument getters' flags: required logs, keep_default accepts absence.
TEST(HostJson, OutGettersFollowTheirFlags) {
    const Json::Value obj = ParseJson(R"({"s":"v","i":"not a number"})");
    ScopedLogCapture log;
    std::string s = "old";
    EXPECT_TRUE(mox_json::GetJsonValueToString(obj, "s", s, "C::f", true, false));
    EXPECT_EQ(s, "v");
    s = "old";
    EXPECT_FALSE(mox_json::GetJsonValueToString(obj, "missing", s, "C::f", true, false));
    EXPECT_EQ(s, "old");
    EXPECT_TRUE(mox_json::GetJsonValueToString(obj, "missing", s, "C::f", false, true));
    EXPECT_EQ(s, "old");
    int i = 9;
    // A mistyped member is never a default.
    EXPECT_FALSE(mox_json::GetJsonValueToInt(obj, "i", i, "C::f", true, true));
    EXPECT_EQ(i, 9);
    EXPECT_FALSE(mox_json::GetJsonValueToInt(obj, "missing", i, "C::f", false, false));
    const auto lines = log->Records();
    ASSERT_EQ(lines.size(), 2u) << "only the required misses are logged";
    EXPECT_EQ(lines[0].priority, LOG_PRIORITY_WARNING);
    EXPECT_NE(lines[0].text.find("C::f"), std::string::npos);
    EXPECT_NE(lines[1].text.find("\"i\""), std::string::npos);
}


// Test that both forms of every getter, std::string and C string, read alike, on small objects
// (searched member by member) and large ones: each integer getter as jsoncpp's isInt/isInt64
// judge the number, strings only from strings, and the out forms' results, outputs and lines.
TEST(HostJson, BothFormsReadAlikeAtEverySize) {
    using namespace mox_json;
    const char* const numbers[] = {"0", "-7", "2147483647", "-2147483648", "2147483648",
                                   "4294967295", "9223372036854775807", "-9223372036854775808",
                                   "18446744073709551615", "3.0", "2.5", "-0.0", "1e10", "1e19"};
    std::vector<std::string> keys = {"s", "b", "n", "a", "missing"};
    std::string large = R"({"s":"\u00e9","b":true,"n":null,"a":[1])";
    std::vector<std::string> objects;  // one small object per number, near the search's bound
    for (size_t i = 0; i < std::size(numbers); ++i) {
        keys.push_back("k" + std::to_string(i));
        large += ",\"" + keys.back() + "\":" + numbers[i];
        objects.push_back(R"({"s":"\u00e9","b":true,"n":null,"a":[1],"x":1,"y":2,")" +
                          keys.back() + "\":" + numbers[i] + "}");
    }
    objects.push_back(large + "}");
    const std::string caller = "C::f";
    for (const std::string& text : objects) {
        const Json::Value obj = ParseJson(text);
        for (const std::string& key : keys) {
            const Json::Value* member = obj.find(key.data(), key.data() + key.size());
            const char* const k = key.c_str();
            const std::string where = text + " " + key;
            EXPECT_EQ(GetJsonValueToInt(obj, k, "C::f"), member && member->isInt() ? member->asInt() : 0)
                << where;
            EXPECT_EQ(GetJsonValueToInt64(obj, k, "C::f"),
                      member && member->isInt64() ? member->asInt64() : 0)
                << where;
            EXPECT_EQ(std::make_tuple(GetJsonValueToInt(obj, key, caller),
                                      GetJsonValueToInt64(obj, key, caller),
                                      GetJsonValueToString(obj, key, caller),
                                      GetJsonValueToBool(obj, key, caller),
                                      GetJsonValueToUtf8WString(obj, key, caller)),
                      std::make_tuple(GetJsonValueToInt(obj, k, "C::f"), GetJsonValueToInt64(obj, k, "C::f"),
                                      GetJsonValueToString(obj, k, "C::f"), GetJsonValueToBool(obj, k, "C::f"),
                                      GetJsonValueToUtf8WString(obj, k, "C::f")))
                << where;
            for (const bool keep : {false, true}) {
                std::string byString = "old", byPointer = "old";
                int64_t n1 = 5, n2 = 5;
                ScopedLogCapture log;
                const bool r1 = GetJsonValueToString(obj, key, byString, caller, true, keep);
                const bool r2 = GetJsonValueToString(obj, k, byPointer, "C::f", true, keep);
                const bool r3 = GetJsonValueToInt64(obj, key, n1, caller, true, keep);
                const bool r4 = GetJsonValueToInt64(obj, k, n2, "C::f", true, keep);
                EXPECT_EQ(std::make_tuple(r1, byString, r3, n1), std::make_tuple(r2, byPointer, r4, n2))
                    << where;
                // Each out form takes exactly the members of its type.
                std::wstring w;
                bool b = false;
                int n32 = 0;
                const auto typed = [&](bool isType) { return member ? isType : keep; };
                EXPECT_EQ(
                    std::make_tuple(r1, r3,
                                    GetJsonValueToUtf8WString(obj, key, w, caller, false, keep),
                                    GetJsonValueToBool(obj, key, b, caller, false, keep),
                                    GetJsonValueToInt(obj, key, n32, caller, false, keep)),
                    std::make_tuple(
                        typed(member && member->isString()), typed(member && member->isInt64()),
                        typed(member && member->isString()), typed(member && member->isBool()),
                        typed(member && member->isInt())))
                    << where;
                const auto lines = log->Records();
                ASSERT_EQ(lines.size() % 2, 0u) << where;
                for (size_t i = 0; i < lines.size(); i += 2) {  // each form's line in turn
                    EXPECT_EQ(lines[i].text, lines[i + 1].text) << where;
                }
            }
        }
        for (Json::ArrayIndex i = 0; i < 3; ++i) {
            EXPECT_EQ(GetJsonValueToString(obj["a"], i, caller), GetJsonValueToString(obj["a"], i, "C::f"));
        }
    }
    EXPECT_EQ(GetJsonValueToInt(ParseJson(R"({"":1})"), nullptr, nullptr), 0);
}

// A sink that counts the reports under way in it and notes one that reaches it after it was
// released, or while it is being destroyed.
class WatchedSink final : public IReportSink {
public:
    explicit WatchedSink(std::atomic<int>& faults) : m_faults(faults) {}
    ~WatchedSink() override {
        m_gone = true;
        if (m_inside.load() != 0) ++m_faults;
    }
    void Send(const WorkbenchReportRecord& report) override {
        ++m_inside;
        if (m_gone || report.id != 7) ++m_faults;
        std::this_thread::yield();
        --m_inside;
        ++m_sent;
    }
    int Sent() const { return m_sent.load(); }

private:
    std::atomic<int>& m_faults;
    std::atomic<int> m_inside{0};
    std::atomic<int> m_sent{0};
    std::atomic<bool> m_gone{false};
};

// Test that reports reach the installed sink without a lock while sinks are swapped: no report
// reaches a sink that was handed back, a sink handed back is the one installed before, and the
// last one hears the reports made after it was installed.
TEST(HostReport, SinksSwapWhileReportsRun) {
    std::atomic<int> faults{0};
    std::atomic<bool> stop{false};
    std::shared_ptr<IReportSink> installed = std::make_shared<WatchedSink>(faults);
    const std::shared_ptr<IReportSink> before = WorkbenchReport::SetSink(installed);
    std::vector<std::thread> reporters;
    for (int t = 0; t < 3; ++t) {
        reporters.emplace_back([&] {
            const WorkbenchReport report(7);
            while (!stop) report.Report();
        });
    }
    for (int i = 0; i < 300; ++i) {
        auto next = std::make_shared<WatchedSink>(faults);
        const std::shared_ptr<IReportSink> previous = WorkbenchReport::SetSink(next);
        EXPECT_EQ(previous, installed) << i;
        installed = next;
    }
    stop = true;
    for (std::thread& reporter : reporters) reporter.join();
    const auto last = std::static_pointer_cast<WatchedSink>(installed);
    const int sent = last->Sent();
    WorkbenchReport(7).Report();
    EXPECT_EQ(last->Sent(), sent + 1);
    EXPECT_EQ(WorkbenchReport::SetSink(before), installed);
    installed.reset();
    EXPECT_EQ(faults.load(), 0);
}

}  // namespace
}  // namespace moxh5::test
