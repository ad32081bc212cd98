#include "tools/bench/bench_cases.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

#include "MoxLog.h"
#include "json_text.h"
#include "moxh5/action_defaults.h"
#include "moxh5/module_manager.h"
#include "moxh5/moxh5_c.h"
#include "moxh5/page_callback.h"

// Every allocation of the process is counted, the library's and jsoncpp's
// included: the cases report allocations per call beside their time.
namespace {
std::atomic<uint64_t> g_allocations{0};

void* Allocate(size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(size ? size : 1);
}
}  // namespace

void* operator new(size_t size) {
    if (void* p = Allocate(size)) return p;
    throw std::bad_alloc();
}
void* operator new[](size_t size) {
    if (void* p = Allocate(size)) return p;
    throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }

namespace moxh5::bench {
namespace {

const std::string kNative = "JSCallNative";
constexpr char kToastText[] = "The parcel left the warehouse this morning.";
constexpr char kToastRequest[] =
    R"({"mallcsid":"mall-1|cs-1","isWorker":false,"webindex":3,"callbackid":"cb-1",)"
    R"("payload":{"method":"showToast","params":{"type":1,"duration":1500,)"
    R"("content":"The parcel left the warehouse this morning."}}})";
// The page the page-closed cases close: it has nothing pending, while
// kPendingEntries entries wait on other pages.
constexpr int kQuietPage = 7;
constexpr int kPendingEntries = 100000;
constexpr int kPendingPages = 1000;

// A C++ host that only counts what it is asked. It accepts tips (so that work
// stays pending) and hands out a prepared plugin version.
class CountingHost final : public H5ActionDefaults {
public:
    void ShowToast(int kind, const char* text, size_t length, int durationMs) override {
        ++toasts;
        toastSum += static_cast<uint64_t>(kind) + length + static_cast<uint64_t>(durationMs) +
                    static_cast<unsigned char>(text[0]);
    }
    bool ShowCommonTip(bool, std::string, std::string, std::string, std::string,
                       MoxTipCompletion) override {
        ++tips;
        return true;
    }
    // Hands over the version it was given (Prepare), without copying it.
    bool GetPluginVersion(const std::string&, Json::Value& result) override {
        result.swap(version);
        return true;
    }
    void RenderJsCallback(const std::string&, int, const std::string&,
                          const std::string& data) override {
        ++answers;
        answerBytes += data.size();
    }
    void WorkerJsCallback(const std::string&, int, const std::string&,
                          const std::string& data) override {
        ++answers;
        answerBytes += data.size();
    }

