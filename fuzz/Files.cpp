// A store's file, or the journal beside it, that holds anything at all; an upload's body.

#include "fuzz/support/Fuzz.h"
#include "sandbox/MultipartReader.h"
#include "sandbox/Text.h"

#include "quarnet/platform/Platform.h"
#include "quarnet/platform/sqlite/SqliteUserDefaults.h"
#include "quarnet/request/Multipart.h"

#include <filesystem>
#include <fstream>
#include <iterator>

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
  expect(store.value("access_token") == "saved");
}

} // namespace

void store(Input input) {
  static const auto log = std::make_shared<CountingLog>();
  static const std::string sound = [] {
    Platform::install({.log = log});
    const Folder folder;
    save(folder.path + "/store");
    std::ifstream stream(folder.path + "/store", std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
  }();
  log->lines = 0;
  const Folder folder;
  const std::string file = folder.path + "/store";
  const bool isJournal = input.flag();
  const std::string bytes = input.rest();
  std::ofstream(file, std::ios::binary) << (isJournal ? sound : bytes);
  if (isJournal) std::ofstream(file + "-journal", std::ios::binary) << bytes;

  SqliteUserDefaults(file).value("access_token");
  save(file);
  // It is there for the next process, or a line says that it is not.
  expect(SqliteUserDefaults(file).value("access_token") == "saved" || log->lines > 0);
}

void multipart(Input input) {
  static const Folder folder;
  const std::string file = folder.path + "/file";
  const std::size_t step = input.piece().size() + 1;
  const std::string key = input.piece();
  const std::string content = input.rest();
  std::ofstream(file, std::ios::binary) << content;
  const Multipart multipart = makeMultipart("bound", key, file);
  expect(multipart.fileSize == content.size());
  if (content.find("bound") != content.npos) return;

  sandbox::MultipartReader reader("bound");
  for (std::size_t at = 0; at < multipart.body.size(); at += step)
    reader.feed(std::string_view(multipart.body).substr(at, step));
  const std::vector<sandbox::Upload> uploads = reader.takeUploads();
  expect(reader.complete() && uploads.size() == 1);
  sandbox::Sha256 sum;
  sum.update(content);
  expect(uploads[0].size == content.size() && uploads[0].sha256 == sum.finish());
  expect(sandbox::percentDecoded(uploads[0].field) == sandbox::percentDecoded(key));
}

} // namespace quarnet::fuzz
