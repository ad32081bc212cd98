// Local files: whether a file exists, a plug-in's version, choosing,
// downloading, uploading, saving, removing and sizing files.
//
// Two answer paths meet here. "checkFileExist" and "getPluginVersion" answer
// the page directly through RenderJsCallback under the page's own "callID"
// (render pages only), so they keep "NoNeedUnifyCallBack". The others answer
// through the unified callback: the four the host performs ("selectFile",
// "downloadRemoteFile", "uploadFile", "saveFile") finish later, when the host
// calls callBackToWebPage with the page identity it was handed; the two the
// library performs itself ("removeSavedFile", "getFileInfo") answer at once
// and need no host.
//
// Paths arrive as UTF-8 and reach the file system as wide strings, so that
// non-ASCII (Chinese) file names work on Windows. Every path a page names
// passes the page policy's file scope first; outside it a method answers as
// for a missing file, and the host operations are not asked at all. The host
// work that hands a page files answers through AnswerPageHandingFiles, which
// adds those files to the scope.
#include "answer.h"
#include "diagnostics.h"
#include "core/dispatch/guard.h"
#include "core/policy/page_policy.h"
#include "core/delivery/pending_work.h"
#include "modules/native/H5NativeWorker.h"
#include "modules/native/native_log.h"
#include "mox_json.h"
#include "moxh5/page_callback.h"
#include "moxh5/platform.h"

namespace {

namespace key = moxh5::key;
namespace text = moxh5::text;
using moxh5::detail::AnswerHook;
using moxh5::detail::LaterWork;
using moxh5::detail::CallSite;
using moxh5::detail::FileNameAllowed;
using moxh5::detail::NetworkUrl;
using moxh5::detail::PageFileInScope;
using moxh5::detail::RequireCall;
using moxh5::detail::RequireObjectParams;
using moxh5::detail::RequireRequest;

constexpr char kFileNotExist[] = "file not exist.";
constexpr char kFilePathEmpty[] = "file path is empty.";
constexpr char kRemoveFailed[] = "remove failed.";
constexpr char kFileInfoFailed[] = "get file info failed.";

std::string ReadString(const Json::Value& params, const char* name, const char* function) {
    return mox_json::GetJsonValueToString(params, name, function);
}

// Answers a render page under the "callID" it chose itself.
void AnswerUnderCallId(IH5ActionImplCallBack& host, const mox_h5_module_data& data,
                       const Json::Value& params, const char* function, const Json::Value& result) {
    host.RenderJsCallback(data.mallcsid, data.webindex, ReadString(params, "callID", function),
                          moxh5::detail::JsonText(result));
}

// The opening of the two handlers that work on the file system themselves:
// no host needed. Returns the params, or null.
const Json::Value* RequireLocalFileCall(const mox_h5_module_data* data, Json::Value& answer,
                                        const moxh5::detail::CallSite& site) {
    if (!RequireRequest(data, site)) return nullptr;
    return RequireObjectParams(*data, answer, site);
}

// Whether every text is fit for a request header or form field.
bool AllHeaderTexts(std::initializer_list<const std::string*> texts, const CallSite& site) {
    for (const std::string* text : texts) {
        if (!moxh5::detail::HeaderTextAllowed(*text, site)) return false;
    }
    return true;
}

}  // namespace

bool H5NativeWorker::checkFileExist(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::checkFileExist";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;

    bool found = false;
    std::string pagePath;
    if (mox_json::GetJsonValueToString(*call.params, "filePathName", pagePath, kFunction, true,
                                       false)) {
        const std::optional<std::wstring> path =
            PageFileInScope(*data, pagePath, NATIVE_SITE(kFunction));
        found = path && moxh5::platform::FileExists(*path);
        if (found) {
            NATIVE_LOG(LOG_PRIORITY_INFO, kFunction, "[MoxH5] Find file[%s]",
                       moxh5::platform::WideToUtf8(*path).c_str());
        }
    }
    Json::Value result(Json::objectValue);
    result["finded"] = found;  // spelled so on purpose: pages read this key
    AnswerUnderCallId(*call.host, *data, *call.params, kFunction, result);
    return true;
}

