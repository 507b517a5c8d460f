// A store's file, or the journal beside it, that holds anything at all; an upload's body.

#include "fuzz/support/Fuzz.h"
#include "sandbox/MultipartReader.h"
#include "sandbox/Text.h"

#include "quarnet/platform/Platform.h"
#include "quarnet/platform/sqlite/SqliteUserDefaults.h"
#include "quarnet/request/Multipart.h"

#include <filesystem>
#include <fstream>

namespace quarnet::fuzz {

using namespace platform;

namespace {

struct CountingLog final : Log {
  int lines = 0;
  void write(Line) override { ++lines; }
};

/// In memory; gone with the object.
struct Folder {
  std::string path = "/dev/shm/quarnet-fuzz-XXXXXX";
  Folder() { expect(mkdtemp(path.data()) != nullptr); }
  ~Folder() { std::filesystem::remove_all(path); }
};

void save(const std::string& file) {
  SqliteUserDefaults store(file);
  store.setValue("access_token", "saved");
  store.synchronize();
}

void write(const std::string& file, std::string_view bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

} // namespace

void store(std::string bytes) {
  static const auto log = [] {
    auto made = std::make_shared<CountingLog>();
    Platform::install({.log = made});
    return made;
  }();
  log->lines = 0;
  const Folder folder;
  const std::string file = folder.path + "/store";
  const bool isJournal = flag(bytes);
  if (isJournal) save(file);
  write(isJournal ? file + "-journal" : file, bytes);
  SqliteUserDefaults(file).value("access_token");
  save(file);
  // It is there for the next process, or a line says that it is not.
  expect(SqliteUserDefaults(file).value("access_token") == "saved" || log->lines > 0);
}

void multipart(std::string input) {
  static const Folder folder;
  const std::string file = folder.path + "/file";
  const std::size_t step = piece(input).size() + 1;
  const std::string key = piece(input);
  write(file, input);
  const std::string body = makeMultipart("bound", key, file).body;
  if (input.find("bound") != input.npos) return;

  sandbox::MultipartReader reader("bound");
  for (std::size_t at = 0; at < body.size(); at += step)
    reader.feed(body.substr(at, step));
  const std::vector<sandbox::Upload> uploads = reader.takeUploads();
  expect(reader.complete() && uploads.size() == 1);
  sandbox::Sha256 sum;
  sum.update(input);
  expect(uploads[0].size == input.size() && uploads[0].sha256 == sum.finish());
  expect(sandbox::percentDecoded(uploads[0].field) == sandbox::percentDecoded(key));
}

} // namespace quarnet::fuzz
