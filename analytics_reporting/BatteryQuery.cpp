#include "analytics_reporting/BatteryQuery.h"

#include "analytics_reporting/Dimensions.h"
#include "utils/base/StructuredExceptionScope.h"
#include "winapi/base/Bstr.h"

namespace KVAnalyticsReporting
{
namespace
{
constexpr long kAnswerTimeoutMs = 10000;

// The owner gives up the object before the release, which may fault or throw. So no object is released twice, and no
// exception leaves a noexcept function of the owner.
template <typename Interface> void ReleaseObject(KVWinApi::CUniqueComPointer<Interface>& object)
{
    if (object.IsValid())
    {
        KVWinApi::g_comApi->ReleaseInterface(object.Release());
    }
}
} // namespace

CBatteryQuery::~CBatteryQuery()
{
    while (HoldsObjects()) // each round releases at least one object
    {
        try
        {
            const KVUtils::CStructuredExceptionScope translator;
            translator.Run([this] { Release(); });
        }
        catch (...) // without consequence: the answer is already known
        {
        }
    }
}

std::wstring CBatteryQuery::Run()
{
    std::wstring answer = kUnknown;
    if (CreateLocator() && ConnectToServer() && ExecuteQuery())
    {
        answer = GetAnswer();
    }
    Release();
    return answer;
}

bool CBatteryQuery::CreateLocator()
{
    void* locator = nullptr;
    const HRESULT result = KVWinApi::g_comApi->CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER,
                                                                IID_IWbemLocator, &locator);
    m_locator.Reset(static_cast<IWbemLocator*>(locator));
    return SUCCEEDED(result) && m_locator.IsValid();
}

bool CBatteryQuery::ConnectToServer()
{
    const KVWinApi::CUniqueBstr path = KVWinApi::MakeBstr(L"\\\\.\\ROOT\\CIMV2");
    if (!path.IsValid())
    {
        return false;
    }
    IWbemServices* services = nullptr;
    const HRESULT result =
        m_locator.Get()->ConnectServer(path.Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr, &services);
    m_services.Reset(services);
    return SUCCEEDED(result) && m_services.IsValid();
}

bool CBatteryQuery::ExecuteQuery()
{
    const KVWinApi::CUniqueBstr language = KVWinApi::MakeBstr(L"WQL");
    const KVWinApi::CUniqueBstr query = KVWinApi::MakeBstr(L"SELECT * FROM Win32_Battery");
    if (!language.IsValid() || !query.IsValid())
    {
        return false;
    }
    IEnumWbemClassObject* batteries = nullptr;
    const HRESULT result = m_services.Get()->ExecQuery(
        language.Get(), query.Get(), WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr, &batteries);
    m_batteries.Reset(batteries);
    return SUCCEEDED(result) && m_batteries.IsValid();
}

std::wstring CBatteryQuery::GetAnswer()
{
    IWbemClassObject* battery = nullptr;
    ULONG count = 0;
    const HRESULT result = m_batteries.Get()->Next(kAnswerTimeoutMs, 1, &battery, &count);
    m_battery.Reset(battery);
    if (FAILED(result))
    {
        return kUnknown;
    }
    // Any other result is a success, including WBEM_S_FALSE (no battery) and WBEM_S_TIMEDOUT.
    return count == 0 ? L"No" : L"Yes";
}

bool CBatteryQuery::HoldsObjects() const noexcept
{
    return m_battery.IsValid() || m_batteries.IsValid() || m_services.IsValid() || m_locator.IsValid();
}

void CBatteryQuery::Release()
{
    ReleaseObject(m_battery);
    ReleaseObject(m_batteries);
    ReleaseObject(m_services);
    ReleaseObject(m_locator);
}
} // namespace KVAnalyticsReporting
