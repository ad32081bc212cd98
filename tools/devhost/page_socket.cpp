#include "tools/devhost/page_socket.h"

// httplib.h brings each platform's socket headers and its socket_t.
#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "tools/devhost/dev_session.h"
#include "tools/devhost/json_io.h"
#include "tools/devhost/request_rules.h"
#include "tools/devhost/websocket.h"

namespace moxh5::devhost {
namespace {

constexpr size_t kMaxMessage = 1 << 20;
constexpr size_t kMaxHandshake = 8192;
constexpr size_t kMaxPagesPerConnection = 64;
constexpr size_t kMaxConnections = 256;

#ifdef _WIN32
void CloseSocket(socket_t s) { closesocket(s); }
constexpr int kShutBoth = SD_BOTH;
#else
void CloseSocket(socket_t s) { close(s); }
constexpr int kShutBoth = SHUT_RDWR;
#endif

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string Trim(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string PercentDecode(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && std::isxdigit(static_cast<unsigned char>(text[i + 1])) &&
            std::isxdigit(static_cast<unsigned char>(text[i + 2]))) {
            out += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::string QueryValue(const std::string& target, const std::string& name) {
    const size_t query = target.find('?');
    if (query == std::string::npos) return {};
    size_t at = query + 1;
    while (at <= target.size()) {
        size_t end = target.find('&', at);
        if (end == std::string::npos) end = target.size();
        const std::string pair = target.substr(at, end - at);
        const size_t eq = pair.find('=');
        if (eq != std::string::npos && pair.substr(0, eq) == name) return PercentDecode(pair.substr(eq + 1));
        at = end + 1;
    }
    return {};
}

bool SendAll(socket_t s, const std::string& data) {
    size_t sent = 0;
    while (sent < data.size()) {
#ifdef _WIN32
        const int n = send(s, data.data() + sent, static_cast<int>(data.size() - sent), 0);
#else
        const ssize_t n = send(s, data.data() + sent, data.size() - sent, MSG_NOSIGNAL);
#endif
        if (n <= 0) return false;
        sent += static_cast<size_t>(n);
    }
    return true;
}

std::string PeerAddress(socket_t s) {
    sockaddr_storage address{};
    socklen_t size = sizeof(address);
    if (getpeername(s, reinterpret_cast<sockaddr*>(&address), &size) != 0) return {};
    char text[INET6_ADDRSTRLEN] = {};
    if (address.ss_family == AF_INET) {
        inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in*>(&address)->sin_addr, text, sizeof(text));
    } else if (address.ss_family == AF_INET6) {
        inet_ntop(AF_INET6, &reinterpret_cast<sockaddr_in6*>(&address)->sin6_addr, text, sizeof(text));
    }
    return text;
}

void SetTimeouts(socket_t s, int seconds) {
#ifdef _WIN32
    DWORD ms = static_cast<DWORD>(seconds * 1000);
    setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&ms), sizeof(ms));
    setsockopt(s, SOL_SOCKET, SO_SNDTIMEO, reinterpret_cast<const char*>(&ms), sizeof(ms));
#else
    timeval tv{seconds, 0};
    setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof(tv));
    setsockopt(s, SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof(tv));
#endif
}

void ClearReceiveTimeout(socket_t s) {
#ifdef _WIN32
    DWORD ms = 0;
    setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&ms), sizeof(ms));
#else
    timeval tv{0, 0};
    setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof(tv));
#endif
}

}  // namespace

struct PageSockets::Impl {
    struct Connection {
        socket_t fd;
        std::string tag;  // marks the deliveries its calls cause
        std::mutex writeMutex;
        std::mutex pagesMutex;
        std::set<PageKey> pages;
        std::atomic<bool> open{true};

        explicit Connection(socket_t s) : fd(s) {}
        bool Send(const std::string& text, int opcode = 1) {
            std::lock_guard<std::mutex> lock(writeMutex);
            if (!open) return false;
            if (!SendAll(fd, EncodeFrame(opcode, text))) open = false;
            return open;
        }
        bool Carries(const PageKey& page) {
            std::lock_guard<std::mutex> lock(pagesMutex);
            return pages.count(page) != 0;
        }
        bool AddPage(const PageKey& page) {
            std::lock_guard<std::mutex> lock(pagesMutex);
            if (pages.count(page)) return true;
            if (pages.size() >= kMaxPagesPerConnection) return false;
            pages.insert(page);
            return true;
        }
    };

