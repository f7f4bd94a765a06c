// Line breaks between a document's text and the text view, which only knows "\n".
#pragma once

#include <QString>

#include <vector>

// The line breaks of a draft, each remembered in its own form ("\r\n", "\r" or "\n"), so that
// an edit in the view rewrites only the breaks it touches: a file with mixed endings keeps the
// endings of every line the user did not edit, byte for byte.
class DraftLineBreaks
{
public:
    // Starts over from `draft`; returns the text the view shows.
    QString reset(const QString &draft);
    // The draft for the view's new text. Breaks in the unchanged start and end keep their
    // forms; breaks in the changed middle take the draft's usual form (its most frequent one).
    QString update(const QString &viewText);

private:
    QString m_viewText;               // the view text the forms belong to
    std::vector<QStringView> m_forms; // one per "\n" of m_viewText
    QStringView m_usual = u"\n";
};
