// The outline beside the reader: one row per heading, the current one in the accent colour.
#pragma once

#include "MarkdownRenderer.h"

#include <QWidget>

#include <vector>

class AppModel;
class QLabel;
class QListWidget;
class QListWidgetItem;

class OutlinePane : public QWidget
{
    Q_OBJECT

public:
    static constexpr int paneWidth = 220;
    static constexpr int indentPerLevel = 12;
    // Item data roles of the rows.
    static constexpr int headingIDRole = Qt::UserRole;
    static constexpr int levelRole = Qt::UserRole + 1;

    // Follows the model's theme and current heading; a click on a row asks the model to
    // scroll the reader to that heading.
    explicit OutlinePane(AppModel &model, QWidget *parent = nullptr);

    // `known` false: the document's headings are still being read, so neither rows nor the
    // "no headings" line show.
    void setOutline(const std::vector<TOCItem> &toc, bool known = true);
    const std::vector<TOCItem> &outline() const { return m_toc; }

    QListWidget *rows() const { return m_rows; }
    QLabel *emptyLabel() const { return m_emptyLabel; }

    // How far a row of this heading level starts from the leading edge.
    static int indentForLevel(qint64 level);

private:
    void applyTheme();
    void updateCurrentHeading();
    void activate(QListWidgetItem *item);

    AppModel &m_model;
    std::vector<TOCItem> m_toc;
    QLabel *m_headerIcon;
    QLabel *m_headerTitle;
    QLabel *m_emptyLabel;
    bool m_known = true;
    QListWidget *m_rows;
};
