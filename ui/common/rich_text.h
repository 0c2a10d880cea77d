#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "sys/types.h"

// Message texts as the dialogs show and copy them. No window, any thread.

// Plain text as rich text: markup is escaped, line ends become <br>, web addresses become links,
// "[http://address words]" a link with the words as its text. The result is cut at limit bytes,
// never within an entity, a tag, a link or a character.
std::string UI_MakeRichText(std::string_view text, size_t limit);

// At most so many bytes of the text, without half a character at the end.
std::string UI_CutText(std::string text, size_t limit);

// What Ctrl+C copies from a box: title, text and button texts between lines of dashes.
std::string UI_MakeCopyText(std::string_view title, std::string_view text,
                            const std::vector<std::string>& buttons);

// "Title (closing in 3 seconds)"; timeoutMs is what was left before this tick of the timer.
std::string UI_MakeClosingTitle(std::string_view title, i32 timeoutMs);

// The name with the ending of the chosen filter, such as "Intel Hex file (*.hex)", when it has no
// extension of its own.
std::string UI_AddFilterExtension(const std::string& name, std::string_view filter);
