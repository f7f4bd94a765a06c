// One place decides the buttons' roles, so every alert in the program answers keys alike.
#include "AlertBox.h"

#include <QMessageBox>
#include <QPushButton>

int AlertBox::run(const ModalAlert &alert, QWidget *parent)
{
    QMessageBox box(parent);
    box.setIcon(alert.style == AlertStyle::critical ? QMessageBox::Critical : QMessageBox::Warning);
    box.setWindowTitle(QStringLiteral("Tarn"));
    box.setText(alert.message);
    box.setInformativeText(alert.informativeText);
    QList<QAbstractButton *> buttons;
    for (qsizetype i = 0; i < alert.buttons.size(); ++i) {
        const QString &title = alert.buttons[i];
        const auto role = i == 0                            ? QMessageBox::AcceptRole
                          : title == QStringLiteral("取消") ? QMessageBox::RejectRole
                                                            : QMessageBox::DestructiveRole;
        buttons << box.addButton(title, role);
    }
    if (!buttons.isEmpty())
        box.setDefaultButton(qobject_cast<QPushButton *>(buttons.first()));
    box.exec();
    return int(buttons.indexOf(box.clickedButton()));
}
