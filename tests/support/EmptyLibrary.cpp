#include <windows.h>

// A library that contains only resources.
extern "C" __declspec(dllexport) int KvEmptyLibrary()
{
    return 0;
}
