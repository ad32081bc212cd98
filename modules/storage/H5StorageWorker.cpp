#include "modules/storage/H5StorageWorker.h"

#include "core/detail/answer.h"
#include "core/detail/diagnostics.h"
#include "moxh5/module_manager.h"

namespace {

namespace key = moxh5::key;
constexpr char kExecuteFunction[] = "H5StorageWorker::Execute";
constexpr char kAnswerFunction[] = "H5StorageWorker::Execute::<lambda_1>::operator ()";

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

}  // namespace

H5StorageWorker::H5StorageWorker() = default;

bool H5StorageWorker::Execute(const mox_module_data* data, Json::Value& answer) {
    if (!data) {
        MOX_LOG_FALSE_IN(kExecuteFunction);
        return false;
    }
    const std::function<bool()> answerPage = [data, &answer] {
        return AnswerRenderPage(*data, answer);
    };
    return moxh5::detail::DispatchWithCompletion(m_methods, data, answerPage, answer,
                                                 MOX_CALL_SITE(kExecuteFunction));
}

bool H5StorageWorker::Exist(const std::string& method) {
    return moxh5::detail::MapsMethod(m_methods, method);
}
