// Type checks on page values by type id: QVariant's own conversions would also take "12".
#include "PageNumbers.h"

#include <algorithm>
#include <cmath>
#include <limits>

bool isPageNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

std::optional<int> pageInt(const QVariant &value)
{
    if (!isPageNumber(value))
        return std::nullopt;
    const double number = value.toDouble();
    if (!std::isfinite(number))
        return std::nullopt;
    constexpr double lowest = std::numeric_limits<int>::lowest();
    constexpr double highest = std::numeric_limits<int>::max();
    return int(std::clamp(std::trunc(number), lowest, highest));
}