bool H5NativeWorker::getPluginVersion(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::getPluginVersion";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;

    std::string pluginId;
    if (mox_json::GetJsonValueToString(*call.params, "pluginID", pluginId, kFunction, true,
                                       false)) {
        NATIVE_LOG(LOG_PRIORITY_INFO, kFunction, "[MoxH5] Get Plugin[%s] version.",
                   pluginId.c_str());
    }
    Json::Value version;  // the host fills it; null when it does not
    call.host->GetPluginVersion(pluginId, version);
    AnswerUnderCallId(*call.host, *data, *call.params, kFunction, version);
    return true;
}

bool H5NativeWorker::selectFile(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::selectFile";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;
    NATIVE_TRACE_JSON(kFunction, "[MoxH5] Web req SelectFile content: %s", data->payload);

    const std::string filter = ReadString(*call.params, "filter", kFunction);
    NATIVE_LOG(LOG_PRIORITY_INFO, kFunction, "[MoxH5] Get filter[%s]", filter.c_str());
    LaterWork work(*data, AnswerHook::kHandFiles);
    if (!work.Open(answer)) return false;
    return work.Handed(call.host->SelectFile(filter, work.Page(), work.Done()), answer);
}

// An empty "cookie" is allowed; an empty "url" or "filePath" is not, nor a
// target name the Windows shell acts on. The URL goes to the host serialized.
bool H5NativeWorker::downloadRemoteFile(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::downloadRemoteFile";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;
    NATIVE_TRACE_JSON(kFunction, "[MoxH5] Web req downloadRemoteFile content: %s", data->payload);

    const std::string filePath = ReadString(*call.params, "filePath", kFunction);
    const std::string url = ReadString(*call.params, "url", kFunction);
    const std::string cookie = ReadString(*call.params, "cookie", kFunction);
    NATIVE_LOG(LOG_PRIORITY_INFO, kFunction, "[MoxH5] H5 download url[%s], path[%s]", url.c_str(),
               filePath.c_str());
    const CallSite site = NATIVE_SITE(kFunction);
    std::optional<std::string> source;
    std::optional<std::wstring> target;
    if (!url.empty() && !filePath.empty()) source = NetworkUrl(url, site);
    if (source && AllHeaderTexts({&cookie}, site)) target = PageFileInScope(*data, filePath, site);
    if (!target || !FileNameAllowed(moxh5::platform::WideToUtf8(*target), site)) {
        answer[key::kMessage] = text::kInvalidParam;
        return false;
    }
    LaterWork work(*data, AnswerHook::kHandFiles);
    if (!work.Open(answer)) return false;
    return work.Handed(call.host->DownloadRemoteFile(moxh5::platform::WideToUtf8(*target), *source,
                                                     cookie, work.Page(), work.Done()),
                       answer);
}

// The six values go to the host as the page sent them (the path normalized,
// the URL serialized), empty ones included, once the URL, the texts and the
// path have passed the page policy.
bool H5NativeWorker::uploadFile(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::uploadFile";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;
    NATIVE_TRACE_JSON(kFunction, "[MoxH5] Web req UploadFile content: %s", data->payload);

    const Json::Value& params = *call.params;
    const std::string url = ReadString(params, "url", kFunction);
    const std::string cookie = ReadString(params, "cookie", kFunction);
    const std::string filePath = ReadString(params, "filePath", kFunction);
    const std::string signName = ReadString(params, "signName", kFunction);
    const std::string signValue = ReadString(params, "signValue", kFunction);
    const std::string fileDataName = ReadString(params, "fileDataName", kFunction);
    const CallSite site = NATIVE_SITE(kFunction);
    const std::optional<std::string> destination = NetworkUrl(url, site);
    std::optional<std::wstring> file;
    if (destination && AllHeaderTexts({&cookie, &signName, &signValue, &fileDataName}, site)) {
        file = PageFileInScope(*data, filePath, site);
    }
    if (!file) {
        answer[key::kMessage] = text::kInvalidParam;
        return false;
    }
    LaterWork work(*data);
    if (!work.Open(answer)) return false;
    return work.Handed(
        call.host->UploadFile(*destination, cookie, moxh5::platform::WideToUtf8(*file), signName,
                              signValue, fileDataName, work.Page(), work.Done()),
        answer);
}

