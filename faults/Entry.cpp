// Where the program with faults starts: everything is hooked before its runtime starts, and the first allocation and
// the first call of a whole run are counted too.

#include "faults/Adapters.h"
#include "faults/Injection.h"
#include "faults/SystemCalls.h"

// NOLINTBEGIN(readability-identifier-naming): the linker's names
extern "C" int WinMainCRTStartup();

extern "C" int KvFaultEntry()
{
    KVFaults::StartInjection();
    KVFaults::StartAdapters();
    KVFaults::HookSystemCalls();
    return WinMainCRTStartup();
}
// NOLINTEND(readability-identifier-naming)
