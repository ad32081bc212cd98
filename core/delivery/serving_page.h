// The page the library is serving on this thread: the calling page while a
// page call runs, the answered page while its answer is delivered. Hosts ask
// for it (moxh5::CurrentPage; the C interface's page-carrying callbacks) to
// know whom an operation or an answer is for.
//
// A scope only points at texts its creator keeps alive; nothing is copied
// until a host asks.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "moxh5/page_callback.h"
#include "moxh5/records.h"

namespace moxh5::detail {

class ServingPageScope {
public:
    // The calling page of `call`.
    explicit ServingPageScope(const mox_h5_module_data& call) noexcept;
    // A page being answered.
    ServingPageScope(bool isWorker, int32_t webindex, const std::string& mallcsid,
                     const std::string& callbackid, const std::string& workerid) noexcept;
    ~ServingPageScope();
    ServingPageScope(const ServingPageScope&) = delete;
    ServingPageScope& operator=(const ServingPageScope&) = delete;

private:
    friend bool ServedPage(MoxPageIdentity& page);
    bool m_isWorker;
    bool m_call;
    int32_t m_webindex;
    std::string_view m_mallcsid;
    std::string_view m_callbackid;
    std::string_view m_workerid;
    const ServingPageScope* m_outer;
};

// The innermost page of this thread, with the ticket of the work being handed
// over (0: none); false when the thread serves no page.
bool ServedPage(MoxPageIdentity& page);

}  // namespace moxh5::detail
