// Evaluates a script in a page and tells a thrown exception apart from a script without a value.
#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

#include <functional>

class QWebEnginePage;

struct ScriptOutcome
{
    bool ok = false;     // false when the script threw or the page could not run it
    QVariant value;      // invalid when the script produced no value (undefined, null)
    QString errorString; // what went wrong when !ok
};

// Runs `script` (an expression or expression statement) in the page's main world. The callback
// runs on the main thread, and only while `context` is alive.
void evaluateScript(QWebEnginePage *page, const QString &script, QObject *context,
                    std::function<void(const ScriptOutcome &)> callback);
