// Scroll offsets by file path, most recent last.
#include "ReadPositions.h"

#include <QSet>

#include <cmath>

ReadPositions::ReadPositions(const QHash<QString, double> &positions, const QStringList &order)
    : m_positions(positions)
{
    QSet<QString> named;
    for (const QString &path : order) {
        if (m_positions.contains(path) && !named.contains(path)) {
            named.insert(path);
            m_order.append(path);
        }
    }
    QStringList unnamed;
    for (auto it = m_positions.cbegin(); it != m_positions.cend(); ++it) {
        if (!named.contains(it.key()))
            unnamed.append(it.key());
    }
    unnamed.sort(); // a stable order for entries written before the order was kept
    m_order = unnamed + m_order;
    prune();
}

bool ReadPositions::remember(const QString &path, double y)
{
    if (!std::isfinite(y))
        return false;
    if (m_positions.contains(path))
        m_order.removeOne(path);
    m_positions.insert(path, y);
    m_order.append(path);
    prune();
    return true;
}

void ReadPositions::prune()
{
    while (m_order.size() > limit)
        m_positions.remove(m_order.takeFirst());
}
