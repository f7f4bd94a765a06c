// Line rules for the source colours: block constructs first (fences, front matter, HTML blocks,
// display math, headings, containers), then the inline ones on what is left of the line.
#include "MarkdownLineColouring.h"

#include <QRegularExpression>

using MarkdownLineColouring::Open;

namespace {

using QRE = QRegularExpression;

// State layout: bits 0-2 the open kind, bit 3 a tilde fence, the rest the fence length or the
// HTML block's end condition.
constexpr int kindMask = 0x7;
constexpr int tildeBit = 0x8;
constexpr int detailShift = 4;

enum HtmlEnd
{
    commentEnd = 1,
    rawEnd = 2,
    blankLineEnd = 3
};

int stateOf(Open kind, int detail = 0, bool tilde = false)
{
    return int(kind) | (tilde ? tildeBit : 0) | (detail << detailShift);
}

// Callers keep the result in a function-local static, so each pattern compiles once.
QRE re(const char *pattern, bool caseless = false)
{
    QRE expression(QString::fromUtf8(pattern),
                   caseless ? QRE::CaseInsensitiveOption : QRE::NoPatternOption);
    expression.optimize();
    return expression;
}

// One line's formats being built: constructs that contain literal text (code, math, HTML,
// addresses) take their characters, so no emphasis or link is looked for inside them.
struct LineFormats
{
    const QString &text;
    QList<QTextCharFormat> &formats;
    QList<bool> taken;

    void add(qsizetype start, qsizetype length, const QTextCharFormat &format)
    {
        for (qsizetype i = start; i < start + length && i < formats.size(); ++i)
            formats[i].merge(format);
    }
    void take(qsizetype start, qsizetype length)
    {
        for (qsizetype i = start; i < start + length && i < taken.size(); ++i)
            taken[i] = true;
    }
    bool isFree(qsizetype start, qsizetype length) const
    {
        for (qsizetype i = start; i < start + length && i < taken.size(); ++i) {
            if (taken[i])
                return false;
        }
        return true;
    }
};

qsizetype runLength(const QString &text, qsizetype from, QChar character)
{
    qsizetype end = from;
    while (end < text.size() && text[end] == character)
        ++end;
    return end - from;
}

bool isBlank(const QString &text)
{
    return text.trimmed().isEmpty();
}

// Backtick code spans: a run of n backticks up to the next run of exactly n.
void colourCodeSpans(LineFormats &line, qsizetype from, const MarkdownSourceStyle &style)
{
    const QString &text = line.text;
    qsizetype i = from;
    while (i < text.size()) {
        if (text[i] != u'`' || (i > from && text[i - 1] == u'\\')) {
            ++i;
            continue;
        }
        const qsizetype open = runLength(text, i, u'`');
        qsizetype j = i + open;
        qsizetype close = -1;
        while (j < text.size()) {
            if (text[j] != u'`') {
                ++j;
                continue;
            }
            const qsizetype run = runLength(text, j, u'`');
            if (run == open) {
                close = j;
                break;
            }
            j += run;
        }
        if (close < 0) {
            i += open;
            continue;
        }
        line.add(i, close + open - i, style.code);
        line.take(i, close + open - i);
        i = close + open;
    }
}

// Applies `format` to every free match of `pattern` from `from` on and takes the characters.
void colourTaken(LineFormats &line, qsizetype from, const QRE &pattern,
                 const QTextCharFormat &format)
{
    auto matches = pattern.globalMatch(line.text, from);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        if (!line.isFree(match.capturedStart(), match.capturedLength()))
            continue;
        line.add(match.capturedStart(), match.capturedLength(), format);
        line.take(match.capturedStart(), match.capturedLength());
    }
}

