// Plays a transcript of page calls against the library, as a host would,
// and reports everything that crosses the boundary as JSON events.
//
// The player is the host: it installs a RecordingHost as the action interface
// and user centre, a configuration callback over its switches, and log and
// report sinks, then drives MoxModuleManager through its exported surface.
// The format of input lines and events is described in docs/transcript.md.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "tools/recording_host/recording_host.h"

namespace moxh5::play {

struct PlayerOptions {
    // Log lines at this priority or more urgent become events; 0: no logs.
    int logThreshold = 0;
    // The library runs the unrestricted page policy, also where a
    // "pagePolicy" line leaves "unrestricted" out.
    bool unrestricted = false;
};

class TranscriptPlayer {
public:
    using EventSink = std::function<void(const Json::Value& event)>;

    TranscriptPlayer(PlayerOptions options, EventSink emit);
    ~TranscriptPlayer();
    TranscriptPlayer(const TranscriptPlayer&) = delete;
    TranscriptPlayer& operator=(const TranscriptPlayer&) = delete;

    // Plays one input line (`number` counts from 1). Blank lines and lines
    // starting with '#' are skipped. Returns false when the line was refused
    // (an "error" event names it).
    bool PlayLine(const std::string& line, int number);
    // Plays one input already read as JSON (the dev host builds its inputs
    // this way); same events and result as PlayLine.
    bool Play(const Json::Value& input, int number);

    // Drops the host calls recorded so far (they have been reported), so
    // that a long-running player keeps no history.
    void ForgetCalls() { m_host.ClearCalls(); }

    // A shell-open the library asked for: reported, not performed.
    uintptr_t ShellOpened(const std::wstring& target);

private:
    bool Call(const Json::Value& input, int number);
    bool Exist(const Json::Value& input, int number);
    bool Host(const Json::Value& input, int number);
    bool Complete(const Json::Value& input, int number);
    bool PageClosed(const Json::Value& input, int number);
    void StartLibrary();
    void EmitHostCall(const test::HostCall& call);
    bool Refuse(int number, const std::string& message);

    PlayerOptions m_options;
    EventSink m_emit;
    test::RecordingHost m_host;
    std::map<std::string, bool> m_switches;
    bool m_actionInterface = true;
    bool m_userCenter = true;
    bool m_started = false;
    uintptr_t m_shellResult = 42;
    std::shared_ptr<void> m_sinks;  // restores the previous log and report sinks
};

}  // namespace moxh5::play
