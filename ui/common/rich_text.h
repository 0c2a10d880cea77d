#pragma once

#include <string>
#include <string_view>

// Message texts as the message box shows them. No window, any thread.

// Plain text as rich text: markup is escaped, line ends become <br>, web addresses become links,
// "[http://address words]" a link with the words as its text. The result is cut at limit bytes.
std::string UI_MakeRichText(std::string_view text, size_t limit);
