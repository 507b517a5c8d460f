#include "Messages.h"

#include <glib/gi18n.h>
#include <memory>

namespace demo {

using quarnet::ApiErrorKind;
using quarnet::SignIn;
using quarnet::SignOut;

namespace {

std::string taken(char* text) {
  return std::unique_ptr<char, void (*)(void*)>(text, g_free).get();
}

std::string reasonOf(const SignIn& end) {
  return end.code.empty() ? end.text : end.code + ": " + end.text;
}

} // namespace

Message messageOf(const quarnet::ApiError& error) {
  switch (error.kind) {
  case ApiErrorKind::InvalidCall:
    return {_("The request cannot be sent."), error.text};
  case ApiErrorKind::SignedOut:
    return {_("Your session has expired. Sign in again.")};
  case ApiErrorKind::KeyNotHad:
    return {_("The server cannot be reached, or it gave no key.")};
  case ApiErrorKind::NoConnection:
    return {_("The server cannot be reached.")};
  case ApiErrorKind::TimedOut:
    return {_("The server did not answer in time.")};
  case ApiErrorKind::Refused:
    return {taken(g_strdup_printf(_("The server refused the request (%ld)."), error.status))};
  case ApiErrorKind::NotUtf8:
    return {_("The server's answer cannot be read.")};
  case ApiErrorKind::Cancelled:
    return {_("Cancelled.")};
  case ApiErrorKind::TooLarge:
    return {_("The request or its answer is too large.")};
  }
  return {error.description()};
}

Message messageOf(const SignIn& end) {
  switch (end.ending) {
  case SignIn::Ending::Done:
    return {_("You are signed in.")};
  case SignIn::Ending::Continued:
    return {_("Welcome back: you are still signed in.")};
  case SignIn::Ending::Closed:
  case SignIn::Ending::Refused:
    break;
  case SignIn::Ending::ExchangeFailed:
    return {_("You could not be signed in."), reasonOf(end)};
  case SignIn::Ending::NoScreen:
    return {_("The login screen cannot be opened."), end.text};
  }
  return {};
}

Message messageOf(const SignOut& end) {
  if (end.ending == SignOut::Ending::NotConfirmed)
    return {_("You are signed out on this device only."), end.text};
  return {_("You are signed out.")};
}

} // namespace demo
