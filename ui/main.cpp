// The desktop program.
#include "ui/window/desktop_main.h"

int main(int argc, char** argv) {
  return UI_Main(argc, argv);
}
