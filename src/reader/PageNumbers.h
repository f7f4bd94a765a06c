// Numbers from the page (its messages and script results), which arrive as int, qlonglong or
// double depending on the value; strings and other types are never taken for numbers.
#pragma once

#include <QVariant>

#include <optional>

bool isPageNumber(const QVariant &value);
// The number truncated and clamped to the int range; nothing for a non-number, NaN or infinity.
std::optional<int> pageInt(const QVariant &value);
