#include "Indented.h"

#include <algorithm>

namespace demo {
namespace {

/// Deeper than this, lines go no further to the right.
constexpr std::size_t kDeepest = 20;

} // namespace

std::string indented(const std::string& text) {
  if (text.empty() || (text.front() != '{' && text.front() != '[')) return text;
  std::string shown;
  std::size_t depth = 0;
  bool quoted = false;
  const auto startLine = [&] {
    shown += '\n';
    shown.append(2 * std::min(depth, kDeepest), ' ');
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quoted) {
      shown += c;
      if (c == '\\' && i + 1 < text.size()) shown += text[++i];
      if (c == '"') quoted = false;
    } else if (c == '{' || c == '[') {
      shown += c;
      const bool empty = i + 1 < text.size() && (text[i + 1] == '}' || text[i + 1] == ']');
      if (empty) {
        shown += text[++i];
      } else {
        ++depth;
        startLine();
      }
    } else if (c == '}' || c == ']') {
      if (depth > 0) --depth;
      startLine();
      shown += c;
    } else if (c == ',') {
      shown += c;
      startLine();
    } else if (c == ':') {
      shown += ": ";
    } else if (c != ' ' && c != '\t' && c != '\n' && c != '\r') {
      shown += c;
      quoted = c == '"';
    }
  }
  return shown;
}

} // namespace demo
