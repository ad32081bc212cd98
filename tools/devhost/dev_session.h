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

class DevSession {
public:
    // `logThreshold`: log lines at this priority or more urgent become events.
    DevSession(EventHub& hub, int logThreshold);

    // A page call in the dev transport's form. On success fills `reply` with
    // {"registered", "handled", "answer"}; else says what is wrong with it.
    bool Call(const Json::Value& body, Json::Value& reply, std::string& problem);
    // Host settings in the transcript's "host" form (results, switches,
    // user-centre answers, ...).
    bool SetHost(const Json::Value& settings, std::string& problem);
    // Finishes pending work: {"pending": <number>, "success": <bool>, "answer": {...}}.
    bool Complete(const Json::Value& body, std::string& problem);
    // The unfinished work: [{"number", "op", "args"}].
    Json::Value Pending() const;

private:
    bool Play(Json::Value input, std::string& problem, Json::Value* result);
    void OnEvent(const Json::Value& event);

    EventHub& m_hub;
    std::mutex m_playMutex;  // one library call at a time
    int m_line = 0;
    Json::Value* m_result = nullptr;  // where the current line's result goes
    std::string m_refusal;            // why the current line was refused

    mutable std::mutex m_stateMutex;
    std::map<std::string, Json::Value> m_lastArgs;  // host operation -> its latest arguments
    std::map<uint64_t, Json::Value> m_pending;      // number -> {"number", "op", "args"}
    std::map<std::string, std::string> m_workerOf;  // worker callback id -> worker id
    std::deque<std::string> m_workerOrder;          // oldest first, to bound m_workerOf

    std::unique_ptr<play::TranscriptPlayer> m_player;  // last: its events reach the members above
};

}  // namespace moxh5::devhost
