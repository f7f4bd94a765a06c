// The XDG state folder, where Tarn keeps its usage log and the drafts of unsaved edits.
#pragma once

#include <QString>

// $XDG_STATE_HOME when it is absolute, else ~/.local/state; empty without a home folder.
QString xdgStateHome();
