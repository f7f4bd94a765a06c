// One open Markdown file: its location, saved text, working draft and reading position.
#pragma once

#include <QObject>
#include <QString>
#include <QUrl>
#include <QUuid>

class TarnDocument : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString content READ content WRITE setContent NOTIFY contentChanged)
    Q_PROPERTY(QString draft READ draft NOTIFY draftChanged)
    Q_PROPERTY(bool isDirty READ isDirty WRITE setDirty NOTIFY isDirtyChanged)
    Q_PROPERTY(double scrollY READ scrollY WRITE setScrollY NOTIFY scrollYChanged)

public:
    TarnDocument(const QUrl &url, const QString &content, double scrollY = 0,
                 QObject *parent = nullptr);

    QUuid id() const { return m_id; }
    QUrl url() const { return m_url; }
    QString content() const { return m_content; }
    QString draft() const { return m_draft; }
    bool isDirty() const { return m_isDirty; }
    // The file is gone from disk: the tab counts as unsaved until it is written again.
    bool isMissingOnDisk() const { return m_missingOnDisk; }
    double scrollY() const { return m_scrollY; }

    QString fileName() const;
    QString title() const;
    QUrl baseURL() const;

    // Setters notify on every call, even when the value is unchanged: observers rely on it.
    // The content is the text on disk, so setting it also ends a missing file.
    void setContent(const QString &content);
    void setDirty(bool dirty);
    void setScrollY(double y);
    // Used by the model when entering editing and after a save.
    void setDraft(const QString &draft);

    void updateDraft(const QString &text);
    void discardDraft();
    void setMissingOnDisk(bool missing);

    static QString displayTitle(const QString &fileName);
    // Full string equality under Unicode canonical equivalence.
    static bool canonicallyEqual(const QString &a, const QString &b);

signals:
    void contentChanged();
    void draftChanged();
    void isDirtyChanged();
    void scrollYChanged();

private:
    const QUuid m_id;
    const QUrl m_url;
    QString m_content;
    QString m_draft;
    bool m_isDirty = false;
    bool m_missingOnDisk = false;
    double m_scrollY = 0;
};
