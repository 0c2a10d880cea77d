#pragma once

// What the front end shows of the program's state, made from scratch each time. Application thread.

void APP_UpdateWindowTitle();
void APP_UpdateProjectInfo();
// Recent lists and menu state.
void APP_UpdateMenuBar();
void APP_SetStatusText(const char* sText, unsigned Index);
// The version lines of the log.
void APP_LogVersions();
