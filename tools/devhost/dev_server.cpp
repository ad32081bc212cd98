#include "tools/devhost/dev_server.h"

#include <httplib.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <sstream>

#include "tools/devhost/dev_session.h"
#include "tools/devhost/json_io.h"
#include "tools/devhost/page_socket.h"
#include "tools/devhost/request_rules.h"

#include <condition_variable>
#include <ctime>
#include <thread>

namespace moxh5::devhost {

extern const char* const kPanelHtml;

namespace {

constexpr size_t kMaxBody = 1 << 20;
constexpr size_t kBacklog = 2000;
// Threads that serve connections: each open event stream holds one.
constexpr size_t kServerThreads = 32;
constexpr std::chrono::seconds kKeepAlive{10};

bool ReadFile(const std::filesystem::path& file, std::string& content) {
    std::ifstream in(file, std::ios::binary);
    if (!in) return false;
    std::ostringstream buffer;
    buffer << in.rdbuf();
    content = buffer.str();
    return true;
}

void SendJson(httplib::Response& res, int status, const Json::Value& body) {
    res.status = status;
    res.set_content(Compact(body), "application/json");
}

void SendProblem(httplib::Response& res, int status, const std::string& problem) {
    Json::Value body;
    body["error"] = problem;
    SendJson(res, status, body);
}

// One server-sent event; `data` holds no line break (compact JSON).
std::string EventFrame(const char* name, const std::string& id, const std::string& data) {
    std::string frame;
    if (name) frame += std::string("event: ") + name + "\n";
    if (!id.empty() && id.find_first_of("\r\n") == std::string::npos) frame += "id: " + id + "\n";
    return frame + "data: " + data + "\n\n";
}

// A first web index that differs from run to run, so that a page still open
// from an earlier run of the dev host never shares its index with a new one.
int FirstWebIndex() { return static_cast<int>(std::time(nullptr) % 20000) * 100000 + 1; }

// A signature of the folder's files (names, sizes, times), to notice edits.
std::string FolderSignature(const std::filesystem::path& root, const std::filesystem::path& sdk) {
    std::string signature;
    std::error_code error;
    size_t files = 0;
    const auto add = [&](const std::filesystem::path& file) {
        std::error_code e;
        const auto time = std::filesystem::last_write_time(file, e).time_since_epoch().count();
        signature += file.u8string() + ":" + std::to_string(std::filesystem::file_size(file, e)) + ":" +
                     std::to_string(time) + "\n";
    };
    for (auto it = std::filesystem::recursive_directory_iterator(
             root, std::filesystem::directory_options::skip_permission_denied, error);
         !error && it != std::filesystem::recursive_directory_iterator() && files < 5000;
         it.increment(error)) {
        const std::string name = it->path().filename().u8string();
        if (!name.empty() && (name[0] == '.' || name == "node_modules")) {
            if (it->is_directory(error)) it.disable_recursion_pending();
            continue;
        }
        if (it->is_regular_file(error)) {
            add(it->path());
            ++files;
        }
    }
    add(sdk);
    return signature;
}

}  // namespace

struct DevServer::Impl {
    ServerOptions options;
    EventHub hub{kBacklog};
    DevSession session;
    httplib::Server server;
    PageSockets sockets;
    std::atomic<int> nextWebIndex{FirstWebIndex()};
    int port = 0;
    int socketPort = 0;
    std::thread watcher;
    std::mutex watchMutex;
    std::condition_variable watchStop;
    bool stopped = false;

    explicit Impl(ServerOptions o)
        : options(std::move(o)),
          session(hub, options.logThreshold),
          sockets(session, hub, SocketOptions{options.token, 0, options.allowedOrigins}) {}

    Json::Value DevSettings(const std::string& base, const std::string& kind) {
        Json::Value dev;
        dev["base"] = base;
        dev["token"] = options.token;
        dev["socket"] = "ws://127.0.0.1:" + std::to_string(socketPort) + "/__moxh5/socket";
        dev["page"]["kind"] = kind;
        dev["page"]["webIndex"] = nextWebIndex++;
        return dev;
    }

