// The page only reports values, never exceptions, so the script is wrapped to report both.
#include "ScriptEvaluation.h"

#include "PageNumbers.h"

#include <QPointer>
#include <QVariantMap>
#include <QWebEnginePage>

namespace {

QString asExpression(QString script)
{
    script = script.trimmed();
    while (script.endsWith(u';'))
        script.chop(1);
    return script;
}

} // namespace

void evaluateScript(QWebEnginePage *page, const QString &script, QObject *context,
                    std::function<void(const ScriptOutcome &)> callback)
{
    const QString wrapped = QStringLiteral("(() => { try { return { value: (%1\n) }; } "
                                           "catch (error) { return { error: String(error) }; } "
                                           "})();")
                                .arg(asExpression(script));
    QPointer<QObject> guard(context);
    page->runJavaScript(wrapped, [guard, callback = std::move(callback)](const QVariant &result) {
        if (!guard)
            return;
        ScriptOutcome outcome;
        if (result.typeId() != QMetaType::QVariantMap) {
            // The page went away or was replaced before it could answer.
            outcome.errorString = QStringLiteral("the page did not run the script");
            callback(outcome);
            return;
        }
        const QVariantMap answer = result.toMap();
        if (answer.contains(QStringLiteral("error"))) {
            outcome.errorString = answer.value(QStringLiteral("error")).toString();
            callback(outcome);
            return;
        }
        outcome.ok = true;
        outcome.value = answer.value(QStringLiteral("value"));
        callback(outcome);
    });
}
