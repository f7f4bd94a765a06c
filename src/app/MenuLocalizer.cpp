// The translation table and the walk over menus that applies it.
#include "MenuLocalizer.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>

namespace MenuLocalizer {

const QHash<QString, QString> &translations()
{
    static const QHash<QString, QString> table = {
        {QStringLiteral("File"), QStringLiteral("文件")},
        {QStringLiteral("Edit"), QStringLiteral("编辑")},
        {QStringLiteral("View"), QStringLiteral("视图")},
        {QStringLiteral("Window"), QStringLiteral("窗口")},
        {QStringLiteral("Help"), QStringLiteral("帮助")},
        {QStringLiteral("Services"), QStringLiteral("服务")},
        {QStringLiteral("Services Settings..."), QStringLiteral("服务设置...")},
        {QStringLiteral("Services Settings…"), QStringLiteral("服务设置…")},
        {QStringLiteral("No Services Apply"), QStringLiteral("没有可用服务")},
        {QStringLiteral("Hide Tarn"), QStringLiteral("隐藏 Tarn")},
        {QStringLiteral("Hide Others"), QStringLiteral("隐藏其他应用")},
        {QStringLiteral("Show All"), QStringLiteral("全部显示")},
        {QStringLiteral("Quit Tarn"), QStringLiteral("退出 Tarn")},
        {QStringLiteral("Quit and Keep Windows"), QStringLiteral("退出并保留窗口")},
        {QStringLiteral("Close"), QStringLiteral("关闭")},
        {QStringLiteral("Close Window"), QStringLiteral("关闭窗口")},
        {QStringLiteral("Open Recent"), QStringLiteral("打开最近文件")},
        {QStringLiteral("Clear Menu"), QStringLiteral("清除菜单")},
        {QStringLiteral("Page Setup..."), QStringLiteral("页面设置...")},
        {QStringLiteral("Page Setup…"), QStringLiteral("页面设置…")},
        {QStringLiteral("Print..."), QStringLiteral("打印...")},
        {QStringLiteral("Print…"), QStringLiteral("打印…")},
        {QStringLiteral("Undo"), QStringLiteral("撤销")},
        {QStringLiteral("Redo"), QStringLiteral("重做")},
        {QStringLiteral("Cut"), QStringLiteral("剪切")},
        {QStringLiteral("Copy"), QStringLiteral("复制")},
        {QStringLiteral("Paste"), QStringLiteral("粘贴")},
        {QStringLiteral("Paste and Match Style"), QStringLiteral("粘贴并匹配样式")},
        {QStringLiteral("Delete"), QStringLiteral("删除")},
        {QStringLiteral("Select All"), QStringLiteral("全选")},
        {QStringLiteral("AutoFill"), QStringLiteral("自动填充")},
        {QStringLiteral("Contact..."), QStringLiteral("联系人...")},
        {QStringLiteral("Contact…"), QStringLiteral("联系人…")},
        {QStringLiteral("Passwords..."), QStringLiteral("密码...")},
        {QStringLiteral("Passwords…"), QStringLiteral("密码…")},
        {QStringLiteral("Credit Card..."), QStringLiteral("信用卡...")},
        {QStringLiteral("Credit Card…"), QStringLiteral("信用卡…")},
        {QStringLiteral("Find"), QStringLiteral("查找")},
        {QStringLiteral("Find..."), QStringLiteral("查找...")},
        {QStringLiteral("Find…"), QStringLiteral("查找…")},
        {QStringLiteral("Find and Replace..."), QStringLiteral("查找与替换...")},
        {QStringLiteral("Find and Replace…"), QStringLiteral("查找与替换…")},
        {QStringLiteral("Find Next"), QStringLiteral("查找下一个")},
        {QStringLiteral("Find Previous"), QStringLiteral("查找上一个")},
        {QStringLiteral("Use Selection for Find"), QStringLiteral("用所选内容查找")},
        {QStringLiteral("Jump to Selection"), QStringLiteral("跳到所选内容")},
        {QStringLiteral("Spelling and Grammar"), QStringLiteral("拼写与语法")},
        {QStringLiteral("Show Spelling and Grammar"), QStringLiteral("显示拼写与语法")},
        {QStringLiteral("Check Document Now"), QStringLiteral("立即检查文稿")},
        {QStringLiteral("Check Spelling While Typing"), QStringLiteral("键入时检查拼写")},
        {QStringLiteral("Check Grammar With Spelling"), QStringLiteral("检查拼写时同时检查语法")},
        {QStringLiteral("Correct Spelling Automatically"), QStringLiteral("自动更正拼写")},
        {QStringLiteral("Substitutions"), QStringLiteral("替换")},
        {QStringLiteral("Show Substitutions"), QStringLiteral("显示替换")},
        {QStringLiteral("Smart Copy/Paste"), QStringLiteral("智能复制/粘贴")},
        {QStringLiteral("Smart Quotes"), QStringLiteral("智能引号")},
        {QStringLiteral("Smart Dashes"), QStringLiteral("智能破折号")},
        {QStringLiteral("Smart Links"), QStringLiteral("智能链接")},
        {QStringLiteral("Data Detectors"), QStringLiteral("数据检测器")},
        {QStringLiteral("Text Replacement"), QStringLiteral("文本替换")},
        {QStringLiteral("Transformations"), QStringLiteral("转换")},
        {QStringLiteral("Make Upper Case"), QStringLiteral("转为大写")},
        {QStringLiteral("Make Lower Case"), QStringLiteral("转为小写")},
        {QStringLiteral("Capitalize"), QStringLiteral("首字母大写")},
        {QStringLiteral("Speech"), QStringLiteral("朗读")},
        {QStringLiteral("Start Speaking"), QStringLiteral("开始朗读")},
        {QStringLiteral("Stop Speaking"), QStringLiteral("停止朗读")},
        {QStringLiteral("Start Dictation"), QStringLiteral("开始听写")},
        {QStringLiteral("Emoji & Symbols"), QStringLiteral("表情与符号")},
        {QStringLiteral("Show Toolbar"), QStringLiteral("显示工具栏")},
        {QStringLiteral("Hide Toolbar"), QStringLiteral("隐藏工具栏")},
        {QStringLiteral("Customize Toolbar..."), QStringLiteral("自定工具栏...")},
        {QStringLiteral("Customize Toolbar…"), QStringLiteral("自定工具栏…")},
        {QStringLiteral("Enter Full Screen"), QStringLiteral("进入全屏")},
        {QStringLiteral("Exit Full Screen"), QStringLiteral("退出全屏")},
        {QStringLiteral("Minimize"), QStringLiteral("最小化")},
        {QStringLiteral("Zoom"), QStringLiteral("缩放")},
        {QStringLiteral("Bring All to Front"), QStringLiteral("全部前置")},
        {QStringLiteral("Tarn Help"), QStringLiteral("Tarn 帮助")},
    };
    return table;
}

void localize(QMenu *menu, const MenuVisitor &visit)
{
    if (!menu)
        return;
    if (visit)
        visit(menu);
    const QHash<QString, QString> &table = translations();
    for (QAction *action : menu->actions()) {
        const auto found = table.constFind(action->text());
        if (found != table.constEnd())
            action->setText(found.value());
        if (QMenu *submenu = action->menu()) {
            const auto title = table.constFind(submenu->title());
            if (title != table.constEnd())
                submenu->setTitle(title.value());
            localize(submenu, visit);
        }
    }
}

void localizeMenuBar(QMenuBar *bar, const std::function<void(QMenuBar *)> &install,
                     const std::function<QMenu *(QMenuBar *)> &makeThemeMenu,
                     const MenuVisitor &visit)
{
    if (!bar)
        return;
    if (bar->actions().isEmpty())
        install(bar);
    const QHash<QString, QString> &table = translations();
    bool hasThemeMenu = false;
    for (QAction *action : bar->actions()) {
        if (QMenu *menu = action->menu()) {
            const auto found = table.constFind(menu->title());
            if (found != table.constEnd())
                menu->setTitle(found.value());
            localize(menu, visit);
        }
        hasThemeMenu = hasThemeMenu || action->text() == QStringLiteral("主题");
    }
    if (hasThemeMenu)
        return;
    // The theme menu belongs before "窗口"; without it, before the last menu ("帮助").
    const QList<QAction *> actions = bar->actions();
    qsizetype index = actions.size() - 1;
    for (qsizetype i = 0; i < actions.size(); ++i) {
        if (actions[i]->text() == QStringLiteral("窗口")) {
            index = i;
            break;
        }
    }
    QMenu *themeMenu = makeThemeMenu(bar);
    if (index < 0 || index >= actions.size())
        bar->addMenu(themeMenu);
    else
        bar->insertMenu(actions[index], themeMenu);
    if (visit)
        visit(themeMenu);
}

} // namespace MenuLocalizer
