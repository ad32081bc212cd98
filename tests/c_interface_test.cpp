// The C interface as a host sees it: the shared library, one process, one host
// at a time. The tour through C and Python hosts is checked by ctest; these
// cases cover the contract around it (codes, tokens, table sizes, defaults).
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <json/reader.h>

#include "moxh5/action_defaults.h"
#include "moxh5/module_manager.h"
#include "moxh5/moxh5_c.h"
#include "moxh5/os_seams.h"

namespace {

struct Recorded {
    std::vector<std::string> ops, args, pages, reports, asked;
    std::vector<moxh5_token*> tokens, offered;
    bool accept = true;
    bool silent = false;  // refuse by replying nothing
    std::atomic<bool> gone{false};  // the host was destroyed
    std::atomic<int> answersAfterGone{0};
};

void MOXH5_CALL Operation(void* user, const char* op, const char* args, moxh5_token* token,
                          moxh5_reply_slot* reply) {
    auto* r = static_cast<Recorded*>(user);
    r->ops.push_back(op);
    r->args.push_back(args);
    if (token) r->offered.push_back(token);
    if (token && r->accept) r->tokens.push_back(token);
    if (!r->silent) moxh5_reply(reply, r->accept ? "true" : "false");
}

void MOXH5_CALL PageAnswer(void* user, int isWorker, const char*, int, const char* id,
                           const char* data) {
    auto* r = static_cast<Recorded*>(user);
    if (r->gone) ++r->answersAfterGone;
    r->pages.push_back((isWorker ? "worker " : "render ") + std::string(id) + " " + data);
}

void MOXH5_CALL Report(void* user, const char* json) {
    static_cast<Recorded*>(user)->reports.push_back(json);
}

int MOXH5_CALL MethodAllowed(void* user, const char* page, const char*, const char* method) {
    static_cast<Recorded*>(user)->asked.push_back(std::string(page) + " " + method);
    return std::string(method) != "openWindow";
}

class CInterface : public ::testing::Test {
protected:
    void SetUp() override {
        std::memset(&table, 0, sizeof table);
        table.size = sizeof table;
        table.user = &recorded;
        table.operation = &Operation;
        table.page_answer = &PageAnswer;
        table.report = &Report;
        table.method_allowed = &MethodAllowed;
        ASSERT_EQ(moxh5_create(&table, &host), MOXH5_OK);
    }
    void TearDown() override { moxh5_destroy(host); }

    int Execute(const char* module, const std::string& request, unsigned* outcome = nullptr,
                std::string* answer = nullptr) {
        unsigned bits = 0;
        char* text = nullptr;
        const int status = moxh5_execute(host, module, request.c_str(), &bits, &text);
        if (outcome) *outcome = bits;
        if (answer && text) *answer = text;
        if (status == MOXH5_OK)
            moxh5_answer_page(host, request.c_str(), bits & MOXH5_HANDLED, text);
        moxh5_free(text);
        return status;
    }

