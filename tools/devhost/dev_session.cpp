#include "tools/devhost/dev_session.h"

#include <utility>

#include "moxh5/host_operations.h"

namespace moxh5::devhost {
namespace {

// How many cards may wait at once; past it the oldest is dropped (a page
// that loops over a later method must not grow the dev host without bound).
constexpr size_t kMaxCards = 2000;

// How many worker callback ids are remembered to route late answers.
constexpr size_t kRememberedWorkerCalls = 4096;

bool IsStringOrAbsent(const Json::Value& body, const char* name) {
    return !body.isMember(name) || body[name].isString();
}

// The transcript "call" input for a page call in the dev transport's form:
// everything but "module", "callbackId" and "page" is the payload the page
// sent ("method", "params", and top-level members such as "callID").
bool ToCallInput(const Json::Value& body, Json::Value& input, std::string& problem) {
    if (!body.isObject()) {
        problem = "the body must be a JSON object";
        return false;
    }
    if (!body["module"].isString() || !body["method"].isString()) {
        problem = "\"module\" and \"method\" must be strings";
        return false;
    }
    if (!IsStringOrAbsent(body, "callbackId")) {
        problem = "\"callbackId\" must be a string";
        return false;
    }
    const Json::Value& page = body["page"];
    const std::string kind = page.isObject() ? page.get("kind", "").asString() : "";
    if (kind != "render" && kind != "worker") {
        problem = "\"page\" must be an object whose \"kind\" is \"render\" or \"worker\"";
        return false;
    }
    if ((page.isMember("webIndex") && !page["webIndex"].isInt()) ||
        !IsStringOrAbsent(page, "workerId")) {
        problem = "\"page\": \"webIndex\" must be an integer and \"workerId\" a string";
        return false;
    }
    input = Json::Value(Json::objectValue);
    input["do"] = "call";
    input["module"] = body["module"];
    input["callbackid"] = body.get("callbackId", "");
    input["isWorker"] = kind == "worker";
    input["webindex"] = page.get("webIndex", 0);
    if (kind == "worker") input["workerid"] = page.get("workerId", "");
    Json::Value& payload = input["payload"] = Json::Value(Json::objectValue);
    for (const std::string& name : body.getMemberNames()) {
        if (name != "module" && name != "callbackId" && name != "page") payload[name] = body[name];
    }
    return true;
}

std::string WorkerKey(const Json::Value& webIndex, const std::string& callbackId) {
    return std::to_string(webIndex.asInt()) + "/" + callbackId;
}

}  // namespace

bool ReadPageKey(const Json::Value& page, PageKey& key) {
    if (!page.isObject()) return false;
    const Json::Value& kind = page["kind"];
    if (!kind.isString() || (kind.asString() != "render" && kind.asString() != "worker"))
        return false;
    if ((page.isMember("webIndex") && !page["webIndex"].isInt()) ||
        (page.isMember("workerId") && !page["workerId"].isString()))
        return false;
    key.kind = kind.asString();
    key.webIndex = page.get("webIndex", 0).asInt();
    key.workerId = key.kind == "worker" ? page.get("workerId", "").asString() : "";
    return true;
}

const std::map<std::string, std::string>& DevSession::AnsweredLater() {
    // Expanded from the catalogue, so that an operation added there gets its
    // card here without anyone listing it.
    static const std::map<std::string, std::string> shapes = [] {
        std::map<std::string, std::string> all = {
#define MOXH5_DEVHOST_SHAPE(Name, Shape, Params, Args, Doc) {#Name, #Shape},
            MOXH5_HOST_OPERATIONS(MOXH5_DEVHOST_SHAPE, , )
#undef MOXH5_DEVHOST_SHAPE
        };
        std::map<std::string, std::string> later;
        for (const auto& [op, shape] : all) {
            if (shape == "HostAnswers" || shape == "Later" || shape == "Window") later[op] = shape;
        }
        return later;
    }();
    return shapes;
}

void EventHub::Publish(Json::Value event) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        event["seq"] = Json::UInt64(++m_latest);
        m_events.push_back(std::make_shared<const Json::Value>(std::move(event)));
        if (m_events.size() > m_backlog) m_events.pop_front();
    }
    m_changed.notify_all();
}

