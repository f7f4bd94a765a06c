// Process-wide web engine set-up that has to happen before the application object exists.
#pragma once

// Call before QApplication is constructed. Chromium refuses to start its sandbox for root
// (containers, CI), so only then is the sandbox switched off.
void configureWebEngineForProcess();
