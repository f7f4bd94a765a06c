// Toolbar buttons follow the model's selection, editing mode, outline switch and theme.
#include "TopToolbar.h"

#include "AppModel.h"
#include "ReaderSearchControl.h"
#include "TarnIcons.h"
#include "Utf16Text.h"
#include "WindowChrome.h"

#include <QHBoxLayout>
#include <QMenu>
#include <QStyleOptionToolButton>
#include <QToolButton>

namespace {

// A button that opens its menu without the style's arrow in its corner. Not done with a style
// sheet: a widget with one keeps the palette it had when the sheet was applied, so after a
// switch to the dark theme its hover and pressed panels were painted in the light colours.
class MenuToolButton : public QToolButton
{
public:
    using QToolButton::QToolButton;

protected:
    void initStyleOption(QStyleOptionToolButton *option) const override
    {
        QToolButton::initStyleOption(option);
        option->features &= ~QStyleOptionToolButton::HasMenu;
    }
};

} // namespace

TopToolbar::TopToolbar(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
{
    setObjectName(QStringLiteral("topToolbar"));
    setFixedHeight(42);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(10, 0, 10, 0);
    row->setSpacing(4);

    auto makeButton = [this, row](const char *name, const QString &help, QMenu *menu = nullptr) {
        QToolButton *button = menu ? new MenuToolButton(this) : new QToolButton(this);
        if (menu) {
            button->setMenu(menu);
            button->setPopupMode(QToolButton::InstantPopup);
        }
        button->setObjectName(QLatin1String(name));
        button->setToolTip(help);
        button->setText(help); // shown only when the symbol is missing
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::NoFocus);
        button->setIconSize(QSize(18, 18));
        button->setFixedSize(30, 28);
        row->addWidget(button);
        return button;
    };

    m_open = makeButton("openButton", QStringLiteral("打开文件"));
    connect(m_open, &QToolButton::clicked, &m_model, &AppModel::presentOpenPanel);
    m_save = makeButton("saveButton", QStringLiteral("保存"));
    connect(m_save, &QToolButton::clicked, &m_model, &AppModel::saveSelectedDocument);

    m_exportMenu = new QMenu(this);
    m_exportMenu->addAction(QStringLiteral("导出 PDF"), &m_model,
                            &AppModel::exportSelectedDocumentAsPDF);
    m_exportMenu->addAction(QStringLiteral("导出 HTML"), &m_model,
                            &AppModel::exportSelectedDocumentAsHTML);
    m_export = makeButton("exportButton", QStringLiteral("导出"), m_exportMenu);

    row->addStretch(1);
    m_search = new ReaderSearchControl(m_model, this);
    row->addWidget(m_search);
    row->addSpacing(6);

    m_outline = makeButton("outlineButton", QStringLiteral("显示目录"));
    connect(m_outline, &QToolButton::clicked, &m_model, &AppModel::toggleOutline);
    m_edit = makeButton("editButton", QStringLiteral("编辑 Markdown"));
    connect(m_edit, &QToolButton::clicked, &m_model, &AppModel::toggleEditing);
    m_split = makeButton("splitButton", QStringLiteral("分栏预览"));
    connect(m_split, &QToolButton::clicked, &m_model, &AppModel::toggleSplitView);

    m_themeMenu = new QMenu(this);
    // Check marks, not radio buttons; updateState keeps exactly one checked.
    for (const TarnTheme theme : TarnThemes::allCases) {
        const auto name = TarnThemes::displayName(theme);
        QAction *action = m_themeMenu->addAction(toQString(name), &m_model, [this, theme] {
            m_model.setTheme(theme);
            updateState(); // the current theme chosen again keeps its check mark
        });
        action->setCheckable(true);
        action->setData(int(theme));
    }
    m_theme = makeButton("themeButton", QStringLiteral("切换主题"), m_themeMenu);

    for (auto signal : {&AppModel::selectedDocumentChanged, &AppModel::isEditingChanged,
                        &AppModel::canSaveSelectedDocumentChanged, &AppModel::showOutlineChanged,
                        &AppModel::tabsChanged, &AppModel::isSplitViewChanged})
        connect(&m_model, signal, this, &TopToolbar::updateState);
    connect(&m_model, &AppModel::themeChanged, this, &TopToolbar::updateTheme);
    updateTheme();
}

void TopToolbar::focusSearch()
{
    if (m_search->isVisible()) {
        m_search->field()->setFocus(Qt::ShortcutFocusReason);
        m_search->field()->selectAll();
    }
}

void TopToolbar::updateState()
{
    const bool hasDocument = m_model.selectedDocument() != nullptr;
    const bool editing = m_model.isEditing();
    m_save->setEnabled(m_model.canSaveSelectedDocument());
    m_export->setEnabled(hasDocument);
    m_search->setVisible(!editing);
    m_outline->setVisible(!editing);
    m_outline->setEnabled(hasDocument);
    m_edit->setEnabled(hasDocument);
    m_split->setEnabled(hasDocument);
    const QString editHelp = editing ? QStringLiteral("返回阅读") : QStringLiteral("编辑 Markdown");
    m_edit->setToolTip(editHelp);
    m_edit->setText(editHelp);

    const TarnTheme theme = m_model.theme();
    const QColor primary = WindowChrome::primaryText(theme);
    m_edit->setIcon(TarnIcons::icon(
        editing ? QStringLiteral("book-open") : QStringLiteral("square-pen"), primary));
    m_split->setIcon(TarnIcons::icon(QStringLiteral("columns-2"), m_model.isSplitView()
                                                                      ? WindowChrome::accent(theme)
                                                                      : primary));
    m_outline->setIcon(
        TarnIcons::icon(QStringLiteral("list-tree"),
                        m_model.showOutline() ? WindowChrome::accent(theme) : primary));
    for (QAction *action : m_themeMenu->actions())
        action->setChecked(action->data().toInt() == int(theme));
}

void TopToolbar::updateTheme()
{
    const TarnTheme theme = m_model.theme();
    WindowChrome::fillBackground(this, WindowChrome::sidebar(theme));
    const QColor primary = WindowChrome::primaryText(theme);
    m_open->setIcon(TarnIcons::icon(QStringLiteral("folder-open"), primary));
    m_save->setIcon(TarnIcons::icon(QStringLiteral("save"), primary));
    m_export->setIcon(TarnIcons::icon(QStringLiteral("share"), primary));
    m_theme->setIcon(TarnIcons::icon(QStringLiteral("palette"), primary));
    updateState();
}
