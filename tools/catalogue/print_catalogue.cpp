// Prints the catalogue of host operations (moxh5/host_operations.h) as the
// documents derived from it:
//   moxh5-host-operations markdown   docs/host-operations.md
//   moxh5-host-operations json       api/host_operations.json (for hosts in
//                                    other languages, the Python host among them)
//   moxh5-host-operations check DOCS JSON
//                                    exit 1 when either file differs from what
//                                    the catalogue gives (run by the tests)
#include <json/value.h>
#include <json/writer.h>

#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "moxh5/host_operations.h"

namespace {

struct Argument {
    const char* name;
    const char* type;
    const char* meaning;
};

struct Operation {
    const char* name;
    const char* shape;
    const char* summary;
    std::vector<Argument> arguments;
};

const char* JsonType(const char* type) {
    static const std::pair<const char*, const char*> kTypes[] = {
        {"String", "string"},          {"Integer", "integer"},
        {"Boolean", "boolean"},        {"Json", "any JSON"},
        {"Strings", "array of strings"}, {"StringOrNull", "string or null"},
        {"Request", "request object"}, {"Page", "page object"},
        {"EasyWindow", "window object"},
    };
    for (const auto& [name, text] : kTypes) {
        if (std::strcmp(name, type) == 0) return text;
    }
    return type;
}

#define MOXH5_LIST_ARG(name, Type, meaning) {#name, #Type, meaning},
#define MOXH5_LIST_ARG_VALUE(name, Type, value, meaning) {#name, #Type, meaning},
#define MOXH5_LIST_OPERATION(Name, Shape, Params, Args, Summary) \
    {#Name, #Shape, Summary, {Args}},

const std::vector<Operation>& Catalogue() {
    static const std::vector<Operation> operations = {
        MOXH5_HOST_OPERATIONS(MOXH5_LIST_OPERATION, MOXH5_LIST_ARG, MOXH5_LIST_ARG_VALUE)};
    return operations;
}

struct ShapeText {
    const char* shape;
    const char* reply;    // what the host replies through moxh5_reply
    const char* answer;   // when and how the page hears back
    const char* refusal;  // what a refusal does
};

const ShapeText kShapes[] = {
    {"Accepted", "true or false", "at once, from the call's answer",
     "false or no reply: the page's call fails with its method's failure answer"},
    {"HostAnswers", "true or false", "later: the host answers the page itself, under the id it is given",
     "false or no reply: the page's call fails at once"},
    {"Later", "true or false; keeps the token",
     "later: moxh5_complete(token, ...) (C++: AnswerPage with the page, or `done`)",
     "false or no reply: the token is withdrawn and the page is answered \"failed\" at once"},
    {"Window", "nothing read; keeps the token",
     "later: moxh5_complete(token, ...) (C++: `done`)",
     "no operation callback: the page is answered \"failed\" at once"},
    {"Version", "the version answer (any JSON)", "at once, from the call's answer",
     "false or no reply: no version"},
    {"Text", "a string", "not a page call", "no reply: \"\""},
    {"Nothing", "nothing read", "at once, from the call's answer", "nothing to refuse"},
};

const ShapeText& ShapeOf(const Operation& operation) {
    for (const ShapeText& shape : kShapes) {
        if (std::strcmp(shape.shape, operation.shape) == 0) return shape;
    }
    return kShapes[0];
}

std::string Markdown() {
    std::ostringstream out;
    out << "# Host operations\n\n"
           "Generated from the catalogue `core/include/moxh5/host_operations.h` by\n"
           "`moxh5-host-operations markdown`; do not edit. Each operation is a method of\n"
           "`IH5ActionImplCallBack` (C++) and, with the same name, one call of the C host\n"
           "table's `operation` callback, whose `args_json` is an object of the arguments\n"
           "below (docs/c_interface.md). Objects: a request is {\"mallcsid\", \"payload\",\n"
           "\"isWorker\", \"webindex\", \"callbackid\", \"workerid\"}; a page is\n"
           "{\"isWorker\", \"webindex\", \"mallcsid\", \"callbackid\", \"workerid\"}.\n";
    for (const Operation& operation : Catalogue()) {
        const ShapeText& shape = ShapeOf(operation);
        out << "\n## " << operation.name << "\n\n"
            << operation.summary << "\n\n- Shape: " << shape.shape
            << "\n- The host replies: " << shape.reply << "\n- The page hears: " << shape.answer
            << "\n- Refused: " << shape.refusal << "\n\n";
        if (operation.arguments.empty()) {
            out << "No arguments (`{}`).\n";
            continue;
        }
        out << "| argument | JSON type | meaning |\n|---|---|---|\n";
        for (const Argument& argument : operation.arguments) {
            out << "| " << argument.name << " | " << JsonType(argument.type) << " | "
                << argument.meaning << " |\n";
        }
    }
    return out.str();
}

std::string JsonText() {
    Json::Value operations(Json::arrayValue);
    for (const Operation& operation : Catalogue()) {
        Json::Value entry(Json::objectValue);
        entry["name"] = operation.name;
        entry["shape"] = operation.shape;
        entry["summary"] = operation.summary;
        Json::Value& arguments = entry["arguments"] = Json::Value(Json::arrayValue);
        for (const Argument& argument : operation.arguments) {
            Json::Value item(Json::objectValue);
            item["name"] = argument.name;
            item["type"] = JsonType(argument.type);
            item["meaning"] = argument.meaning;
            arguments.append(item);
        }
        operations.append(entry);
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    return Json::writeString(builder, operations) + "\n";
}

bool FileHolds(const char* path, const std::string& expected) {
    std::ifstream file(path, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (text == expected) return true;
    std::cerr << path << " is not what the catalogue gives: run tools/catalogue/update.sh\n";
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "markdown" && argc == 2) {
        std::cout << Markdown();
        return 0;
    }
    if (what == "json" && argc == 2) {
        std::cout << JsonText();
        return 0;
    }
    if (what == "check" && argc == 4) {
        const bool docs = FileHolds(argv[2], Markdown());
        const bool json = FileHolds(argv[3], JsonText());
        return docs && json ? 0 : 1;
    }
    std::cerr << "usage: moxh5-host-operations markdown | json | check DOCS JSON\n";
    return 2;
}
