#include "UnprivilegedScope.h"

#include <QDirIterator>
#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace {

// "nobody" on Debian; any id without a home or groups of its own would do.
constexpr uid_t kUnprivileged = 65534;

bool handOver(const QString &path)
{
    return ::lchown(QFile::encodeName(path).constData(), kUnprivileged, kUnprivileged) == 0;
}

} // namespace

UnprivilegedScope::UnprivilegedScope(const QStringList &trees)
    : m_wasRoot(::geteuid() == 0 && !trees.isEmpty())
{
    if (!m_wasRoot)
        return;
    for (const QString &tree : trees) {
        m_holds = handOver(tree) && m_holds;
        QDirIterator entries(tree,
                             QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
        while (entries.hasNext())
            m_holds = handOver(entries.next()) && m_holds;
    }
    // The real and saved ids stay root, so the destructor can take root back. glibc applies the
    // change to every thread of the process, the thread pool's too.
    m_holds = m_holds && ::seteuid(kUnprivileged) == 0;
}

UnprivilegedScope::~UnprivilegedScope()
{
    if (m_wasRoot && ::geteuid() != 0 && ::seteuid(0) != 0)
        qFatal("could not take back the root identity");
}
