#include "tools/CallNotes.h"

#include "tools/Terminal.h"

#include "quarnet/request/APIRequest.h"

namespace quarnet::tools {

bool parametersWereDropped(const RequestBundle& bundle) {
  const auto sent = APIRequest::urlRequest();
  const bool wouldSend =
      bundle.httpMethod() == HttpMethod::GET || bundle.httpMethod() == HttpMethod::DELETE;
  return sent && wouldSend && bundle.parameters() && sent->url.find("?enc=") == std::string::npos;
}

void tellDroppedParameters() {
  tell("note: the parameters were not sent: no key to encrypt them with could be had");
}

void tellMissingText() {
  tell("the answer is not UTF-8 text and cannot be shown");
}

} // namespace quarnet::tools
