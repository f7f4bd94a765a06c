// The reader's scroll offsets by file path, kept for the most recently read files only.
#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

class ReadPositions
{
public:
    // Enough for anyone's reading; the map is rewritten whole on every scroll pause.
    static constexpr qsizetype limit = 1000;

    ReadPositions() = default;
    // `order` lists paths oldest first; paths of `positions` it does not name count as older
    // than all it names. The oldest beyond the limit are dropped.
    ReadPositions(const QHash<QString, double> &positions, const QStringList &order);

    double value(const QString &path) const { return m_positions.value(path, 0.0); }
    // Records `y` as the newest position. An offset that is not finite is not kept (false): it
    // cannot be stored and would stop every later position from being stored.
    bool remember(const QString &path, double y);

    const QHash<QString, double> &positions() const { return m_positions; }
    // Oldest first.
    const QStringList &order() const { return m_order; }

private:
    void prune();

    QHash<QString, double> m_positions;
    QStringList m_order;
};
