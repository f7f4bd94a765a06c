// The toolbar's in-page search: field, "3/12" result label and previous/next/clear buttons.
#pragma once

#include <QLineEdit>
#include <QWidget>

class AppModel;
class QLabel;
class QToolButton;

// Return steps through the hits (Shift+Return backwards); Escape empties a non-empty query.
class SearchTextField : public QLineEdit
{
    Q_OBJECT

public:
    explicit SearchTextField(AppModel &model, QWidget *parent = nullptr);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    AppModel &m_model;
};

class ReaderSearchControl : public QWidget
{
    Q_OBJECT

public:
    static constexpr int narrowWidth = 246;
    static constexpr int wideWidth = 345;

    explicit ReaderSearchControl(AppModel &model, QWidget *parent = nullptr);

    // "" for a blank query, "无结果" without hits, otherwise "current/count".
    static QString resultText(const QString &query, int current, int count);

    SearchTextField *field() const { return m_field; }
    QLabel *resultLabel() const { return m_result; }
    QToolButton *previousButton() const { return m_previous; }
    QToolButton *nextButton() const { return m_next; }
    QToolButton *clearButton() const { return m_clear; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void awaitReport();
    void updateFromModel();
    void updateTheme();

    AppModel &m_model;
    QLabel *m_symbol;
    SearchTextField *m_field;
    QLabel *m_result;
    QToolButton *m_previous;
    QToolButton *m_next;
    QToolButton *m_clear;
    // A new query or document is being searched: the label shows no count until the page
    // reports, rather than the previous query's or "no results".
    bool m_awaitingReport = false;
};