    DevSession& session;
    EventHub& hub;
    SocketOptions options;
    socket_t listener = INVALID_SOCKET;
    int port = 0;
    std::atomic<bool> stopping{false};
    uint64_t connectionCount = 0;
    std::thread acceptThread, forwardThread;
    std::mutex connectionsMutex;
    std::vector<std::shared_ptr<Connection>> connections;
    std::mutex readersMutex;
    std::condition_variable readersDone;
    int liveReaders = 0;

    Impl(DevSession& s, EventHub& h, SocketOptions o) : session(s), hub(h), options(std::move(o)) {}

    bool OriginAllowed(const std::string& origin) const {
        if (origin.empty()) return true;  // not a browser page: the token decides
        if (origin.rfind("http://", 0) == 0 && IsAllowedHost(origin.substr(7), options.httpPort))
            return true;
        return std::find(options.allowedOrigins.begin(), options.allowedOrigins.end(), origin) !=
               options.allowedOrigins.end();
    }

    // Reads and answers the opening handshake; false when refused.
    bool Handshake(socket_t s, std::string& rest) {
        std::string request;
        char chunk[2048];
        size_t end;
        while ((end = request.find("\r\n\r\n")) == std::string::npos) {
            if (request.size() > kMaxHandshake) return false;
            const auto n = recv(s, chunk, sizeof(chunk), 0);
            if (n <= 0) return false;
            request.append(chunk, static_cast<size_t>(n));
        }
        rest = request.substr(end + 4);
        request.resize(end);
        std::map<std::string, std::string> headers;
        size_t lineEnd = request.find("\r\n");
        const std::string requestLine = request.substr(0, lineEnd);
        while (lineEnd != std::string::npos) {
            const size_t next = request.find("\r\n", lineEnd + 2);
            const std::string line = request.substr(lineEnd + 2, next == std::string::npos ? std::string::npos : next - lineEnd - 2);
            const size_t colon = line.find(':');
            if (colon != std::string::npos) headers[Lower(Trim(line.substr(0, colon)))] = Trim(line.substr(colon + 1));
            lineEnd = next;
        }
        const size_t space = requestLine.find(' ');
        const size_t space2 = requestLine.find(' ', space + 1);
        const std::string target = space == std::string::npos ? "" : requestLine.substr(space + 1, space2 - space - 1);
        const bool ok = requestLine.rfind("GET ", 0) == 0 && target.rfind("/__moxh5/socket", 0) == 0 &&
                        Lower(headers["upgrade"]) == "websocket" && !headers["sec-websocket-key"].empty() &&
                        IsLoopbackAddress(PeerAddress(s)) && IsAllowedHost(headers["host"], port) &&
                        OriginAllowed(headers["origin"]) &&
                        TokenMatches(QueryValue(target, "token"), options.token);
        if (!ok) {
            SendAll(s, "HTTP/1.1 403 Forbidden\r\nContent-Length: 10\r\nConnection: close\r\n\r\nforbidden\n");
            return false;
        }
        return SendAll(s, "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                          "Sec-WebSocket-Accept: " + WebSocketAccept(headers["sec-websocket-key"]) + "\r\n\r\n");
    }

    void Reply(Connection& c, const std::string& type, const std::string& error) {
        Json::Value reply;
        reply["type"] = type;
        reply["error"] = error;
        c.Send(Compact(reply));
    }

    void OnMessage(Connection& c, const std::string& text) {
        Json::Value message;
        if (!ParseStrict(text, message) || !message.isObject() || !message["type"].isString()) {
            return Reply(c, "error", "a message must be a JSON object with a \"type\"");
        }
        const std::string type = message["type"].asString();
        if (type == "echo") {
            c.Send(text);
        } else if (type == "hello") {
            PageKey page;
            if (!ReadPageKey(message["page"], page)) return Reply(c, "error", "\"page\" is not a page");
            if (!c.AddPage(page)) return Reply(c, "error", "too many pages on one connection");
        } else if (type == "call") {
            const Json::Value& call = message["call"];
            Json::Value reply, result;
            reply["type"] = "result";
            reply["callbackId"] = call.isObject() && call["callbackId"].isString() ? call["callbackId"] : Json::Value("");
            PageKey page;
            std::string problem;
            if (!call.isObject() || !ReadPageKey(call["page"], page)) {
                reply["error"] = "\"call\" must be an object with a \"page\"";
            } else if (!c.AddPage(page)) {
                reply["error"] = "too many pages on one connection";
            } else {
                uint64_t cursor = hub.Latest();
                if (!session.Call(call, result, problem, c.tag)) {
                    reply["error"] = problem;
                } else {
                    for (const char* name : {"registered", "handled", "answer"}) reply[name] = result[name];
                }
                // What the call delivered at once travels with its result.
                for (const auto& event : hub.WaitAfter(cursor, std::chrono::milliseconds(0))) {
                    if ((*event)["inline"] != c.tag) continue;
                    PageKey target;
                    const Json::Value delivery = Delivery(*event, target);
                    if (c.Carries(target)) reply["deliveries"].append(delivery);
                    else Deliver(delivery, target);
                }
            }
            c.Send(Compact(reply));
        } else {
            Reply(c, "error", "unknown message type \"" + type + "\"");
        }
    }

    void Serve(std::shared_ptr<Connection> c) {
        std::string buffer;
        SetTimeouts(c->fd, 5);
        if (Handshake(c->fd, buffer)) {
            ClearReceiveTimeout(c->fd);
            std::string message;  // a fragmented message being gathered
            bool gathering = false;
            char chunk[16384];
            while (c->open && !stopping) {
                Frame frame;
                size_t used = 0;
                std::string problem;
                const FrameStatus status = ParseClientFrame(buffer, kMaxMessage, frame, used, problem);
                if (status == FrameStatus::Bad) {
                    c->Send(std::string("\x03\xea", 2), 8);  // 1002: protocol error
                    break;
                }
                if (status == FrameStatus::NeedMore) {
                    const auto n = recv(c->fd, chunk, sizeof(chunk), 0);
                    if (n <= 0) break;
                    buffer.append(chunk, static_cast<size_t>(n));
                    continue;
                }
                buffer.erase(0, used);
                if (frame.opcode == 8) {
                    c->Send(frame.payload.substr(0, 2), 8);
                    break;
                }
                if (frame.opcode == 9) {
                    c->Send(frame.payload, 10);
                    continue;
                }
                if (frame.opcode == 10) continue;
                if ((frame.opcode == 0) != gathering || message.size() + frame.payload.size() > kMaxMessage) {
                    c->Send(std::string("\x03\xea", 2), 8);
                    break;
                }
                message += frame.payload;
                gathering = !frame.fin;
                if (frame.fin) {
                    OnMessage(*c, message);
                    message.clear();
                }
            }
        }
        {
            std::lock_guard<std::mutex> lock(c->writeMutex);
            c->open = false;
        }
        shutdown(c->fd, kShutBoth);
        {
            std::lock_guard<std::mutex> lock(connectionsMutex);
            connections.erase(std::remove(connections.begin(), connections.end(), c), connections.end());
        }
        if (!stopping) {
            std::set<PageKey> pages;
            {
                std::lock_guard<std::mutex> lock(c->pagesMutex);
                pages = c->pages;
            }
            for (const PageKey& page : pages) session.PageClosed(page);
        }
        CloseSocket(c->fd);
        std::lock_guard<std::mutex> lock(readersMutex);
        --liveReaders;
        readersDone.notify_all();
    }

    void Accept() {
        while (!stopping) {
            const socket_t s = accept(listener, nullptr, nullptr);
            if (s == INVALID_SOCKET) {
                if (stopping) return;
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
                continue;
            }
            int one = 1;
            setsockopt(s, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&one), sizeof(one));
            auto c = std::make_shared<Connection>(s);
            c->tag = "c" + std::to_string(++connectionCount);
            std::lock_guard<std::mutex> lock(connectionsMutex);
            if (connections.size() >= kMaxConnections) {
                CloseSocket(s);
                continue;
            }
            connections.push_back(c);
            {
                std::lock_guard<std::mutex> readersLock(readersMutex);
                ++liveReaders;
            }
            std::thread([this, c] { Serve(c); }).detach();
        }
    }

