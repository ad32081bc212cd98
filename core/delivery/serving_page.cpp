#include "core/delivery/serving_page.h"

#include "no_throw.h"
#include "core/delivery/pending_work.h"

namespace moxh5::detail {
namespace {
thread_local const ServingPageScope* t_serving = nullptr;
}  // namespace

ServingPageScope::ServingPageScope(const mox_h5_module_data& call) noexcept
    : m_isWorker(call.isWorker),
      m_call(true),
      m_webindex(call.webindex),
      m_mallcsid(call.mallcsid),
      m_callbackid(call.callbackid),
      m_workerid(call.workerid ? call.workerid : ""),
      m_outer(t_serving) {
    t_serving = this;
}

ServingPageScope::ServingPageScope(bool isWorker, int32_t webindex, const std::string& mallcsid,
                                   const std::string& callbackid,
                                   const std::string& workerid) noexcept
    : m_isWorker(isWorker),
      m_call(false),
      m_webindex(webindex),
      m_mallcsid(mallcsid),
      m_callbackid(callbackid),
      m_workerid(workerid),
      m_outer(t_serving) {
    t_serving = this;
}

ServingPageScope::~ServingPageScope() { t_serving = m_outer; }

bool ServedPage(MoxPageIdentity& page) {
    const ServingPageScope* scope = t_serving;
    if (!scope) return false;
    page.isWorker = scope->m_isWorker;
    page.webindex = scope->m_webindex;
    page.mallcsid.assign(scope->m_mallcsid);
    page.callbackid.assign(scope->m_callbackid);
    page.workerid.assign(scope->m_workerid);
    // Only a call hands work over; an answered page is answered already.
    page.ticket = scope->m_call ? WorkBeingHandedOver() : 0;
    return true;
}

}  // namespace moxh5::detail

namespace moxh5 {

bool CurrentPage(MoxPageIdentity& page) noexcept {
    return detail::CatchAll("CurrentPage", false, [&] { return detail::ServedPage(page); });
}

}  // namespace moxh5
