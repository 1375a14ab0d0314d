#include <windows.h>

// kv_bench_empty: the least that starting a program of the graphical subsystem costs.
int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    return 0;
}
