// The slim bar above the page that offers the standard flavour for a document written for it.
#pragma once

#include <QFrame>

class AppModel;
class QLabel;
class QPushButton;
class QToolButton;

// Shown while the model says the selected document's hint shows. It takes its own row in the
// layout, so the page moves down rather than being covered.
class FlavorHintBar : public QFrame
{
    Q_OBJECT

public:
    explicit FlavorHintBar(AppModel &model, QWidget *parent = nullptr);

    QPushButton *switchButton() const { return m_switch; }
    QToolButton *closeButton() const { return m_close; }

private:
    void updateTheme();

    AppModel &m_model;
    QLabel *m_message;
    QPushButton *m_switch;
    QToolButton *m_close;
};
