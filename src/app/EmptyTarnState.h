// What the content area shows with no document selected: the symbol, "Tarn" and a hint.
#pragma once

#include <QWidget>

class AppModel;
class QLabel;

class EmptyTarnState : public QWidget
{
    Q_OBJECT

public:
    explicit EmptyTarnState(AppModel &model, QWidget *parent = nullptr);

    QLabel *titleLabel() const { return m_title; }
    QLabel *hintLabel() const { return m_hint; }

private:
    void updateTheme();

    AppModel &m_model;
    QLabel *m_symbol;
    QLabel *m_title;
    QLabel *m_hint;
};
