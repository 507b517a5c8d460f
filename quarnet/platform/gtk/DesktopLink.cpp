#include "quarnet/platform/gtk/DesktopLink.h"

#include "quarnet/platform/Platform.h"
#include "quarnet/platform/gtk/AlertDialog.h"
#include "quarnet/platform/gtk/Ref.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string_view>

namespace quarnet::platform {
namespace {

constexpr std::string_view kPageSchemes[] = {"about", "blob", "data", "file", "http", "https"};

void tellRefusal(GtkWindow* window, const std::string& url) {
  static GtkWindow* shown = nullptr;
  const bool isGone = window != nullptr && !gtk_widget_get_realized(GTK_WIDGET(window));
  if (shown != nullptr || isGone) return;
  const bool web = schemeOf(url).starts_with("http");
  GtkWindow* const alert = showAlertDialog(
      window, web ? "웹 브라우저를 열 수 없습니다" : "링크를 열 수 없습니다",
      (web ? "기본 웹 브라우저가 없습니다.\n\n" : "이 링크를 여는 프로그램이 없습니다.\n\n") + url,
      "확인", nullptr);
  g_set_weak_pointer(&shown, alert);
}

void opened(GObject* object, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<std::string> url(static_cast<std::string*>(data));
  GtkWindow* const window = object == nullptr ? nullptr : GTK_WINDOW(object);
  GError* error = nullptr;
  if (gtk_show_uri_full_finish(window, result, &error)) return;
  log("Cannot open the browser: ", error == nullptr ? "unknown reason" : error->message);
  g_clear_error(&error);
  tellRefusal(window, *url);
}

} // namespace

std::string_view schemeOf(const std::string& url) {
  const char* scheme = g_uri_peek_scheme(url.c_str());
  return scheme == nullptr ? "" : scheme;
}

bool isForPage(const std::string& url) {
  const auto scheme = schemeOf(url);
  return scheme.empty() || std::find(std::begin(kPageSchemes), std::end(kPageSchemes), scheme) !=
                               std::end(kPageSchemes);
}

void openOnDesktop(GtkWindow* window, const std::string& url) {
  gtk_show_uri_full(window, validUtf8(url).get(), GDK_CURRENT_TIME, nullptr, opened,
                    new std::string(url));
}

} // namespace quarnet::platform
