#pragma once

#include "sandbox/Reply.h"

#include <boost/json/value.hpp>
#include <string>
#include <string_view>

namespace quarnet::sandbox {

Reply jsonReply(unsigned status, const boost::json::value& value);
/// The same value as XML: members and items become elements, under one root element.
Reply xmlReply(unsigned status, std::string_view root, const boost::json::value& value);
/// An error in the form of RFC 6749 section 5.2.
Reply errorReply(unsigned status, std::string_view error, std::string_view description);

} // namespace quarnet::sandbox