    bool OriginListed(const std::string& origin) const {
        return std::find(options.allowedOrigins.begin(), options.allowedOrigins.end(), origin) !=
               options.allowedOrigins.end();
    }

    void Watch() {
        std::string last = FolderSignature(options.root, options.sdkFile);
        std::unique_lock<std::mutex> lock(watchMutex);
        while (!watchStop.wait_for(lock, std::chrono::milliseconds(400), [this] { return stopped; })) {
            lock.unlock();
            const std::string now = FolderSignature(options.root, options.sdkFile);
            if (now != last) {
                last = now;
                sockets.Broadcast(R"({"type":"reload"})");
                Json::Value event;
                event["event"] = "reload";
                hub.Publish(std::move(event));
            }
            lock.lock();
        }
    }

    bool Authorized(const httplib::Request& req) const {
        std::string presented = req.get_header_value("X-MoxH5-Token");
        if (presented.empty()) presented = req.get_param_value("token");
        return TokenMatches(presented, options.token);
    }

    bool SameOrigin(const httplib::Request& req) const {
        if (!req.has_header("Origin")) return true;
        const std::string origin = req.get_header_value("Origin");
        return (origin.rfind("http://", 0) == 0 && IsAllowedHost(origin.substr(7), port)) ||
               OriginListed(origin);
    }

    httplib::Server::HandlerResponse Guard(const httplib::Request& req, httplib::Response& res) {
        const bool api = req.path.rfind("/__moxh5/", 0) == 0 && req.path != "/__moxh5/sdk.js";
        if (!IsLoopbackAddress(req.remote_addr) ||
            !IsAllowedHost(req.get_header_value("Host"), port) ||
            (api && (!SameOrigin(req) || !Authorized(req)))) {
            res.status = 403;
            res.set_content("forbidden\n", "text/plain");
            return httplib::Server::HandlerResponse::Handled;
        }
        return httplib::Server::HandlerResponse::Unhandled;
    }

    void ServeFile(const httplib::Request& req, httplib::Response& res) {
        const auto file = ResolvePagePath(options.root, req.path);
        std::string content;
        if (!file || !ReadFile(*file, content)) {
            res.status = 404;
            res.set_content("not found\n", "text/plain");
            return;
        }
        if (IsHtmlFile(*file)) content = InjectDevScripts(content, Compact(DevSettings("", "render")));
        res.set_content(content, ContentTypeOf(*file).c_str());
    }

    void ServeSdk(httplib::Response& res) {
        std::string content;
        if (!ReadFile(options.sdkFile, content)) {
            res.status = 404;
            res.set_content("console.error(" +
                                Compact("moxh5-devhost: no SDK build at " +
                                        options.sdkFile.u8string() + " (run npm run build)") +
                                ");\n",
                            "text/javascript");
            return;
        }
        res.set_content(content, "text/javascript; charset=utf-8");
    }

    void HandleJson(
        const httplib::Request& req, httplib::Response& res,
        const std::function<bool(const Json::Value&, Json::Value&, std::string&)>& run) {
        Json::Value body, reply(Json::objectValue);
        std::string problem = "the body is not JSON";
        if (ParseStrict(req.body, body) && run(body, reply, problem)) {
            SendJson(res, 200, reply);
        } else {
            SendProblem(res, 400, problem);
        }
    }

    // Streams the events after number `after` as `frame` writes them (an
    // empty text skips one).
    void Stream(httplib::Response& res, uint64_t after,
                std::function<std::string(const Json::Value&)> frame) {
        res.set_header("Cache-Control", "no-store");
        res.set_chunked_content_provider(
            "text/event-stream", [this, frame = std::move(frame), cursor = after](
                                     size_t, httplib::DataSink& sink) mutable {
                const auto events = hub.WaitAfter(cursor, kKeepAlive);
                if (hub.Closed()) return false;
                std::string out;
                for (const auto& event : events) out += frame(*event);
                // A comment now and then finds streams whose reader has gone.
                if (events.empty()) out = ": keep-alive\n\n";
                return out.empty() || sink.write(out.data(), out.size());
            });
    }

