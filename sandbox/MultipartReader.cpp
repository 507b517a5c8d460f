#include "sandbox/MultipartReader.h"

#include "sandbox/Text.h"

namespace quarnet::sandbox {
namespace {

constexpr std::string_view kTrailer = "\r\nContent-Transfer-Encoding: binary\r\n";
constexpr std::size_t kLongestHead = 64ul * 1024;

/// The value of name="..." in a header field.
std::string quotedValue(std::string_view field, std::string_view name) {
  const std::string start = std::string(" ").append(name).append("=\"");
  const std::size_t at = field.find(start);
  if (at == std::string_view::npos) return {};
  const std::string_view value = field.substr(at + start.size());
  return std::string(value.substr(0, value.find('"')));
}

} // namespace

MultipartReader::MultipartReader(std::string_view boundary)
    : delimiter_(std::string("\r\n--").append(boundary)) {}

void MultipartReader::feed(std::string_view bytes) {
  if (state_ == State::done || state_ == State::broken) return;
  pending_ += bytes;
  while (step()) {
  }
}

std::vector<Upload> MultipartReader::takeUploads() {
  if (state_ == State::data) addData(pending_);
  if (part_) closePart();
  return std::move(uploads_);
}

std::optional<std::string> MultipartReader::boundaryOf(std::string_view contentType) {
  constexpr std::string_view kType = "multipart/form-data;";
  constexpr std::string_view kName = "boundary=";
  if (!equalIgnoringCase(contentType.substr(0, kType.size()), kType)) return std::nullopt;
  const std::size_t at = contentType.find(kName);
  if (at == std::string_view::npos) return std::nullopt;
  std::string_view boundary = contentType.substr(at + kName.size());
  if (boundary.starts_with('"'))
    boundary = boundary.substr(1, boundary.find('"', 1) - 1);
  else
    boundary = boundary.substr(0, boundary.find_first_of("; \t"));
  return boundary.empty() ? std::nullopt : std::optional(std::string(boundary));
}

bool MultipartReader::step() {
  switch (state_) {
  case State::data:
    return readData();
  case State::delimiter:
    return readDelimiter();
  case State::head:
    return readHead();
  case State::done:
  case State::broken:
    return false;
  }
  return false;
}

bool MultipartReader::readData() {
  const std::size_t at = pending_.find(delimiter_);
  if (at == std::string::npos) {
    if (pending_.size() >= delimiter_.size()) {
      const std::size_t safe = pending_.size() - delimiter_.size() + 1;
      addData(std::string_view(pending_).substr(0, safe));
      pending_.erase(0, safe);
    }
    return false;
  }
  addData(std::string_view(pending_).substr(0, at));
  if (part_) closePart();
  pending_.erase(0, at + delimiter_.size());
  state_ = State::delimiter;
  return true;
}

bool MultipartReader::readDelimiter() {
  if (pending_.size() < 2) return false;
  state_ = pending_.starts_with("--") ? State::done : State::head;
  return true;
}

bool MultipartReader::readHead() {
  const std::size_t end = pending_.find("\r\n\r\n");
  if (end == std::string::npos) {
    if (pending_.size() > kLongestHead) state_ = State::broken;
    return false;
  }
  openPart(std::string_view(pending_).substr(0, end));
  pending_.erase(0, end + 4);
  state_ = State::data;
  return true;
}

void MultipartReader::openPart(std::string_view head) {
  part_.emplace();
  part_->upload.field = quotedValue(head, "name");
  part_->upload.fileName = quotedValue(head, "filename");
}

void MultipartReader::addData(std::string_view bytes) {
  if (!part_) return;
  part_->tail += bytes;
  if (part_->tail.size() <= kTrailer.size()) return;
  const std::size_t safe = part_->tail.size() - kTrailer.size();
  part_->sum.update(std::string_view(part_->tail).substr(0, safe));
  part_->upload.size += safe;
  part_->tail.erase(0, safe);
}

void MultipartReader::closePart() {
  if (part_->tail != kTrailer) {
    part_->sum.update(part_->tail);
    part_->upload.size += part_->tail.size();
  }
  part_->upload.sha256 = part_->sum.finish();
  uploads_.push_back(std::move(part_->upload));
  part_.reset();
}

} // namespace quarnet::sandbox
