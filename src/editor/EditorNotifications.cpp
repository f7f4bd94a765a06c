// The one notification object of the process.
#include "EditorNotifications.h"

EditorNotifications *EditorNotifications::instance()
{
    static EditorNotifications notifications;
    return &notifications;
}
