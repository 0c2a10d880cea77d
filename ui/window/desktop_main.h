#pragma once

// The desktop program from its start to its exit status: application object, main window, event
// loop, orderly end. On the main thread; tests run it beside a thread that acts as the user.
int UI_Main(int argc, char** argv);
