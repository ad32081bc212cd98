// What a C host is handed for each operation against the catalogue of host operations
// (moxh5/host_operations.h): its name, and its arguments as the catalogue lists and writes them.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "core/c_interface/c_host_adapter.h"
#include "core/delivery/pending_work.h"
#include "json_text.h"
#include "moxh5/host_operations.h"
#include "moxh5/platform.h"
#include "tests/fakes/bridge_fixture.h"

namespace moxh5::detail {
namespace {

struct Handed {
    std::vector<std::string> ops, args;  // as the host got them
    const char* reply = "false";         // refused by default: no work stays with this host
};

void MOXH5_CALL Operation(void* user, const char* op, const char* args, moxh5_token*,
                          moxh5_reply_slot* reply) {
    auto* handed = static_cast<Handed*>(user);
    handed->ops.push_back(op);
    handed->args.push_back(args);
    if (handed->reply) moxh5_reply(reply, handed->reply);
}

void MOXH5_CALL UserValue(void* user, const char* name, const char* mallcsid,
                          moxh5_reply_slot* reply) {
    static_cast<Handed*>(user)->ops.push_back(std::string(name) + " " + mallcsid);
    moxh5_reply(reply, "\"v\"");
}

moxh5_host_table TableFor(Handed& handed) {
    moxh5_host_table table;
    std::memset(&table, 0, sizeof table);
    table.size = sizeof table;
    table.user = &handed;
    table.operation = &Operation;
    table.user_value = &UserValue;
    return table;
}

// A value of each parameter type the catalogue uses, distinct per position
// `n` so that arguments swapped between names show; text that needs escaping.
template <typename T>
T Sample(int n) {
    static const mox_h5_module_data request =
        test::MakeCall("m", test::ParseJson(R"({"k":[1]})"), /*isWorker=*/true, "cb");
    if constexpr (std::is_same_v<T, std::string>) {
        return "s" + std::to_string(n) + "\"\\\xC3\xA9";
    } else if constexpr (std::is_same_v<T, std::wstring>) {
        return L"w" + std::to_wstring(n) + L"\u00e9";
    } else if constexpr (std::is_same_v<T, bool>) {
        return n % 2 == 1;
    } else if constexpr (std::is_integral_v<T>) {
        return static_cast<T>(n);
    } else if constexpr (std::is_same_v<T, const char*>) {
        return n % 3 == 2 ? nullptr : "c1";  // ShowToast's text: its length is 2
    } else if constexpr (std::is_same_v<T, Json::Value>) {
        return test::ParseJson("{\"k\":[" + std::to_string(n) + "]}");
    } else if constexpr (std::is_same_v<T, std::vector<std::string>>) {
        return {"u" + std::to_string(n), "v"};
    } else if constexpr (std::is_same_v<T, const mox_h5_module_data*>) {
        return &request;
    } else if constexpr (std::is_same_v<T, MoxPageIdentity>) {
        return {true, 7 + n, "m|c", "cb", "w", 0};
    } else if constexpr (std::is_same_v<T, EasyWndParam>) {
        return EasyWndParam{"t", "c", "s", {3, "d"}, {"lt", "la"}, {"rt", "ra"}};
    } else {
        return T();  // completions: never called, the host refuses
    }
}

// Calls the adapter's `method` and the catalogue's `expected` with the same samples, inside a
// hand-over of later work as a handler makes one; the host must get what the catalogue says.
template <typename Result, typename... Params, typename Expected>
void Check(const char* name, Result (CHostAdapter::*method)(Params...), Expected expected) {
    Handed handed;
    CHostAdapter adapter(TableFor(handed), 0x5EED);
    std::tuple<std::decay_t<Params>...> values;
    int n = 0;
    std::apply([&](auto&... value) { ((value = Sample<std::decay_t<decltype(value)>>(n++)), ...); },
               values);
    {
        LaterWork work(*Sample<const mox_h5_module_data*>(0));  // the work a handler hands over
        Json::Value ignored;
        ASSERT_TRUE(work.Open(ignored));
        std::apply([&](auto&... value) { (adapter.*method)(value...); }, values);
    }
    ReleaseHostWork(0x5EED);
    ASSERT_EQ(handed.ops, std::vector<std::string>{name});
    Json::Value got, want;
    ASSERT_TRUE(ParseJson(handed.args[0], got)) << name << ": " << handed.args[0];
    // Both read from text (numbers compare by value); equal: no name on one side only.
    ASSERT_TRUE(ParseJson(CompactJson(std::apply(expected, values)), want));
    EXPECT_EQ(got, want) << name << "\n got: " << handed.args[0] << "\nwant: " << CompactJson(want);
}

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#endif
#define EXPECTED_ARG(name, Type, doc) args[#name] = moxh5::operation::ToJson(name);
#define EXPECTED_ARG_VALUE(name, Type, value, doc) args[#name] = moxh5::operation::ToJson(value);
#define CHECK_OPERATION(Name, Shape, Params, Args, Doc)   \
    Check(#Name, &CHostAdapter::Name, [] Params {         \
        Json::Value args(Json::objectValue);              \
        Args return args;                                 \
    });

// Test every operation of the catalogue both ways: the host is handed all the catalogue's
// arguments and no other, each with its value, nested record members included.
TEST(CHostAdapter, EveryOperationHandsTheCataloguesArguments) {
    MOXH5_HOST_OPERATIONS(CHECK_OPERATION, EXPECTED_ARG, EXPECTED_ARG_VALUE)
}

#undef CHECK_OPERATION
#undef EXPECTED_ARG
#undef EXPECTED_ARG_VALUE
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

// Test what a reply means to the operations that hear it at once: only true accepts, a version
// is any JSON but false, a text only a JSON string; no reply is a refusal, no version, no text.
TEST(CHostAdapter, RepliesMeanWhatTheirShapeSays) {
    const struct {
        const char* reply;
        bool accepted;
        const char* version;  // null: no version
        const char* text;
    } kReplies[] = {
        {"true", true, "true", ""},     {"false", false, nullptr, ""},
        {nullptr, false, nullptr, ""},  {"1", false, "1", ""},
        {"\"t\"", false, "\"t\"", "t"}, {"{\"v\":[2]}", false, "{\"v\":[2]}", ""},
    };
    for (const auto& c : kReplies) {
        Handed handed;
        handed.reply = c.reply;
        CHostAdapter adapter(TableFor(handed), 1);
        Json::Value version;
        EXPECT_EQ(adapter.OpenGoodsManage("{}"), c.accepted) << c.reply;
        EXPECT_EQ(adapter.GetPluginVersion("p", version), c.version != nullptr) << c.reply;
        EXPECT_EQ(version, c.version ? test::ParseJson(c.version) : Json::Value()) << c.reply;
        EXPECT_EQ(adapter.GetClientLinkPrefix(), c.text) << c.reply;
    }
}

// Test that each user-centre question reaches the host under its documented name.
TEST(CHostAdapter, UserValuesAreAskedByTheirNames) {
    Handed handed;
    CHostAdapter adapter(TableFor(handed), 1);
    const std::vector<std::string> values = {adapter.GetMallId("m|c"), adapter.GetCsId("m|c"),
                                             adapter.GetCurrentUid("m|c"), adapter.GetCurrentMallCsId()};
    EXPECT_EQ(values, std::vector<std::string>(4, "v"));
    EXPECT_EQ(handed.ops, (std::vector<std::string>{"GetMallId m|c", "GetCsId m|c",
                                                    "GetCurrentUid m|c", "GetCurrentMallCsId "}));
}

}  // namespace
}  // namespace moxh5::detail
