#include "quarnet/core/Callback.h"

#include "quarnet/core/Constants.h"

namespace quarnet {

ResultDictionary resultDictionary(Text code, Text message, Text data) {
  ResultDictionary result;
  const auto put = [&result](std::string_view key, Text& text) {
    if (text) result.emplace(key, std::move(*text));
  };
  put(VornelAsyncResultCode, code);
  put(VornelAsyncResultMessage, message);
  put(VornelAsyncResultData, data);
  return result;
}

} // namespace quarnet
