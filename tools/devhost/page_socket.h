// The pages' connection to the dev host: one WebSocket per page realm (a tab's
// document or a worker), on a port of its own beside the HTTP server. Every
// SDK instance of the realm shares it. Over it a page sends its calls and
// hears their results, the answers delivered to it later, and live reloads.
//
// Page -> dev host (JSON text frames):
//   {"type": "hello", "page": {"kind", "webIndex", "workerId"}}  this realm's page
//   {"type": "call", "call": {<the POST /__moxh5/call body>}}
//   {"type": "echo", ...}   sent back as it is (the benchmark's floor)
// Dev host -> page:
//   {"type": "result", "callbackId", "registered", "handled", "answer"} or
//   {"type": "result", "callbackId", "error"}
//   {"type": "answer", "page", "callbackId", "answer"}   a later answer
//   {"type": "reload"}                                  a served file changed
//
// The handshake needs the run's token (?token=), a loopback client, a
// loopback Host naming this port, and an Origin that is the dev host's own or
// one of the allowed origins. When a connection closes, the pages it carried
// are closed in the library and their unfinished work is dropped.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace moxh5::devhost {

class DevSession;
class EventHub;

struct SocketOptions {
    std::string token;
    int httpPort = 0;                         // the dev host's own origin
    std::vector<std::string> allowedOrigins;  // further origins, e.g. "http://localhost:5173"
};

class PageSockets {
public:
    PageSockets(DevSession& session, EventHub& hub, SocketOptions options);
    ~PageSockets();
    PageSockets(const PageSockets&) = delete;
    PageSockets& operator=(const PageSockets&) = delete;

    // Binds 127.0.0.1 on `port` (0: any free port); the port, or -1.
    int Bind(int port);
    void SetHttpPort(int port);
    // Accepts connections and forwards answers on threads of its own.
    void Start();
    // Closes every connection and stops the threads.
    void Stop();
    // Sends a text to every open connection (live reload).
    void Broadcast(const std::string& text);
    // How many page connections are open (one per tab).
    size_t OpenCount();

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace moxh5::devhost
