// Tests of the module manager: registry, creation, routing and Exist.
#include <gtest/gtest.h>

#include <set>

#include "modules/module_adapters.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

// A worker that counts instances and answers with its own tag, so a test can
// tell which registration served a call.
int g_workersBuilt = 0;

template <int Tag>
class TaggedWorker : public IModuleWorker {
public:
    TaggedWorker() { ++g_workersBuilt; }
    bool Execute(const mox_module_data*, Json::Value& answer) override {
        answer["servedBy"] = Tag;
        return true;
    }
    bool Exist(const std::string& method) override { return method == "m" + std::to_string(Tag); }
};

template <int Tag>
mox_source_info_t TaggedModule(const std::string& name) {
    mox_source_info_t info;
    info.name = name;
    info.create_fn = [] {
        return std::shared_ptr<IModuleWorker>(std::make_shared<TaggedWorker<Tag>>());
    };
    info.execute_fn = [](std::shared_ptr<IModuleWorker> w, const mox_module_data* d,
                         Json::Value& a) { return w && w->Execute(d, a); };
    info.exist_fn = [](std::shared_ptr<IModuleWorker> w, const std::string& m) {
        return w && w->Exist(m);
    };
    return info;
}

Json::Value NameParams(const std::string& name) {
    Json::Value params;
    params["name"] = name;
    return params;
}

// Test that an unknown module answers (false, false) and leaves the answer alone.
TEST(ModuleManager, UnknownModuleIsNotRegisteredAndAnswerStaysUntouched) {
    TestManager manager;
    manager.Register(TaggedModule<1>("A"));
    manager.Create();
    Json::Value answer;
    answer["keep"] = 1;
    const mox_h5_module_data call = MakeCall("x");
    EXPECT_EQ(manager.Execute("B", call, answer), std::make_tuple(false, false));
    EXPECT_EQ(answer, ParseJson(R"({"keep":1})"));
}

// Test that a second registration under a name keeps both entries and the newer serves.
TEST(ModuleManager, NewerRegistrationOfANameServesExecuteAndExist) {
    TestManager manager;
    manager.Register(TaggedModule<1>("A"));
    manager.Register(TaggedModule<2>("A"));
    g_workersBuilt = 0;
    manager.Create();
    EXPECT_EQ(manager.Modules().count("A"), 2u);
    EXPECT_EQ(g_workersBuilt, 2);

    Json::Value answer;
    EXPECT_EQ(manager.Execute("A", MakeCall("x"), answer), std::make_tuple(true, true));
    EXPECT_EQ(answer["servedBy"].asInt(), 2);
    EXPECT_TRUE(manager.Exist(MakeCall("canIUse", NameParams("A.m2"))));
    EXPECT_FALSE(manager.Exist(MakeCall("canIUse", NameParams("A.m1"))));
}

// Test that Create builds each worker once, however often it is called.
TEST(ModuleManager, SecondCreateBuildsNoWorker) {
    TestManager manager;
    manager.Register(TaggedModule<1>("A"));
    g_workersBuilt = 0;
    EXPECT_TRUE(manager.Create());
    EXPECT_TRUE(manager.Create());
    EXPECT_EQ(g_workersBuilt, 1);
    EXPECT_TRUE(TestManager().Create());  // an empty registry is fine
}

// Test that Execute before Create reaches the module, whose adapter refuses the empty worker.
TEST(ModuleManager, ExecuteBeforeCreateIsRegisteredButFails) {
    ScopedLogCapture log;
    TestManager manager;
    manager.Register(h5_Basic_source_info());
    Json::Value answer;
    EXPECT_EQ(manager.Execute("JSCallBasic", MakeCall("setLog"), answer),
              std::make_tuple(true, false));
    EXPECT_TRUE(answer.isNull());
    EXPECT_TRUE(log->Contains("[MoxH5] false in h5_Basic_execute"));
}