void colourLinks(LineFormats &line, qsizetype from, const MarkdownSourceStyle &style)
{
    // [text](address "title"), ![alt](address), [text][label]; the text may hold one level of
    // nested brackets, the address one level of parentheses.
    static const QRE link =
        re(R"((!?)\[((?:[^\[\]\\]|\\.|\[(?:[^\[\]\\]|\\.)*\])*)\])"
           R"((?:\([ \t]*(<[^>]*>|[^\s()]*(?:\([^\s()]*\)[^\s()]*)*))"
           R"(((?:[ \t]+(?:"[^"]*"|'[^']*'|\([^)]*\)))?[ \t]*)\)|\[([^\]]*)\]))");
    auto matches = link.globalMatch(line.text, from);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        if (!line.isFree(match.capturedStart(), 1))
            continue;
        line.add(match.capturedStart(), match.capturedLength(), style.marker);
        line.add(match.capturedStart(2), match.capturedLength(2), style.linkText);
        // The address, the title and a reference label all say where the link goes.
        for (int group : {3, 4, 5}) {
            line.add(match.capturedStart(group), match.capturedLength(group), style.linkAddress);
            line.take(match.capturedStart(group), match.capturedLength(group));
        }
    }
}

// Strong, emphasis and strikethrough: the span gets the style, its delimiters the marker colour.
void colourDelimited(LineFormats &line, qsizetype from, const QRE &pattern, int delimiterLength,
                     const QTextCharFormat &format, const QTextCharFormat &marker)
{
    auto matches = pattern.globalMatch(line.text, from);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const qsizetype start = match.capturedStart();
        const qsizetype end = match.capturedEnd();
        const int delimiter = delimiterLength > 0 ? delimiterLength : int(match.capturedLength(1));
        if (!line.isFree(start, delimiter) || !line.isFree(end - delimiter, delimiter))
            continue;
        line.add(start, end - start, format);
        line.add(start, delimiter, marker);
        line.add(end - delimiter, delimiter, marker);
    }
}

