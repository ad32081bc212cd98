// Tests of the module manager: registry, creation, routing, Exist and the
// exception barrier.
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

// A worker that counts instances and answers with its own tag, so a test can
// tell which registration served a call; tag 0 throws instead.
int g_workersBuilt = 0;

template <int Tag>
class TaggedWorker : public IModuleWorker {
public:
    TaggedWorker() { ++g_workersBuilt; }
    bool Execute(const mox_module_data*, Json::Value& answer) override {
        answer["servedBy"] = Tag;
        if (Tag == 0) throw std::bad_alloc();
        return true;
    }
    bool Exist(const std::string& method) override {
        if (Tag == 0) throw std::runtime_error("lookup failed");
        return method == "m" + std::to_string(Tag);
    }
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

mox_h5_module_data CanIUse(const std::string& name) {
    Json::Value params;
    params["name"] = name;
    return MakeCall("canIUse", params);
}

// Test that every call's lookup follows the registry: names told apart by length and bytes, a
// module without an execute function refusing, Create building each worker once, a second
// registration under a name serving at once (with no worker until the next Create), and managers
// made and dropped one after another each finding only their own modules.
TEST(ModuleManager, LookupFollowsRegistrationsAndManagers) {
    auto servedBy = [](MoxModuleManager& manager, const std::string& name) {
        Json::Value answer;
        const auto [registered, handled] = manager.Execute(name, MakeCall("x"), answer);
        return !registered ? -1 : !handled ? 0 : answer["servedBy"].asInt();
    };
    auto first = std::make_unique<TestManager>();
    first->Register(TaggedModule<1>("A"));
    first->Register(TaggedModule<2>("BB"));
    first->Register(TaggedModule<3>("BC"));
    mox_source_info_t withoutExecute = TaggedModule<7>("C");
    withoutExecute.execute_fn = nullptr;
    first->Register(withoutExecute);
    g_workersBuilt = 0;
    EXPECT_TRUE(first->Create());
    EXPECT_TRUE(first->Create());
    EXPECT_EQ(g_workersBuilt, 4);
    const std::pair<const char*, int> names[] = {{"A", 1},  {"BB", 2},  {"BC", 3},  {"C", 0},
                                                 {"B", -1}, {"AA", -1}, {"BD", -1}, {"", -1}};
    for (const auto& [name, tag] : names) EXPECT_EQ(servedBy(*first, name), tag) << name;
    {
        TestManager second;
        second.Register(TaggedModule<4>("A"));
        EXPECT_TRUE(second.Create());
        EXPECT_EQ(servedBy(second, "A"), 4);
        EXPECT_EQ(servedBy(second, "BB"), -1);
        EXPECT_EQ(servedBy(*first, "A"), 1);
        EXPECT_EQ(servedBy(*first, "BB"), 2);
    }
    first->Register(TaggedModule<5>("A"));
    EXPECT_EQ(servedBy(*first, "A"), 0) << "the newer entry serves, still without a worker";
    EXPECT_TRUE(first->Create());
    EXPECT_EQ(servedBy(*first, "A"), 5);
    EXPECT_EQ(first->Modules().count("A"), 2u);
    EXPECT_TRUE(first->Exist(CanIUse("A.m5")));
    EXPECT_FALSE(first->Exist(CanIUse("A.m1")));
    first.reset();
    TestManager third;
    third.Register(TaggedModule<6>("BB"));
    EXPECT_TRUE(third.Create());
    EXPECT_EQ(servedBy(third, "BB"), 6);
    EXPECT_EQ(servedBy(third, "A"), -1);
}

// Test that the page's "is it available?" question refuses the payloads without a usable "name",
// each with its log line. (The names themselves: the basic transcript and
// HostilePage.DeepOrHugePayloadsReachNoModule.)
TEST(ModuleManager, ExistRefusesPayloadsWithoutAName) {
    TestManager manager;
    manager.Init(nullptr, nullptr, {});
    manager.Create();
    ScopedLogCapture log;
    mox_h5_module_data call = MakeCall("canIUse");
    for (const char* payload : {R"({"method":"canIUse"})", R"(["JSCallBasic"])",
                                R"({"params":{"name":5}})", R"({"params":"JSCallBasic"})"}) {
        call.payload = ParseJson(payload);
        EXPECT_FALSE(manager.Exist(call)) << payload;
    }
    EXPECT_EQ(log->Matching("[MoxH5] false in MoxModuleManager::Exist").size(), 4u);
}

// Test that no exception crosses into the host, and that each is logged with its method.
TEST(ModuleManager, ExceptionsStopAtTheManagerAndAreLogged) {
    TestManager manager;
    manager.Register(TaggedModule<0>("Throwing"));
    manager.Create();
    ScopedLogCapture log;
    Json::Value answer;
    EXPECT_EQ(manager.Execute("Throwing", MakeCall("explode"), answer),
              std::make_tuple(true, false));
    EXPECT_FALSE(manager.Exist(CanIUse("Throwing.x")));
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
