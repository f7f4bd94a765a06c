// Rewrites the relative image and link addresses of a reader page for another folder.
#include "ExportedPage.h"

#include "MarkdownRenderer.h"
#include "Utf16Text.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QList>

#include <optional>
#include <utility>

namespace ExportedPage {
namespace {

// The document's own markup sits in this element. Around it are only the program's style sheet
// and scripts, which hold no addresses of the document. Inside it every "<" opens a tag of the
// renderer: the document's own "<" are escaped.
constexpr QLatin1StringView documentStart("<main class=\"tarn-document\">");
constexpr QLatin1StringView documentEnd("</main>");

// A path as its segments' bytes, percent-decoded.
using Segments = QList<QByteArray>;

QString cleanFolder(const QString &folder)
{
    return QDir::cleanPath(QDir(folder).absolutePath());
}

Segments folderSegments(const QString &cleanedFolder)
{
    Segments segments;
    for (const QString &name : cleanedFolder.split(u'/', Qt::SkipEmptyParts))
        segments << QFile::encodeName(name);
    return segments;
}

// The renderer writes attribute values with exactly these references; a value with any other
// is not the renderer's and is left as it is.
std::optional<QString> attributeText(QStringView value)
{
    static const std::pair<QLatin1StringView, QChar> references[] = {
        {QLatin1StringView("&amp;"), u'&'},
        {QLatin1StringView("&lt;"), u'<'},
        {QLatin1StringView("&gt;"), u'>'},
        {QLatin1StringView("&quot;"), u'"'},
        {QLatin1StringView("&#39;"), u'\''}};
    QString text;
    text.reserve(value.size());
    for (qsizetype i = 0; i < value.size();) {
        if (value[i] != u'&') {
            text += value[i++];
            continue;
        }
        bool known = false;
        for (const auto &[reference, character] : references) {
            if (value.sliced(i).startsWith(reference)) {
                text += character;
                i += reference.size();
                known = true;
                break;
            }
        }
        if (!known)
            return std::nullopt;
    }
    return text;
}

// The address as a browser reads it: tab, LF and CR dropped anywhere, C0 controls and spaces
// trimmed at both ends. Deciding on the text as written would take " //host/x" for a path.
QString browserAddress(QString address)
{
    address.removeIf([](QChar c) { return c == u'\t' || c == u'\n' || c == u'\r'; });
    qsizetype begin = 0;
    qsizetype end = address.size();
    while (begin < end && address[begin].unicode() <= 0x20)
        ++begin;
    while (end > begin && address[end - 1].unicode() <= 0x20)
        --end;
    return address.sliced(begin, end - begin);
}

bool isAsciiLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool hasScheme(QStringView address)
{
    if (address.isEmpty() || !isAsciiLetter(address[0]))
        return false;
    for (const QChar c : address.sliced(1)) {
        if (c == u':')
            return true;
        if (!isAsciiLetter(c) && !(c >= u'0' && c <= u'9') && c != u'+' && c != u'-' && c != u'.')
            return false;
    }
    return false;
}

QString encodedSegment(const QByteArray &bytes)
{
    // Sub-delimiters and "@" may stand in a path segment as they are; ":" may not in the first.
    return QString::fromLatin1(bytes.toPercentEncoding("!$&'()*+,;=@"));
}

// The address `written` in the page, rewritten to reach from the output folder what it reaches
// from the document's folder; nothing when it is not a relative path.
std::optional<QString> relocatedAddress(const QString &written, const Segments &documentFolder,
                                        const Segments &outputFolder)
{
    const QString address = browserAddress(written);
    if (address.isEmpty() || address.startsWith(u'#') || address.startsWith(u'?') ||
        address.startsWith(u'/') || address.startsWith(u'\\') || hasScheme(address))
        return std::nullopt;
    qsizetype pathEnd = address.indexOf(u'#');
    if (pathEnd < 0)
        pathEnd = address.size();
    if (const qsizetype query = address.first(pathEnd).indexOf(u'?'); query >= 0)
        pathEnd = query;

    // Resolved as a browser resolves it against the folder (a backslash is a slash in file
    // addresses; "%2e" is a dot), then made relative to the output folder.
    Segments target = documentFolder;
    const QStringList parts = address.first(pathEnd).replace(u'\\', u'/').split(u'/');
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const QByteArray bytes = QByteArray::fromPercentEncoding(parts[i].toUtf8());
        const bool isLast = i == parts.size() - 1;
        if (bytes == "." || bytes == "..") {
            if (bytes == ".." && !target.isEmpty())
                target.removeLast();
            if (isLast)
                target << QByteArray(); // still names a folder
            continue;
        }
        target << bytes;
    }
    qsizetype common = 0;
    while (common < outputFolder.size() && common < target.size() - 1 &&
           outputFolder[common] == target[common])
        ++common;
    QStringList relative;
    for (qsizetype i = common; i < outputFolder.size(); ++i)
        relative << QStringLiteral("..");
    for (qsizetype i = common; i < target.size(); ++i)
        relative << encodedSegment(target[i]);
    QString path = relative.join(u'/');
    // An empty path would name the page itself, one with a leading "/" the file system's root.
    if (path.isEmpty() || path.startsWith(u'/'))
        path.prepend(QStringLiteral("./"));
    return path + address.sliced(pathEnd);
}

// Each candidate of a srcset list relocated. The renderer keeps only lists without data:
// addresses, whose commas all separate candidates.
std::optional<QString> relocatedSourceSet(const QString &list, const Segments &documentFolder,
                                          const Segments &outputFolder)
{
    QStringList candidates = list.split(u',');
    bool changed = false;
    for (QString &candidate : candidates) {
        qsizetype begin = 0;
        while (begin < candidate.size() && candidate[begin].isSpace())
            ++begin;
        qsizetype end = begin;
        while (end < candidate.size() && !candidate[end].isSpace())
            ++end;
        if (const auto moved = relocatedAddress(candidate.sliced(begin, end - begin),
                                                documentFolder, outputFolder)) {
            candidate = candidate.first(begin) + *moved + candidate.sliced(end);
            changed = true;
        }
    }
    return changed ? std::optional(candidates.join(u',')) : std::nullopt;
}

enum class Attribute
{
    other,
    address,
    sourceSet
};

Attribute attributeKind(QStringView element, QStringView attribute)
{
    if ((element == u"img" && attribute == u"src") || (element == u"a" && attribute == u"href"))
        return Attribute::address;
    if ((element == u"img" || element == u"source") && attribute == u"srcset")
        return Attribute::sourceSet;
    return Attribute::other;
}

} // namespace

