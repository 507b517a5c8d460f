#include "Messages.h"

namespace demo {

using quarnet::ApiErrorKind;
using quarnet::SignIn;
using quarnet::SignOut;

std::string messageOf(const quarnet::ApiError& error) {
  switch (error.kind) {
  case ApiErrorKind::InvalidCall:
    return "보낼 수 없는 요청입니다: " + error.text;
  case ApiErrorKind::SignedOut:
    return "로그인이 만료되었습니다. 다시 로그인합니다.";
  case ApiErrorKind::KeyNotHad:
    return "서버에 연결할 수 없거나 키를 받지 못했습니다.";
  case ApiErrorKind::NoConnection:
    return "서버에 연결할 수 없습니다.";
  case ApiErrorKind::TimedOut:
    return "서버가 제때 답하지 않았습니다.";
  case ApiErrorKind::Refused:
    return "서버가 " + std::to_string(error.status) + "(으)로 답했습니다.";
  case ApiErrorKind::NotUtf8:
    return "서버의 답을 읽을 수 없습니다.";
  case ApiErrorKind::Cancelled:
    return "취소했습니다.";
  case ApiErrorKind::TooLarge:
    return "요청이나 답이 너무 큽니다.";
  }
  return error.description();
}

std::string messageOf(const SignIn& end) {
  switch (end.ending) {
  case SignIn::Ending::Done:
    return "로그인했습니다.";
  case SignIn::Ending::Continued:
    return "지난번 로그인을 이어 갑니다.";
  case SignIn::Ending::Closed:
  case SignIn::Ending::Refused:
    break;
  case SignIn::Ending::ExchangeFailed:
    return "로그인하지 못했습니다: " + (end.code.empty() ? "" : end.code + ": ") + end.text;
  case SignIn::Ending::NoScreen:
    return "로그인 화면을 열 수 없습니다: " + end.text;
  }
  return {};
}

std::string messageOf(const SignOut& end) {
  if (end.ending == SignOut::Ending::NotConfirmed)
    return "이 기기에서만 로그아웃했습니다: " + end.text;
  return "로그아웃했습니다.";
}

} // namespace demo
