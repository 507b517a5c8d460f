#include "quarnet/oauth/TokenAnswerMember.h"

#include "quarnet/core/Json.h"

namespace quarnet {

Text tokenAnswerMember(const Data& answer, std::string_view name) {
  return memberText(Json::parse(answer), name);
}

} // namespace quarnet
