#pragma once

// Fills the records through which lower layers reach up. wiring.cpp shows every upward call of the
// program.
void APP_ConnectLayers();
