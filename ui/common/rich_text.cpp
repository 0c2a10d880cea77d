#include "ui/common/rich_text.h"

#include <algorithm>

#include "sys/util_string.h"

namespace {

constexpr char kSeparator[] = "---------------------------\r\n";
constexpr i32 kTickMs = 10;  // of the timer that closes a box

// Length of the scheme when an address starts here, else 0.
size_t GetSchemeLength(std::string_view text) {
  for (const std::string_view scheme : {"http://", "https://"}) {
    if (text.substr(0, scheme.size()) == scheme) {
      return scheme.size();
    }
  }
  return 0;
}

// What a character looks like in rich text. A carriage return in front of a line feed vanishes.
std::string Escape(char c, bool isBeforeLineFeed) {
  switch (c) {
    case '>':
      return "&gt;";
    case '<':
      return "&lt;";
    case '&':
      return "&amp;";
    case '"':
      return "&quot;";
    case '\'':
      return "&apos;";
    case '\n':
      return "<br>";
    case '\r':
      return isBeforeLineFeed ? "" : "<br>";
    default:
      return {c};
  }
}

std::string EscapeAll(std::string_view text) {
  std::string result;
  for (size_t i = 0; i < text.size(); ++i) {
    result += Escape(text[i], i + 1 < text.size() && text[i + 1] == '\n');
  }
  return result;
}

struct LINK {
  std::string_view Address;
  std::string_view Text;
  size_t NumChars;  // of the source, brackets included
};

// The link at the start of the text, in brackets or bare; NumChars 0 when there is none.
LINK FindLink(std::string_view text) {
  const bool isBracketed = !text.empty() && text[0] == '[';
  const std::string_view rest = text.substr(isBracketed ? 1 : 0);
  if (GetSchemeLength(rest) == 0) {
    return {};
  }
  const size_t close = isBracketed ? rest.find(']') : std::string_view::npos;
  if (close != std::string_view::npos) {
    const std::string_view inside = rest.substr(0, close);
    const size_t blank = inside.find(' ');
    if (blank == std::string_view::npos) {
      return {inside, inside, close + 2};
    }
    return {inside.substr(0, blank), inside.substr(blank + 1), close + 2};
  }
  if (isBracketed) {
    return {};  // the bracket is ordinary text, the address behind it is found next
  }
  const std::string_view address = rest.substr(0, rest.find_first_of(" \r\n\t\"(),"));
  return {address, address, address.size()};
}

}  // namespace

std::string UI_MakeRichText(std::string_view text, size_t limit) {
  std::string result;
  for (size_t i = 0; i < text.size();) {
    const LINK link = FindLink(text.substr(i));
    std::string piece;
    if (link.NumChars != 0) {
      piece = "<a href=\"" + EscapeAll(link.Address) + "\">" + EscapeAll(link.Text) + "</a>";
    } else {
      piece = Escape(text[i], i + 1 < text.size() && text[i + 1] == '\n');
    }
    if (result.size() + piece.size() > limit) {
      result.resize(UTIL_CutUtf8(result.c_str(), static_cast<u32>(result.size())));
      break;
    }
    result += piece;
    i += std::max<size_t>(link.NumChars, 1);
  }
  return result;
}

std::string UI_CutText(std::string text, size_t limit) {
  if (text.size() >= limit) {
    text.resize(UTIL_CutUtf8(text.c_str(), static_cast<u32>(limit)));
  }
  return text;
}

std::string UI_MakeCopyText(std::string_view title, std::string_view text,
                            const std::vector<std::string>& buttons) {
  std::string result = kSeparator;
  result.append(title).append("\r\n").append(kSeparator);
  result.append(text).append("\r\n").append(kSeparator);
  if (!buttons.empty()) {
    for (const std::string& button : buttons) {
      result += button + "   ";
    }
    result.append("\r\n").append(kSeparator);
  }
  return result;
}

std::string UI_MakeClosingTitle(std::string_view title, i32 timeoutMs) {
  const std::string name(title);
  if (timeoutMs <= kTickMs) {
    return name + " (closing now)";
  }
  return name + " (closing in " + std::to_string((timeoutMs - kTickMs) / 1000 + 1) + " seconds)";
}

std::string UI_AddFilterExtension(const std::string& name, std::string_view filter) {
  // A point in a folder's name is no extension, nor is one at the end.
  const size_t slash = name.find_last_of("/\\");
  const size_t point = name.find_last_of('.');
  const bool hasExtension = point != std::string::npos &&
                            (slash == std::string::npos || point > slash) &&
                            name.size() - point >= 2;
  const size_t filterPoint = filter.find_last_of('.');
  if (hasExtension || filterPoint == std::string_view::npos) {
    return name;
  }
  const std::string_view ending = filter.substr(filterPoint);
  const std::string_view extension = ending.substr(0, ending.find(')'));
  // "All files (*.*)" has no ending to offer.
  if (extension.find('*') != std::string_view::npos) {
    return name;
  }
  const bool endsInPoint = point == name.size() - 1;
  return (endsInPoint ? name.substr(0, point) : name) + std::string(extension);
}
