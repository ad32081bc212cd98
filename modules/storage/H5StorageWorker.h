// Worker of the module "JSStorage": the clipboard.
//   "setPasteboard"    - params "type" "text": params "data" (UTF-8) goes on
//                        the clipboard as Unicode text, confirmed by a toast
//                        (params "successMsg" / "errorMsg", by default
//                        "复制成功" / "复制失败"); "type" "image": the host
//                        copies params "data" and answers the page itself.
//   "setAllPasteboard" - the host copies the whole page.
//   "getClipboardData" - true when the clipboard holds something readable;
//                        the contents are not handed to the page.
//
// Unlike the other workers it answers render pages itself: Execute hands each
// handler an answer function that passes the finished answer to the host's
// RenderJsCallback and then marks it "NoNeedUnifyCallBack", so the unified
// callback stays silent. Worker pages get no answer from this module.
// Every call answers exactly once, an unknown method included.
//
// Text is copied and the clipboard read by the process's clipboard helper
// (ClipBoardHelper.h), which the worker's constructor installs when none is
// installed yet.
#pragma once

#include <functional>

#include "core/dispatch/dispatch.h"
#include "moxh5/module_worker.h"

class H5StorageWorker : public IModuleWorker {
public:
    // The module name pages call.
    static constexpr char kModuleName[] = "JSStorage";

    H5StorageWorker();
    bool Execute(const mox_module_data* data, Json::Value& answer) override;
    bool Exist(const std::string& method) override;
    // The whole method map, read-only: every name this worker answers to.
    const moxh5::detail::CompletionMethodMap& Methods() const { return m_methods; }

    static bool setPasteBoard(const mox_h5_module_data* data,
                              const std::function<bool()>& answer_fn, Json::Value& answer);
    static bool setAllPasteBoard(const mox_h5_module_data* data,
                                 const std::function<bool()>& answer_fn, Json::Value& answer);
    static bool getPasteBoard(const mox_h5_module_data* data,
                              const std::function<bool()>& answer_fn, Json::Value& answer);

private:
    moxh5::detail::CompletionMethodMap m_methods;
};
