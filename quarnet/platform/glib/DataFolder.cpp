#include "quarnet/platform/DataFolder.h"

#include <glib.h>
#include <memory>
#include <string_view>

namespace quarnet::platform {
namespace {

std::string_view lastComponent(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

std::string executableName() {
  const std::unique_ptr<char, void (*)(void*)> link(g_file_read_link("/proc/self/exe", nullptr),
                                                    g_free);
  if (!link) return {};
  std::string_view name = lastComponent(link.get());
  // What an update that replaced the running program adds to its name.
  constexpr std::string_view kReplaced = " (deleted)";
  if (name.ends_with(kReplaced)) name.remove_suffix(kReplaced.size());
  return std::string(name);
}

bool isFolderName(std::string_view name) {
  return !name.empty() && name != "." && name != "..";
}

std::string programName() {
  const char* given = g_get_prgname();
  std::string name(lastComponent(given != nullptr ? given : ""));
  if (!isFolderName(name)) name = executableName();
  return isFolderName(name) ? name : "quarnet";
}

} // namespace

std::string dataFolder() {
  return std::string(g_get_user_data_dir()) + '/' + programName();
}

} // namespace quarnet::platform
