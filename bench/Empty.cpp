#include <windows.h>

// kv_bench_empty: what starting a program of the graphical subsystem costs at least.
int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    return 0;
}
