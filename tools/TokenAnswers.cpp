#include "tools/TokenAnswers.h"

#include "tools/Terminal.h"

#include "quarnet/oauth/TokenAnswerMember.h"

namespace quarnet::tools {

bool isPresent(const Text& text) {
  return text && !text->empty() && text != "(null)" && text != "<null>";
}

Text errorReport(const Data& answer) {
  const Text error = tokenAnswerMember(answer, "error");
  if (!isPresent(error)) return std::nullopt;
  const Text description = tokenAnswerMember(answer, "error_description");
  return excerpt(*error) + (isPresent(description) ? " (" + excerpt(*description) + ")" : "");
}

} // namespace quarnet::tools
