// The dev host's HTTP side: serves the page folder with the SDK injected,
// takes page calls, streams answers and everything else as server-sent
// events, and serves the control panel. Only loopback clients that name the
// server by a loopback Host are answered; everything under /__moxh5/ but the
// SDK itself also needs the run's token.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace moxh5::devhost {

struct ServerOptions {
    std::filesystem::path root;     // the page developer's folder
    std::filesystem::path sdkFile;  // the SDK's script-tag build
    int port = 0;                   // 0: any free port
    std::string token;              // the run's token
    int logThreshold = 0;           // log lines at this priority or more urgent are shown
    std::vector<std::string> allowedOrigins;  // other dev servers' pages that may connect
    bool liveReload = true;         // reload open pages when a file of the folder changes
};

class DevServer {
public:
    explicit DevServer(ServerOptions options);
    ~DevServer();
    DevServer(const DevServer&) = delete;
    DevServer& operator=(const DevServer&) = delete;

    // Binds 127.0.0.1 (the HTTP port and the pages' WebSocket port);
    // returns the HTTP port, or -1 when either cannot be bound.
    int Bind();
    int SocketPort() const;
    // Serves until Stop (from another thread or a signal handler's thread).
    void Serve();
    void Stop();

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace moxh5::devhost
