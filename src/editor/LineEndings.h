// Line endings between a document's text and the text view, which only knows "\n".
#pragma once

#include <QString>

enum class LineEnding
{
    lf,
    crlf,
    cr
};

namespace LineEndings {

// CRLF or CR only when every line break of the text has that form; LF otherwise.
LineEnding detect(QStringView text);
// The text as the view holds it: every "\r\n" and lone "\r" becomes "\n".
QString toView(const QString &text);
// The view's text with its "\n" written in the given form.
QString fromView(const QString &text, LineEnding ending);

} // namespace LineEndings
