// Host business-access library (stand-in with the calls of the host's
// MOXBizAccess).
//
// The business-access library hands out process-wide service objects. MOXH5
// needs one: the clipboard helper, whose methods MOXH5 implements itself. The
// real library owns that instance; the stand-in keeps whatever instance the
// embedding application (or MOXH5's storage module) installs, null until then.
//
// Threads: Get may be called from any thread; Set belongs to start-up.
#pragma once

#include "MoxHostExport.h"

class CClipBoardHelper;

class MOXHOST_API SingletonBizAcs {
public:
    // The process's one clipboard helper, or null when none is installed.
    static CClipBoardHelper* GetCClipBoardHelper();
    // Installs the helper that GetCClipBoardHelper hands out (not owned).
    static void SetCClipBoardHelper(CClipBoardHelper* helper);
};
