// pages FOLDER: writes the manual pages of the programs, and what shells complete their command
// lines with, as they are installed below share/.

#include "tools/usage/CommandLine.h"
#include "tools/usage/Completion.h"
#include "tools/usage/ManPage.h"
#if QUARNET_HAS_TOOLS
#include "tools/Program.h"
#endif
#if QUARNET_HAS_SANDBOX
#include "sandbox/CommandLine.h"
#endif
#if QUARNET_HAS_DEMO
#include "examples/demo/Options.h"
#endif

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace usage = quarnet::usage;
using Path = std::filesystem::path;

void write(const Path& path, const std::string& text) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file << text;
  if (file.flush()) return;
  std::fprintf(stderr, "pages: %s cannot be written\n", path.c_str());
  std::exit(usage::kFailed);
}

void writeManPages(const CLI::App& app, const Path& folder) {
  write(folder / (usage::manPageName(app) + ".1"), usage::manPage(app, usage::version()));
  for (const CLI::App* command : usage::commandsOf(app))
    writeManPages(*command, folder);
}

void writePages(const CLI::App& app, const Path& folder) {
  const std::string& name = app.get_name();
  writeManPages(app, folder / "man/man1");
  write(folder / "bash-completion/completions" / name, usage::bashCompletion(app));
  write(folder / "zsh/vendor-completions" / ("_" + name), usage::zshCompletion(app));
  write(folder / "fish/vendor_completions.d" / (name + ".fish"), usage::fishCompletion(app));
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 2) return usage::kWrongUsage;
  const Path folder = argv[1];
#if QUARNET_HAS_TOOLS
  writePages(quarnet::tools::Program(argv).parser(), folder);
#endif
#if QUARNET_HAS_SANDBOX
  CLI::App sandbox;
  quarnet::sandbox::Arguments arguments;
  quarnet::sandbox::define(sandbox, arguments);
  writePages(sandbox, folder);
#endif
#if QUARNET_HAS_DEMO
  CLI::App application;
  demo::Options options;
  demo::define(application, options);
  writePages(application, folder);
#endif
  return usage::kDone;
}
