// The upload of a large file.

#include "bench/support/Failure.h"
#include "bench/support/RawCurl.h"
#include "bench/support/Setting.h"
#include "bench/transfers/Transfers.h"

#include "quarnet/quarnet.h"

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <unistd.h>

namespace quarnet::bench {
namespace {

constexpr std::size_t kSize = std::size_t{512} << 20;

std::string filePath() {
  return Setting::current().folder + "/upload.bin";
}

std::string url() {
  return "https://" + Setting::current().sandbox + "/v1/pictures";
}

void makeFile() {
  std::ofstream file(filePath(), std::ios::binary);
  std::string piece(std::size_t{1} << 20, '\0');
  for (std::size_t i = 0; i < piece.size(); ++i)
    piece[i] = static_cast<char>(i * 2654435761u >> 13);
  for (std::size_t written = 0; written < kSize; written += piece.size())
    file.write(piece.data(), static_cast<std::streamsize>(piece.size()));
  check(file.flush().good(), "the file to upload can be written");
}

} // namespace

void measureUpload() {
  makeFile();
  compareTransfers("upload of a 512 MB file", "upload", "upload-raw", kSize, atMost(1.05));
  std::filesystem::remove(filePath());
}

void uploadOurs() {
  setUpLibrary();
  timeTransfer([] {
    RequestBundle bundle;
    bundle.setUrl(url());
    bundle.setUploadFilePath(filePath());
    std::optional<Error> error;
    const auto answer = APIRequest().requestHTTPMethodError(bundle, HttpMethod::POST, &error);
    check(answer && !error, "our upload is answered 200");
  });
}

/// Reads the file into one buffer of the right size, which is not filled with zeros first, between
/// the two ends of the multipart body, and sends that.
void uploadRaw() {
  RawCurl raw;
  timeTransfer([&raw] {
    constexpr std::string_view kHead =
        "\r\n--boundary\r\nContent-Disposition: form-data; name=\"image\"; "
        "filename=\"upload.bin\"\r\nContent-Type: application/octet-stream\r\n\r\n";
    constexpr std::string_view kTail =
        "\r\nContent-Transfer-Encoding: binary\r\n\r\n--boundary--\r\n";
    const std::size_t size = kHead.size() + kSize + kTail.size();
    const std::unique_ptr<char[]> body(new char[size]);
    std::memcpy(body.get(), kHead.data(), kHead.size());
    const int file = open(filePath().c_str(), O_RDONLY | O_CLOEXEC);
    std::size_t done = 0;
    while (done < kSize) {
      const ssize_t count = read(file, body.get() + kHead.size() + done, kSize - done);
      check(count > 0, "the file can be read");
      done += static_cast<std::size_t>(count);
    }
    close(file);
    std::memcpy(body.get() + kHead.size() + kSize, kTail.data(), kTail.size());

    curl_slist type{.data = const_cast<char*>("Content-Type: multipart/form-data; "
                                              "boundary=boundary"),
                    .next = raw.callFields()->next};
    raw.setPost(url() + ".json", "", &type);
    curl_easy_setopt(raw.get(), CURLOPT_POSTFIELDS, body.get());
    curl_easy_setopt(raw.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(size));
    raw.perform();
  });
}

} // namespace quarnet::bench
