// The editor's plain, monospaced text view; Ctrl+F in it opens the find panel, Ctrl+B, Ctrl+I and
// Ctrl+K ask for the formatting commands.
#pragma once

#include <QColor>
#include <QPlainTextEdit>

#include <optional>

class TarnEditorTextView : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit TarnEditorTextView(QWidget *parent = nullptr);

    // True for exactly Ctrl+F: no Shift, Alt or Meta alongside.
    static bool isFindShortcut(const QKeyEvent *event);

    enum class Formatting
    {
        bold,
        italic,
        link
    };
    // Exactly Ctrl+B, Ctrl+I or Ctrl+K.
    static std::optional<Formatting> formattingShortcut(const QKeyEvent *event);

    // Fenced blocks and front matter are drawn on this colour across the whole width; an
    // invalid colour draws none.
    void setQuietBackground(const QColor &colour);

signals:
    void formattingRequested(TarnEditorTextView::Formatting command);

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QColor m_quietBackground;
};
