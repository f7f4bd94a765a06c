// The editor's plain, monospaced text view; Ctrl+F in it opens the find panel.
#pragma once

#include <QPlainTextEdit>

class TarnEditorTextView : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit TarnEditorTextView(QWidget *parent = nullptr);

    // True for exactly Ctrl+F: no Shift, Alt or Meta alongside.
    static bool isFindShortcut(const QKeyEvent *event);

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
};
