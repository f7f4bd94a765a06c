// Small value records the application model publishes: alerts and search navigation requests.
#pragma once

#include <QString>
#include <QUuid>

struct AppAlert
{
    QUuid id; // fresh per alert, so two alerts with the same text are still distinct
    QString title;
    QString message;

    static AppAlert make(const QString &title, const QString &message)
    {
        return AppAlert{QUuid::createUuid(), title, message};
    }
    friend bool operator==(const AppAlert &, const AppAlert &) = default;
};

enum class SearchNavigationDirection
{
    next,
    previous
};

inline QString rawValue(SearchNavigationDirection direction)
{
    return direction == SearchNavigationDirection::next ? QStringLiteral("next")
                                                        : QStringLiteral("previous");
}

// A request to move the reader search to another hit; carried out once per id.
struct SearchNavigationRequest
{
    QUuid id;
    SearchNavigationDirection direction = SearchNavigationDirection::next;
    friend bool operator==(const SearchNavigationRequest &,
                           const SearchNavigationRequest &) = default;
};
