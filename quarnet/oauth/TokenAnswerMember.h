#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"

#include <string_view>

namespace quarnet {

/// A member of a token endpoint's JSON answer as the session would take it over (RFC 6749, sections
/// 5.1 and 5.2), for example "error": the finished operation of a login receives refusals, too.
///
/// A string as it is, a number in decimal, null as "<null>"; absent when there is no such member or
/// the answer is no JSON object.
QUARNET_EXPORT Text tokenAnswerMember(const Data& answer, std::string_view name);

} // namespace quarnet
