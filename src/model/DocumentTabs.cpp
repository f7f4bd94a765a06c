// The open documents and the selection among them.
#include "DocumentTabs.h"

#include <algorithm>

DocumentTabs::DocumentTabs(QObject *parent)
    : QObject(parent)
{}

void DocumentTabs::setSelectedTabID(const QUuid &id)
{
    if (m_selectedTabID == id)
        return;
    m_selectedTabID = id;
    emit selectedTabIDChanged();
    emit selectedDocumentChanged();
    emit canSaveSelectedDocumentChanged();
}

TarnDocument *DocumentTabs::selectedDocument() const
{
    if (m_selectedTabID.isNull())
        return nullptr;
    const auto it = std::find_if(m_tabs.begin(), m_tabs.end(), [this](TarnDocument *document) {
        return document->id() == m_selectedTabID;
    });
    return it == m_tabs.end() ? nullptr : *it;
}

bool DocumentTabs::canSaveSelectedDocument() const
{
    const TarnDocument *document = selectedDocument();
    return document && document->isDirty();
}

bool DocumentTabs::contains(const TarnDocument *document) const
{
    return std::find(m_tabs.begin(), m_tabs.end(), document) != m_tabs.end();
}

TarnDocument *DocumentTabs::documentWithPath(const QString &path) const
{
    for (TarnDocument *document : m_tabs) {
        if (document->url().toLocalFile() == path)
            return document;
    }
    return nullptr;
}

void DocumentTabs::append(TarnDocument *document)
{
    document->setParent(this);
    connect(document, &TarnDocument::isDirtyChanged, this, [this, document] {
        if (document->id() == m_selectedTabID)
            emit canSaveSelectedDocumentChanged();
    });
    connect(document, &TarnDocument::contentChanged, this, [this, document] {
        if (document->id() == m_selectedTabID)
            emit selectedContentChanged();
    });
    m_tabs.append(document);
    emit tabsChanged();
}

qsizetype DocumentTabs::remove(TarnDocument *document)
{
    const qsizetype position = m_tabs.indexOf(document);
    if (position < 0)
        return -1;
    m_tabs.removeAt(position);
    emit tabsChanged();
    document->deleteLater();
    return position;
}

void DocumentTabs::move(int from, int to)
{
    if (from == to || from < 0 || to < 0 || from >= m_tabs.size() || to >= m_tabs.size())
        return;
    m_tabs.move(from, to);
    emit tabsChanged();
}
