// The six formatting commands: pure text transformations applied as one undoable insertion.
#include "MarkdownEditorActions.h"

#include <QStringList>

MarkdownEditorActions::MarkdownEditorActions(QObject *parent)
    : QObject(parent)
{}

void MarkdownEditorActions::setTextView(EditorTextView *textView)
{
    disconnect(m_editConnection);
    m_textView = textView;
    m_matches.invalidate();
    if (textView) {
        m_editConnection = connect(textView, &EditorTextView::contentsChanged, this,
                                   [this](int position, int removed, int added) {
                                       m_matches.noteEdit(position, removed, added);
                                   });
    }
}

void MarkdownEditorActions::bold()
{
    wrapSelection(QStringLiteral("**"), QStringLiteral("**"), QStringLiteral("加粗文字"));
}

void MarkdownEditorActions::italic()
{
    wrapSelection(QStringLiteral("*"), QStringLiteral("*"), QStringLiteral("斜体文字"));
}

void MarkdownEditorActions::taskList()
{
    prefixSelectedLines(QStringLiteral("- [ ] "));
}

void MarkdownEditorActions::quote()
{
    prefixSelectedLines(QStringLiteral("> "));
}

void MarkdownEditorActions::link()
{
    EditorTextView *view = m_textView;
    if (!view)
        return;
    const EditorRange selected = view->selection();
    const QString inner = selected.length >= 1
                              ? view->text().mid(selected.location, selected.length)
                              : QStringLiteral("链接文字");
    view->insertText(u'[' + inner + QStringLiteral("](https://)"), selected);
    afterEdit();
    // Unlike bold and italic, the placeholder is left unselected: the caret stays after ")".
}

void MarkdownEditorActions::horizontalRule()
{
    EditorTextView *view = m_textView;
    if (!view)
        return;
    view->insertText(QStringLiteral("\n---\n"), view->selection());
    afterEdit();
}

void MarkdownEditorActions::wrapSelection(const QString &prefix, const QString &suffix,
                                          const QString &placeholder)
{
    EditorTextView *view = m_textView;
    if (!view)
        return;
    const EditorRange selected = view->selection();
    const QString inner =
        selected.length >= 1 ? view->text().mid(selected.location, selected.length) : placeholder;
    view->insertText(prefix + inner + suffix, selected);
    afterEdit();
    // With nothing selected the placeholder is selected, so typing replaces it.
    if (selected.length == 0 && m_textView)
        m_textView->setSelection(
            EditorRange{selected.location + int(prefix.size()), int(placeholder.size())});
}

void MarkdownEditorActions::prefixSelectedLines(const QString &prefix)
{
    EditorTextView *view = m_textView;
    if (!view)
        return;
    const EditorRange lines = view->lineRange(view->selection());
    QStringList parts = view->text().mid(lines.location, lines.length).split(u'\n');
    bool newlineOwed = false;
    if (!parts.isEmpty() && parts.last().isEmpty()) {
        parts.removeLast();
        newlineOwed = true;
    }
    // Empty lines get the prefix without its trailing blank, so no line ends in white space.
    QString barePrefix = prefix;
    while (!barePrefix.isEmpty() && barePrefix.back().isSpace())
        barePrefix.chop(1);
    for (QString &line : parts)
        line = line.isEmpty() ? barePrefix : prefix + line;
    QString result = parts.join(u'\n');
    if (newlineOwed)
        result += u'\n';
    view->insertText(result, lines);
    afterEdit();
}

void MarkdownEditorActions::afterEdit()
{
    if (!m_textView)
        return;
    if (onChange)
        onChange(m_textView->text());
    refreshSearchState(false, false);
}
