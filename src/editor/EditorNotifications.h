// Application-wide notifications addressed to every editor pane.
#pragma once

#include <QObject>

class EditorNotifications : public QObject
{
    Q_OBJECT

public:
    static EditorNotifications *instance();

signals:
    // "tarn.showEditorFind": asks every editor pane to open its find panel. Emitted by Ctrl+F
    // in the text view and by the application's Find menu command.
    void showEditorFind();

private:
    EditorNotifications() = default;
};
