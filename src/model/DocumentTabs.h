// The open documents, in tab order, and which one is selected.
#pragma once

#include "TarnDocument.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QUuid>

class DocumentTabs : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QList<TarnDocument *> tabs READ tabs NOTIFY tabsChanged)
    // A null id means no tab is selected.
    Q_PROPERTY(
        QUuid selectedTabID READ selectedTabID WRITE setSelectedTabID NOTIFY selectedTabIDChanged)
    Q_PROPERTY(TarnDocument *selectedDocument READ selectedDocument NOTIFY selectedDocumentChanged)
    Q_PROPERTY(bool canSaveSelectedDocument READ canSaveSelectedDocument NOTIFY
                   canSaveSelectedDocumentChanged)

public:
    explicit DocumentTabs(QObject *parent = nullptr);

    QList<TarnDocument *> tabs() const { return m_tabs; }
    QUuid selectedTabID() const { return m_selectedTabID; }
    void setSelectedTabID(const QUuid &id);
    TarnDocument *selectedDocument() const;
    bool canSaveSelectedDocument() const;

    bool contains(const TarnDocument *document) const;
    TarnDocument *documentWithPath(const QString &path) const;
    // Takes the document as a new last tab; selecting it is up to the caller.
    void append(TarnDocument *document);
    // Takes the tab out and returns where it was (-1: not a tab). The document is deleted
    // later, since views may still hold it until they have seen tabsChanged.
    qsizetype remove(TarnDocument *document);
    // Moves the tab at `from` to `to`, as a dragged tab moves; positions out of range do nothing.
    void move(int from, int to);

signals:
    void tabsChanged();
    void selectedTabIDChanged();
    void selectedDocumentChanged();
    void canSaveSelectedDocumentChanged();
    // The selected document's saved text changed (a save, a reload from disk).
    void selectedContentChanged();

private:
    QList<TarnDocument *> m_tabs;
    QUuid m_selectedTabID;
};