std::vector<std::shared_ptr<const Json::Value>> EventHub::WaitAfter(
    uint64_t& after, std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, timeout, [&] { return m_closed || m_latest > after; });
    std::vector<std::shared_ptr<const Json::Value>> events;
    const uint64_t oldest = m_latest - m_events.size() + 1;
    for (uint64_t seq = std::max(after + 1, oldest); seq <= m_latest; ++seq) {
        events.push_back(m_events[static_cast<size_t>(seq - oldest)]);
    }
    after = m_latest;
    return events;
}

uint64_t EventHub::Latest() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_latest;
}

void EventHub::Close() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
    }
    m_changed.notify_all();
}

bool EventHub::Closed() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_closed;
}

DevSession::DevSession(EventHub& hub, int logThreshold) : m_hub(hub) {
    m_player = std::make_unique<play::TranscriptPlayer>(
        play::PlayerOptions{logThreshold}, [this](const Json::Value& event) { OnEvent(event); });
}

DevSession::Card& DevSession::AddCard(const std::string& op, const Json::Value& args) {
    if (m_pending.size() >= kMaxCards) m_pending.erase(m_pending.begin());
    Card& card = m_pending[m_nextCard];
    card.number = m_nextCard++;
    card.op = op;
    const auto shape = AnsweredLater().find(op);
    card.shape = shape == AnsweredLater().end() ? "Later" : shape->second;
    card.args = args;
    card.page = m_current;
    card.callbackId = m_currentCallback;
    if (m_presets.count(op)) m_autoQueue.push_back(card.number);
    return card;
}

Json::Value DevSession::Describe(const Card& card) {
    Json::Value work;
    work["number"] = Json::UInt64(card.number);
    work["op"] = card.op;
    work["shape"] = card.shape;
    work["args"] = card.args;
    work["page"]["kind"] = card.page.kind;
    work["page"]["webIndex"] = card.page.webIndex;
    if (card.page.kind == "worker") work["page"]["workerId"] = card.page.workerId;
    work["callbackId"] = card.callbackId;
    if (!card.libraryWork) work["answerId"] = card.answerId;
    return work;
}

void DevSession::OnEvent(const Json::Value& event) {
    const std::string kind = event["event"].asString();
    Json::Value published = event;
    Json::Value extra;  // a card for work the host answers itself
    if (kind == "result" && m_result) {
        *m_result = event;
        published["callbackId"] = m_currentCallback;
        published["pageKind"] = m_current.kind;
        published["webindex"] = m_current.webIndex;
    } else if (kind == "error") {
        m_refusal = event["message"].asString();
    }
    {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        if (kind == "host") {
            const std::string op = event["op"].asString();
            m_lastArgs[op] = event["args"];
            const auto shape = AnsweredLater().find(op);
            if (shape != AnsweredLater().end() && shape->second == "HostAnswers") {
                Card& card = AddCard(op, event["args"]);
                // The host answers under the page's own call id when it has
                // one, else under the callback id it was handed.
                const Json::Value& args = event["args"];
                const Json::Value& id = args.isMember("callId") ? args["callId"] : args["callbackid"];
                card.answerId = id.isString() ? id.asString() : id.isIntegral() ? id.asString() : "";
                extra = Describe(card);
                extra["event"] = "pending";
            }
        } else if (kind == "pending") {
            const std::string op = event["op"].asString();
            Card& card = AddCard(op, m_lastArgs[op]);
            card.libraryWork = static_cast<size_t>(event["number"].asLargestUInt());
            const Json::Value work = Describe(card);
            for (const std::string& name : work.getMemberNames()) published[name] = work[name];
        }
        if (kind == "page" && !m_inlineTag.empty()) published["inline"] = m_inlineTag;
        if (kind == "page" && event["page"] == "worker") {
            const auto it = m_workerOf.find(WorkerKey(event["webindex"], event["callbackid"].asString()));
            if (it != m_workerOf.end()) published["workerId"] = it->second;
        }
    }
    m_hub.Publish(std::move(published));
    if (!extra.isNull()) m_hub.Publish(std::move(extra));
}

