#include "tools/ShownJson.h"

#include <algorithm>

namespace quarnet::tools {
namespace {

constexpr std::size_t kLongest = std::size_t{1} << 20;
/// Deeper than this, lines go no further to the right.
constexpr std::size_t kDeepest = 20;

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kPunctuation = "{}[],:";

constexpr std::string_view kName = "\x1b[34m";
constexpr std::string_view kText = "\x1b[32m";
constexpr std::string_view kOther = "\x1b[33m";
constexpr std::string_view kPlain = "\x1b[0m";

/// How long the string is that the text begins with.
std::size_t stringLength(std::string_view text) {
  std::size_t i = 1;
  while (i < text.size() && text[i] != '"')
    i += text[i] == '\\' ? 2 : 1;
  return std::min(i + 1, text.size());
}

/// Cuts off the blanks in front.
void skipBlanks(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
}

/// Takes the text apart and lays it out. Whatever it holds but blanks is kept, wrong or not.
class Layout {
public:
  explicit Layout(bool hasColours) : hasColours_(hasColours) {}

  std::string of(std::string_view text) {
    for (skipBlanks(text); !text.empty(); skipBlanks(text)) {
      const char c = text.front();
      const bool isSign = kPunctuation.find(c) != std::string_view::npos;
      const std::size_t length = isSign     ? 1
                                 : c == '"' ? stringLength(text)
                                            : text.find_first_of("{}[],:\" \t\r\n");
      const std::string_view token = text.substr(0, length);
      text.remove_prefix(token.size());
      skipBlanks(text);
      isSign ? addSign(c, text) : addWord(token, text.starts_with(':'));
    }
    return std::move(shown_);
  }

private:
  void addSign(char c, std::string_view& rest) {
    const bool closes = c == '}' || c == ']';
    if (closes) {
      depth_ -= depth_ > 0 ? 1 : 0;
      startLine();
    }
    shown_ += c;
    wasWord_ = false;
    if (c == ':') shown_ += ' ';
    if (c == ',') startLine();
    if (c != '{' && c != '[') return;
    if (rest.starts_with(c == '{' ? '}' : ']')) {
      shown_ += rest.front();
      rest.remove_prefix(1);
      return;
    }
    ++depth_;
    startLine();
  }

  void addWord(std::string_view word, bool isName) {
    if (wasWord_) shown_ += ' ';
    wasWord_ = true;
    const std::string_view colour = isName ? kName : word.starts_with('"') ? kText : kOther;
    if (hasColours_) shown_ += colour;
    shown_ += word;
    if (hasColours_) shown_ += kPlain;
  }

  void startLine() {
    shown_ += '\n';
    shown_.append(2 * std::min(depth_, kDeepest), ' ');
  }

  const bool hasColours_;
  std::string shown_;
  std::size_t depth_ = 0;
  bool wasWord_ = false;
};

} // namespace

std::string shownJson(std::string_view text, bool hasColours) {
  const std::size_t start = text.find_first_not_of(kBlanks);
  const bool isJson = start != std::string_view::npos && (text[start] == '{' || text[start] == '[');
  if (!isJson || text.size() > kLongest) return std::string(text);
  return Layout(hasColours).of(text);
}

} // namespace quarnet::tools
