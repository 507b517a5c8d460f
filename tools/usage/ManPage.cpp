#include "tools/usage/ManPage.h"

#include <algorithm>

namespace quarnet::usage {
namespace {

using Section = HelpPage::Section;

constexpr std::string_view kEnvironment = "Environment";

/// The text as it is to be seen, at the start of a line or within one.
std::string escaped(std::string_view text) {
  std::string line;
  if (text.starts_with('.') || text.starts_with('\'')) line = "\\&";
  for (const char c : text) {
    if (c == '\\') {
      line += "\\e";
    } else if (c == '-') {
      line += "\\-";
    } else if (c == '\'') {
      line += "\\(aq"; // alone, this and the next ones stand for typographic characters
    } else if (c == '`') {
      line += "\\(ga";
    } else if (c == '~') {
      line += "\\(ti";
    } else if (c == '^') {
      line += "\\(ha";
    } else {
      line += c;
    }
  }
  return line;
}

std::string upperCase(std::string text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return text;
}

std::string heading(const std::string& title) {
  return ".SH " + upperCase(title) + "\n";
}

/// "Send a call." as it stands behind a name in an index of pages: "send a call".
std::string inIndex(std::string summary) {
  if (summary.ends_with('.')) summary.pop_back();
  if (!summary.empty() && summary[0] >= 'A' && summary[0] <= 'Z')
    summary[0] = static_cast<char>(summary[0] - 'A' + 'a');
  return summary;
}

std::string rowText(const HelpPage::Row& row) {
  if (row.term.empty()) return ".PP\n" + escaped(row.text) + "\n";
  if (row.text.empty()) return ".PP\n.RS 4\n.nf\n" + escaped(row.term) + "\n.fi\n.RE\n";
  return ".TP\n\\fB" + escaped(row.term) + "\\fR\n" + escaped(row.text) + "\n";
}

/// The variables that stand for options.
std::vector<HelpPage::Row> variablesOf(const CLI::App& app) {
  std::vector<HelpPage::Row> rows;
  for (const CLI::Option* option : everyOption(app))
    if (!option->get_envname().empty())
      rows.push_back({option->get_envname(), "Stands for " + namesOf(*option).back() + "."});
  return rows;
}

void addVariables(std::vector<Section>& sections, std::vector<HelpPage::Row> rows) {
  if (rows.empty()) return;
  auto place = std::find_if(sections.begin(), sections.end(),
                            [](const Section& one) { return one.title == kEnvironment; });
  if (place == sections.end()) place = sections.insert(place, {std::string(kEnvironment), {}});
  rows.insert(rows.end(), place->rows.begin(), place->rows.end());
  place->rows = std::move(rows);
}

std::string pagesBeside(const CLI::App& app) {
  std::vector<const CLI::App*> pages = commandsOf(app);
  if (app.get_parent() != nullptr) pages.insert(pages.begin(), app.get_parent());
  std::string text;
  for (const CLI::App* page : pages)
    text += (text.empty() ? "" : ",\n") + (".BR " + escaped(manPageName(*page)) + " (1)");
  return text.empty() ? "" : heading("See also") + text + "\n";
}

} // namespace

std::string manPage(const CLI::App& app, std::string_view version) {
  HelpPage page = helpPage(app);
  addVariables(page.sections, variablesOf(app));
  const std::string name = manPageName(app);
  std::string text = ".TH " + escaped(upperCase(name)) + " 1 \"\" \"Quarnet " +
                     std::string(version) + "\" \"User Commands\"\n";
  text += heading("Name") + escaped(name) + " \\- " + escaped(inIndex(page.summary)) + "\n";
  text += heading("Synopsis") + ".B " + escaped(page.name) + "\n" + escaped(page.arguments) + "\n";
  text += heading("Description") + escaped(page.summary) + "\n";
  for (const Section& section : page.sections) {
    if (!section.title.empty()) text += heading(section.title);
    for (const HelpPage::Row& row : section.rows)
      text += rowText(row);
  }
  return text + pagesBeside(app);
}

std::string manPageName(const CLI::App& app) {
  std::string name = pathOf(app);
  std::replace(name.begin(), name.end(), ' ', '-');
  return name;
}

} // namespace quarnet::usage
