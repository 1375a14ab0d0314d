#include <windows.h>

#include <gmock/gmock.h>

// A crash ends the test at once and is never offered to a debugger or shown to a person.
int main(int argc, char** argv)
{
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
