#include <windows.h>

// A library that holds nothing but its resources.
extern "C" __declspec(dllexport) int KvEmptyLibrary()
{
    return 0;
}
