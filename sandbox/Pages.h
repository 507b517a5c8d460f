#pragma once

#include "sandbox/Reply.h"

#include <string>
#include <string_view>

/// The pages that a person sees, in Korean and English, without scripts and without anything from
/// elsewhere. What comes from outside is escaped here.
namespace quarnet::sandbox::pages {

/// `userName` is what was typed before; `refused`: it or the password was wrong.
Reply signIn(std::string_view clientId, std::string_view transaction, std::string_view userName,
             bool refused);
Reply consent(std::string_view clientId, std::string_view scope, std::string_view transaction);
Reply complete();
Reply error(std::string_view error, std::string_view description);
Reply portal();
Reply home();
/// The page that stands where something else was expected.
Reply unexpected();

} // namespace quarnet::sandbox::pages