void colourInline(LineFormats &line, qsizetype from, const MarkdownSourceStyle &style)
{
    static const QRE autolink =
        re(R"(<(?:[A-Za-z][A-Za-z0-9+.\-]{1,31}:[^\s<>]*|[^\s<>@]+@[^\s<>@]+)>)");
    static const QRE bareUrl = re(R"(\b(?:https?://|www\.)[^\s<]*[^\s<.,:;"')\]*_~])");
    static const QRE html = re(R"(<!--.*?-->|</?[A-Za-z][A-Za-z0-9\-]*(?:\s+[^<>]*?)?\s*/?>)");
    static const QRE math = re(
        R"((?<![\\$])\$\$(?=\S).*?\$\$|(?<![\\$])\$(?![\s$])(?:[^$]*?[^\s\\$])?\$(?![\d$])|\\\(.*?\\\))");
    static const QRE strong = re(
        R"((?<![\\*])\*\*(?![\s*])(.+?)(?<![\s\\])\*\*|(?<![\w\\])__(?![\s_])(.+?)(?<!\s)__(?!\w))");
    static const QRE emphasis = re(
        R"((?<![\\*])\*(?![\s*])(?:.*?[^\s\\*])?\*(?!\*)|(?<![\w\\_])_(?![\s_])(?:.*?[^\s\\_])?_(?![\w_]))");
    static const QRE strike = re(R"((?<![\\~])(~~?)(?![\s~]).*?(?<![\s\\~])\1(?!~))");

    colourCodeSpans(line, from, style);
    colourTaken(line, from, math, style.math);
    colourTaken(line, from, autolink, style.linkAddress);
    colourTaken(line, from, html, style.html);
    colourTaken(line, from, bareUrl, style.linkAddress);
    colourLinks(line, from, style);
    colourDelimited(line, from, strong, 2, style.strong, style.marker);
    colourDelimited(line, from, emphasis, 1, style.emphasis, style.marker);
    colourDelimited(line, from, strike, 0, style.strikethrough, style.marker);
}

void colourTablePipes(LineFormats &line, qsizetype from, const MarkdownSourceStyle &style)
{
    static const QRE delimiterRow =
        re(R"(^\s*\|?\s*:?-+:?\s*(?:\|\s*:?-+:?\s*)+\|?\s*$|^\s*\|\s*:?-+:?\s*\|?\s*$)");
    const QString rest = line.text.mid(from).trimmed();
    const bool row = rest.startsWith(u'|') || (rest.endsWith(u'|') && !rest.endsWith(u"\\|")) ||
                     delimiterRow.match(line.text.mid(from)).hasMatch();
    if (!row)
        return;
    for (qsizetype i = from; i < line.text.size(); ++i) {
        if (line.text[i] == u'|' && (i == 0 || line.text[i - 1] != u'\\') && line.isFree(i, 1))
            line.add(i, 1, style.tablePipe);
    }
}

// Quote markers, then a list marker and its task box; returns where the content starts.
qsizetype colourContainers(LineFormats &line, const MarkdownSourceStyle &style)
{
    static const QRE quote = re(R"(\G {0,3}>[ ]?)");
    static const QRE thematic = re(R"(\G {0,3}([-*_])(?:[ \t]*\1){2,}[ \t]*$)");
    static const QRE list = re(R"(\G[ \t]*(?:[-*+]|\d{1,9}[.)])(?=[ \t]|$))");
    static const QRE task = re(R"(\G[ \t]+\[[ xX]\](?=[ \t]|$))");
    qsizetype pos = 0;
    for (auto match = quote.match(line.text, pos); match.hasMatch();
         match = quote.match(line.text, pos)) {
        line.add(match.capturedStart(), match.capturedLength(), style.quoteMarker);
        pos = match.capturedEnd();
    }
    if (const auto rule = thematic.match(line.text, pos); rule.hasMatch()) {
        line.add(pos, line.text.size() - pos, style.marker);
        return line.text.size();
    }
    if (const auto item = list.match(line.text, pos); item.hasMatch()) {
        line.add(item.capturedStart(), item.capturedLength(), style.listMarker);
        pos = item.capturedEnd();
        if (const auto box = task.match(line.text, pos); box.hasMatch()) {
            line.add(box.capturedStart(), box.capturedLength(), style.taskBox);
            pos = box.capturedEnd();
        }
    }
    return pos;
}

bool isFenceClose(const QString &text, QChar fence, int length)
{
    qsizetype i = 0;
    while (i < text.size() && i < 4 && text[i] == u' ')
        ++i;
    const qsizetype run = runLength(text, i, fence);
    return run >= length && isBlank(text.mid(i + run));
}

// A line inside a construct that spans lines: colours it whole, returns the next state.
int continueOpen(LineFormats &line, int state, const MarkdownSourceStyle &style)
{
    static const QRE rawClose = re(R"(</(?:pre|script|style|textarea)>)", true);
    static const QRE frontMatterClose = re(R"(^(?:---|\.\.\.)\s*$)");
    static const QRE mathClose = re(R"((?:\$\$|\\\])\s*$)");
    const qsizetype all = line.text.size();
    const int detail = state >> detailShift;
    switch (MarkdownLineColouring::openKind(state)) {
    case Open::fence:
        if (isFenceClose(line.text, (state & tildeBit) ? u'~' : u'`', detail)) {
            line.add(0, all, style.fence);
            return stateOf(Open::nothing);
        }
        line.add(0, all, style.codeBlock);
        return state;
    case Open::frontMatter:
        line.add(0, all, style.frontMatter);
        return frontMatterClose.match(line.text).hasMatch() ? stateOf(Open::nothing) : state;
    case Open::displayMath:
        line.add(0, all, style.math);
        return mathClose.match(line.text).hasMatch() ? stateOf(Open::nothing) : state;
    case Open::htmlBlock:
        if (detail == blankLineEnd && isBlank(line.text))
            return stateOf(Open::nothing);
        line.add(0, all, style.html);
        if ((detail == commentEnd && line.text.contains(u"-->")) ||
            (detail == rawEnd && rawClose.match(line.text).hasMatch()))
            return stateOf(Open::nothing);
        return state;
    case Open::nothing:
        break;
    }
    return stateOf(Open::nothing);
}

// A line that may open a construct spanning lines; returns -1 when it opens none.
int openBlock(LineFormats &line, bool firstLine, const MarkdownSourceStyle &style)
{
    static const QRE frontMatter = re(R"(^---\s*$)");
    static const QRE fence = re(R"(^[ \t]*(`{3,}(?!.*`)|~{3,}))");
    static const QRE math = re(R"(^[ \t]*(\$\$|\\\[))");
    static const QRE comment = re(R"(^ {0,3}<!--)");
    static const QRE raw = re(R"(^ {0,3}<(?:pre|script|style|textarea)(?:\s|>|$))", true);
    static const QRE blockTag =
        re(R"(^ {0,3}</?(?:address|article|aside|blockquote|details|dialog|div|dl|dd|dt|)"
           R"(fieldset|figcaption|figure|footer|form|h[1-6]|header|hr|li|main|nav|ol|p|section|)"
           R"(summary|table|tbody|td|tfoot|th|thead|tr|ul)(?:\s|/?>|$))",
           true);
    const QString &text = line.text;
    if (firstLine && frontMatter.match(text).hasMatch()) {
        line.add(0, text.size(), style.frontMatter);
        return stateOf(Open::frontMatter);
    }
    if (const auto open = fence.match(text); open.hasMatch()) {
        line.add(0, text.size(), style.fence);
        const QString marker = open.captured(1);
        return stateOf(Open::fence, int(marker.size()), marker[0] == u'~');
    }
    if (const auto open = math.match(text); open.hasMatch()) {
        line.add(0, text.size(), style.math);
        const QString closer =
            open.captured(1) == u"$$" ? QStringLiteral("$$") : QStringLiteral("\\]");
        const bool closed = text.indexOf(closer, open.capturedEnd()) >= 0;
        return closed ? stateOf(Open::nothing) : stateOf(Open::displayMath);
    }
    int end = 0;
    if (comment.match(text).hasMatch())
        end = text.contains(u"-->") ? -1 : commentEnd;
    else if (raw.match(text).hasMatch())
        end = rawEnd;
    else if (blockTag.match(text).hasMatch())
        end = blankLineEnd;
    if (end == 0)
        return -1;
    line.add(0, text.size(), style.html);
    return end < 0 ? stateOf(Open::nothing) : stateOf(Open::htmlBlock, end);
}

} // namespace

