#include "tools/devhost/dev_session.h"

#include <utility>

namespace moxh5::devhost {
namespace {

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

}  // namespace

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

void DevSession::OnEvent(const Json::Value& event) {
    const std::string kind = event["event"].asString();
    Json::Value published = event;
    if (kind == "result" && m_result) {
        *m_result = event;
    } else if (kind == "error") {
        m_refusal = event["message"].asString();
    }
    {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        if (kind == "host") {
            m_lastArgs[event["op"].asString()] = event["args"];
        } else if (kind == "pending") {
            const std::string op = event["op"].asString();
            Json::Value& work = m_pending[event["number"].asUInt64()];
            work["number"] = event["number"];
            work["op"] = op;
            work["args"] = m_lastArgs[op];
        } else if (kind == "page" && event["page"] == "worker") {
            const auto it = m_workerOf.find(event["callbackid"].asString());
            if (it != m_workerOf.end()) published["workerId"] = it->second;
        }
    }
    m_hub.Publish(std::move(published));
}

bool DevSession::Play(Json::Value input, std::string& problem, Json::Value* result) {
    std::lock_guard<std::mutex> lock(m_playMutex);
    m_result = result;
    m_refusal.clear();
    const bool played = m_player->Play(input, ++m_line);
    m_player->ForgetCalls();
    m_result = nullptr;
    if (!played) problem = m_refusal;
    return played;
}

bool DevSession::Call(const Json::Value& body, Json::Value& reply, std::string& problem) {
    Json::Value input;
    if (!ToCallInput(body, input, problem)) return false;
    if (input["isWorker"].asBool()) {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        const std::string id = input["callbackid"].asString();
        if (m_workerOf.emplace(id, input["workerid"].asString()).second) {
            m_workerOrder.push_back(id);
            if (m_workerOrder.size() > kRememberedWorkerCalls) {
                m_workerOf.erase(m_workerOrder.front());
                m_workerOrder.pop_front();
            }
        }
    }
    Json::Value result;
    if (!Play(std::move(input), problem, &result)) return false;
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
    if (!body.isObject()) {
        problem = "the body must be a JSON object";
        return false;
    }
    Json::Value input = body;
    input["do"] = "complete";
    if (!Play(input, problem, nullptr)) return false;
    {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        m_pending.erase(body["pending"].asUInt64());
    }
    Json::Value event;
    event["event"] = "completed";
    event["number"] = body["pending"];
    event["success"] = body.get("success", true);
    m_hub.Publish(std::move(event));
    return true;
}

Json::Value DevSession::Pending() const {
    std::lock_guard<std::mutex> lock(m_stateMutex);
    Json::Value list(Json::arrayValue);
    for (const auto& [number, work] : m_pending) list.append(work);
    return list;
}

}  // namespace moxh5::devhost
