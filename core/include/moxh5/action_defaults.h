// H5ActionDefaults: an action interface in which every operation answers "not
// supported", so that a host overrides only the operations it supports:
//
//   class MyHost : public H5ActionDefaults {
//       void ShowToast(int kind, const char* text, size_t length, int durationMs) override;
//       void RenderJsCallback(...) override;  // to answer render pages
//   };
//
// "Not supported" follows each operation's shape in the catalogue
// (moxh5/host_operations.h, docs/host-operations.md):
//   - Accepted, HostAnswers, Later, Version: false. The page's call fails at
//     once: with its method's failure answer, or, for work that would finish
//     later, with "failed" (the library answers; `done` is never kept).
//   - Window (ShowEasyWnd): the page is answered at once through `done`, with
//     success false and "message": "not supported".
//   - Text (GetClientLinkPrefix): "", the host takes no client links.
//   - Nothing (ShowToast, CopyImageToClipboard, UpdateShielding): nothing
//     happens.
// The page answers themselves (RenderJsCallback, WorkerJsCallback) do
// nothing: a host that overrides neither answers no page.
#pragma once

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "moxh5/host_interfaces.h"
#include "moxh5/host_operations.h"

namespace moxh5::operation {

// ShowEasyWnd's refusal: the window always answers, so the page hears "not
// supported" at once.
inline void RefuseWindow(bool isWorker, const mox_h5_module_data* request, int webindex,
                         const std::string& callbackid, MoxPageCallbackFn done) {
    if (!request || !done) return;
    Json::Value answer(Json::objectValue);
    answer["message"] = "not supported";
    done(isWorker, false, webindex, request->mallcsid, callbackid,
         request->workerid ? request->workerid : "", answer);
}

}  // namespace moxh5::operation

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#elif defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4100)
#endif

#define MOXH5_REFUSAL_Accepted return false;
#define MOXH5_REFUSAL_HostAnswers return false;
#define MOXH5_REFUSAL_Later return false;
#define MOXH5_REFUSAL_Version return false;
#define MOXH5_REFUSAL_Text return {};
#define MOXH5_REFUSAL_Nothing
#define MOXH5_REFUSAL_Window moxh5::operation::RefuseWindow(isWorker, request, webindex, callbackid, done);
#define MOXH5_DEFAULT_OPERATION(Name, Shape, Params, Args, Doc) \
    MOXH5_OPERATION_RETURNS_##Shape Name Params override { MOXH5_REFUSAL_##Shape }
#define MOXH5_DEFAULT_ARG(name, Type, doc)
#define MOXH5_DEFAULT_ARG_VALUE(name, Type, value, doc)

class H5ActionDefaults : public IH5ActionImplCallBack {
public:
    MOXH5_HOST_OPERATIONS(MOXH5_DEFAULT_OPERATION, MOXH5_DEFAULT_ARG, MOXH5_DEFAULT_ARG_VALUE)

    void RenderJsCallback(const std::string& mallcsid, int webindex, const std::string& callId,
                          const std::string& data) override {}
    void WorkerJsCallback(const std::string& mallcsid, int webindex,
                          const std::string& callbackid, const std::string& data) override {}
};

#undef MOXH5_DEFAULT_OPERATION
#undef MOXH5_DEFAULT_ARG
#undef MOXH5_DEFAULT_ARG_VALUE
#undef MOXH5_REFUSAL_Accepted
#undef MOXH5_REFUSAL_HostAnswers
#undef MOXH5_REFUSAL_Later
#undef MOXH5_REFUSAL_Version
#undef MOXH5_REFUSAL_Text
#undef MOXH5_REFUSAL_Nothing
#undef MOXH5_REFUSAL_Window

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#elif defined(_MSC_VER)
#pragma warning(pop)
#endif
