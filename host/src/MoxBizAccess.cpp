#include "MoxBizAccess.h"

#include <atomic>

namespace {
std::atomic<CClipBoardHelper*> g_clipBoardHelper{nullptr};
}

CClipBoardHelper* SingletonBizAcs::GetCClipBoardHelper() {
    return g_clipBoardHelper.load(std::memory_order_acquire);
}

void SingletonBizAcs::SetCClipBoardHelper(CClipBoardHelper* helper) {
    g_clipBoardHelper.store(helper, std::memory_order_release);
}