    uint64_t toasts = 0;
    uint64_t toastSum = 0;
    uint64_t tips = 0;
    uint64_t answers = 0;
    uint64_t answerBytes = 0;
    Json::Value version;
};

CountingHost& CppHost() {
    static CountingHost& host = *new CountingHost;
    return host;
}

// What the C host's callbacks heard.
struct CCounts {
    uint64_t operations = 0;
    uint64_t argBytes = 0;
    uint64_t answers = 0;
    uint64_t answerBytes = 0;
};
CCounts g_c;
moxh5_host* g_host = nullptr;

void MOXH5_CALL CountOperation(void*, const char* operation, const char* args, moxh5_token*,
                               moxh5_reply_slot* reply) {
    ++g_c.operations;
    g_c.argBytes += std::strlen(args);
    if (std::strcmp(operation, "ShowCommonTip") == 0) moxh5_reply(reply, "true");
}

void MOXH5_CALL CountAnswer(void*, int, const char*, int, const char*, const char* data) {
    ++g_c.answers;
    g_c.answerBytes += std::strlen(data);
}

class NullSink final : public IMoxLogSink {
public:
    explicit NullSink(int maxPriority) : m_maxPriority(maxPriority) {}
    int MaxPriority() const override { return m_maxPriority; }
    void Write(const MoxLogRecord&) override {}

private:
    int m_maxPriority;
};

// The counting C++ host installed for a case's lifetime, in place of the C
// host's adapter (one manager serves both).
class CppHostScope {
public:
    CppHostScope() : m_previous(MoxModuleManager::GetInstance()->GetCallback()) {
        MoxModuleManager::GetInstance()->SetCallback(&CppHost());
    }
    ~CppHostScope() { MoxModuleManager::GetInstance()->SetCallback(m_previous); }
    CppHostScope(const CppHostScope&) = delete;
    CppHostScope& operator=(const CppHostScope&) = delete;

private:
    IH5ActionImplCallBack* m_previous;
};

mox_h5_module_data ToastCall() {
    mox_h5_module_data call;
    call.mallcsid = "mall-1|cs-1";
    call.webindex = 3;
    call.callbackid = "cb-1";
    call.payload["method"] = "showToast";
    Json::Value& params = call.payload["params"];
    params["type"] = 1;
    params["duration"] = 1500;
    params["content"] = kToastText;
    return call;
}

// What any host boundary must do for this call, library or not: find the
// method and the three parameters in the page's JSON and hand them to the
// host's toast.
bool FloorShowToast(const mox_h5_module_data& call, IH5ActionImplCallBack& host) {
    auto member = [](const Json::Value& object, std::string_view name) -> const Json::Value* {
        return object.isObject() ? object.find(name.data(), name.data() + name.size()) : nullptr;
    };
    const Json::Value* method = member(call.payload, "method");
    const char* begin = nullptr;
    const char* end = nullptr;
    if (!method || !method->getString(&begin, &end) ||
        std::string_view(begin, static_cast<size_t>(end - begin)) != "showToast") {
        return false;
    }
    const Json::Value* params = member(call.payload, "params");
    if (!params || !params->isObject()) return false;
    const Json::Value* type = member(*params, "type");
    const Json::Value* duration = member(*params, "duration");
    const Json::Value* content = member(*params, "content");
    const char* text = "";
    const char* textEnd = text;
    if (content && content->isString()) content->getString(&text, &textEnd);
    host.ShowToast(type && type->isInt() ? type->asInt() : 0, text,
                   static_cast<size_t>(textEnd - text),
                   duration && duration->isInt() ? duration->asInt() : 0);
    return true;
}

std::string Expect(bool ok, const char* what) { return ok ? std::string() : what; }

class ToastFloor final : public Case {
public:
    void Run() override { m_found += FloorShowToast(m_call, CppHost()); }
    std::string Check(uint64_t runs) const override {
        return Expect(m_found == runs && CppHost().toasts - m_before == runs, "no toast");
    }

private:
    CppHostScope m_scope;
    const mox_h5_module_data m_call = ToastCall();
    const uint64_t m_before = CppHost().toasts;
    uint64_t m_found = 0;
};

// A call through MoxModuleManager::Execute. The host keeps one answer object
// and empties it before each call, so that what is measured is Execute.
class CppCall final : public Case {
public:
    CppCall(const char* method, int logPriority, MoxPagePolicy policy, const std::string& module)
        : m_module(module), m_call(ToastCall()) {
        m_call.payload["method"] = method;
        if (std::string_view(method) == "canIUse") {
            m_call.payload["params"]["name"] = "JSCallNative.showToast";
        }
        CMoxLog::SetSink(std::make_shared<NullSink>(logPriority));
        MoxModuleManager::GetInstance()->SetPagePolicy(std::move(policy));
    }
    ~CppCall() override {
        CMoxLog::SetSink(std::make_shared<NullSink>(LOG_PRIORITY_WARNING));
        MoxModuleManager::GetInstance()->SetPagePolicy(MoxPagePolicy());
    }
    void Run() override {
        m_answer.clear();
        const auto [registered, handled] =
            MoxModuleManager::GetInstance()->Execute(m_module, m_call, m_answer);
        m_handled += handled;
        m_registered += registered;
    }
    std::string Check(uint64_t runs) const override {
        if (m_module == "JSNothing") return Expect(m_registered == 0, "an unknown module answered");
        if (m_call.payload["method"] == "showToast") {
            return Expect(m_handled == runs && CppHost().toasts - m_before == runs, "no toast");
        }
        return Expect(m_handled == runs, "not handled");
    }

private:
    CppHostScope m_scope;
    const std::string m_module;
    mox_h5_module_data m_call;
    Json::Value m_answer{Json::objectValue};
    const uint64_t m_before = CppHost().toasts;
    uint64_t m_handled = 0;
    uint64_t m_registered = 0;
};

// The part of the C path that turns the request text into the handlers' JSON.
class ParseRequest final : public Case {
public:
    void Run() override {
        detail::RequestRecord call;
        m_read += detail::ReadRequestText(kToastRequest, call) && call.data.payload.isObject();
    }
    std::string Check(uint64_t runs) const override {
        return Expect(m_read == runs, "request not read");
    }

private:
    uint64_t m_read = 0;
};

class CCall final : public Case {
public:
    void Run() override {
        unsigned outcome = 0;
        char* answer = nullptr;
        m_ok += moxh5_execute(g_host, "JSCallNative", kToastRequest, &outcome, &answer) ==
                    MOXH5_OK &&
                (outcome & MOXH5_HANDLED) && answer[0] == '{';
        moxh5_free(answer);
    }
    std::string Check(uint64_t runs) const override {
        return Expect(m_ok == runs && g_c.operations - m_before == runs, "no toast operation");
    }

private:
    const uint64_t m_before = g_c.operations;
    uint64_t m_ok = 0;
};

// Work waiting on other pages: tips the counting host accepted and never
// finishes, spread over kPendingPages pages. Made once per process.
void MakePendingWork() {
    static bool made = false;
    if (made) return;
    made = true;
    CppHostScope scope;
    MoxModuleManager& manager = *MoxModuleManager::GetInstance();
    mox_h5_module_data call;
    call.mallcsid = "mall-1|cs-1";
    call.payload["method"] = "showCommonTip";
    call.payload["params"]["content"] = "Leave the page?";
    for (int i = 0; i < kPendingEntries; ++i) {
        call.webindex = 1000 + i % kPendingPages;
        call.callbackid = "tip-" + std::to_string(i);
        Json::Value answer(Json::objectValue);
        manager.Execute(kNative, call, answer);
    }
}

class PageClosed final : public Case {
public:
    explicit PageClosed(bool throughC) : m_throughC(throughC) { MakePendingWork(); }
    void Run() override {
        if (m_throughC) {
            m_ok += moxh5_page_closed(g_host, 0, kQuietPage, nullptr) == MOXH5_OK;
        } else {
            MoxModuleManager::GetInstance()->PageClosed(false, kQuietPage, std::string());
            ++m_ok;
        }
    }
    std::string Check(uint64_t runs) const override {
        return Expect(m_ok == runs && CppHost().tips >= static_cast<uint64_t>(kPendingEntries),
                      "pending work missing");
    }

private:
    bool m_throughC;
    uint64_t m_ok = 0;
};

Json::Value Numbers(size_t items) {
    Json::Value list(Json::arrayValue);
    for (size_t i = 0; i < items; ++i) list.append(Json::UInt64(i));
    return list;
}

// An answer of `items` numbers delivered to a render page by the C++ host's
// completion: envelope and text.
class AnswerCpp final : public Case {
public:
    explicit AnswerCpp(size_t items) : m_items(items) { m_answer["data"] = Numbers(items); }
    void Run() override {
        m_ok += callBackToWebPage(false, true, 3, "mall-1|cs-1", "cb-big", "", m_answer);
    }
    std::string Check(uint64_t runs) const override {
        return Expect(m_ok == runs && CppHost().answerBytes - m_bytes >= runs * m_items,
                      "answer not delivered");
    }

private:
    CppHostScope m_scope;
    size_t m_items;
    Json::Value m_answer{Json::objectValue};
    const uint64_t m_bytes = CppHost().answerBytes;
    uint64_t m_ok = 0;
};

// The same answer as text through moxh5_answer_page: read, wrapped, written.
class AnswerC final : public Case {
public:
    explicit AnswerC(size_t items) : m_items(items) {
        m_text = "{\"data\":" + detail::CompactJson(Numbers(items)) + "}";
    }
    void Run() override {
        m_ok += moxh5_answer_page(g_host, R"({"webindex":3,"callbackid":"cb-big"})", 1,
                                  m_text.c_str()) == MOXH5_OK;
    }
    std::string Check(uint64_t runs) const override {
        return Expect(m_ok == runs && g_c.answerBytes - m_bytes >= runs * m_items,
                      "answer not delivered");
    }

private:
    size_t m_items;
    std::string m_text;
    const uint64_t m_bytes = g_c.answerBytes;
    uint64_t m_ok = 0;
};

// "getPluginVersion", whose answer the page hears under its own call id as
// the library's indented text (the host's version: `items` numbers, which the
// host builds before each call and hands over).
class VersionAnswer final : public Case {
public:
    explicit VersionAnswer(size_t items) : m_items(items), m_numbers(Numbers(items)) {
        m_call.payload["method"] = "getPluginVersion";
        m_call.payload["params"]["pluginID"] = "p";
        m_call.payload["params"]["callID"] = "v-1";
    }
    ~VersionAnswer() override { CppHost().version = Json::Value(); }
    void Prepare() override { CppHost().version = m_numbers; }
    void Run() override {
        Json::Value answer(Json::objectValue);
        m_ok += std::get<1>(MoxModuleManager::GetInstance()->Execute(kNative, m_call, answer));
    }
    std::string Check(uint64_t runs) const override {
        return Expect(m_ok == runs && CppHost().answerBytes - m_bytes >= runs * m_items,
                      "answer not delivered");
    }

private:
    CppHostScope m_scope;
    size_t m_items;
    const Json::Value m_numbers;
    mox_h5_module_data m_call;
    const uint64_t m_bytes = CppHost().answerBytes;
    uint64_t m_ok = 0;
};

template <typename T, typename... Args>
std::function<std::unique_ptr<Case>()> Make(Args... args) {
    return [=] { return std::unique_ptr<Case>(new T(args...)); };
}

}  // namespace

std::vector<CaseInfo> Cases(const std::vector<size_t>& sizes) {
    MoxPagePolicy filtered;
    filtered.methodFilter = [](const MoxCallingPage&, std::string_view module, std::string_view) {
        return module != "JSPhoto";
    };
    std::vector<CaseInfo> cases = {
        {"ShowToastFloor", 0, Make<ToastFloor>()},
        {"ShowToastQuietLog", 0,
         Make<CppCall>("showToast", LOG_PRIORITY_WARNING, MoxPagePolicy(), kNative)},
        {"ShowToastTracedLog", 0,
         Make<CppCall>("showToast", LOG_PRIORITY_INFO, MoxPagePolicy(), kNative)},
        {"ShowToastUnrestricted", 0,
         Make<CppCall>("showToast", LOG_PRIORITY_WARNING, MoxPagePolicy::Unrestricted(), kNative)},
        {"ShowToastMethodFilter", 0,
         Make<CppCall>("showToast", LOG_PRIORITY_WARNING, filtered, kNative)},
        {"CanIUse", 0,
         Make<CppCall>("canIUse", LOG_PRIORITY_WARNING, MoxPagePolicy(), std::string("JSCallBasic"))},
        {"UnknownModule", 0,
         Make<CppCall>("showToast", LOG_PRIORITY_WARNING, MoxPagePolicy(), std::string("JSNothing"))},
        {"ParseRequestText", 0, Make<ParseRequest>()},
        {"ShowToastThroughC", 0, Make<CCall>()},
        {"PageClosedAmong100kPending", 0, Make<PageClosed>(false)},
        {"PageClosedAmong100kPendingThroughC", 0, Make<PageClosed>(true)},
    };
    for (const size_t items : sizes) {
        const std::string size = "/" + std::to_string(items);
        cases.push_back({"AnswerPage" + size, items, Make<AnswerCpp>(items)});
        cases.push_back({"AnswerPageThroughC" + size, items, Make<AnswerC>(items)});
        cases.push_back({"PluginVersionAnswer" + size, items, Make<VersionAnswer>(items)});
    }
    return cases;
}

void StartProcess() {
    CMoxLog::SetSink(std::make_shared<NullSink>(LOG_PRIORITY_WARNING));
    moxh5_host_table table;
    std::memset(&table, 0, sizeof table);
    table.size = sizeof table;
    table.operation = &CountOperation;
    table.page_answer = &CountAnswer;
    if (moxh5_create(&table, &g_host) != MOXH5_OK) std::abort();
}

void EndProcess() {
    moxh5_destroy(g_host);
    CMoxLog::SetSink(nullptr);
}

uint64_t Allocations() { return g_allocations.load(std::memory_order_relaxed); }

std::vector<Ratio> Ratios(const std::vector<size_t>& sizes) {
    std::vector<Ratio> ratios = {
        {"C++ path: showToast through Execute / its floor", {"ShowToastQuietLog"},
         {"ShowToastFloor"}, 1.5},
        {"C path: showToast through moxh5_execute / (request text read + C++ path)",
         {"ShowToastThroughC"}, {"ParseRequestText", "ShowToastQuietLog"}, 1.2},
        {"PageClosed, 100k entries pending on other pages (per call)",
         {"PageClosedAmong100kPending"}, {}, 10000},
        {"moxh5_page_closed, 100k entries pending on other pages (per call)",
         {"PageClosedAmong100kPendingThroughC"}, {}, 10000},
    };
    if (sizes.size() >= 2) {
        const std::string small = "/" + std::to_string(sizes.front());
        const std::string large = "/" + std::to_string(sizes.back());
        for (const char* name : {"AnswerPage", "AnswerPageThroughC", "PluginVersionAnswer"}) {
            ratios.push_back({name + std::string(": per element at ") + large.substr(1) + " / at " +
                                  small.substr(1),
                              {name + large}, {name + small}, 1.5});
        }
    }
    return ratios;
}

}  // namespace moxh5::bench
