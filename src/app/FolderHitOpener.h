// Takes the user from a hit of the folder search to its place: the file opens (or its tab is
// selected), the query goes to the page search and the reader steps to that hit; in editing
// mode the editor selects it instead. The page's hits are not the file's (link addresses and
// markup are not shown), so the page is asked how many hits come before the hit's block.
#pragma once

#include "FolderSearch.h"

#include <QObject>

class AppModel;
class EditorPane;
class ReaderPane;

class FolderHitOpener : public QObject
{
    Q_OBJECT

public:
    FolderHitOpener(AppModel &model, EditorPane &editor, ReaderPane &reader,
                    QObject *parent = nullptr);

    void open(const QString &path, const FolderSearchHit &hit, int ordinal, const QString &query);

private:
    void stepTowardsHit();
    // Asks the page for the hits before the hit's block and in it, once all are marked.
    void findTargetOnPage(int attemptsLeft);

    AppModel &m_model;
    EditorPane &m_editor;
    ReaderPane &m_reader;
    QString m_path; // of the file whose page is stepping to its hit
    QString m_query;
    int m_block = 0;       // the top-level block of the page that holds the hit
    int m_inBlock = 0;     // the file's hits in that block before this one
    bool m_asking = false; // the page is being asked; steps wait
    bool m_found = false;  // m_targetIndex comes from the page
    int m_targetIndex = 0; // the page's 1-based index of that hit
};
