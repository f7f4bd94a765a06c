// Editor toolbar buttons with their help texts, and the saved/unsaved indicator.
#include "EditorToolbar.h"

#include "EditorIcons.h"
#include "EditorPalette.h"
#include "MarkdownEditorActions.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>

#include <functional>

EditorToolbar::EditorToolbar(MarkdownEditorActions *actions, QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("editorToolbar"));
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(14, 6, 14, 6);
    row->setSpacing(4);

    auto addButton = [&](const QString &name, const QString &icon, const QString &fallback,
                         const QString &help, std::function<void()> action) {
        auto *button = new QToolButton(this);
        button->setObjectName(name);
        button->setToolTip(help);
        button->setAutoRaise(true);
        button->setIconSize(QSize(16, 16));
        button->setFocusPolicy(Qt::NoFocus);
        connect(button, &QToolButton::clicked, this, std::move(action));
        row->addWidget(button);
        m_symbols.append(Symbol{button, icon, fallback});
        return button;
    };
    const struct
    {
        const char *name;
        const char *icon;
        QString fallback;
        QString help;
        void (MarkdownEditorActions::*command)();
    } commands[] = {
        {"boldButton", "bold", QStringLiteral("B"), QStringLiteral("加粗 (Ctrl+B)"),
         &MarkdownEditorActions::bold},
        {"italicButton", "italic", QStringLiteral("I"), QStringLiteral("斜体 (Ctrl+I)"),
         &MarkdownEditorActions::italic},
        {"taskListButton", "list-checks", QStringLiteral("☑"), QStringLiteral("任务列表"),
         &MarkdownEditorActions::taskList},
        {"quoteButton", "quote", QStringLiteral("❝"), QStringLiteral("引用"),
         &MarkdownEditorActions::quote},
        {"linkButton", "link", QStringLiteral("🔗"), QStringLiteral("插入链接 (Ctrl+K)"),
         &MarkdownEditorActions::link},
        {"ruleButton", "minus", QStringLiteral("—"), QStringLiteral("分割线"),
         &MarkdownEditorActions::horizontalRule},
    };
    for (const auto &command : commands) {
        m_commands.append(addButton(QLatin1String(command.name), QLatin1String(command.icon),
                                    command.fallback, command.help,
                                    [actions, member = command.command] { (actions->*member)(); }));
    }
    m_commands.append(addButton(QStringLiteral("findButton"), QStringLiteral("search"),
                                QStringLiteral("⌕"), QStringLiteral("查找"),
                                [this] { emit findRequested(); }));
    row->addStretch(1);

    m_saveState = new QLabel(this);
    m_saveState->setObjectName(QStringLiteral("saveStateLabel"));
    m_saveState->setFont(EditorPalette::captionFont(font()));
    row->addWidget(m_saveState);
    m_save = addButton(QStringLiteral("saveButton"), QStringLiteral("save"), QStringLiteral("💾"),
                       QStringLiteral("保存"), [this] { emit saveRequested(); });

    updateIcons();
    updateSaveState();
}

void EditorToolbar::setDirty(bool dirty)
{
    // The document reports its dirty state on every keystroke; only a change is worth work.
    if (dirty == m_dirty)
        return;
    m_dirty = dirty;
    updateSaveState();
}

void EditorToolbar::setTheme(TarnTheme theme)
{
    m_theme = theme;
    updateIcons();
    updateSaveState();
}

void EditorToolbar::updateIcons()
{
    const QColor primary = ThemeColors::primaryText(m_theme);
    for (const Symbol &symbol : std::as_const(m_symbols)) {
        const QIcon icon = EditorIcons::icon(symbol.icon, primary);
        symbol.button->setIcon(icon);
        symbol.button->setText(icon.isNull() ? symbol.fallback : QString());
    }
}

void EditorToolbar::updateSaveState()
{
    m_saveState->setText(m_dirty ? QStringLiteral("未保存") : QStringLiteral("已保存"));
    m_save->setEnabled(m_dirty);
    QPalette colours = m_saveState->palette();
    colours.setColor(QPalette::WindowText, m_dirty ? EditorPalette::unsaved(m_theme)
                                                   : ThemeColors::secondaryText(m_theme));
    m_saveState->setPalette(colours);
}