bool H5NativeWorker::saveFile(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::saveFile";
    const auto call = RequireCall(data, answer, NATIVE_SITE(kFunction));
    if (!call) return false;
    NATIVE_TRACE_JSON(kFunction, "[MoxH5] Web req SaveFile content: %s", data->payload);

    const std::string tempFilePath = ReadString(*call.params, "tempFilePath", kFunction);
    const std::optional<std::wstring> file =
        tempFilePath.empty() ? std::nullopt
                             : PageFileInScope(*data, tempFilePath, NATIVE_SITE(kFunction));
    // The saved copy takes the file's name.
    if (!file || !FileNameAllowed(tempFilePath, NATIVE_SITE(kFunction))) {
        answer[key::kMessage] = text::kInvalidParam;
        return false;
    }
    LaterWork work(*data, AnswerHook::kHandFiles);
    if (!work.Open(answer)) return false;
    return work.Handed(
        call.host->SaveFile(moxh5::platform::WideToUtf8(*file), work.Page(), work.Done()), answer);
}

// Removes a file, never a directory: a directory exists, but its removal
// fails ("remove failed."). A path outside the page file scope is "file not
// exist.".
bool H5NativeWorker::removeSavedFile(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::removeSavedFile";
    const Json::Value* params = RequireLocalFileCall(data, answer, NATIVE_SITE(kFunction));
    if (!params) return false;
    NATIVE_TRACE_JSON(kFunction, "[MoxH5] Web req RemoveFile content: %s", data->payload);

    const std::string filePath = ReadString(*params, "filePath", kFunction);
    if (filePath.empty()) {
        answer[key::kMessage] = kFilePathEmpty;
        return false;
    }
    const std::optional<std::wstring> path =
        PageFileInScope(*data, filePath, NATIVE_SITE(kFunction));
    if (!path || !moxh5::platform::FileExists(*path)) {
        answer[key::kMessage] = kFileNotExist;
        return false;
    }
    if (moxh5::platform::RemoveFile(*path) != 0) {
        answer[key::kMessage] = kRemoveFailed;
        return false;
    }
    return true;
}

// Answers "data": {"size": <bytes>, "filePath": <the path as the page sent it>}.
bool H5NativeWorker::getFileInfo(const mox_h5_module_data* data, Json::Value& answer) {
    constexpr char kFunction[] = "H5NativeWorker::getFileInfo";
    const Json::Value* params = RequireLocalFileCall(data, answer, NATIVE_SITE(kFunction));
    if (!params) return false;
    NATIVE_TRACE_JSON(kFunction, "[MoxH5] Web req GetFileInfo content: %s", data->payload);

    const std::string filePath = ReadString(*params, "filePath", kFunction);
    if (filePath.empty()) {
        answer[key::kMessage] = text::kInvalidParam;
        return false;
    }
    const std::optional<std::wstring> path =
        PageFileInScope(*data, filePath, NATIVE_SITE(kFunction));
    const std::optional<uint64_t> size =
        path ? moxh5::platform::RegularFileSize(*path) : std::nullopt;
    if (!size) {
        answer[key::kMessage] = kFileInfoFailed;
        return false;
    }
    Json::Value& info = answer[key::kData];
    info["size"] = Json::UInt64{*size};
    info["filePath"] = filePath;
    return true;
}
