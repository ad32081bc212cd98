// moxh5-devhost: runs a page developer's folder in a browser against the
// real library. It serves the folder on 127.0.0.1 with the SDK's dev
// transport injected into every HTML page, hands each page call to the
// library's Execute through the reference host, and shows every host
// operation on a control panel where pending work is finished by hand.
//
//   moxh5-devhost [--port N] [--sdk FILE] [--logs[=PRIORITY]] [--token-file FILE]
//                 [--allow-origin ORIGIN]... [--no-reload] FOLDER
//
// --port 0 (the default) picks a free port. The page and panel addresses are
// printed on standard output; the panel's carries the run's token.
// --token-file keeps the token across runs (read when the file holds one,
// else written), so that open pages reconnect after a restart on the same
// port. --allow-origin lets pages of another dev server (Vite, esbuild)
// connect. SIGINT and SIGTERM stop it at once.
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "MoxLog.h"
#include "tools/devhost/dev_server.h"
#include "tools/devhost/request_rules.h"

namespace {

int Usage(const std::string& problem) {
    std::fprintf(stderr,
                 "moxh5-devhost: %s\n"
                 "usage: moxh5-devhost [--port N] [--sdk FILE] [--logs[=PRIORITY]] "
                 "[--token-file FILE] [--allow-origin ORIGIN]... [--no-reload] FOLDER\n",
                 problem.c_str());
    return 2;
}

bool ParseNumber(const std::string& text, long low, long high, int& value) {
    char* end = nullptr;
    const long number = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end || number < low || number > high) return false;
    value = static_cast<int>(number);
    return true;
}

// The token kept in `file`, or a new one written there.
bool TokenFromFile(const std::string& file, std::string& token) {
    std::ifstream in(file);
    std::string kept;
    if (in && std::getline(in, kept) && kept.size() == 32 &&
        kept.find_first_not_of("0123456789abcdef") == std::string::npos) {
        token = kept;
        return true;
    }
    token = moxh5::devhost::NewToken();
    std::ofstream out(file, std::ios::trunc);
    out << token << "\n";
    return static_cast<bool>(out);
}

bool ParseArguments(int argc, char** argv, moxh5::devhost::ServerOptions& options,
                    std::string& tokenFile, std::string& problem) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--port" && hasValue) {
            if (!ParseNumber(argv[++i], 0, 65535, options.port)) {
                problem = "--port takes a number from 0 to 65535";
                return false;
            }
        } else if (arg == "--token-file" && hasValue) {
            tokenFile = argv[++i];
        } else if (arg == "--allow-origin" && hasValue) {
            const std::string origin = argv[++i];
            if (origin.rfind("http://", 0) != 0 && origin.rfind("https://", 0) != 0) {
                problem = "--allow-origin takes an origin such as http://localhost:5173";
                return false;
            }
            options.allowedOrigins.push_back(origin.back() == '/' ? origin.substr(0, origin.size() - 1) : origin);
        } else if (arg == "--no-reload") {
            options.liveReload = false;
        } else if (arg == "--sdk" && hasValue) {
            options.sdkFile = std::filesystem::u8path(argv[++i]);
        } else if (arg == "--logs") {
            options.logThreshold = LOG_PRIORITY_DEBUG;
        } else if (arg.rfind("--logs=", 0) == 0) {
            if (!ParseNumber(arg.substr(7), 100, 700, options.logThreshold)) {
                problem = "--logs takes a priority from 100 to 700";
                return false;
            }
        } else if (!arg.empty() && arg[0] == '-') {
            problem = "unknown option or missing value: " + arg;
            return false;
        } else if (options.root.empty()) {
            options.root = std::filesystem::u8path(arg);
        } else {
            problem = "only one folder";
            return false;
        }
    }
    if (options.root.empty()) {
        problem = "which folder?";
        return false;
    }
    std::error_code error;
    if (!std::filesystem::is_directory(options.root, error)) {
        problem = "not a folder: " + options.root.u8string();
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    moxh5::devhost::ServerOptions options;
    options.sdkFile = std::filesystem::u8path(MOXH5_DEFAULT_SDK);
    options.logThreshold = LOG_PRIORITY_INFO;
    std::string problem, tokenFile;
    if (!ParseArguments(argc, argv, options, tokenFile, problem)) return Usage(problem);
    if (tokenFile.empty()) {
        options.token = moxh5::devhost::NewToken();
    } else if (!TokenFromFile(tokenFile, options.token)) {
        std::fprintf(stderr, "moxh5-devhost: cannot write the token file %s\n", tokenFile.c_str());
        return 1;
    }

#ifndef _WIN32
    // Signals are taken by one thread, which stops the server; every other
    // thread (the server's included) inherits the blocked set.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
#endif
    moxh5::devhost::DevServer server(options);
    const int port = server.Bind();
    if (port < 0) {
        std::fprintf(stderr, "moxh5-devhost: cannot listen on 127.0.0.1:%d\n", options.port);
        return 1;
    }
    const std::string base = "http://127.0.0.1:" + std::to_string(port);
    std::printf("moxh5-devhost: serving %s\n  page:  %s/\n  panel: %s/__moxh5/panel?token=%s\n"
                "  other dev servers: <script src=\"%s/__moxh5/dev.js?token=%s\"></script>\n",
                options.root.u8string().c_str(), base.c_str(), base.c_str(), options.token.c_str(),
                base.c_str(), options.token.c_str());
    std::fflush(stdout);
#ifndef _WIN32
    std::mutex doneMutex;
    std::condition_variable doneChanged;
    bool stopped = false;
    std::thread stopper([&] {
        int signal = 0;
        sigwait(&stopSignals, &signal);
        server.Stop();
        std::lock_guard<std::mutex> lock(doneMutex);
        stopped = true;
        doneChanged.notify_all();
    });
    stopper.detach();
    server.Serve();
    std::unique_lock<std::mutex> lock(doneMutex);
    doneChanged.wait(lock, [&] { return stopped; });
#else
    server.Serve();
#endif
    return 0;
}