    // A page event as the page hears it, and the page it is for.
    static Json::Value Delivery(const Json::Value& event, PageKey& page) {
        page.kind = event["page"].asString();
        page.webIndex = event["webindex"].asInt();
        if (page.kind == "worker") page.workerId = event["workerId"].asString();
        Json::Value answer;
        answer["type"] = "answer";
        answer["page"]["kind"] = page.kind;
        answer["page"]["webIndex"] = page.webIndex;
        answer["callbackId"] = event[page.kind == "render" ? "callId" : "callbackid"].asString();
        answer["answer"] = event["envelope"];
        return answer;
    }

    void Deliver(const Json::Value& delivery, const PageKey& page) {
        const std::string text = Compact(delivery);
        for (const auto& c : Open()) {
            if (c->Carries(page)) c->Send(text);
        }
    }

    std::vector<std::shared_ptr<Connection>> Open() {
        std::lock_guard<std::mutex> lock(connectionsMutex);
        return connections;
    }

    // Follows what happens in the library and hands each later answer to the
    // connections that carry its page.
    void Forward() {
        uint64_t cursor = hub.Latest();
        while (!stopping && !hub.Closed()) {
            for (const auto& event : hub.WaitAfter(cursor, std::chrono::milliseconds(1000))) {
                // Deliveries a call caused go with its result.
                if ((*event)["event"] != "page" || event->isMember("inline")) continue;
                PageKey page;
                const Json::Value delivery = Delivery(*event, page);
                Deliver(delivery, page);
            }
        }
    }
};

