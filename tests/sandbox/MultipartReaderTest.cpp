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

struct Body {
  const char* what;
  std::string text;
  std::vector<std::string_view> sums;
  bool complete = true;
};

const Body kBodies[] = {
    {"line behind the data",
     "\r\n--B\r\n" + kDisposition + "abc\r\n" + kBinaryLine + "--B--\r\n",
     {kAbc}},
    {"no line", "--B\r\n" + kDisposition + "abc\r\n--B--\r\n", {kAbc}},
    {"empty file", "\r\n--B\r\n" + kDisposition + "\r\n" + kBinaryLine + "--B--\r\n", {kNothing}},
    {"two parts",
     "--B\r\n" + kDisposition + "abc\r\n--B\r\n" + kDisposition + "\r\n--B--",
     {kAbc, kNothing}},
    {"no end", "--B\r\n" + kDisposition + "abc", {kAbc}, false},
    {"another boundary", "--C\r\n" + kDisposition + "abc\r\n--C--", {}, false},
    {"head without end", "--B\r\n" + std::string(100'000, 'x'), {}, false},
};

TEST(MultipartReader, ReadsTheSamePartsHoweverTheBytesArrive) {
  for (const Body& body : kBodies) {
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, body.text.size()}) {
      SCOPED_TRACE(std::string(body.what) + " by " + std::to_string(piece));
      MultipartReader reader("B");
      for (std::size_t at = 0; at < body.text.size(); at += piece)
        reader.feed(std::string_view(body.text).substr(at, piece));
      EXPECT_EQ(reader.complete(), body.complete);
      const auto uploads = reader.takeUploads();
      ASSERT_EQ(uploads.size(), body.sums.size());
      for (std::size_t i = 0; i < uploads.size(); ++i) {
        EXPECT_EQ(uploads[i].sha256, body.sums[i]);
        EXPECT_EQ(uploads[i].field, "image");
        EXPECT_EQ(uploads[i].fileName, "p.jpg");
      }
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
