#include "sandbox/BodyReader.h"

namespace quarnet::sandbox {
namespace {

constexpr std::size_t kLargestKeptBody = 1024ul * 1024;

} // namespace

BodyReader::BodyReader(ReceivedRequest& request) : request_(request) {
  const auto boundary = MultipartReader::boundaryOf(request.header("content-type").value_or(""));
  if (boundary) multipart_.emplace(*boundary);
}

void BodyReader::feed(std::string_view bytes) {
  sum_.update(bytes);
  if (multipart_) multipart_->feed(bytes);
  request_.bodySize += bytes.size();
  if (request_.bodySize <= kLargestKeptBody)
    request_.body += bytes;
  else
    request_.body = {};
}

void BodyReader::finish() {
  if (request_.bodySize > 0) request_.bodySha256 = sum_.finish();
  if (!multipart_) return;
  request_.uploads = multipart_->takeUploads();
  request_.uploadComplete = multipart_->complete();
}

} // namespace quarnet::sandbox
