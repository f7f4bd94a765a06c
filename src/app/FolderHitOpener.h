// Takes the user from a hit of the folder search to its place: the file opens (or its tab is
// selected), the query goes to the page search and the reader steps to that hit; in editing
// mode the editor selects it instead.
#pragma once

#include "FolderSearch.h"

#include <QObject>

class AppModel;
class EditorPane;

class FolderHitOpener : public QObject
{
    Q_OBJECT

public:
    FolderHitOpener(AppModel &model, EditorPane &editor, QObject *parent = nullptr);

    void open(const QString &path, const FolderSearchHit &hit, int ordinal, const QString &query);

private:
    void stepTowardsHit();

    AppModel &m_model;
    EditorPane &m_editor;
    QString m_path; // of the file whose page is stepping to its hit
    QString m_query;
    int m_targetIndex = 0; // the page's 1-based index of that hit
};
