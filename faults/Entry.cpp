// The entry point of the program with faults. It hooks everything before the runtime starts, so that even the first
// allocation and the first call of a run are counted.

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
