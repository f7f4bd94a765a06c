// TarnDocument: draft tracking and the display-title rule.
#include "TarnDocument.h"

#include "Utf16Text.h"

#include <QFileInfo>

#include <unicode/unorm.h>
#include <unicode/unorm2.h>

#include <algorithm>

TarnDocument::TarnDocument(const QUrl &url, const QString &content, double scrollY, QObject *parent)
    : QObject(parent)
    , m_id(QUuid::createUuid())
    , m_url(url)
    , m_content(content)
    , m_draft(content)
    , m_scrollY(scrollY)
{}

QString TarnDocument::fileName() const
{
    return m_url.fileName(QUrl::FullyDecoded);
}

QString TarnDocument::title() const
{
    return displayTitle(fileName());
}

QUrl TarnDocument::baseURL() const
{
    return m_url.adjusted(QUrl::RemoveFilename);
}

void TarnDocument::setContent(const QString &content)
{
    m_content = content;
    m_missingOnDisk = false;
    emit contentChanged();
}

void TarnDocument::setDirty(bool dirty)
{
    m_isDirty = dirty;
    emit isDirtyChanged();
}

void TarnDocument::setScrollY(double y)
{
    m_scrollY = y;
    emit scrollYChanged();
}

void TarnDocument::setDraft(const QString &draft)
{
    m_draft = draft;
    emit draftChanged();
}

void TarnDocument::updateDraft(const QString &text)
{
    setDraft(text);
    setDirty(m_missingOnDisk || !canonicallyEqual(m_draft, m_content));
}

void TarnDocument::discardDraft()
{
    setDraft(m_content);
    setDirty(false);
}

void TarnDocument::setMissingOnDisk(bool missing)
{
    m_missingOnDisk = missing;
    setDirty(missing || !canonicallyEqual(m_draft, m_content));
}

QString TarnDocument::displayTitle(const QString &fileName)
{
    static const QString extensions[] = {QStringLiteral(".markdown"), QStringLiteral(".mdown"),
                                         QStringLiteral(".mkdn"), QStringLiteral(".md")};
    QString name = fileName;
    bool stripped = true;
    while (stripped) {
        stripped = false;
        for (const QString &extension : extensions) {
            if (name.endsWith(extension, Qt::CaseInsensitive)) {
                name.chop(extension.size());
                stripped = true;
                break;
            }
        }
    }
    return name.isEmpty() ? fileName : name;
}

namespace {

// True when canonical normalisation never combines across `at` in `text`: the code point
// there begins a new normalisation segment (or `at` is the end).
bool isNormalizationBoundary(const QString &text, qsizetype at)
{
    if (at >= text.size())
        return true;
    if (at > 0 && text[at].isLowSurrogate() && text[at - 1].isHighSurrogate())
        return false; // inside a surrogate pair
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2 *nfd = unorm2_getNFDInstance(&status);
    if (U_FAILURE(status))
        return false;
    const char32_t c = text[at].isHighSurrogate() && at + 1 < text.size()
                           ? QChar::surrogateToUcs4(text[at], text[at + 1])
                           : text[at].unicode();
    return unorm2_hasBoundaryBefore(nfd, UChar32(c));
}

} // namespace

bool TarnDocument::canonicallyEqual(const QString &a, const QString &b)
{
    if (a.size() == b.size() && a == b)
        return true;
    // An edit changes a small part of a large text: compare only what lies between the common
    // prefix and suffix, each cut back to a point where normalisation cannot reach across.
    const qsizetype shorter = std::min(a.size(), b.size());
    qsizetype prefix = 0;
    while (prefix < shorter && a[prefix] == b[prefix])
        ++prefix;
    while (prefix > 0 &&
           !(isNormalizationBoundary(a, prefix) && isNormalizationBoundary(b, prefix)))
        --prefix;
    qsizetype suffix = 0;
    while (suffix < shorter - prefix && a[a.size() - 1 - suffix] == b[b.size() - 1 - suffix])
        ++suffix;
    while (suffix > 0 && !(isNormalizationBoundary(a, a.size() - suffix) &&
                           isNormalizationBoundary(b, b.size() - suffix)))
        --suffix;

    const UChar *middleA = u16View(a).data() + prefix;
    const UChar *middleB = u16View(b).data() + prefix;
    UErrorCode status = U_ZERO_ERROR;
    const int32_t order = unorm_compare(middleA, int32_t(a.size() - prefix - suffix), middleB,
                                        int32_t(b.size() - prefix - suffix), 0, &status);
    return U_SUCCESS(status) && order == 0;
}
