#include "sandbox/Pages.h"

#include "sandbox/Text.h"

namespace quarnet::sandbox::pages {
namespace {

constexpr std::string_view kStyle = R"(
:root { color-scheme: light dark; --accent: #2457c5; --line: #c9ced8; --soft: #6b7280; }
* { box-sizing: border-box; }
html { background: Canvas; color: CanvasText; }
body { margin: 0; min-height: 100vh; display: grid; place-items: center; padding: 1rem;
  font: 16px/1.5 system-ui, "Noto Sans KR", "Noto Sans CJK KR", sans-serif; }
main { width: 100%; max-width: 24rem; }
h1 { font-size: 1.5rem; line-height: 1.25; margin: 0 0 .25rem; }
[lang=en] { color: var(--soft); font-size: .9rem; font-weight: normal; }
h1 [lang=en], p [lang=en] { display: block; }
h1 [lang=en] { font-size: 1rem; }
label { display: block; margin-top: 1rem; font-weight: 600; }
input { width: 100%; font: inherit; padding: .6rem .75rem; margin-top: .25rem;
  border: 1px solid var(--line); border-radius: .5rem; }
button { width: 100%; font: inherit; font-weight: 600; padding: .7rem; margin-top: .75rem;
  border: 1px solid var(--line); border-radius: .5rem; background: transparent; cursor: pointer; }
button.main { background: var(--accent); border-color: var(--accent); color: #fff;
  margin-top: 1.5rem; }
button [lang=en] { color: inherit; opacity: .85; }
input:focus-visible, button:focus-visible { outline: 3px solid #7aa2f7; outline-offset: 1px; }
.told { margin: 1rem 0 0; padding: .6rem .75rem; border-left: 4px solid #c62828;
  background: #c6282818; border-radius: .25rem; }
dl { margin: 1rem 0 0; padding: .75rem 1rem; border: 1px solid var(--line); border-radius: .5rem; }
dt { color: var(--soft); font-size: .85rem; }
dd { margin: 0 0 .5rem; font-weight: 600; overflow-wrap: anywhere; }
)";

/// Korean first, the same in English beside it.
std::string both(std::string_view korean, std::string_view english) {
  return std::string(korean) + " <span lang=\"en\">" + std::string(english) + "</span>";
}

Reply page(std::string_view title, const std::string& content) {
  std::string html = "<!doctype html>\n<html lang=\"ko\">\n<head>\n<meta charset=\"utf-8\">\n"
                     "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n";
  html.append("<title>").append(title).append("</title>\n<style>").append(kStyle);
  html.append("</style>\n</head>\n<body>\n<main>\n").append(content);
  html.append("</main>\n</body>\n</html>\n");
  return {.contentType = "text/html; charset=utf-8",
          .headers = {{"Cache-Control", "no-store"},
                      {"Content-Security-Policy",
                       "default-src 'none'; style-src 'unsafe-inline'; base-uri 'none'; "
                       "frame-ancestors 'none'"},
                      {"Referrer-Policy", "no-referrer"},
                      {"X-Content-Type-Options", "nosniff"}},
          .body = std::move(html)};
}

std::string heading(std::string_view korean, std::string_view english) {
  return "<h1>" + both(korean, english) + "</h1>\n";
}

std::string formStart(std::string_view action, std::string_view transaction) {
  return "<form method=\"post\" action=\"" + std::string(action) +
         "\">\n<input type=\"hidden\" name=\"transaction\" value=\"" + markupEscaped(transaction) +
         "\">\n";
}

std::string button(std::string_view id, std::string_view attributes, const std::string& label) {
  return "<button type=\"submit\" id=\"" + std::string(id) + "\" name=\"action\" value=\"" +
         std::string(id) + "\"" + std::string(attributes) + ">" + label + "</button>\n";
}

std::string entry(const std::string& term, std::string_view value) {
  return "<dt>" + term + "</dt><dd>" + markupEscaped(value) + "</dd>\n";
}

} // namespace

Reply signIn(std::string_view clientId, std::string_view transaction, std::string_view userName,
             bool refused) {
  std::string content = heading("로그인", "Sign in");
  content += "<p><strong>" + markupEscaped(clientId) + "</strong> " +
             both("앱으로 계속합니다.", "The application you are about to use.") + "</p>\n";
  if (refused)
    content += "<p class=\"told\" id=\"refused\" role=\"alert\">" +
               both("아이디 또는 비밀번호가 올바르지 않습니다.",
                    "The user name or the password is wrong.") +
               "</p>\n";
  content += formStart("/oauth/authorize", transaction);
  content += "<label for=\"username\">" + both("아이디", "User name") +
             "</label>\n<input id=\"username\" name=\"username\" autocomplete=\"username\" "
             "autocapitalize=\"none\" spellcheck=\"false\" required value=\"" +
             markupEscaped(userName) + "\"" + (refused ? "" : " autofocus") + ">\n";
  content += "<label for=\"password\">" + both("비밀번호", "Password") +
             "</label>\n<input id=\"password\" name=\"password\" type=\"password\" "
             "autocomplete=\"current-password\" required" +
             (refused ? " autofocus aria-describedby=\"refused\"" : "") + ">\n";
  content += button("signin", " class=\"main\"", both("로그인", "Sign in"));
  content += button("cancel", " formnovalidate", both("취소", "Cancel"));
  return page("로그인 · Sign in", content + "</form>\n");
}

Reply consent(std::string_view clientId, std::string_view scope, std::string_view transaction) {
  std::string content = heading("접근을 허용할까요?", "Allow access?");
  content += "<p>" +
             both("이 앱이 회원님의 정보에 접근하려고 합니다.",
                  "This application asks for access to your data.") +
             "</p>\n<dl>\n" + entry(both("앱", "Application"), clientId);
  content += entry(both("범위", "Scope"), scope.empty() ? "기본 · basic" : scope) + "</dl>\n";
  content += formStart("/oauth/consent", transaction);
  content += button("allow", " class=\"main\" autofocus", both("허용", "Allow"));
  content += button("cancel", "", both("취소", "Cancel"));
  return page("접근 허용 · Allow access", content + "</form>\n");
}

Reply complete() {
  return page("로그인 완료 · Signed in",
              heading("로그인되었습니다", "You are signed in") + "<p>" +
                  both("이 화면은 곧 닫힙니다.", "This page closes by itself.") + "</p>\n");
}

Reply error(std::string_view error, std::string_view description) {
  return page("로그인 오류 · Sign-in error",
              heading("로그인하지 못했습니다", "You are not signed in") + "<dl>\n" +
                  entry(both("오류", "Error"), error) +
                  entry(both("설명", "Description"), description) + "</dl>\n");
}

Reply portal() {
  return page("포털 · Portal", heading("포털", "Portal") + "<p>" +
                                   both("외부 브라우저에서 열리는 페이지입니다.",
                                        "The page that opens outside the application.") +
                                   "</p>\n");
}

Reply home() {
  return page("샌드박스 · Sandbox",
              heading("샌드박스", "Sandbox") + "<p>" +
                  both("앱 개발용 로컬 API 서버입니다.",
                       "A local API server for those who write applications.") +
                  "</p>\n");
}

Reply unexpected() {
  return page("점검 중 · Maintenance",
              heading("서비스 점검 중입니다", "The service is under maintenance"));
}

} // namespace quarnet::sandbox::pages
