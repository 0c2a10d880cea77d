#include "ui/common/rich_text.h"

std::string UI_MakeRichText(std::string_view text, size_t limit) {
  return std::string(text.substr(0, limit));
}