bool DevSession::Play(Json::Value input, std::string& problem, Json::Value* result,
                      const std::string& inlineTag) {
    std::lock_guard<std::mutex> lock(m_playMutex);
    m_result = result;
    m_refusal.clear();
    m_inlineTag = inlineTag;
    const bool played = m_player->Play(input, ++m_line);
    m_player->ForgetCalls();
    m_result = nullptr;
    m_inlineTag.clear();
    if (!played) problem = m_refusal;
    return played;
}

bool DevSession::Call(const Json::Value& body, Json::Value& reply, std::string& problem,
                      const std::string& inlineTag) {
    Json::Value input;
    if (!ToCallInput(body, input, problem)) return false;
    PageKey page;
    ReadPageKey(body["page"], page);
    if (input["isWorker"].asBool()) {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        const std::string id = WorkerKey(input["webindex"], input["callbackid"].asString());
        if (m_workerOf.emplace(id, input["workerid"].asString()).second) {
            m_workerOrder.push_back(id);
            if (m_workerOrder.size() > kRememberedWorkerCalls) {
                m_workerOf.erase(m_workerOrder.front());
                m_workerOrder.pop_front();
            }
        }
    }
    Json::Value result;
    bool played;
    {
        // The page's identity reaches the cards its call opens.
        std::lock_guard<std::mutex> lock(m_callMutex);
        {
            std::lock_guard<std::mutex> state(m_stateMutex);
            m_current = page;
            m_currentCallback = input["callbackid"].asString();
        }
        played = Play(std::move(input), problem, &result, inlineTag);
    }
    RunAutoAnswers(inlineTag);
    if (!played) return false;
    reply = Json::Value(Json::objectValue);
    reply["registered"] = result["registered"];
    reply["handled"] = result["handled"];
    reply["answer"] = result["answer"];
    return true;
}

bool DevSession::SetHost(const Json::Value& settings, std::string& problem) {
    if (!settings.isObject()) {
        problem = "the host settings must be a JSON object";
        return false;
    }
    Json::Value input = settings;
    input["do"] = "host";
    return Play(std::move(input), problem, nullptr);
}

bool DevSession::Complete(const Json::Value& body, std::string& problem) {
    return CompleteTagged(body, problem, {});
}

bool DevSession::CompleteTagged(const Json::Value& body, std::string& problem,
                                const std::string& inlineTag) {
    if (!body.isObject() || !body["pending"].isUInt64() ||
        (body.isMember("success") && !body["success"].isBool())) {
        problem = "the body must be {\"pending\": <number>, \"success\": <bool>, \"answer\": ...}";
        return false;
    }
    Card card;
    {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        const auto it = m_pending.find(body["pending"].asUInt64());
        if (it == m_pending.end()) {
            problem = "no unfinished work " + body["pending"].asString();
            return false;
        }
        card = it->second;
    }
    const bool success = body.get("success", true).asBool();
    const Json::Value answer = body.get("answer", Json::Value(Json::objectValue));
    if (card.libraryWork) {
        Json::Value input;
        input["do"] = "complete";
        input["pending"] = Json::UInt64(card.libraryWork);
        input["success"] = success;
        input["answer"] = answer;
        if (!Play(input, problem, nullptr, inlineTag)) return false;
    } else {
        // The host answers the page itself, in its own form: the answer as
        // given; a failure marks it "success": false.
        Json::Value event;
        event["event"] = "page";
        event["page"] = card.page.kind;
        event["webindex"] = card.page.webIndex;
        if (card.page.kind == "worker") event["workerId"] = card.page.workerId;
        event[card.page.kind == "render" ? "callId" : "callbackid"] = card.answerId;
        Json::Value delivered = answer;
        if (!success) {
            if (!delivered.isObject()) delivered = Json::Value(Json::objectValue);
            delivered["success"] = false;
        }
        event["envelope"] = delivered;
        event["fromHost"] = card.op;
        if (!inlineTag.empty()) event["inline"] = inlineTag;
        m_hub.Publish(std::move(event));
    }
    {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        m_pending.erase(card.number);
    }
    Json::Value event;
    event["event"] = "completed";
    event["number"] = Json::UInt64(card.number);
    event["op"] = card.op;
    event["callbackId"] = card.callbackId;
    event["success"] = success;
    m_hub.Publish(std::move(event));
    return true;
}