Open MarkdownLineColouring::openKind(int state)
{
    if (state < 0)
        return Open::nothing;
    const int kind = state & kindMask;
    return kind <= int(Open::displayMath) ? Open(kind) : Open::nothing;
}

int MarkdownLineColouring::colour(const QString &text, int previousState, bool firstLine,
                                  const MarkdownSourceStyle &style, QList<QTextCharFormat> &formats)
{
    static const QRE heading = re(R"(\G {0,3}(#{1,6})(?=[ \t]|$))");
    static const QRE setext = re(R"(^ {0,3}(?:=+|-+)[ \t]*$)");
    static const QRE definition = re(R"(^ {0,3}\[((?:[^\]\\]|\\.)+)\]:[ \t]*(\S+))");

    formats.fill(QTextCharFormat(), text.size());
    LineFormats line{text, formats, QList<bool>(text.size(), false)};
    if (openKind(previousState) != Open::nothing)
        return continueOpen(line, previousState, style);
    if (const int opened = openBlock(line, firstLine, style); opened >= 0)
        return opened;
    if (setext.match(text).hasMatch() && !text.trimmed().startsWith(u'-')) {
        line.add(0, text.size(), style.marker);
        return stateOf(Open::nothing);
    }
    const qsizetype content = colourContainers(line, style);
    if (const auto title = heading.match(text, content); title.hasMatch()) {
        line.add(content, text.size() - content, style.heading);
        line.add(title.capturedStart(1), title.capturedLength(1), style.marker);
    } else if (const auto label = definition.match(text); label.hasMatch()) {
        line.add(label.capturedStart(1), label.capturedLength(1), style.linkText);
        line.add(label.capturedStart(2), label.capturedLength(2), style.linkAddress);
        line.take(0, label.capturedEnd());
    }
    colourInline(line, content, style);
    colourTablePipes(line, content, style);
    return stateOf(Open::nothing);
}