    Recorded recorded;
    moxh5_host_table table{};
    moxh5_host* host = nullptr;
};

const char kTip[] =
    R"({"isWorker":true,"workerid":"w","callbackid":"tip-1","payload":{"method":"showCommonTip",)"
    R"("params":{"title":"t","content":"c","leftButtonText":"l","rightButtonText":"r"}}})";

const char kPost[] =
    R"({"isWorker":true,"callbackid":"net-1","payload":{"method":"httpRequest",)"
    R"("params":{"type":"post","url":"https://shop.example/","content":"","cookie":""}}})";


TEST_F(CInterface, RefusesBadArgumentsAndTexts) {
    moxh5_host* second = nullptr;
    moxh5_host_table tiny = table;
    tiny.size = offsetof(moxh5_host_table, operation);
    moxh5_host_table torn = table;  // a size that ends inside a member
    torn.size = offsetof(moxh5_host_table, method_allowed) + 2;
    unsigned outcome = 0;
    char* answer = nullptr;
    int exists = 0;
    struct Case {
        const char* name;
        int got, want;
    } cases[] = {
        {"second host", moxh5_create(&table, &second), MOXH5_ERROR_STATE},
        {"table too small", moxh5_create(&tiny, &second), MOXH5_ERROR_ARGUMENT},
        {"table torn", moxh5_create(&torn, &second), MOXH5_ERROR_ARGUMENT},
        {"trailing text", Execute("JSCallBasic", "{} {}"), MOXH5_ERROR_JSON},
        {"unknown host",
         moxh5_execute(reinterpret_cast<moxh5_host*>(&exists), "JSCallBasic", "{}", &outcome,
                       &answer),
         MOXH5_ERROR_STATE},
        {"exist, bad text", moxh5_exist(host, "nope", &exists), MOXH5_ERROR_JSON},
        {"page, bad answer", moxh5_answer_page(host, "{}", 1, "{"), MOXH5_ERROR_JSON},
        {"page, array answer", moxh5_answer_page(host, R"({"callbackid":"a"})", 1, "[1]"),
         MOXH5_ERROR_JSON},
        {"unknown token", moxh5_complete(reinterpret_cast<moxh5_token*>(&exists), "{}"),
         MOXH5_ERROR_STATE},
    };
    for (const Case& c : cases) EXPECT_EQ(c.got, c.want) << c.name;
    EXPECT_EQ(answer, nullptr);
    EXPECT_TRUE(recorded.pages.empty());
    EXPECT_EQ(moxh5_abi_version(), unsigned{MOXH5_C_ABI_VERSION});
    // A call that succeeds clears the last refusal's text.
    EXPECT_EQ(Execute("JSCallBasic", "{}"), MOXH5_OK);
    EXPECT_STREQ(moxh5_last_error(), "");
}

// Test that each null pointer is refused by its name before anything else is looked at.
TEST_F(CInterface, NullArgumentsAreRefusedByName) {
    moxh5_host* out = nullptr;
    unsigned outcome = 0;
    char* answer = nullptr;
    int exists = 0;
    auto* slot = reinterpret_cast<moxh5_reply_slot*>(&exists);  // never read: refused first
    // A refusal's text, read before the next call replaces it (braces evaluate in order).
    const auto refusal = [](int status) {
        return status == MOXH5_ERROR_ARGUMENT ? std::string(moxh5_last_error())
                                              : "status " + std::to_string(status);
    };
    const std::pair<std::string, const char*> cases[] = {
        {refusal(moxh5_create(nullptr, &out)), "moxh5_create: table is null"},
        {refusal(moxh5_create(&table, nullptr)), "moxh5_create: host is null"},
        {refusal(moxh5_destroy(nullptr)), "moxh5_destroy: host is null"},
        {refusal(moxh5_execute(nullptr, "m", "{}", &outcome, &answer)), "moxh5_execute: host is null"},
        {refusal(moxh5_execute(host, nullptr, "{}", &outcome, &answer)), "moxh5_execute: module is null"},
        {refusal(moxh5_execute(host, "m", nullptr, &outcome, &answer)), "moxh5_execute: request_json is null"},
        {refusal(moxh5_execute(host, "m", "{}", nullptr, &answer)), "moxh5_execute: outcome is null"},
        {refusal(moxh5_execute(host, "m", "{}", &outcome, nullptr)), "moxh5_execute: answer_json is null"},
        {refusal(moxh5_exist(nullptr, "{}", &exists)), "moxh5_exist: host is null"},
        {refusal(moxh5_exist(host, nullptr, &exists)), "moxh5_exist: request_json is null"},
        {refusal(moxh5_exist(host, "{}", nullptr)), "moxh5_exist: exists is null"},
        {refusal(moxh5_answer_page(nullptr, "{}", 1, "{}")), "moxh5_answer_page: host is null"},
        {refusal(moxh5_answer_page(host, nullptr, 1, "{}")), "moxh5_answer_page: page_json is null"},
        {refusal(moxh5_reply(nullptr, "true")), "moxh5_reply: reply is null"},
        {refusal(moxh5_reply(slot, nullptr)), "moxh5_reply: result_json is null"},
        {refusal(moxh5_complete(nullptr, "{}")), "moxh5_complete: token is null"},
        {refusal(moxh5_page_closed(nullptr, 0, 0, nullptr)), "moxh5_page_closed: host is null"},
        {refusal(moxh5_set_page_policy(nullptr, "{}")), "moxh5_set_page_policy: host is null"},
        {refusal(moxh5_set_page_policy(host, nullptr)), "moxh5_set_page_policy: policy_json is null"},
    };
    for (const auto& [got, want] : cases) EXPECT_EQ(got, want);
    EXPECT_EQ(out, nullptr);
}

// Test that request texts the reader cannot take are refused before any call, each with what
// was wrong; and that malformed members are told as malformed whatever their name.
TEST_F(CInterface, MalformedRequestTextsAreRefusedWithTheirReason) {
    const std::string notJson = "not a JSON object (or nested deeper than 128 levels)";
    const std::pair<std::string, std::string> cases[] = {
        {"", notJson},
        {"null", notJson},
        {R"({"unknown":[1 2],"mallcsid":1})", notJson},
        {R"({"mallcsid":["x"]})", "member \"mallcsid\" must be a string or null"},
    };
    for (const auto& [text, reason] : cases) {
        unsigned outcome = 0;
        char* answer = nullptr;
        EXPECT_EQ(moxh5_execute(host, "JSCallNative", text.c_str(), &outcome, &answer),
                  MOXH5_ERROR_JSON)
            << text;
        EXPECT_EQ(answer, nullptr) << text;
        EXPECT_EQ(moxh5_last_error(), "moxh5_execute: request_json: " + reason) << text;
        int exists = 0;
        EXPECT_EQ(moxh5_exist(host, text.c_str(), &exists), MOXH5_ERROR_JSON) << text;
        EXPECT_EQ(moxh5_answer_page(host, text.c_str(), 1, "{}"), MOXH5_ERROR_JSON) << text;
    }
    EXPECT_TRUE(recorded.ops.empty());
    EXPECT_TRUE(recorded.pages.empty());
}

// Test the payload bounds on both sides of the length that proves them: a request text of at
// most 1M bytes is within them by its length alone, a longer one is walked, and one past the
// bounds is refused as a call with "Invalid params." (no operation reached).
TEST_F(CInterface, PayloadBoundsHoldForShortAndLongTexts) {
    auto request = [](size_t elements) {
        std::string list;
        for (size_t i = 0; i < elements; ++i) list += i ? ",0" : "0";
        return R"({"callbackid":"b","payload":{"method":"showToast","params":{"content":"x",)"
               R"("list":[)" +
               list + "]}}}";
    };
    const struct {
        size_t elements;
        bool accepted;
    } cases[] = {{400000, true}, {800000, true}, {1000000, false}};
    for (const auto& c : cases) {
        const std::string text = request(c.elements);
        EXPECT_EQ(text.size() > 1000000, c.elements >= 800000) << c.elements;
        unsigned outcome = 0;
        std::string answer;
        recorded.ops.clear();
        ASSERT_EQ(Execute("JSCallNative", text, &outcome, &answer), MOXH5_OK) << c.elements;
        EXPECT_EQ(outcome, c.accepted ? MOXH5_REGISTERED | MOXH5_HANDLED : MOXH5_REGISTERED)
            << c.elements;
        EXPECT_EQ(recorded.ops.size(), c.accepted ? 1u : 0u) << c.elements;
        EXPECT_TRUE(c.accepted || answer == R"({"message":"Invalid params."})") << answer;
    }
}

TEST_F(CInterface, OperationsGetTheirArgumentsAsJsonAndPagesTheirEnvelopes) {
    unsigned outcome = 0;
    std::string answer;
    ASSERT_EQ(Execute("JSCallNative",
                      R"({"callbackid":"t-1","payload":{"method":"showToast",)"
                      R"("params":{"type":2,"content":"\u00e9","duration":900}}})",
                      &outcome, &answer),
              MOXH5_OK);
    EXPECT_EQ(outcome, MOXH5_REGISTERED | MOXH5_HANDLED);
    EXPECT_EQ(answer, "{}");
    ASSERT_EQ(recorded.ops, std::vector<std::string>{"ShowToast"});
    ASSERT_EQ(recorded.pages.size(), 1u);
    EXPECT_NE(recorded.pages[0].find("render t-1 {"), std::string::npos);
    ASSERT_EQ(recorded.reports.size(), 1u);
    Json::Value report;
    std::istringstream(recorded.reports[0]) >> report;
    EXPECT_EQ(report.getMemberNames(), (std::vector<std::string>{"counters", "id", "tags"}));
    EXPECT_EQ(report["tags"]["method"], "showToast");

    ASSERT_EQ(Execute("JSNothing", "{}", &outcome, &answer), MOXH5_OK);
    EXPECT_EQ(outcome, 0u);
    EXPECT_EQ(answer, "{}");
}

TEST_F(CInterface, AcceptedWorkIsCompletedOnceWithItsToken) {
    ASSERT_EQ(Execute("JSCallNative", kTip), MOXH5_OK);
    ASSERT_EQ(recorded.tokens.size(), 1u);
    EXPECT_TRUE(recorded.pages.empty());
    moxh5_token* token = recorded.tokens[0];
    // A result of the wrong shape leaves the token with the host.
    EXPECT_EQ(moxh5_complete(token, R"({"success":"yes"})"), MOXH5_ERROR_JSON);
    EXPECT_EQ(moxh5_complete(token, R"({"answer":[1]})"), MOXH5_ERROR_JSON);
    EXPECT_TRUE(recorded.pages.empty());
    // Completed from another thread, as a host's worker would.
    int status = MOXH5_ERROR_INTERNAL;
    std::thread([&] {
        status = moxh5_complete(token, R"({"answer":{"data":{"button":"left"}}})");
    }).join();
    EXPECT_EQ(status, MOXH5_OK);
    ASSERT_EQ(recorded.pages.size(), 1u);
    EXPECT_NE(recorded.pages[0].find("worker tip-1"), std::string::npos);
    EXPECT_NE(recorded.pages[0].find("left"), std::string::npos);
    EXPECT_EQ(moxh5_complete(token, nullptr), MOXH5_ERROR_STATE);
}

// A token of a closed page is completed without an answer, even when the reloaded page
// has new work under the same callback id; the new work is answered.
TEST_F(CInterface, ClosedPagesHearNoLateAnswers) {
    ASSERT_EQ(Execute("JSNetwork", kPost), MOXH5_OK);
    EXPECT_EQ(moxh5_page_closed(host, 1, 0, nullptr), MOXH5_OK);
    ASSERT_EQ(Execute("JSNetwork", kPost), MOXH5_OK);
    ASSERT_EQ(recorded.tokens.size(), 2u);
    EXPECT_EQ(moxh5_complete(recorded.tokens[0], R"({"answer":{"data":"old"}})"), MOXH5_OK);
    EXPECT_TRUE(recorded.pages.empty());
    EXPECT_EQ(moxh5_complete(recorded.tokens[1], R"({"answer":{"data":"new"}})"), MOXH5_OK);
    ASSERT_EQ(recorded.pages.size(), 1u);
    EXPECT_NE(recorded.pages[0].find("new"), std::string::npos);
    EXPECT_EQ(moxh5_complete(recorded.tokens[1], nullptr), MOXH5_ERROR_STATE);
}

std::vector<std::string> g_shellTargets;
uintptr_t RecordShellOpen(const std::wstring& target) {
    g_shellTargets.emplace_back(target.begin(), target.end());
    return 42;
}

// The page policy from JSON, and the table's method filter (the fixture's denies "openWindow").
TEST_F(CInterface, PagePolicyAndMethodFilter) {
    MoxH5SetShellOpenHook(&RecordShellOpen);
    std::string answer;
    const auto run = [&](const char* method, const char* params) {
        Execute("JSCallNative",
                std::string(R"({"webindex":2,"mallcsid":"m","payload":{"method":")") + method +
                    R"(","params":)" + params + "}}",
                nullptr, &answer);
        return answer;
    };
    for (const char* policy :
         {R"({"shellSchemes":"https"})", R"({"unrestricted":1})", R"({"fileRoot":["/tmp"]})",
          R"({"fileRoots":["/tmp",3]})", R"({"allowedNetworkHosts":"localhost"})",
          R"({"allowedShellFileNames":[".url",null]})", "[]"}) {
        EXPECT_EQ(moxh5_set_page_policy(host, policy), MOXH5_ERROR_JSON) << policy;
    }
    EXPECT_EQ(moxh5_set_page_policy(host, R"({"unrestricted":false,"shellSchemes":["https"],)"
                                          R"("fileRoots":[],)"
                                          R"("allowedNetworkHosts":["localhost"],)"
                                          R"("allowedShellFileNames":[".url"]})"),
              MOXH5_OK);
    EXPECT_EQ(run("openWindow", "{}"),
              R"({"NoNeedUnifyCallBack":true,"message":"Invalid method.","support":false})");
    EXPECT_EQ(recorded.asked.back(),
              R"({"isWorker":false,"webindex":2,"mallcsid":"m","workerid":""} openWindow)");
    // The policy is read without locks once calls run: it is a start-up call.
    EXPECT_EQ(moxh5_set_page_policy(host, R"({"unrestricted":true})"), MOXH5_ERROR_STATE);
    EXPECT_NE(std::string(moxh5_last_error()).find("start-up"), std::string::npos);
    EXPECT_EQ(run("windowsDownLoad", R"({"url":"http://dl.example/a"})"),
              R"({"message":"download failed"})");
    run("windowsDownLoad", R"({"url":"https://dl.example/a"})");
    EXPECT_EQ(g_shellTargets, std::vector<std::string>{"https://dl.example/a"});
    MoxH5SetShellOpenHook(nullptr);
}

// Test that later work the host refuses, by answering false or nothing, fails the call, is
// answered at once as failed, and that its token is dead.
TEST_F(CInterface, RefusedLaterWorkIsAnsweredAtOnce) {
    const std::string kSelect =
        R"({"callbackid":"sel-1","payload":{"method":"selectFile","params":{}}})";
    const struct {
        const char* module;
        std::string request;
    } kWork[] = {{"JSCallNative", kTip}, {"JSNetwork", kPost}, {"JSCallNative", kSelect}};
    for (const bool silent : {false, true}) {
        for (const auto& w : kWork) {
            recorded.pages.clear();
            recorded.offered.clear();
            recorded.accept = false;
            recorded.silent = silent;
            unsigned outcome = 0;
            ASSERT_EQ(Execute(w.module, w.request, &outcome), MOXH5_OK);
            EXPECT_EQ(outcome, MOXH5_REGISTERED) << w.request << silent;
            ASSERT_EQ(recorded.pages.size(), 1u) << w.request << silent;
            EXPECT_NE(recorded.pages[0].find(R"("success":false)"), std::string::npos);
            ASSERT_EQ(recorded.offered.size(), 1u);
            EXPECT_EQ(moxh5_complete(recorded.offered[0], nullptr), MOXH5_ERROR_STATE);
            EXPECT_EQ(recorded.pages.size(), 1u);
        }
    }
}

// Test that a token can only ever complete its own work: not twice, not after
// its host was destroyed, and never a later host's page.
TEST_F(CInterface, TokensOfADestroyedHostAnswerNothing) {
    ASSERT_EQ(Execute("JSCallNative", kTip), MOXH5_OK);
    ASSERT_EQ(recorded.tokens.size(), 1u);
    moxh5_token* old = recorded.tokens[0];
    ASSERT_EQ(moxh5_destroy(host), MOXH5_OK);
    ASSERT_EQ(moxh5_create(&table, &host), MOXH5_OK);
    ASSERT_EQ(Execute("JSCallNative", kTip), MOXH5_OK);  // the same page and id again
    ASSERT_EQ(recorded.tokens.size(), 2u);
    EXPECT_EQ(moxh5_complete(old, R"({"answer":{"data":"old"}})"), MOXH5_ERROR_STATE);
    EXPECT_TRUE(recorded.pages.empty());
    EXPECT_EQ(moxh5_complete(recorded.tokens[1], R"({"answer":{"data":"new"}})"), MOXH5_OK);
    ASSERT_EQ(recorded.pages.size(), 1u);
    EXPECT_NE(recorded.pages[0].find("new"), std::string::npos);
}

// Test that destroying the host while another thread completes its tokens
// touches nothing freed, and that no page answer follows the destroy.
TEST_F(CInterface, DestroyWhileTokensCompleteIsSafe) {
    for (int i = 0; i < 300; ++i) ASSERT_EQ(Execute("JSCallNative", kTip), MOXH5_OK);
    ASSERT_EQ(recorded.tokens.size(), 300u);
    recorded.pages.clear();
    std::atomic<int> expected{0};
    std::thread completer([&] {
        for (moxh5_token* token : recorded.tokens) {
            const int status = moxh5_complete(token, nullptr);
            expected += status == MOXH5_OK || status == MOXH5_ERROR_STATE;
        }
    });
    std::this_thread::yield();
    ASSERT_EQ(moxh5_destroy(host), MOXH5_OK);
    recorded.gone = true;
    completer.join();
    EXPECT_EQ(expected, 300);
    EXPECT_EQ(recorded.answersAfterGone, 0);
    EXPECT_EQ(moxh5_execute(host, "JSCallBasic", "{}", nullptr, nullptr), MOXH5_ERROR_ARGUMENT);
    ASSERT_EQ(moxh5_create(&table, &host), MOXH5_OK);
}

// An older host's table, without log and report, still works, and a host
// created after a destroyed one serves the calls.
TEST(CInterfaceTable, OlderTableAndSecondHost) {
    Recorded recorded;
    moxh5_host_table table{};
    table.size = offsetof(moxh5_host_table, log);
    table.user = &recorded;
    table.page_answer = &PageAnswer;
    table.report = &Report;  // beyond the given size: never called
    moxh5_host* host = nullptr;
    ASSERT_EQ(moxh5_create(&table, &host), MOXH5_OK);
    unsigned outcome = 0;
    char* answer = nullptr;
    ASSERT_EQ(moxh5_execute(host, "JSNetwork", kPost, &outcome, &answer), MOXH5_OK);
    moxh5_free(answer);
    EXPECT_EQ(outcome, MOXH5_REGISTERED);  // no operation callback: not supported
    EXPECT_TRUE(recorded.reports.empty());
    EXPECT_EQ(moxh5_destroy(host), MOXH5_OK);
    EXPECT_EQ(moxh5_destroy(host), MOXH5_ERROR_STATE);
}

// Test that a host opting in to the page-carrying callbacks learns the page of
// every operation and answer (worker id included), while a host built against
// the previous table layout keeps its older twins.
struct PageRecorded {
    std::vector<std::string> operations, answers;
    moxh5_token* token = nullptr;
};

void MOXH5_CALL PageOperation(void* user, const char* op, const char* page, const char*,
                              moxh5_token* token, moxh5_reply_slot* reply) {
    auto* r = static_cast<PageRecorded*>(user);
    r->operations.push_back(std::string(op) + " " + page);
    if (token) r->token = token;
    moxh5_reply(reply, "true");
}

void MOXH5_CALL PageAnswerTo(void* user, const char* page, const char* data) {
    static_cast<PageRecorded*>(user)->answers.push_back(std::string(page) + " " + data);
}

TEST(CInterfaceTable, PageCarryingCallbacksNameTheWholePage) {
    PageRecorded recorded;
    moxh5_host_table table{};
    table.size = sizeof table;
    table.user = &recorded;
    table.page_operation = &PageOperation;
    table.page_answer_to = &PageAnswerTo;
    table.operation = &Operation;      // replaced by page_operation
    table.page_answer = &PageAnswer;   // replaced by page_answer_to
    moxh5_host* host = nullptr;
    ASSERT_EQ(moxh5_create(&table, &host), MOXH5_OK);
    unsigned outcome = 0;
    char* answer = nullptr;
    ASSERT_EQ(moxh5_execute(host, "JSCallNative", kTip, &outcome, &answer), MOXH5_OK);
    ASSERT_EQ(moxh5_answer_page(host, kTip, 1, answer), MOXH5_OK);
    moxh5_free(answer);
    ASSERT_NE(recorded.token, nullptr);
    ASSERT_EQ(moxh5_complete(recorded.token, R"({"success":true,"answer":{"b":1}})"), MOXH5_OK);
    const std::string page =
        R"({"isWorker":true,"webindex":0,"mallcsid":"","callbackid":"tip-1","workerid":"w"})";
    EXPECT_EQ(recorded.operations, std::vector<std::string>{"ShowCommonTip " + page});
    EXPECT_EQ(recorded.answers, std::vector<std::string>{
                                    page + R"( {"b":1,"data":null,"message":"success","success":true})"});
    EXPECT_EQ(moxh5_destroy(host), MOXH5_OK);

    // The previous layout ends before the page-carrying callbacks.
    Recorded older;
    moxh5_host_table previous{};
    previous.size = offsetof(moxh5_host_table, page_answer_to);
    previous.user = &older;
    previous.operation = &Operation;
    previous.page_answer = &PageAnswer;
    previous.page_operation = &PageOperation;  // beyond the given size: never called
    ASSERT_EQ(moxh5_create(&previous, &host), MOXH5_OK);
    ASSERT_EQ(moxh5_execute(host, "JSCallNative", kTip, &outcome, &answer), MOXH5_OK);
    moxh5_free(answer);
    EXPECT_EQ(older.ops, std::vector<std::string>{"ShowCommonTip"});
    EXPECT_EQ(moxh5_destroy(host), MOXH5_OK);
}

// The process's manager, its modules ready, with `host` installed.
MoxModuleManager* ManagerServing(IH5ActionImplCallBack& host) {
    MoxModuleManager* manager = MoxModuleManager::GetInstance();
    if (manager->Modules().empty()) {
        manager->Init(nullptr, nullptr, MoxConfigCallback());
        manager->Create();
    }
    manager->SetCallback(&host);
    return manager;
}

// Test that a C++ host learns the page it serves: the calling page, with the
// ticket of the work it is handed, inside an operation; the answered page,
// worker id included, inside the page callback; nothing elsewhere.
class PageAwareHost : public H5ActionDefaults {
public:
    bool HttpGet(int, const mox_h5_module_data*, int, const std::string&, const std::string&,
                 MoxPageCallbackFn, const std::string&, const std::string&,
                 const std::string&) override {
        return moxh5::CurrentPage(handed);
    }
    void WorkerJsCallback(const std::string&, int, const std::string&,
                          const std::string& data) override {
        MoxPageIdentity page;
        if (moxh5::CurrentPage(page)) answered.push_back(page.workerid + " " + data);
    }
    MoxPageIdentity handed;
    std::vector<std::string> answered;
};

TEST(ActionDefaults, CurrentPageNamesTheCallingAndTheAnsweredPage) {
    PageAwareHost host;
    MoxModuleManager* manager = ManagerServing(host);
    mox_h5_module_data call;
    call.isWorker = true;
    call.workerid = "w-2";
    call.callbackid = "get-1";
    call.payload["method"] = "httpRequest";
    call.payload["params"]["type"] = "get";
    call.payload["params"]["url"] = "https://shop.example/";
    Json::Value answer(Json::objectValue);
    EXPECT_EQ(manager->Execute("JSNetwork", call, answer), std::make_tuple(true, true));
    EXPECT_EQ(host.handed.workerid, "w-2");
    EXPECT_NE(host.handed.ticket, 0u);
    MoxPageIdentity outside;
    EXPECT_FALSE(moxh5::CurrentPage(outside));
    Json::Value response(Json::objectValue);
    response["status"] = 200;
    EXPECT_TRUE(moxh5::AnswerPage(host.handed, true, response));
    EXPECT_FALSE(moxh5::AnswerPage(host.handed, true, response));  // exactly once
    ASSERT_EQ(host.answered.size(), 1u);
    EXPECT_EQ(host.answered[0].rfind("w-2 {", 0), 0u) << host.answered[0];
    call.payload["params"]["type"] = "post";  // not overridden: "not supported", answered at once
    EXPECT_EQ(manager->Execute("JSNetwork", call, answer), std::make_tuple(true, false));
    manager->SetCallback(nullptr);
}

}  // namespace
