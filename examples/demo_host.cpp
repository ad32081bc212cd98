// A minimal host: loads MOXH5 the way the desktop client does, installs a
// console action interface and plays a few page calls, printing what the
// library answers and what it asks of the host.
#include <json/value.h>
#include <json/writer.h>

#include <cstdio>
#include <string>

#include "MoxLog.h"
#include "moxh5/module_manager.h"
#include "moxh5/version.h"

namespace {

std::string Compact(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

// Prints log lines at info (600) or more urgent.
class ConsoleLogSink final : public CMoxLogSinkBase {
public:
    ConsoleLogSink() : CMoxLogSinkBase(LOG_PRIORITY_INFO) {}

protected:
    void WriteLocked(const MoxLogRecord& r) override {
        std::printf("    log %d %s: %s\n", r.priority, r.function.c_str(), r.text.c_str());
    }
};

// Answers every operation as accepted and prints the ones a page can see.
class ConsoleHost final : public IH5ActionImplCallBack {
public:
    bool GetPluginVersion(const std::string&, Json::Value&) override { return true; }
    bool RequestFromRenderPage(const mox_h5_module_data*, const Json::Value&, int,
                               const std::string&) override {
        return true;
    }
    bool SendSocketMessage(const mox_h5_module_data*, const std::string&,
                           const Json::Value&) override {
        return true;
    }
    bool OpenWaitHandleOrder(const std::string&) override { return true; }
    bool OpenGoodsManage(const std::string&) override { return true; }
    bool PageChange(const std::string&, const std::string&) override { return true; }
    bool SessionExpired(const mox_h5_module_data*) override { return true; }
    bool SetAllPasteboard(int) override { return true; }
    bool SendSocketCommand(const mox_h5_module_data*, const Json::Value&, int64_t) override {
        return true;
    }
    bool LocateMessage(const mox_h5_module_data*, const Json::Value&) override { return true; }
    bool ViewPicture(const mox_h5_module_data*, const std::string&, const std::string&,
                     const std::string&) override {
        return true;
    }
    bool StorePicture(const std::string&, const char*) override { return true; }
    bool ViewPictureList(const mox_h5_module_data*, int, const std::vector<std::string>&) override {
        return true;
    }
    bool BatchDownloadPictures(const mox_h5_module_data*, const std::string&, const std::string&,
                               const std::string&) override {
        return true;
    }
    bool UpdateQuickReply(const mox_h5_module_data*) override { return true; }
    bool ExportQuickReply(const mox_h5_module_data*, const char*) override { return true; }
    bool ImportQuickReply(const mox_h5_module_data*) override { return true; }
    bool DownQuickReplyModule(const char*) override { return true; }
    bool BusinessReport(const mox_h5_module_data*) override { return true; }
    bool SendVideoShow() override { return true; }
    bool SendAddressMsg(const mox_h5_module_data*, const Json::Value&) override { return true; }
    bool SendFaseReply(const mox_h5_module_data*, std::string) override { return true; }
    bool SendRichContent(const mox_h5_module_data*, const Json::Value&) override { return true; }
    bool ShareGoods(const std::string&, const std::wstring&) override { return true; }
    bool GetMallInfo(const mox_h5_module_data*, int, int) override { return true; }
    bool GetTesselActions(const mox_h5_module_data*, int, int) override { return true; }
    bool GetCurrentCustomerInfo(const mox_h5_module_data*, int, int) override { return true; }
    bool OpenWindow(const Json::Value&, const mox_h5_module_data*) override { return true; }
    bool WorkerOnLoad(const mox_h5_module_data*, std::string, uint32_t) override { return true; }
    bool UpdateMsg(const Json::Value&, const mox_h5_module_data*) override { return true; }
    bool LogisticOrderSelect(const Json::Value&, const mox_h5_module_data*, int, int) override {
        return true;
    }
    bool SelectFile(const std::string&, const MoxPageIdentity&, MoxPageCallbackFn) override {
        return true;
    }
    bool DownloadRemoteFile(const std::string&, const std::string&, const std::string&,
                            const MoxPageIdentity&, MoxPageCallbackFn) override {
        return true;
    }
    bool UploadFile(const std::string&, const std::string&, const std::string&, const std::string&,
                    const std::string&, const std::string&, const MoxPageIdentity&,
                    MoxPageCallbackFn) override {
        return true;
    }
    void ShowToast(int kind, const char* text, size_t length, int durationMs) override {
        std::printf("    host: toast kind %d, %d ms: %.*s\n", kind, durationMs,
                    static_cast<int>(length), text);
    }
    bool ShowCommonTip(bool, std::string, std::string, std::string, std::string,
                       MoxTipCompletion) override {
        return true;
    }
    bool SaveFile(const std::string&, const MoxPageIdentity&, MoxPageCallbackFn) override {
        return true;
    }
    bool HttpPost(int, const mox_h5_module_data*, int, const std::string&, const std::string&,
                  MoxPageCallbackFn, const std::string&, const std::string&, const std::string&,
                  const std::vector<std::string>&) override {
        return true;
    }
    bool HttpGet(int, const mox_h5_module_data*, int, const std::string&, const std::string&,
                 MoxPageCallbackFn, const std::string&, const std::string&,
                 const std::string&) override {
        return true;
    }
    void CopyImageToClipboard(const std::string&) override {}
    void RenderJsCallback(const std::string& mallcsid, int webindex, const std::string& callId,
                          const std::string& data) override {
        std::printf("    host: render page %s/%d callback %s <- %s\n", mallcsid.c_str(), webindex,
                    callId.c_str(), data.c_str());
    }
    void WorkerJsCallback(const std::string& mallcsid, int webindex, const std::string& callbackid,
                          const std::string& data) override {
        std::printf("    host: worker page %s/%d callback %s <- %s\n", mallcsid.c_str(), webindex,
                    callbackid.c_str(), data.c_str());
    }
    void ShowEasyWnd(bool, const mox_h5_module_data*, int, const std::string&, MoxPageCallbackFn,
                     const EasyWndParam&) override {}
    void UpdateShielding(const mox_h5_module_data*, const std::string&,
                         const Json::Value&) override {}
};

void Call(MoxModuleManager& manager, const std::string& module, const std::string& method,
          const Json::Value& params, bool isWorker = false) {
    mox_h5_module_data call;
    call.mallcsid = "demo-mall|demo-cs";
    call.payload["method"] = method;
    call.payload["params"] = params;
    call.isWorker = isWorker;
    call.webindex = 1;
    call.callbackid = "cb-" + method;
    call.workerid = isWorker ? "demo-worker" : nullptr;

    std::printf("page -> %s.%s %s\n", module.c_str(), method.c_str(), Compact(params).c_str());
    Json::Value answer(Json::objectValue);
    const auto [registered, handled] = manager.Execute(module, call, answer);
    std::printf("    answer: registered=%d handled=%d %s\n", registered, handled,
                Compact(answer).c_str());
}

}  // namespace

int main() {
    CMoxLog::SetSink(std::make_shared<ConsoleLogSink>());
    ConsoleHost host;

    std::printf("MOXH5 %s demonstration host\n", MOXH5_VERSION_STRING);
    MoxModuleManager& manager = *CSingleton<MoxModuleManager>::GetInstance();
    manager.Init(nullptr, nullptr, MoxConfigCallback());
    manager.SetCallback(&host);
    manager.Create();

    Json::Value name;
    name["name"] = "JSCallBasic.setLog";
    Call(manager, "JSCallBasic", "canIUse", name);
    name["name"] = "JSCallBasic.noSuchMethod";
    Call(manager, "JSCallBasic", "canIUse", name);

    Json::Value line;
    line["content"] = "hello from the page";
    line["logLevel"] = "warning";
    Call(manager, "JSCallBasic", "setLog", line);
    line["logLevel"] = "loud";
    Call(manager, "JSCallBasic", "setLog", line);

    Call(manager, "JSCallNative", "showToast", Json::Value(Json::objectValue));
    Call(manager, "NoSuchModule", "anything", Json::Value(Json::objectValue));

    // Work that finishes later answers through the unified callback.
    std::printf("host completes earlier work for a worker page:\n");
    Json::Value data;
    data["data"]["path"] = "C:\\Users\\demo\\report.xlsx";
    callBackToWebPage(true, true, 1, "demo-mall|demo-cs", "cb-saveFile", "demo-worker", data);
    return 0;
}
