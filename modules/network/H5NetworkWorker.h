// Worker of the module "JSNetwork": HTTP requests made by the host for a page.
//   "request"     - render pages: the host performs the request and answers
//                   the page itself ("NoNeedUnifyCallBack").
//   "httpRequest" - worker pages: params "type" ("post" or "get"), "url",
//                   "content", "cookie" and, for "post" only, "headers" (an
//                   array of header lines) go to the host's HttpPost / HttpGet,
//                   which answers later through callBackToWebPage ("AsynExec").
//                   The URL must pass the page policy (an http or https URL by
//                   default); a URL, cookie or header line with CR, LF or NUL
//                   is refused with "Invalid param.".
#pragma once

#include <string>

#include "core/dispatch/dispatch.h"
#include "moxh5/host_interfaces.h"
#include "moxh5/module_worker.h"

class H5NetworkWorker : public IModuleWorker {
public:
    // The module name pages call.
    static constexpr char kModuleName[] = "JSNetwork";

    H5NetworkWorker();
    bool Execute(const mox_module_data* data, Json::Value& answer) override;
    bool Exist(const std::string& method) override;
    // The whole method map, read-only: every name this worker answers to.
    const moxh5::detail::PlainMethodMap& Methods() const { return m_methods; }

    static bool request_render(const mox_h5_module_data* data, Json::Value& answer);
    static bool request_worker(const mox_h5_module_data* data, Json::Value& answer);

private:
    moxh5::detail::PlainMethodMap m_methods;
};

// Hands the page's HTTP request to `host`: HttpPost with the header lines for
// "type" "post", HttpGet without them for "get"; any other type (the case
// counts) is refused with "Invalid param.". Sets "AsynExec" when the host
// accepted and returns the host's result. The first argument is not used;
// `extra` is passed to the host as it is.
bool H5HttpRequest(int unused, IH5ActionImplCallBack* host, const std::string& extra,
                   const mox_h5_module_data* data, Json::Value& answer);
