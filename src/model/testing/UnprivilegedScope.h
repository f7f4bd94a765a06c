// Mode bits stop root from nothing, so a test of an unreadable folder, run as root (as CI runs),
// hands its folders to an unprivileged user and takes that user's identity until the scope ends.
// Elsewhere it does nothing.
#pragma once

#include <QStringList>

class UnprivilegedScope
{
public:
    // Every file and folder below each of `trees` (links themselves, not what they reach) goes
    // to the unprivileged user first. No trees: nothing changes.
    explicit UnprivilegedScope(const QStringList &trees);
    ~UnprivilegedScope();
    UnprivilegedScope(const UnprivilegedScope &) = delete;
    UnprivilegedScope &operator=(const UnprivilegedScope &) = delete;

    // False when running as root and the identity could not be taken: the test cannot hold.
    bool holds() const { return m_holds; }

private:
    bool m_wasRoot = false;
    bool m_holds = true;
};