QString relocated(const QString &page, const QString &documentFolder, const QString &outputFolder)
{
    const QString from = cleanFolder(documentFolder);
    const QString to = cleanFolder(outputFolder);
    const qsizetype start = page.indexOf(documentStart);
    if (from == to || start < 0)
        return page;
    const qsizetype end = page.indexOf(documentEnd, start);
    if (end < 0)
        return page;
    const Segments fromSegments = folderSegments(from);
    const Segments toSegments = folderSegments(to);

    QString out;
    qsizetype copied = 0;
    qsizetype at = page.indexOf(u'<', start + documentStart.size());
    while (at >= 0 && at < end) {
        // The tag's name, then its attributes up to the ">" that is not inside a value: a code
        // span in an image's description puts tags into its "alt".
        qsizetype i = at + 1;
        while (i < end && page[i].isLetterOrNumber())
            ++i;
        const QStringView name = QStringView(page).sliced(at + 1, i - at - 1);
        while (i < end && page[i] != u'>') {
            if (page[i] != u'"') {
                ++i;
                continue;
            }
            const qsizetype valueBegin = i + 1;
            const qsizetype valueEnd = page.indexOf(u'"', valueBegin);
            if (valueEnd < 0 || valueEnd >= end)
                return page; // not the renderer's markup
            qsizetype nameBegin = i - 1;
            while (nameBegin > at && page[nameBegin - 1] != u' ')
                --nameBegin;
            const Attribute kind =
                page[i - 1] == u'='
                    ? attributeKind(name, QStringView(page).sliced(nameBegin, i - 1 - nameBegin))
                    : Attribute::other;
            const auto written =
                kind != Attribute::other
                    ? attributeText(QStringView(page).sliced(valueBegin, valueEnd - valueBegin))
                    : std::nullopt;
            const auto moved = !written ? std::nullopt
                               : kind == Attribute::address
                                   ? relocatedAddress(*written, fromSegments, toSegments)
                                   : relocatedSourceSet(*written, fromSegments, toSegments);
            if (moved && *moved != *written) {
                if (out.isEmpty())
                    out.reserve(page.size() + 1024);
                out += QStringView(page).sliced(copied, valueBegin - copied);
                out +=
                    QString::fromStdU16String(MarkdownRenderer::escapeAttribute(u16View(*moved)));
                copied = valueEnd;
            }
            i = valueEnd + 1;
        }
        at = page.indexOf(u'<', i);
    }
    if (copied == 0)
        return page;
    out += QStringView(page).sliced(copied);
    return out;
}

} // namespace ExportedPage
