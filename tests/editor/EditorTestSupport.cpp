// Fixtures shared by the editor tests.
#include "EditorTestSupport.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

char *toString(const EditorRange &range)
{
    return QTest::toString(QStringLiteral("(%1, %2)").arg(range.location).arg(range.length));
}

EditorHarness::EditorHarness(const QString &text)
{
    edit.setPlainText(text);
    view = new PlainTextEditView(&edit);
    actions.setTextView(view);
    actions.onChange = [this](const QString &changed) { changes.append(changed); };
}

DialogAnswerer::DialogAnswerer(const QString &buttonText)
    : m_buttonText(buttonText)
{
    QTimer::singleShot(0, this, &DialogAnswerer::tryAnswer);
}

void DialogAnswerer::tryAnswer()
{
    auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    if (!box) {
        if (++m_attempts < 200)
            QTimer::singleShot(5, this, &DialogAnswerer::tryAnswer);
        return;
    }
    if (whileShown)
        whileShown();
    message = box->text();
    informativeText = box->informativeText();
    if (box->defaultButton())
        defaultButton = box->defaultButton()->text();
    QAbstractButton *chosen = nullptr;
    for (QAbstractButton *button : box->buttons()) {
        buttons.append(button->text());
        if (button->text() == m_buttonText)
            chosen = button;
    }
    // The platform's button box decides the left-to-right order, so only the set is compared.
    buttons.sort();
    answered = chosen != nullptr;
    if (chosen)
        chosen->click();
    else
        box->reject();
}
