// TarnDocument: draft tracking and the display-title rule.
#include "TarnDocument.h"

#include <QFileInfo>

#include <unicode/unorm.h>

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
    setDirty(!canonicallyEqual(m_draft, m_content));
}

void TarnDocument::discardDraft()
{
    setDraft(m_content);
    setDirty(false);
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

bool TarnDocument::canonicallyEqual(const QString &a, const QString &b)
{
    if (a.size() == b.size() && a == b)
        return true;
    UErrorCode status = U_ZERO_ERROR;
    const int32_t order =
        unorm_compare(reinterpret_cast<const UChar *>(a.utf16()), int32_t(a.size()),
                      reinterpret_cast<const UChar *>(b.utf16()), int32_t(b.size()), 0, &status);
    return U_SUCCESS(status) && order == 0;
}
