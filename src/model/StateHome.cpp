// The XDG state folder.
#include "StateHome.h"

#include <QDir>

QString xdgStateHome()
{
    const QString state = qEnvironmentVariable("XDG_STATE_HOME");
    // Relative values are invalid by the XDG rules and must be ignored.
    if (!state.isEmpty() && !QDir::isRelativePath(state))
        return state;
    const QString home = qEnvironmentVariable("HOME");
    return home.isEmpty() ? QString() : QDir(home).filePath(QStringLiteral(".local/state"));
}
