// The sandbox's own readers: requests in whatever pieces they arrive, bodies, forms and escapes.

#include "fuzz/support/Fuzz.h"
#include "sandbox/Crypto.h"
#include "sandbox/Form.h"
#include "sandbox/RequestParser.h"
#include "sandbox/Text.h"

#include <boost/asio/buffer.hpp>

namespace quarnet::fuzz {
namespace {

/// Null for what is no whole request.
std::shared_ptr<sandbox::ReceivedRequest> parsed(std::string_view bytes, std::size_t step) {
  sandbox::RequestParser parser;
  parser.eager(true);
  boost::beast::error_code error;
  std::size_t used = 0;
  for (std::size_t end = 0; !parser.is_done() && end < bytes.size();) {
    end += std::min(step, bytes.size() - end);
    used += parser.put(boost::asio::buffer(bytes.substr(used, end - used)), error);
    if (error && error != boost::beast::http::error::need_more) return nullptr;
  }
  return parser.is_done() ? parser.take() : nullptr;
}

} // namespace

void sandbox(Input input) {
  const std::size_t step = input.piece().size() + 1;
  const std::string bytes = input.rest();
  expect(sandbox::hexDecoded(sandbox::hexEncoded(bytes)) == bytes);
  expect(sandbox::isUtf8(sandbox::presentable(bytes)));
  sandbox::base64UrlDecoded(bytes);
  sandbox::hexDecoded(bytes);
  sandbox::aes256Decrypted(bytes, bytes, bytes);
  const sandbox::Form form(bytes);
  if (const auto name = form.repeatedName()) expect(form.get(*name).has_value());

  const auto whole = parsed(bytes, bytes.size());
  const auto pieces = parsed(bytes, step);
  expect((whole == nullptr) == (pieces == nullptr));
  if (!whole) return;
  expect(whole->headers == pieces->headers && whole->target == pieces->target);
  expect(whole->bodySha256 == pieces->bodySha256 && whole->path().data() != nullptr);
  expect(whole->uploadComplete == pieces->uploadComplete);
  expect(std::ranges::equal(whole->uploads, pieces->uploads, {}, &sandbox::Upload::sha256,
                            &sandbox::Upload::sha256));
}

} // namespace quarnet::fuzz
