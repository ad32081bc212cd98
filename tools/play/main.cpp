// moxh5-play: a reference host that plays transcripts of page calls against
// the library and prints everything that crosses the boundary, one compact
// JSON object per line.
//
//   moxh5-play [--logs[=PRIORITY]] [FILE]          play FILE (or standard input)
//   moxh5-play [--logs[=PRIORITY]] --expect EXPECTED FILE
//                                                  check the events against EXPECTED
//   --unrestricted   run the unrestricted page policy instead of the default;
//                    expected lines marked "underPolicy" apply to one policy only
//
// Exit status: 0 when every line was played (and, with --expect, every
// expected event was found); 1 when an input line was refused or an expected
// event is missing; 2 for a usage error or an unreadable file.
#include <json/reader.h>
#include <json/writer.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "MoxLog.h"
#include "tools/play/transcript_match.h"
#include "tools/play/transcript_player.h"

namespace {

struct Arguments {
    int logThreshold = 0;
    bool unrestricted = false;
    std::string expectPath;
    std::string inputPath;  // empty: standard input
};

int Usage(const char* problem) {
    std::fprintf(stderr,
                 "moxh5-play: %s\n"
                 "usage: moxh5-play [--logs[=PRIORITY]] [--unrestricted] [--expect EXPECTED] [FILE]\n",
                 problem);
    return 2;
}

bool ParseArguments(int argc, char** argv, Arguments& args, std::string& problem) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--logs") {
            args.logThreshold = LOG_PRIORITY_DEBUG;
        } else if (arg.rfind("--logs=", 0) == 0) {
            char* end = nullptr;
            const long value = std::strtol(arg.c_str() + 7, &end, 10);
            if (*end || value < 100 || value > 700) {
                problem = "--logs takes a priority from 100 to 700";
                return false;
            }
            args.logThreshold = static_cast<int>(value);
        } else if (arg == "--unrestricted") {
            args.unrestricted = true;
        } else if (arg == "--expect") {
            if (++i >= argc) {
                problem = "--expect needs a file";
                return false;
            }
            args.expectPath = argv[i];
        } else if (!arg.empty() && arg[0] == '-' && arg != "-") {
            problem = "unknown option " + arg;
            return false;
        } else if (args.inputPath.empty()) {
            args.inputPath = arg == "-" ? "" : arg;
        } else {
            problem = "only one input file";
            return false;
        }
    }
    if (!args.expectPath.empty() && args.inputPath.empty()) {
        problem = "--expect needs the transcript FILE too";
        return false;
    }
    return true;
}

std::string Compact(const Json::Value& value) {
    static const Json::StreamWriterBuilder builder = [] {
        Json::StreamWriterBuilder b;
        b["indentation"] = "";
        return b;
    }();
    return Json::writeString(builder, value);
}

// Reads the expected events; blank lines and '#' comments are skipped, and
// so are lines whose "underPolicy" ("default" or "unrestricted") names the
// other page policy: those record where the two policies answer differently.
bool ReadExpected(const std::string& path, bool unrestricted, std::vector<Json::Value>& expected,
                  std::string& problem) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        problem = "cannot read " + path;
        return false;
    }
    Json::CharReaderBuilder builder;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const size_t first = line.find_first_not_of(" \t\r");
        if (first == std::string::npos || line[first] == '#') continue;
        Json::Value value;
        std::string error;
        if (!reader->parse(line.data(), line.data() + line.size(), &value, &error)) {
            problem = path + ":" + std::to_string(number) + ": not JSON: " + error;
            return false;
        }
        if (value.isObject() && value.isMember("underPolicy")) {
            Json::Value policy;
            value.removeMember("underPolicy", &policy);
            if (policy != "default" && policy != "unrestricted") {
                problem = path + ":" + std::to_string(number) +
                          ": \"underPolicy\" must be \"default\" or \"unrestricted\"";
                return false;
            }
            if ((policy == "unrestricted") != unrestricted) continue;
        }
        expected.push_back(value);
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    Arguments args;
    std::string problem;
    if (!ParseArguments(argc, argv, args, problem)) return Usage(problem.c_str());

    std::vector<Json::Value> expected;
    if (!args.expectPath.empty() && !ReadExpected(args.expectPath, args.unrestricted, expected, problem)) {
        return Usage(problem.c_str());
    }
    std::ifstream file;
    if (!args.inputPath.empty()) {
        file.open(args.inputPath, std::ios::binary);
        if (!file) return Usage(("cannot read " + args.inputPath).c_str());
    }
    std::istream& in = args.inputPath.empty() ? std::cin : file;

    const bool checking = !args.expectPath.empty();
    std::vector<Json::Value> events;
    bool allPlayed = true;
    {
        moxh5::play::TranscriptPlayer player({args.logThreshold, args.unrestricted}, [&](const Json::Value& event) {
            if (checking) events.push_back(event);
            std::fputs((Compact(event) + "\n").c_str(), stdout);
            std::fflush(stdout);
        });
        std::string line;
        for (int number = 1; std::getline(in, line); ++number) {
            allPlayed = player.PlayLine(line, number) && allPlayed;
        }
    }
    if (!checking) return allPlayed ? 0 : 1;

    const moxh5::play::MatchOutcome outcome = moxh5::play::MatchTranscript(expected, events);
    if (!outcome.ok) {
        std::fprintf(stderr, "moxh5-play: %s: %s\n", args.inputPath.c_str(),
                     outcome.message.c_str());
        return 1;
    }
    std::fprintf(stderr, "moxh5-play: %s: all %zu expected events found\n", args.inputPath.c_str(),
                 expected.size());
    return 0;
}
