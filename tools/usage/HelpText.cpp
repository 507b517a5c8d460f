#include "tools/usage/HelpText.h"

#include "tools/usage/HelpPage.h"

#include <algorithm>
#include <sstream>

namespace quarnet::usage {
namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kMargin = 2;
constexpr std::size_t kWidestTerm = 24;

/// The text in lines that begin at a column; the first one begins where `line` ends.
std::string wrapped(std::string line, const std::string& text, std::size_t column) {
  std::string lines;
  std::istringstream words(text);
  line.resize(std::max(line.size(), column), ' ');
  for (std::string word; words >> word;) {
    const bool isFirst = line.size() == column;
    if (!isFirst && line.size() + 1 + word.size() > kWidth) {
      lines += line + '\n';
      line.assign(column, ' ');
    } else if (!isFirst) {
      line += ' ';
    }
    line += word;
  }
  return lines + line + '\n';
}

std::string rowText(const HelpPage::Row& row, std::size_t column) {
  if (row.term.empty()) return wrapped("", row.text, 0);
  std::string line = std::string(kMargin, ' ') + row.term;
  if (row.text.empty()) return line + '\n';
  if (line.size() + 2 <= column) return wrapped(std::move(line), row.text, column);
  return line + '\n' + wrapped("", row.text, column);
}

std::string sectionText(const HelpPage::Section& section) {
  std::size_t widest = 0;
  for (const auto& [term, text] : section.rows)
    if (!text.empty() && term.size() <= kWidestTerm) widest = std::max(widest, term.size());
  std::string lines = section.title.empty() ? "" : section.title + ":\n";
  for (const HelpPage::Row& row : section.rows)
    lines += rowText(row, kMargin + widest + 2);
  return lines;
}

} // namespace

std::string HelpText::make_help(const CLI::App* app, std::string, CLI::AppFormatMode) const {
  const HelpPage page = helpPage(*app);
  std::string text =
      "Usage: " + page.name + " " + page.arguments + "\n\n" + wrapped("", page.summary, 0);
  for (const HelpPage::Section& section : page.sections)
    text += '\n' + sectionText(section);
  return text;
}

} // namespace quarnet::usage
