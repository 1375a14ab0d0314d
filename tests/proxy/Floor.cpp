#include <windows.h>

// kv_floor: the least that every run of the program does: it asks the registry whether to log, and ends.
int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    HKEY key = nullptr;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Norvik\\KV\\Logging", 0, KEY_READ, &key) == ERROR_SUCCESS)
    {
        ::RegCloseKey(key);
    }
    return 0;
}
