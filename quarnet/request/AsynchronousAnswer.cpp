#include "quarnet/request/AsynchronousAnswer.h"

#include "quarnet/core/Constants.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/platform/Platform.h"

namespace quarnet {

using platform::deliver;
using platform::harmless;
using platform::HttpResult;
using platform::log;

void AsynchronousAnswer::take(HttpResult answer) {
  withinMemory([&] { report(std::move(answer)); }, [&] { failForMemory(); });
}

void AsynchronousAnswer::report(HttpResult answer) {
  constexpr char kDataReceived[] = "APIRequest async data received";
  const long status = answer.response ? answer.response->statusCode : 0;
  const std::string statusText = std::to_string(status);
  log(harmless(statusText));
  const bool isEmpty = answer.body.empty();
  Text text = utf8Text(std::move(answer.body), answer.utf8Size);
  write(&AsynchronousAnswer::result, text);

  if (answer.error) return fail(statusText, std::move(text));
  if (isEmpty) return fail("7", std::string(VornelError007));
  log(kDataReceived);
  if (status != 200) return fail(statusText, std::move(text));
  // A success writes the line twice, so that a log shows which of the two it was.
  log(kDataReceived);
  deliver(registration, &CallbackTriple::finished,
          resultDictionary(statusText, "", std::move(text)));
}

void AsynchronousAnswer::fail(Text code, Text message) const {
  deliver(registration, &CallbackTriple::failed,
          resultDictionary(std::move(code), std::move(message), ""));
}

void AsynchronousAnswer::failForMemory() const {
  fail("0", kNotEnoughMemory);
}

} // namespace quarnet
