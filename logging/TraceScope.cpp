#include "logging/TraceScope.h"

#include "logging/line/FunctionName.h"

namespace KVLogging
{
namespace
{
void SplitFullName(TraceScope& scope)
{
    if (scope.isSplit)
    {
        return;
    }
    FunctionName name = SplitFunctionName(scope.fullName);
    scope.className = std::move(name.className);
    scope.shortName = !name.shortName.empty() ? std::move(name.shortName) : scope.fullName;
    scope.isSplit = true;
}
} // namespace

const std::wstring& TraceScope::GetShortName()
{
    SplitFullName(*this);
    return shortName;
}

const std::wstring& TraceScope::GetNameOfClass()
{
    SplitFullName(*this);
    return className;
}
} // namespace KVLogging