void DevSession::RunAutoAnswers(const std::string& inlineTag) {
    std::vector<std::pair<uint64_t, Json::Value>> due;
    {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        for (uint64_t number : m_autoQueue) {
            const auto card = m_pending.find(number);
            const auto preset = card == m_pending.end() ? m_presets.end() : m_presets.find(card->second.op);
            if (preset != m_presets.end()) due.emplace_back(number, preset->second);
        }
        m_autoQueue.clear();
    }
    for (auto& [number, preset] : due) {
        Json::Value body = preset;
        body["pending"] = Json::UInt64(number);
        std::string problem;
        CompleteTagged(body, problem, inlineTag);
    }
}

bool DevSession::SetPreset(const Json::Value& body, std::string& problem) {
    if (!body.isObject() || !body["op"].isString() ||
        (body.isMember("success") && !body["success"].isBool()) ||
        (body.isMember("off") && !body["off"].isBool())) {
        problem = "an auto-answer is {\"op\", \"success\": <bool>, \"answer\": ...} or {\"op\", \"off\": true}";
        return false;
    }
    const std::string op = body["op"].asString();
    if (!AnsweredLater().count(op)) {
        problem = "\"" + op + "\" is not a host operation answered later";
        return false;
    }
    std::lock_guard<std::mutex> lock(m_stateMutex);
    if (body.get("off", false).asBool()) {
        m_presets.erase(op);
    } else {
        Json::Value& preset = m_presets[op];
        preset["success"] = body.get("success", true);
        preset["answer"] = body.get("answer", Json::Value(Json::objectValue));
    }
    return true;
}

Json::Value DevSession::Presets() const {
    std::lock_guard<std::mutex> lock(m_stateMutex);
    Json::Value list(Json::arrayValue);
    for (const auto& [op, preset] : m_presets) {
        Json::Value item = preset;
        item["op"] = op;
        list.append(item);
    }
    return list;
}

void DevSession::PageClosed(const PageKey& page) {
    Json::Value input;
    input["do"] = "pageClosed";
    input["isWorker"] = page.kind == "worker";
    input["webindex"] = page.webIndex;
    if (page.kind == "worker") input["workerid"] = page.workerId;
    std::string problem;
    Play(input, problem, nullptr);
    std::vector<Card> dropped;
    {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        for (auto it = m_pending.begin(); it != m_pending.end();) {
            if (it->second.page == page) {
                dropped.push_back(it->second);
                it = m_pending.erase(it);
            } else {
                ++it;
            }
        }
    }
    for (const Card& card : dropped) {
        if (card.libraryWork) {
            Json::Value finish;
            finish["do"] = "complete";
            finish["pending"] = Json::UInt64(card.libraryWork);
            finish["success"] = false;
            Play(finish, problem, nullptr);
        }
    }
    Json::Value event;
    event["event"] = "closed";
    event["page"] = page.kind;
    event["webindex"] = page.webIndex;
    if (page.kind == "worker") event["workerId"] = page.workerId;
    event["dropped"] = Json::UInt64(dropped.size());
    m_hub.Publish(std::move(event));
}

Json::Value DevSession::Pending() const {
    std::lock_guard<std::mutex> lock(m_stateMutex);
    Json::Value list(Json::arrayValue);
    for (const auto& [number, card] : m_pending) list.append(Describe(card));
    return list;
}

}  // namespace moxh5::devhost
