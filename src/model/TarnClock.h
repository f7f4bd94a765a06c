// Where the model and the usage log take the current time from, so tests can fix it.
#pragma once

#include <QDateTime>

#include <functional>

// Must be callable from any thread: the usage log reads it on its own thread.
using TarnClock = std::function<QDateTime()>;

inline TarnClock tarnSystemClock()
{
    return [] { return QDateTime::currentDateTimeUtc(); };
}