// Test that Init keeps the interfaces and registers the seven modules.
TEST(ModuleManager, InitKeepsInterfacesAndRegistersSevenModules) {
    TestManager manager;
    RecordingHost host;
    int asked = 0;
    manager.Init(&host, nullptr,
                 [&asked](const std::string&, const std::string&, const MoxConfigValue&) {
                     ++asked;
                     return true;
                 });
    EXPECT_EQ(manager.GetUserCenter(), &host);
    EXPECT_EQ(manager.GetHttpBizMonitor(), nullptr);
    EXPECT_EQ(manager.GetCallback(), nullptr);
    ASSERT_TRUE(manager.GetConfigCallback());
    EXPECT_TRUE(manager.GetConfigCallback()("k", "", MoxConfigValue(false)));
    EXPECT_EQ(asked, 1);

    std::set<std::string> names;
    for (const auto& [name, entry] : manager.Modules()) {
        EXPECT_EQ(name, entry.name);
        EXPECT_EQ(entry.name_fn(), name);
        EXPECT_FALSE(entry.worker);
        names.insert(name);
    }
    EXPECT_EQ(names, (std::set<std::string>{"JSCallBasic", "JSDevice", "JSNetwork", "JSPhoto",
                                            "MMSSocket", "JSStorage", "JSCallNative"}));
    manager.SetCallback(&host);
    EXPECT_EQ(manager.GetCallback(), &host);
    manager.Create();
    for (const auto& [name, entry] : manager.Modules()) EXPECT_TRUE(entry.worker) << name;
}

// Test the page's "is it available?" question for module and method names.
TEST(ModuleManager, ExistAnswersModuleAndMethodNames) {
    TestManager manager;
    manager.Init(nullptr, nullptr, {});
    manager.Create();
    const struct {
        const char* name;
        bool exists;
    } cases[] = {
        {"JSCallBasic", true},
        {"JSCallBasic.canIUse", true},
        {"JSCallBasic.setLog", true},
        {"JSCallBasic.canIUse.extra", true},  // parts after the second are ignored
        {"JSCallBasic.CANIUSE", false},
        {"JSCallBasic.", false},
        {"JSCallBasic.nothing", false},
        {"JSStorage", true},
        {"JSCallNative", true},
        {"NoSuchModule", false},
        {"NoSuchModule.canIUse", false},
        {".canIUse", false},
        {"", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(manager.Exist(MakeCall("canIUse", NameParams(c.name))), c.exists) << c.name;
    }
}

// Test that Exist refuses payloads without a usable "name", with its log line.
TEST(ModuleManager, ExistRefusesMalformedPayloads) {
    TestManager manager;
    manager.Init(nullptr, nullptr, {});
    manager.Create();
    ScopedLogCapture log;
    mox_h5_module_data call = MakeCall("canIUse");
    call.payload = ParseJson(R"({"method":"canIUse"})");
    EXPECT_FALSE(manager.Exist(call));
    call.payload = ParseJson(R"(["JSCallBasic"])");
    EXPECT_FALSE(manager.Exist(call));
    call.payload = ParseJson(R"({"params":{"name":5}})");
    EXPECT_FALSE(manager.Exist(call));
    call.payload = ParseJson(R"({"params":"JSCallBasic"})");
    EXPECT_FALSE(manager.Exist(call));
    EXPECT_EQ(log->Matching("[MoxH5] false in MoxModuleManager::Exist").size(), 4u);
}

}  // namespace
}  // namespace moxh5::test

namespace moxh5::test {
namespace {

class ThrowingWorker : public IModuleWorker {
public:
    bool Execute(const mox_module_data*, Json::Value& answer) override {
        answer["partial"] = true;
        throw std::bad_alloc();
    }
    bool Exist(const std::string&) override { throw std::runtime_error("lookup failed"); }
};

mox_source_info_t ThrowingModule() {
    mox_source_info_t info;
    info.name = "Throwing";
    info.create_fn = [] {
        return std::shared_ptr<IModuleWorker>(std::make_shared<ThrowingWorker>());
    };
    info.execute_fn = [](std::shared_ptr<IModuleWorker> w, const mox_module_data* d,
                         Json::Value& a) { return w->Execute(d, a); };
    info.exist_fn = [](std::shared_ptr<IModuleWorker> w, const std::string& m) {
        return w->Exist(m);
    };
    return info;
}

// Test that no exception crosses into the host, and that each is logged with its method.
TEST(ModuleManager, ExceptionsStopAtTheManagerAndAreLogged) {
    TestManager manager;
    manager.Register(ThrowingModule());
    manager.Create();
    ScopedLogCapture log;
    Json::Value answer;
    EXPECT_EQ(manager.Execute("Throwing", MakeCall("explode"), answer),
              std::make_tuple(true, false));
    EXPECT_FALSE(manager.Exist(MakeCall("canIUse", ParseJson(R"({"name":"Throwing.x"})"))));
    const auto lines = log->Matching("[MoxH5] exception in MoxModuleManager::");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].priority, LOG_PRIORITY_ERROR);
    EXPECT_NE(lines[0].text.find("Execute, method explode: std::bad_alloc"), std::string::npos)
        << lines[0].text;
    EXPECT_NE(lines[1].text.find("Exist, method canIUse: lookup failed"), std::string::npos)
        << lines[1].text;
}

}  // namespace
}  // namespace moxh5::test
