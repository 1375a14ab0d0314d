#include <windows.h>

#include <gmock/gmock.h>

#include "tests/support/HeapCheck.h"

// A crash ends the test at once, without a dialog or a debugger.
int main(int argc, char** argv)
{
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    testing::InitGoogleMock(&argc, argv);
#if defined(KV_TEST_CHECKS_HEAP)
    const KVTest::HeapCheck heapCheck;
    const int result = RUN_ALL_TESTS();
    KVTest::HeapCheck::ValidateAll();
    return result;
#else
    return RUN_ALL_TESTS();
#endif
}
