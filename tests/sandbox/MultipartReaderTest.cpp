#include "sandbox/MultipartReader.h"

#include <gtest/gtest.h>

namespace quarnet::sandbox {
namespace {

// Published sums of "abc" and of nothing (FIPS 180-4 examples).
constexpr std::string_view kAbc =
    "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
constexpr std::string_view kNothing =
    "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

const std::string kDisposition =
    "Content-Disposition: form-data; name=\"image\"; filename=\"p.jpg\"\r\n"
    "Content-Type: application/octet-stream\r\n\r\n";
const std::string kBinaryLine = "Content-Transfer-Encoding: binary\r\n\r\n";

TEST(MultipartReader, ReadsTheSamePartsHoweverTheBytesArrive) {
  struct {
    const char* what;
    std::string text;
    std::vector<std::string_view> sums;
    bool complete = true;
  } const bodies[] = {
      {"line behind the data",
       "\r\n--B\r\n" + kDisposition + "abc\r\n" + kBinaryLine + "--B--\r\n",
       {kAbc}},
      {"no line", "--B\r\n" + kDisposition + "abc\r\n--B--\r\n", {kAbc}},
      {"two parts, one without data",
       "--B\r\n" + kDisposition + "abc\r\n--B\r\n" + kDisposition + "\r\n" + kBinaryLine + "--B--",
       {kAbc, kNothing}},
      {"no end", "--B\r\n" + kDisposition + "abc", {kAbc}, false},
      {"another boundary", "--C\r\n" + kDisposition + "abc\r\n--C--", {}, false},
      {"head without end", "--B\r\n" + std::string(100'000, 'x'), {}, false},
  };
  for (const auto& [what, text, sums, complete] : bodies) {
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, text.size()}) {
      SCOPED_TRACE(std::string(what) + " by " + std::to_string(piece));
      MultipartReader reader("B");
      for (std::size_t at = 0; at < text.size(); at += piece)
        reader.feed(std::string_view(text).substr(at, piece));
      EXPECT_EQ(reader.complete(), complete);
      std::vector<std::string_view> found;
      const auto uploads = reader.takeUploads();
      for (const Upload& upload : uploads) {
        EXPECT_EQ(upload.field + upload.fileName, "imagep.jpg");
        found.push_back(upload.sha256);
      }
      EXPECT_EQ(found, sums);
    }
  }
}

TEST(MultipartReader, FindsTheBoundaryInAContentType) {
  using Text = std::optional<std::string>;
  EXPECT_EQ(MultipartReader::boundaryOf("Multipart/Form-Data; boundary=a-b"), Text("a-b"));
  EXPECT_EQ(MultipartReader::boundaryOf("multipart/form-data; boundary=\"a b\"; x=y"), Text("a b"));
  for (const char* const none : {"", "application/json", "multipart/form-data; boundary=",
                                 "multipart/form-data; boundary=\""})
    EXPECT_EQ(MultipartReader::boundaryOf(none), Text()) << none;
}

} // namespace
} // namespace quarnet::sandbox
