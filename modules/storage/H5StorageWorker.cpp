#include "modules/storage/H5StorageWorker.h"

#include "MoxBizAccess.h"
#include "answer.h"
#include "diagnostics.h"
#include "core/dispatch/guard.h"
#include "core/dispatch/params.h"
#include "modules/storage/ClipBoardHelper.h"
#include "mox_json.h"
#include "moxh5/module_manager.h"
#include "moxh5/platform.h"

namespace {

namespace key = moxh5::key;
constexpr char kExecuteFunction[] = "H5StorageWorker::Execute";
constexpr char kAnswerFunction[] = "H5StorageWorker::Execute::<lambda_1>::operator ()";
constexpr char kSetPasteBoardFunction[] = "H5StorageWorker::setPasteBoard";
constexpr char kSetPasteBoardCaller[] = "setPasteBoard";
constexpr char kSetAllPasteBoardFunction[] = "H5StorageWorker::setAllPasteBoard";
constexpr char kGetPasteBoardFunction[] = "H5StorageWorker::getPasteBoard";
constexpr char kCopiedToast[] = "\xE5\xA4\x8D\xE5\x88\xB6\xE6\x88\x90\xE5\x8A\x9F";  // 复制成功
constexpr char kNotCopiedToast[] = "\xE5\xA4\x8D\xE5\x88\xB6\xE5\xA4\xB1\xE8\xB4\xA5";  // 复制失败
constexpr int kToastDurationMs = 1500;

// Hands `answer` to the render page that made the call. The text is written
// before "NoNeedUnifyCallBack" is set, so the page never sees the flag; the
// flag then keeps the unified callback from answering a second time.
bool AnswerRenderPage(const mox_h5_module_data& request, Json::Value& answer) {
    if (request.isWorker) return true;
    IH5ActionImplCallBack* callback = MoxModuleManager::GetInstance()->GetCallback();
    if (!callback) {
        MOX_LOG(LOG_PRIORITY_ERROR, kAnswerFunction, "[MoxH5] Callback is nullptr");
        answer[key::kMessage] = moxh5::text::kNoActionInterface;
        return false;
    }
    callback->RenderJsCallback(request.mallcsid, request.webindex, request.callbackid,
                               moxh5::detail::JsonText(answer));
    answer[key::kNoNeedUnifyCallBack] = true;
    return true;
}

// The end of a setPasteboard call that could not be served: the page still
// gets its (empty) answer, and the call counts as handled.
bool AnswerUnserved(const std::function<bool()>& answer_fn) {
    if (answer_fn) answer_fn();
    return true;
}

// Copies `utf8` to the clipboard as Unicode text through the process's helper.
bool CopyText(const std::string& utf8) {
    CClipBoardHelper* helper = SingletonBizAcs::GetCClipBoardHelper();
    if (!helper) {
        MOX_LOG_FALSE_IN(kSetPasteBoardFunction);
        return false;
    }
    return helper->CopyUniCodeTextToClipBoard(moxh5::platform::Utf8ToWide(utf8));
}

}  // namespace

H5StorageWorker::H5StorageWorker() {
    m_methods.emplace("setPasteboard", &H5StorageWorker::setPasteBoard);
    m_methods.emplace("setAllPasteboard", &H5StorageWorker::setAllPasteBoard);
    m_methods.emplace("getClipboardData", &H5StorageWorker::getPasteBoard);
    CClipBoardHelper::InstallProcessInstance();
}

bool H5StorageWorker::Execute(const mox_module_data* data, Json::Value& answer) {
    if (!data) {
        MOX_LOG_FALSE_IN(kExecuteFunction);
        return false;
    }
    const std::function<bool()> answerPage = [data, &answer] {
        return AnswerRenderPage(*data, answer);
    };
    return moxh5::detail::DispatchWithCompletion(kModuleName, m_methods, data, answerPage, answer,
                                                 MOX_CALL_SITE(kExecuteFunction));
}

bool H5StorageWorker::Exist(const std::string& method) {
    return moxh5::detail::MapsMethod(m_methods, method);
}

bool H5StorageWorker::setPasteBoard(const mox_h5_module_data* data,
                                    const std::function<bool()>& answer_fn, Json::Value& answer) {
    const moxh5::detail::CallSite site = MOX_CALL_SITE(kSetPasteBoardFunction);
    if (!moxh5::detail::RequireRequest(data, site)) return false;
    IH5ActionImplCallBack* host = moxh5::detail::RequireActionInterface(answer, site);
    if (!host) return false;
    const Json::Value* params = moxh5::detail::FindCallParams(data->payload);
    if (!params) {
        MOX_LOG_FALSE_IN(kSetPasteBoardFunction);
        return AnswerUnserved(answer_fn);
    }
    std::string type;
    if (!mox_json::GetJsonValueToString(*params, "type", type, kSetPasteBoardCaller, true, false)) {
        MOX_LOG_FALSE_IN(kSetPasteBoardFunction);
        return AnswerUnserved(answer_fn);
    }
    if (type != "image" && type != "text") {  // nothing to copy ("Text" included)
        answer_fn();
        return true;
    }

    std::string content;
    if (!mox_json::GetJsonValueToString(*params, "data", content, kSetPasteBoardCaller, true,
                                        false)) {
        MOX_LOG_FALSE_IN(kSetPasteBoardFunction);
        return AnswerUnserved(answer_fn);
    }
    if (type == "image") {
        // The host copies the image and answers the page itself.
        host->CopyImageToClipboard(content);
        return true;
    }
    // The outcome shows only in the toast; the answer carries no result.
    const bool copied = CopyText(content);
    std::string toast = copied ? kCopiedToast : kNotCopiedToast;
    mox_json::GetJsonValueToString(*params, copied ? "successMsg" : "errorMsg", toast,
                                   kSetPasteBoardCaller, true, false);
    host->ShowToast(copied ? MOX_TOAST_SUCCESS : MOX_TOAST_FAILURE, toast.data(), toast.size(),
                    kToastDurationMs);
    answer_fn();
    return true;
}

bool H5StorageWorker::setAllPasteBoard(const mox_h5_module_data* data,
                                       const std::function<bool()>& answer_fn,
                                       Json::Value& answer) {
    const moxh5::detail::CallSite site = MOX_CALL_SITE(kSetAllPasteBoardFunction);
    if (!moxh5::detail::RequireRequest(data, site)) return false;
    IH5ActionImplCallBack* host = moxh5::detail::RequireActionInterface(answer, site);
    if (!host) return false;
    const bool copied = host->SetAllPasteboard(data->webindex);
    answer_fn();
    return copied;
}

bool H5StorageWorker::getPasteBoard(const mox_h5_module_data* data,
                                    const std::function<bool()>& answer_fn, Json::Value&) {
    if (!moxh5::detail::RequireRequest(data, MOX_CALL_SITE(kGetPasteBoardFunction))) return false;
    // Only whether something readable is there reaches the page, through the
    // result; the contents stay here.
    mox_clipboard_content content;
    CClipBoardHelper* helper = SingletonBizAcs::GetCClipBoardHelper();
    const bool readable = helper && helper->GetClipboardContent(content);
    answer_fn();
    return readable;
}
