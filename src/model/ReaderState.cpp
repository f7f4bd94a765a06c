// The reader's state: search, heading, scroll target and stored read positions.
#include "ReaderState.h"

#include "ModelSettings.h"

#include <algorithm>

ReaderState::ReaderState(QSettings &settings, QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_readPositions(ModelSettings::readReadPositions(settings))
{}

void ReaderState::setSearchQuery(const QString &query)
{
    if (m_searchQuery == query)
        return;
    m_searchQuery = query;
    emit searchQueryChanged();
    resetSearchResults();
}

void ReaderState::setSearchNavigationRequest(const std::optional<SearchNavigationRequest> &request)
{
    const bool same = request.has_value() == m_searchNavigationRequest.has_value() &&
                      (!request || request->id == m_searchNavigationRequest->id);
    if (same)
        return;
    m_searchNavigationRequest = request;
    emit searchNavigationRequestChanged();
}

void ReaderState::setCurrentHeadingID(const QString &id)
{
    if (m_currentHeadingID == id)
        return;
    m_currentHeadingID = id;
    emit currentHeadingIDChanged();
}

void ReaderState::setScrollTargetID(const std::optional<QString> &id)
{
    if (m_scrollTargetID == id)
        return;
    m_scrollTargetID = id;
    emit scrollTargetIDChanged();
}

void ReaderState::clearSearch()
{
    setSearchQuery(QString());
    resetSearchResults();
}

void ReaderState::resetSearchResults()
{
    if (m_searchResultCount != 0) {
        m_searchResultCount = 0;
        emit searchResultCountChanged();
    }
    if (m_currentSearchResultIndex != 0) {
        m_currentSearchResultIndex = 0;
        emit currentSearchResultIndexChanged();
    }
    setSearchNavigationRequest(std::nullopt);
}

void ReaderState::updateSearchResults(int current, int total)
{
    const int count = std::max(total, 0);
    const int index = total <= 0 ? 0 : std::min(count, std::max(current, 1));
    if (m_searchResultCount != count) {
        m_searchResultCount = count;
        emit searchResultCountChanged();
    }
    if (m_currentSearchResultIndex != index) {
        m_currentSearchResultIndex = index;
        emit currentSearchResultIndexChanged();
    }
    emit searchResultsReported();
}

void ReaderState::navigateSearch(SearchNavigationDirection direction)
{
    if (m_searchQuery.trimmed().isEmpty() || m_searchResultCount < 1)
        return;
    m_searchNavigationRequest = SearchNavigationRequest{QUuid::createUuid(), direction};
    emit searchNavigationRequestChanged();
}

void ReaderState::rememberReadingBlock(const QUuid &document, int block)
{
    if (block >= 0)
        m_readingBlocks.insert(document, block);
}

void ReaderState::rememberReadPosition(const QString &path, double y)
{
    if (m_readPositions.remember(path, y) &&
        !ModelSettings::writeReadPositions(m_settings, m_readPositions))
        emit settingsNotWritten();
}
