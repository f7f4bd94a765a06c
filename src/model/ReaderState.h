// What the reader shows of the selected document: the in-page search, the heading being read,
// where to scroll next, and where each file was left.
#pragma once

#include "AppModelTypes.h"
#include "ReadPositions.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <QUuid>

#include <optional>

class QSettings;

class ReaderState : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString searchQuery READ searchQuery WRITE setSearchQuery NOTIFY searchQueryChanged)
    Q_PROPERTY(int searchResultCount READ searchResultCount NOTIFY searchResultCountChanged)
    Q_PROPERTY(int currentSearchResultIndex READ currentSearchResultIndex NOTIFY
                   currentSearchResultIndexChanged)
    Q_PROPERTY(
        std::optional<SearchNavigationRequest> searchNavigationRequest READ searchNavigationRequest
            WRITE setSearchNavigationRequest NOTIFY searchNavigationRequestChanged)
    Q_PROPERTY(QString currentHeadingID READ currentHeadingID WRITE setCurrentHeadingID NOTIFY
                   currentHeadingIDChanged)
    Q_PROPERTY(std::optional<QString> scrollTargetID READ scrollTargetID WRITE setScrollTargetID
                   NOTIFY scrollTargetIDChanged)

public:
    // Reads the stored read positions from `settings`, which must outlive the state.
    explicit ReaderState(QSettings &settings, QObject *parent = nullptr);

    QString searchQuery() const { return m_searchQuery; }
    // Resets the search results when the text changes.
    void setSearchQuery(const QString &query);
    int searchResultCount() const { return m_searchResultCount; }
    int currentSearchResultIndex() const { return m_currentSearchResultIndex; }
    std::optional<SearchNavigationRequest> searchNavigationRequest() const
    {
        return m_searchNavigationRequest;
    }
    // The reader clears a request once it has carried it out.
    void setSearchNavigationRequest(const std::optional<SearchNavigationRequest> &request);
    QString currentHeadingID() const { return m_currentHeadingID; }
    void setCurrentHeadingID(const QString &id);
    std::optional<QString> scrollTargetID() const { return m_scrollTargetID; }
    void setScrollTargetID(const std::optional<QString> &id);

    void clearSearch();
    void resetSearchResults();
    // The page's report: the hit shown (1-based) of `total`, clamped to the hits.
    void updateSearchResults(int current, int total);
    // Asks the reader for another hit, when the query is not blank and has hits.
    void navigateSearch(SearchNavigationDirection direction);

    // The first top-level block of the page on screen, by document id; -1 until reported.
    void rememberReadingBlock(const QUuid &document, int block);
    int readingBlock(const QUuid &document) const { return m_readingBlocks.value(document, -1); }
    void forgetReadingBlock(const QUuid &document) { m_readingBlocks.remove(document); }

    // Reader scroll offsets by file path, stored at once; 0 for a file never scrolled.
    double readPosition(const QString &path) const { return m_readPositions.value(path); }
    void rememberReadPosition(const QString &path, double y);
    QHash<QString, double> readPositions() const { return m_readPositions.positions(); }

signals:
    void searchQueryChanged();
    void searchResultCountChanged();
    void currentSearchResultIndexChanged();
    // The page reported its search state, whether or not it changed.
    void searchResultsReported();
    void searchNavigationRequestChanged();
    void currentHeadingIDChanged();
    void scrollTargetIDChanged();
    // A write of the settings store did not reach the disk.
    void settingsNotWritten();

private:
    QSettings &m_settings;
    QString m_searchQuery;
    int m_searchResultCount = 0;
    int m_currentSearchResultIndex = 0;
    std::optional<SearchNavigationRequest> m_searchNavigationRequest;
    QString m_currentHeadingID;
    std::optional<QString> m_scrollTargetID;
    QHash<QUuid, int> m_readingBlocks;
    ReadPositions m_readPositions;
};
