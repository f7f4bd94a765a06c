// Shared pieces of the app tests: a model over real files and settings in a temporary folder.
#pragma once

#include "AppModel.h"
#include "ContentView.h"
#include "MainWindow.h"
#include "ModelFixture.h"
#include "TarnUsageLogger.h"
#include "TopToolbar.h"

#include <QSettings>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

class AppHarness : public ModelFixture
{
public:
    // `iniText` is put in place as the settings file before the model reads it.
    explicit AppHarness(const QByteArray &iniText = {})
        : ModelFixture(iniText)
    {}

    // Writes `text` (UTF-8) to `name` in the folder and returns its URL.
    QUrl file(const QString &name, const QString &text = QStringLiteral("# Title\n")) const;
    // Creates the files and opens them as tabs, the last one selected.
    QList<TarnDocument *> open(const QStringList &names);
    // The usage-log event names written so far.
    QStringList events();
};

// The main window over a fresh harness, shown at its initial size.
struct WindowFixture
{
    AppHarness app;
    MainWindow window{*app.model};
    ContentView &view = *window.contentView();
    TopToolbar &toolbar = *view.toolbar();

    WindowFixture()
    {
        window.placeInitially();
        window.show();
    }
};

// Gives the selected document an unsaved edit.
void makeSelectedDirty(AppModel &model, const QString &text = QStringLiteral("changed\n"));
