// A span of editor text as (location, length), counted in UTF-16 code units.
#pragma once

#include <QMetaType>

struct EditorRange
{
    int location = 0;
    int length = 0;

    int end() const { return location + length; }
    friend bool operator==(const EditorRange &, const EditorRange &) = default;
};

Q_DECLARE_METATYPE(EditorRange)
