// The dev host's side of the library: one reference host (the transcript
// player over the recording host) shared by every browser page, and the
// stream of what happens in it.
//
// Thread-safe: HTTP handlers call it from many threads. Calls into the
// library are made one at a time, as a client's UI thread makes them.
#pragma once

#include <json/value.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "tools/play/transcript_player.h"

namespace moxh5::devhost {

// Everything that crossed the boundary, numbered from 1, in a bounded backlog
// that readers follow at their own pace. A reader that falls more than the
// backlog behind misses the oldest events; memory stays bounded whatever the
// pages do.
class EventHub {
public:
    explicit EventHub(size_t backlog) : m_backlog(backlog) {}

    void Publish(Json::Value event);
    // The events numbered after `after` still in the backlog, waiting up to
    // `timeout` for one to come. `after` moves to the last one returned.
    std::vector<std::shared_ptr<const Json::Value>> WaitAfter(uint64_t& after,
                                                              std::chrono::milliseconds timeout);
    // The number of the newest event (0 when none).
    uint64_t Latest() const;
    // Wakes every waiting reader for good (the server is stopping).
    void Close();
    bool Closed() const;

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::shared_ptr<const Json::Value>> m_events;
    uint64_t m_latest = 0;
    size_t m_backlog;
    bool m_closed = false;
};

// Which page a call came from: its kind, web index and (workers) worker id.
struct PageKey {
    std::string kind;  // "render" or "worker"
    int webIndex = 0;
    std::string workerId;
    bool operator<(const PageKey& other) const {
        return std::tie(kind, webIndex, workerId) <
               std::tie(other.kind, other.webIndex, other.workerId);
    }
    bool operator==(const PageKey& other) const {
        return kind == other.kind && webIndex == other.webIndex && workerId == other.workerId;
    }
};

// Reads a page identity {"kind", "webIndex", "workerId"}; false when it is not one.
bool ReadPageKey(const Json::Value& page, PageKey& key);

class DevSession {
public:
    // `logThreshold`: log lines at this priority or more urgent become events.
    DevSession(EventHub& hub, int logThreshold);

    // The host operations whose work a page waits for (shapes HostAnswers,
    // Later and Window of the catalogue of host operations), with their shape.
    static const std::map<std::string, std::string>& AnsweredLater();

    // A page call in the dev transport's form. On success fills `reply` with
    // {"registered", "handled", "answer"}; else says what is wrong with it.
    // With `inlineTag`, the page deliveries the call itself causes are
    // published with "inline": tag, for the caller to send with the result.
    bool Call(const Json::Value& body, Json::Value& reply, std::string& problem,
              const std::string& inlineTag = {});
    // Host settings in the transcript's "host" form (results, switches,
    // user-centre answers, ...).
    bool SetHost(const Json::Value& settings, std::string& problem);
    // Finishes pending work: {"pending": <number>, "success": <bool>, "answer": {...}}.
    bool Complete(const Json::Value& body, std::string& problem);
    // The unfinished work: [{"number", "op", "shape", "args", "page",
    // "callbackId", "answerId"}], oldest first.
    Json::Value Pending() const;
    // Auto-answers: {"op", "success", "answer"} answers every later work of
    // that operation at once; {"op", "off": true} stops it.
    bool SetPreset(const Json::Value& body, std::string& problem);
    Json::Value Presets() const;
    // A page went away (its connection closed): the library forgets it and
    // its unfinished work is dropped (library work is finished as failed, so
    // that the host keeps nothing for a page that is gone).
    void PageClosed(const PageKey& page);

private:
    struct Card {
        uint64_t number = 0;
        std::string op;
        std::string shape;
        Json::Value args;
        PageKey page;
        std::string callbackId;  // the page call that started the work
        size_t libraryWork = 0;  // the recording host's number; 0: the host answers the page
        std::string answerId;    // host answers: the id the page hears the answer under
    };
    bool Play(Json::Value input, std::string& problem, Json::Value* result,
              const std::string& inlineTag = {});
    bool CompleteTagged(const Json::Value& body, std::string& problem, const std::string& inlineTag);
    void OnEvent(const Json::Value& event);
    // Under m_stateMutex: a new card for the current call's page.
    Card& AddCard(const std::string& op, const Json::Value& args);
    static Json::Value Describe(const Card& card);
    void RunAutoAnswers(const std::string& inlineTag);

    EventHub& m_hub;
    std::mutex m_callMutex;  // one page call at a time (its page reaches its cards)
    std::mutex m_playMutex;  // one library call at a time
    int m_line = 0;
    Json::Value* m_result = nullptr;  // where the current line's result goes
    std::string m_refusal;            // why the current line was refused
    std::string m_inlineTag;          // the current line's tag for page deliveries

    mutable std::mutex m_stateMutex;
    std::map<std::string, Json::Value> m_lastArgs;  // host operation -> its latest arguments
    std::map<uint64_t, Card> m_pending;             // card number -> work
    uint64_t m_nextCard = 1;
    PageKey m_current;                              // the page of the call being played
    std::string m_currentCallback;
    std::map<std::string, Json::Value> m_presets;   // op -> {"success", "answer"}
    std::vector<uint64_t> m_autoQueue;              // cards to answer after the current call
    std::map<std::string, std::string> m_workerOf;  // "webindex/callback id" -> worker id
    std::deque<std::string> m_workerOrder;          // oldest first, to bound m_workerOf

    std::unique_ptr<play::TranscriptPlayer> m_player;  // last: its events reach the members above
};

}  // namespace moxh5::devhost
