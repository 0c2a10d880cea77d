#include "ui/hex/hex_actions.h"

// Tests and saved key bindings go by the object names: they stay.
const HEX_ACTION_ROW HEX_ACTIONS[HEX_NUM_ACTIONS] = {
    {"pActionMemoryView1ByteItems", "Display &1 Byte Items", "Ctrl+1", true, "Display 1 Byte Items",
     "Display 1 Byte Items"},
    {"pActionMemoryView2ByteItems", "Display &2 Byte Items", "Ctrl+2", true, "Display 2 Byte Items",
     "Display 2 Byte Items"},
    {"pActionMemoryView4ByteItems", "Display &4 Byte Items", "Ctrl+3", true, "Display 4 Byte Items",
     "Display 4 Byte Items"},
    {"pActionMemoryAccess1ByteItems", "Access 1 Byte Items", nullptr, true, "Access 1 Byte Items",
     "Access 1 Byte Items"},
    {"pActionMemoryAccess2ByteItems", "Access 2 Byte Items", nullptr, true, "Access 2 Byte Items",
     "Access 2 Byte Items"},
    {"pActionMemoryAccess4ByteItems", "Access 4 Byte Items", nullptr, true, "Access 4 Byte Items",
     "Access 4 Byte Items"},
    {"pActionMemoryAccessAuto", "Set access width automatically", nullptr, true,
     "Set access width automatically", "Set access width automatically"},
    {"pActionMemoryFill", "&Fill", "Ctrl+I", false, "Fill Memory Area", "Fill Memory Area"},
    {"pActionMemoryLoad", "&Load", nullptr, false, "Load Memory Data from File",
     "Load Memory Data from File"},
    {"pActionMemorySave", "Sav&e", nullptr, false, "Save Memory Data to File",
     "Save Memory Data to File"},
    {"pActionMemoryGoto", "&Go To...", "Ctrl+G", false, "Go To Memory Location",
     "Go To Memory Location"},
    {"pActionMemoryAutoRefresh", "Periodic &Refresh...", "Ctrl+R", false,
     "Set Auto Refresh Interval", "Set Auto Refresh Interval"},
    {"pActionMemoryShowToolbar", "&Toolbar", nullptr, true, "Show/Hide Toolbar",
     "Toggles the Memory Window Toolbar"},
    {"pActionMemoryCopy", "&Copy", "Ctrl+C", false, "Copy", "Copy"},
    {"pActionMemoryPaste", "&Paste", "Ctrl+V", false, "Paste", "Paste"},
    {"pActionMemoryCopyText", "Copy &Text", nullptr, false, "Copy Text", "Copy As Text"},
    {"pActionMemoryCopyHex", "Copy &Hex", nullptr, false, "Copy Hex", "Copy Hex"},
    {"pActionMemoryCopyBinary", "Copy &Binary", nullptr, false, "Copy Binary",
     "Copy Raw Binary Data"},
    {"pActionMemoryCopyIntList", "Copy Hex As C &Initializer", nullptr, false,
     "Copy Hex as C &Initializer", "Copy As C Initializer"},
    {"pActionMemoryGoBack", "&Go Back", "Alt+Left", false, "Return to previous address",
     "Return to previous address"},
};

// The last row stands for no refresh at all.
const HEX_REFRESH_ROW HEX_REFRESH[HEX_NUM_REFRESH] = {
    {"100 ms", 100}, {"200 ms", 200}, {"500 ms", 500}, {"1 s", 1000},
    {"2 s", 2000},   {"5 s", 5000},   {"off", 0},
};