    void PageEvents(const httplib::Request& req, httplib::Response& res) {
        const std::string kind = req.get_param_value("kind");
        const std::string workerId = req.get_param_value("workerId");
        // A worker stream without "webIndex" hears its worker id on any page.
        const bool anyPage = kind == "worker" && !req.has_param("webIndex");
        int webIndex = 0;
        try {
            webIndex = req.has_param("webIndex") ? std::stoi(req.get_param_value("webIndex")) : 0;
        } catch (const std::exception&) {
            return SendProblem(res, 400, "\"webIndex\" must be an integer");
        }
        if (kind != "render" && kind != "worker") {
            return SendProblem(res, 400, "\"kind\" must be render or worker");
        }
        // Web indexes are new for every page served, so a page's stream may
        // start from the oldest event kept (an answer delivered before the
        // stream opened still arrives). A worker id may be used again by a
        // reloaded page, so without a web index only new events count.
        Stream(res, anyPage ? hub.Latest() : 0,
               [kind, workerId, webIndex, anyPage](const Json::Value& event) -> std::string {
                   if (event["event"] != "page" || event["page"] != kind ||
                       (!anyPage && event["webindex"].asInt() != webIndex) ||
                       (kind == "worker" && event["workerId"].asString() != workerId)) {
                       return {};
                   }
                   const Json::Value& id = event[kind == "render" ? "callId" : "callbackid"];
                   return EventFrame("answer", id.asString(), Compact(event["envelope"]));
               });
    }

