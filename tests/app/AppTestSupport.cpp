// Helpers shared by the app tests.
#include "AppTestSupport.h"
#include "TarnWebView.h"

#include <QFile>
#include <QTest>
#include <QWebEnginePage>

#include <memory>

QUrl AppHarness::file(const QString &name, const QString &text) const
{
    QFile out(path(name));
    if (!out.open(QIODevice::WriteOnly))
        qFatal("cannot write the test file %s", qPrintable(name));
    out.write(text.toUtf8());
    return QUrl::fromLocalFile(path(name));
}

void AppHarness::open(const QStringList &names)
{
    QList<QUrl> urls;
    for (const QString &name : names)
        urls << file(name, QStringLiteral("# %1\n\ntext\n").arg(name));
    model->openURLs(urls, true);
}

WindowFixture::WindowFixture(const QByteArray &iniText)
    : AppHarness(iniText)
{
    menu.install(window.menuBar());
    window.placeInitially();
    window.show();
}

QMenu *WindowFixture::topMenu(const QString &objectName) const
{
    return MainMenu::menu(window.menuBar(), objectName);
}

QAction *menuItem(const QMenuBar *bar, MainMenu::Command command)
{
    for (QAction *action : bar->findChildren<QAction *>()) {
        if (MainMenu::command(action) == command)
            return action;
    }
    return nullptr;
}

void WindowFixture::openMenu(const QString &objectName) const
{
    QMenu *found = topMenu(objectName);
    QVERIFY(found);
    found->popup(QPoint(0, 0));
    found->hide();
}

void makeSelectedDirty(AppModel &model, const QString &text)
{
    TarnDocument *document = model.selectedDocument();
    QVERIFY(document);
    document->updateDraft(text);
    QVERIFY(document->isDirty());
}

bool headingAtTop(TarnWebView *view, const QString &id)
{
    // Shared with the answers, which may still arrive after the test is over.
    const auto top = std::make_shared<double>(-1000);
    return QTest::qWaitFor(
        [&] {
            view->page()->runJavaScript(
                QStringLiteral("(function () { const h = document.getElementById('%1');"
                               " return h ? h.getBoundingClientRect().top : null; })()")
                    .arg(id),
                [top](const QVariant &value) {
                    if (value.isValid())
                        *top = value.toDouble();
                });
            return *top >= 0 && *top < 80; // below the page's scroll margin
        },
        10000);
}