PageSockets::PageSockets(DevSession& session, EventHub& hub, SocketOptions options)
    : m_impl(std::make_unique<Impl>(session, hub, std::move(options))) {}

PageSockets::~PageSockets() { Stop(); }

int PageSockets::Bind(int port) {
    socket_t s = socket(AF_INET, SOCK_STREAM, 0);
    if (s == INVALID_SOCKET) return -1;
    int one = 1;
    setsockopt(s, SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char*>(&one), sizeof(one));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    if (bind(s, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 || listen(s, 64) != 0 ||
        getsockname(s, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        CloseSocket(s);
        return -1;
    }
    m_impl->listener = s;
    m_impl->port = ntohs(address.sin_port);
    return m_impl->port;
}

void PageSockets::SetHttpPort(int port) { m_impl->options.httpPort = port; }

size_t PageSockets::OpenCount() { return m_impl->Open().size(); }

void PageSockets::Start() {
    m_impl->acceptThread = std::thread([this] { m_impl->Accept(); });
    m_impl->forwardThread = std::thread([this] { m_impl->Forward(); });
}

void PageSockets::Stop() {
    if (m_impl->stopping.exchange(true)) return;
    if (m_impl->listener != INVALID_SOCKET) {
        shutdown(m_impl->listener, kShutBoth);
        CloseSocket(m_impl->listener);
    }
    if (m_impl->acceptThread.joinable()) m_impl->acceptThread.join();
    for (const auto& c : m_impl->Open()) shutdown(c->fd, kShutBoth);
    if (m_impl->forwardThread.joinable()) m_impl->forwardThread.join();
    // Every reader ends once its socket is shut; wait for them, as they use
    // the session.
    std::unique_lock<std::mutex> lock(m_impl->readersMutex);
    m_impl->readersDone.wait(lock, [this] { return m_impl->liveReaders == 0; });
}

void PageSockets::Broadcast(const std::string& text) {
    for (const auto& c : m_impl->Open()) c->Send(text);
}

}  // namespace moxh5::devhost
