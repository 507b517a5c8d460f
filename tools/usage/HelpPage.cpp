#include "tools/usage/HelpPage.h"

#include <algorithm>
#include <sstream>

namespace quarnet::usage {
namespace {

using Row = HelpPage::Row;
using Section = HelpPage::Section;

std::string joined(const std::vector<std::string>& words, std::string_view between) {
  std::string text;
  for (const std::string& word : words)
    text.append(text.empty() ? "" : between).append(word);
  return text;
}

std::string termOf(const CLI::Option& option) {
  const std::string value = valueOf(option).name;
  return joined(namesOf(option), ", ") + (value.empty() ? "" : " " + value);
}

std::string textOf(const CLI::Option& option) {
  std::string text = option.get_description();
  if (!option.get_default_str().empty()) text += " [default: " + option.get_default_str() + "]";
  if (!option.get_envname().empty()) text += " [$" + option.get_envname() + "]";
  return text;
}

/// The type of "TYPE:what a check says". A type may have a ":" in brackets.
std::string withoutChecks(const std::string& type) {
  const std::size_t bracket = type.find('[');
  const std::size_t colon = type.find(':');
  return colon < bracket ? type.substr(0, colon) : type;
}

std::string argumentsText(const CLI::App& app) {
  std::string text = "[OPTIONS]";
  for (const CLI::Option* argument : argumentsOf(app)) {
    const std::string name =
        argument->get_name() + (argument->get_items_expected_max() > 1 ? "..." : "");
    text += argument->get_required() ? " " + name : " [" + name + "]";
  }
  if (commandsOf(app).empty()) return text;
  return text + (app.get_require_subcommand_min() > 0 ? " COMMAND" : " [COMMAND]");
}

/// Adds a row to the section of that title, which is made when there is none.
void add(std::vector<Section>& sections, std::string_view title, Row row) {
  auto place = std::find_if(sections.begin(), sections.end(),
                            [&](const Section& one) { return one.title == title; });
  if (place == sections.end()) place = sections.insert(place, {std::string(title), {}});
  place->rows.push_back(std::move(row));
}

void addCommands(std::vector<Section>& sections, const CLI::App& app) {
  for (const CLI::App* command : commandsOf(app))
    add(sections, "Commands", {command->get_name(), command->get_description()});
}

void addArguments(std::vector<Section>& sections, const CLI::App& app) {
  for (const CLI::Option* argument : argumentsOf(app))
    add(sections, "Arguments", {argument->get_name(), textOf(*argument)});
}

void addOptions(std::vector<Section>& sections, const CLI::App& app) {
  for (const CLI::Option* option : everyOption(app))
    add(sections, option->get_group(), {termOf(*option), textOf(*option)});
}

/// A line of a section: "  term  text", or a term alone.
Row rowOf(const std::string& line) {
  const std::size_t start = line.find_first_not_of(' ');
  const std::size_t gap = line.find("  ", start);
  if (gap == std::string::npos) return {line.substr(start), ""};
  return {line.substr(start, gap - start), line.substr(line.find_first_not_of(' ', gap))};
}

void addFooter(std::vector<Section>& sections, const std::string& footer) {
  std::istringstream lines(footer);
  std::string title;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("  ")) {
      add(sections, title, rowOf(line));
    } else if (line.ends_with(':')) {
      title = line.substr(0, line.size() - 1);
    } else if (!line.empty()) {
      add(sections, "", {"", line});
    }
  }
}

} // namespace

HelpPage helpPage(const CLI::App& app) {
  HelpPage page{pathOf(app), app.get_description(), argumentsText(app), {}};
  if (!page.summary.ends_with('.')) page.summary += '.';
  addFooter(page.sections, app.get_footer());
  // The paragraphs are the first thing to read, the other sections of the footer come last.
  const auto rest = std::find_if(page.sections.begin(), page.sections.end(),
                                 [](const Section& one) { return !one.title.empty(); });
  const std::vector<Section> last(rest, page.sections.end());
  page.sections.erase(rest, page.sections.end());
  addCommands(page.sections, app);
  addArguments(page.sections, app);
  addOptions(page.sections, app);
  page.sections.insert(page.sections.end(), last.begin(), last.end());
  return page;
}

std::string pathOf(const CLI::App& app) {
  const CLI::App* const parent = app.get_parent();
  return parent == nullptr ? app.get_name() : pathOf(*parent) + " " + app.get_name();
}

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App* one) { return !one->get_group().empty(); });
}

std::vector<const CLI::App*> withParents(const CLI::App& app) {
  std::vector<const CLI::App*> apps;
  for (const CLI::App* one = &app; one != nullptr; one = one->get_parent())
    apps.push_back(one);
  return apps;
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& app) {
  return app.get_options(
      [](const CLI::Option* one) { return one->nonpositional() && !one->get_group().empty(); });
}

std::vector<const CLI::Option*> everyOption(const CLI::App& app) {
  std::vector<const CLI::Option*> all;
  for (const CLI::App* owner : withParents(app)) {
    for (const CLI::Option* option : optionsOf(*owner)) {
      const auto isThere = [&](const CLI::Option* one) {
        return namesOf(*one) == namesOf(*option);
      };
      if (std::none_of(all.begin(), all.end(), isThere)) all.push_back(option);
    }
  }
  return all;
}

std::vector<const CLI::Option*> argumentsOf(const CLI::App& app) {
  return app.get_options([](const CLI::Option* one) { return one->get_positional(); });
}

std::vector<std::string> namesOf(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames())
    names.push_back("-" + name);
  for (const std::string& name : option.get_lnames())
    names.push_back("--" + name);
  return names;
}

Value valueOf(const CLI::Option& option) {
  if (option.get_items_expected_max() == 0) return {};
  // "TYPE:what a check says"; where the type is not set, the check says more.
  std::string name = option.get_type_name();
  if (name.starts_with("TEXT:")) name.erase(0, 5);
  const std::size_t open = name.find('{');
  if (open == std::string::npos) return {withoutChecks(name), {}};
  const std::string choices = name.substr(open + 1, name.find('}') - open - 1);
  name = joined(CLI::detail::split(choices, ','), "|");
  return {name, CLI::detail::split(choices, ',')};
}

} // namespace quarnet::usage
