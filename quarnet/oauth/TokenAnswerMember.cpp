#include "quarnet/oauth/TokenAnswerMember.h"

#include "quarnet/core/Json.h"

namespace quarnet {

Text tokenAnswerMember(const Data& answer, std::string_view name) {
  const auto json = Json::parse(answer);
  if (!json) return std::nullopt;
  const auto member = json->member(name);
  return member ? Text(member->text()) : std::nullopt;
}

} // namespace quarnet