    void Route() {
        server.new_task_queue = [] { return new httplib::ThreadPool(kServerThreads); };
        server.set_payload_max_length(kMaxBody);
        // Small answers go out at once instead of waiting for an acknowledgement.
        server.set_tcp_nodelay(true);
        server.set_keep_alive_max_count(1000);
        server.set_default_headers({{"Cache-Control", "no-store"},
                                    {"X-Content-Type-Options", "nosniff"},
                                    {"X-Frame-Options", "DENY"}});
        server.set_pre_routing_handler([this](const httplib::Request& req, httplib::Response& res) {
            return Guard(req, res);
        });
        server.Get("/__moxh5/sdk.js",
                   [this](const httplib::Request&, httplib::Response& res) { ServeSdk(res); });
        server.Get("/__moxh5/panel", [](const httplib::Request&, httplib::Response& res) {
            res.set_content(kPanelHtml, "text/html; charset=utf-8");
        });
        server.Post("/__moxh5/call", [this](const httplib::Request& req, httplib::Response& res) {
            HandleJson(req, res,
                       [this](const Json::Value& body, Json::Value& reply, std::string& problem) {
                           return session.Call(body, reply, problem);
                       });
        });
        server.Post("/__moxh5/host", [this](const httplib::Request& req, httplib::Response& res) {
            HandleJson(req, res,
                       [this](const Json::Value& body, Json::Value&, std::string& problem) {
                           return session.SetHost(body, problem);
                       });
        });
        server.Post(
            "/__moxh5/complete", [this](const httplib::Request& req, httplib::Response& res) {
                HandleJson(req, res,
                           [this](const Json::Value& body, Json::Value&, std::string& problem) {
                               return session.Complete(body, problem);
                           });
            });
        server.Get("/__moxh5/pending", [this](const httplib::Request&, httplib::Response& res) {
            SendJson(res, 200, session.Pending());
        });
        server.Get("/__moxh5/auto", [this](const httplib::Request&, httplib::Response& res) {
            SendJson(res, 200, session.Presets());
        });
        server.Post("/__moxh5/auto", [this](const httplib::Request& req, httplib::Response& res) {
            HandleJson(req, res,
                       [this](const Json::Value& body, Json::Value& reply, std::string& problem) {
                           if (!session.SetPreset(body, problem)) return false;
                           reply = session.Presets();
                           return true;
                       });
        });
        // The operations whose work waits for the host, by shape (from the
        // catalogue of host operations).
        server.Get("/__moxh5/operations", [](const httplib::Request&, httplib::Response& res) {
            Json::Value list(Json::objectValue);
            for (const auto& [op, shape] : DevSession::AnsweredLater()) list[op] = shape;
            SendJson(res, 200, list);
        });
        // The dev settings of a new page, for pages another dev server serves
        // (a script tag with the token; Origin-free, so the token decides).
        server.Get("/__moxh5/dev.js", [this](const httplib::Request& req, httplib::Response& res) {
            const std::string kind = req.get_param_value("kind") == "worker" ? "worker" : "render";
            const std::string base = "http://127.0.0.1:" + std::to_string(port);
            res.set_content("globalThis.__MOXH5_DEV__ = " + Compact(DevSettings(base, kind)) + ";\n",
                            "text/javascript; charset=utf-8");
        });
        // Where the pages' WebSocket is (a page that lost it asks again: the
        // dev host may have been restarted on the same port).
        server.Get("/__moxh5/socket-address", [this](const httplib::Request& req, httplib::Response& res) {
            if (OriginListed(req.get_header_value("Origin")))
                res.set_header("Access-Control-Allow-Origin", req.get_header_value("Origin"));
            Json::Value reply;
            reply["socket"] = "ws://127.0.0.1:" + std::to_string(socketPort) + "/__moxh5/socket";
            reply["connections"] = static_cast<Json::UInt64>(sockets.OpenCount());
            SendJson(res, 200, reply);
        });
        server.Get("/__moxh5/events", [this](const httplib::Request& req, httplib::Response& res) {
            PageEvents(req, res);
        });
        server.Get("/__moxh5/feed", [this](const httplib::Request&, httplib::Response& res) {
            Stream(res, 0, [](const Json::Value& event) {
                return EventFrame(nullptr, {}, Compact(event));
            });
        });
        server.Get("/__moxh5/.*",
                   [](const httplib::Request&, httplib::Response& res) { res.status = 404; });
        server.Get(".*", [this](const httplib::Request& req, httplib::Response& res) {
            ServeFile(req, res);
        });
    }
};

DevServer::DevServer(ServerOptions options) : m_impl(std::make_unique<Impl>(std::move(options))) {
    m_impl->Route();
}

DevServer::~DevServer() { Stop(); }

int DevServer::Bind() {
    const int wanted = m_impl->options.port;
    const bool bound = wanted == 0
                           ? (m_impl->port = m_impl->server.bind_to_any_port("127.0.0.1")) > 0
                           : m_impl->server.bind_to_port("127.0.0.1", wanted);
    if (!bound) return -1;
    if (wanted != 0) m_impl->port = wanted;
    m_impl->socketPort = m_impl->sockets.Bind(0);
    if (m_impl->socketPort < 0) return -1;
    m_impl->sockets.SetHttpPort(m_impl->port);
    return m_impl->port;
}

int DevServer::SocketPort() const { return m_impl->socketPort; }

void DevServer::Serve() {
    m_impl->sockets.Start();
    if (m_impl->options.liveReload) m_impl->watcher = std::thread([this] { m_impl->Watch(); });
    m_impl->server.listen_after_bind();
}

void DevServer::Stop() {
    {
        std::lock_guard<std::mutex> lock(m_impl->watchMutex);
        if (m_impl->stopped) return;
        m_impl->stopped = true;
    }
    m_impl->watchStop.notify_all();
    m_impl->hub.Close();
    m_impl->server.stop();
    m_impl->sockets.Stop();
    if (m_impl->watcher.joinable()) m_impl->watcher.join();
}

}  // namespace moxh5::devhost
