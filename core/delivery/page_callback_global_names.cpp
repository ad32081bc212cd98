// The global functions AnswerPage and PageIdentityOf, exported under the
// symbols earlier releases declared them with: hosts built against those
// releases import these symbols and must keep loading. They forward to the
// functions in namespace moxh5, which the header also names globally (with
// using-declarations, hidden here so that these definitions do not clash).
#define MOXH5_NO_GLOBAL_PAGE_NAMES
#include "moxh5/page_callback.h"

MOXH5_API MoxPageIdentity PageIdentityOf(const mox_h5_module_data& request);
MOXH5_API bool AnswerPage(const MoxPageIdentity& page, bool success,
                          const Json::Value& answer) noexcept;

MoxPageIdentity PageIdentityOf(const mox_h5_module_data& request) {
    return moxh5::PageIdentityOf(request);
}

bool AnswerPage(const MoxPageIdentity& page, bool success, const Json::Value& answer) noexcept {
    return moxh5::AnswerPage(page, success, answer);
}
