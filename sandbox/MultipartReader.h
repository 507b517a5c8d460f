#pragma once

#include "sandbox/Crypto.h"
#include "sandbox/ReceivedRequest.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarnet::sandbox {

/// Reads a multipart/form-data body of any size as it comes in, keeping of each part its name, its
/// size and its SHA-256.
///
/// The library closes a part with a "Content-Transfer-Encoding: binary" line behind the file's
/// bytes; that line is not counted as part of the file.
class MultipartReader {
public:
  explicit MultipartReader(std::string_view boundary);

  void feed(std::string_view bytes);
  /// The parts that were there; call once, at the end.
  std::vector<Upload> takeUploads();
  /// Whether the closing delimiter was there.
  bool complete() const { return state_ == State::done; }

  /// The boundary in a Content-Type; absent when that is not multipart/form-data with a boundary.
  static std::optional<std::string> boundaryOf(std::string_view contentType);

private:
  enum class State { data, delimiter, head, done, broken };

  bool step();
  bool readData();
  bool readDelimiter();
  bool readHead();
  void openPart(std::string_view head);
  void addData(std::string_view bytes);
  void closePart();

  std::string delimiter_;
  // A delimiter begins with a line end; at the very start of a body that one may be missing.
  std::string pending_ = "\r\n";
  State state_ = State::data;
  struct Part {
    Upload upload;
    Sha256 sum;
    std::string tail; ///< the last bytes, held back: they may be the line that is not the file's
  };
  std::optional<Part> part_; ///< absent before the first delimiter
  std::vector<Upload> uploads_;
};

} // namespace quarnet::sandbox
