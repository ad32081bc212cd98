// The page API table (api/api.json) against the workers' method tables, both
// ways: every name a worker maps is described and nothing else is; for the
// native module, whose names have a slot per page kind, the kinds described
// are exactly the slots filled.
#include <gtest/gtest.h>
#include <json/reader.h>

#include <fstream>
#include <map>
#include <set>
#include <string>

#include "modules/basic/H5BasicWorker.h"
#include "modules/device/H5DeviceWorker.h"
#include "modules/native/H5NativeWorker.h"
#include "modules/network/H5NetworkWorker.h"
#include "modules/photo/H5PhotoWorker.h"
#include "modules/socket/H5SocketWorker.h"
#include "modules/storage/H5StorageWorker.h"

namespace moxh5::test {
namespace {

// Module -> method -> page kinds (kept only where the worker has slots).
using Methods = std::map<std::string, std::set<std::string>>;
using Modules = std::map<std::string, Methods>;

template <typename Map>
Methods NamesOf(const Map& methods) {
    Methods names;
    for (const auto& entry : methods) names[entry.first];
    return names;
}

Methods NativeSlots() {
    Methods slots;
    for (const H5NativeWorker::MethodRow& row : H5NativeWorker::kMethodRows) {
        std::set<std::string>& kinds = slots[row.name];
        if (row.slots & H5NativeWorker::kRenderSlot) kinds.insert("render");
        if (row.slots & H5NativeWorker::kWorkerSlot) kinds.insert("worker");
    }
    return slots;
}

Modules FromTable() {
    std::ifstream file(MOXH5_API_TABLE);
    Json::Value table;
    std::string errors;
    EXPECT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), file, &table, &errors))
        << MOXH5_API_TABLE << ": " << errors;
    Modules modules;
    for (const Json::Value& module : table["modules"]) {
        const bool slotted = module["name"].asString() == "JSCallNative";
        Methods& methods = modules[module["name"].asString()];
        for (const Json::Value& method : module["methods"]) {
            std::set<std::string>& kinds = methods[method["name"].asString()];
            for (const Json::Value& kind : method["pages"])
                if (slotted) kinds.insert(kind.asString());
        }
    }
    return modules;
}

TEST(ApiTable, DescribesEveryMethodAndSlotOfTheWorkersAndNothingElse) {
    const Modules workers = {
        {"JSCallBasic", NamesOf(H5BasicWorker().Methods())},
        {"JSDevice", NamesOf(H5DeviceWorker().Methods())},
        {"JSNetwork", NamesOf(H5NetworkWorker().Methods())},
        {"JSPhoto", NamesOf(H5PhotoWorker().Methods())},
        {"MMSSocket", NamesOf(H5SocketWorker().Methods())},
        {"JSStorage", NamesOf(H5StorageWorker().Methods())},
        {"JSCallNative", NativeSlots()},
    };
    const Modules table = FromTable();
    EXPECT_EQ(table.size(), workers.size());
    for (const auto& [module, methods] : workers) {
        const Methods& described = table.count(module) ? table.at(module) : Methods{};
        for (const auto& [name, kinds] : methods) {
            ASSERT_TRUE(described.count(name)) << module << "." << name << " is not described";
            EXPECT_EQ(described.at(name), kinds) << "page kinds of " << module << "." << name;
        }
        for (const auto& entry : described)
            EXPECT_TRUE(methods.count(entry.first))
                << module << "." << entry.first << " is not mapped";
    }
}

}  // namespace
}  // namespace moxh5::test
