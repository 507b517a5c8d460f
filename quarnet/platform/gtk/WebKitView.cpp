#include "quarnet/platform/gtk/WebKitView.h"

#include "quarnet/platform/gtk/DesktopLink.h"
#include "quarnet/platform/gtk/WrappedText.h"

#include <adwaita.h>
#include <algorithm>
#include <utility>

namespace quarnet::platform {
namespace {

/// What of the context menu serves a person who signs in.
bool isUsefulHere(WebKitContextMenuItem* item) {
  switch (webkit_context_menu_item_get_stock_action(item)) {
  case WEBKIT_CONTEXT_MENU_ACTION_CUT:
  case WEBKIT_CONTEXT_MENU_ACTION_COPY:
  case WEBKIT_CONTEXT_MENU_ACTION_PASTE:
  case WEBKIT_CONTEXT_MENU_ACTION_DELETE:
  case WEBKIT_CONTEXT_MENU_ACTION_SELECT_ALL:
    return true;
  default:
    return false;
  }
}

/// Keeps the useful items; TRUE, for no menu at all, when none is left.
gboolean trimMenu(WebKitContextMenu* menu) {
  GList* items = g_list_copy(webkit_context_menu_get_items(menu));
  for (const GList* item = items; item != nullptr; item = item->next)
    if (!isUsefulHere(WEBKIT_CONTEXT_MENU_ITEM(item->data)))
      webkit_context_menu_remove(menu, WEBKIT_CONTEXT_MENU_ITEM(item->data));
  g_list_free(items);
  return webkit_context_menu_get_n_items(menu) == 0;
}

const char* describe(GTlsCertificateFlags flags) {
  if (flags & G_TLS_CERTIFICATE_UNKNOWN_CA) return "발급자를 알 수 없는 인증서입니다.";
  if (flags & G_TLS_CERTIFICATE_BAD_IDENTITY) return "다른 서버의 인증서입니다.";
  if (flags & G_TLS_CERTIFICATE_EXPIRED) return "기한이 지난 인증서입니다.";
  if (flags & G_TLS_CERTIFICATE_NOT_ACTIVATED) return "아직 유효하지 않은 인증서입니다.";
  if (flags & G_TLS_CERTIFICATE_REVOKED) return "폐지된 인증서입니다.";
  return "인증서를 확인할 수 없습니다.";
}

const char* describe(WebKitWebProcessTerminationReason reason) {
  return reason == WEBKIT_WEB_PROCESS_EXCEEDED_MEMORY_LIMIT
             ? "페이지가 메모리를 너무 많이 써서 중단되었습니다."
             : "페이지를 보여 주던 프로세스가 중단되었습니다.";
}

bool isNoFailure(const GError* error) {
  return g_error_matches(error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED) ||
         g_error_matches(error, WEBKIT_POLICY_ERROR,
                         WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE);
}

std::string addressOf(WebKitURIRequest* request) {
  const char* url = webkit_uri_request_get_uri(request);
  return url == nullptr ? "" : url;
}

/// The name that assistive technology has for the page.
void nameByTitle(WebKitWebView* page) {
  const char* title = webkit_web_view_get_title(page);
  const bool hasTitle = title != nullptr && *title != '\0';
  gtk_accessible_update_property(GTK_ACCESSIBLE(page), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                 hasTitle ? title : "웹 페이지", -1);
}

Ref<WebKitWebView> makePage(WebKitWebContext* context, WebKitNetworkSession* session) {
  auto page = adopt(WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context", context,
                                                 "network-session", session, "accessible-role",
                                                 GTK_ACCESSIBLE_ROLE_DOCUMENT, nullptr)));
  nameByTitle(page.get());
  g_signal_connect(page.get(), "notify::title", G_CALLBACK(nameByTitle), nullptr);
  const GdkRGBA transparent = {0, 0, 0, 0};
  webkit_web_view_set_background_color(page.get(), &transparent);
  WebKitSettings* settings = webkit_web_view_get_settings(page.get());
  webkit_settings_set_enable_back_forward_navigation_gestures(settings, FALSE);
  webkit_settings_set_enable_fullscreen(settings, FALSE);
  // The page engine has a text view of its own in there, which nobody sees and which would keep the
  // focus, and every Tab with it.
  for (GtkWidget* inner = gtk_widget_get_first_child(GTK_WIDGET(page.get())); inner != nullptr;
       inner = gtk_widget_get_next_sibling(inner))
    gtk_widget_set_can_focus(inner, FALSE);
  return page;
}

} // namespace

WebKitView::WebKitView(WebKitWebContext* context, std::shared_ptr<const ServerTrust> trust)
    : trust_(std::move(trust)), session_(adopt(webkit_network_session_new_ephemeral())),
      page_(makePage(context, session_.get())), layers_(GTK_OVERLAY(gtk_overlay_new())),
      progress_(gtk_progress_bar_new()), failure_(adw_status_page_new()) {
  gtk_widget_set_overflow(widget(), GTK_OVERFLOW_HIDDEN);
  gtk_overlay_set_child(layers_, GTK_WIDGET(page_.get()));
  gtk_widget_set_parent(GTK_WIDGET(layers_), widget());

  adw_status_page_set_icon_name(ADW_STATUS_PAGE(failure_), "network-error-symbolic");
  adw_status_page_set_title(ADW_STATUS_PAGE(failure_), "페이지를 열 수 없습니다");
  gtk_widget_add_css_class(failure_, "background");
  GtkWidget* retry = gtk_button_new_with_label("다시 시도");
  gtk_widget_set_halign(retry, GTK_ALIGN_CENTER);
  gtk_widget_add_css_class(retry, "pill");
  g_signal_connect_swapped(
      retry, "clicked", G_CALLBACK(+[](WebKitView* self) { self->load(self->retryUrl_); }), this);
  adw_status_page_set_child(ADW_STATUS_PAGE(failure_), retry);
  gtk_widget_set_visible(failure_, FALSE);
  gtk_widget_set_parent(failure_, widget());

  gtk_widget_set_valign(progress_, GTK_ALIGN_START);
  gtk_widget_add_css_class(progress_, "osd");
  gtk_widget_set_visible(progress_, FALSE);
  gtk_widget_set_parent(progress_, widget());
  connectSignals();
  notePresses();
}

WebKitView::~WebKitView() {
  g_signal_handlers_disconnect_by_data(page_.get(), this);
  g_signal_handlers_disconnect_by_data(session_.get(), this);
  endNotice();
  dialog_.reset();
  // Left alone, the process of the last page lives on; it is this page's, as its session is.
  webkit_web_view_terminate_web_process(page_.get());
  gtk_widget_unparent(progress_);
  gtk_widget_unparent(failure_);
  gtk_widget_unparent(GTK_WIDGET(layers_));
}

void WebKitView::connectSignals() {
  const auto connect = [this](gpointer object, const char* signal, GCallback callback) {
    g_signal_connect(object, signal, callback, this);
  };
  connect(
      page_.get(), "decide-policy",
      G_CALLBACK(+[](WebKitWebView*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type,
                     WebKitView* self) -> gboolean { return self->decidePolicy(decision, type); }));
  connect(page_.get(), "create",
          G_CALLBACK(+[](WebKitWebView*, WebKitNavigationAction* action,
                         WebKitView* self) -> WebKitWebView* {
            self->openInPlace(action);
            return nullptr;
          }));
  connect(page_.get(), "load-changed",
          G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent event, WebKitView* self) {
            self->loadChanged(event);
          }));
  connect(page_.get(), "load-failed",
          G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent, const char* url, const GError* error,
                         WebKitView* self) -> gboolean { return self->loadFailed(url, error); }));
  connect(page_.get(), "load-failed-with-tls-errors",
          G_CALLBACK(+[](WebKitWebView*, const char* url, GTlsCertificate* certificate,
                         GTlsCertificateFlags flags, WebKitView* self) -> gboolean {
            return self->certificateRefused(url, certificate, flags);
          }));
  connect(page_.get(), "web-process-terminated",
          G_CALLBACK(+[](WebKitWebView*, WebKitWebProcessTerminationReason reason,
                         WebKitView* self) { self->processTerminated(reason); }));
  connect(page_.get(), "context-menu",
          G_CALLBACK(+[](WebKitWebView*, WebKitContextMenu* menu, WebKitHitTestResult*,
                         WebKitView*) -> gboolean { return trimMenu(menu); }));
  connect(page_.get(), "script-dialog",
          G_CALLBACK(+[](WebKitWebView*, WebKitScriptDialog* dialog, WebKitView* self) -> gboolean {
            self->showDialog(dialog);
            return TRUE;
          }));
  // The page engine's own question for a name and a password keeps the keyboard out. Without an
  // answer the server's page comes, which is where a sign-in belongs.
  connect(page_.get(), "authenticate",
          G_CALLBACK(
              +[](WebKitWebView*, WebKitAuthenticationRequest* request, WebKitView*) -> gboolean {
                webkit_authentication_request_authenticate(request, nullptr);
                return TRUE;
              }));
  connect(page_.get(), "print",
          G_CALLBACK(+[](WebKitWebView*, WebKitPrintOperation*, WebKitView* self) -> gboolean {
            self->notify("여기서는 인쇄할 수 없습니다.");
            return TRUE;
          }));
  for (const char* property : {"notify::estimated-load-progress", "notify::is-loading"}) {
    connect(page_.get(), property, G_CALLBACK(+[](WebKitWebView*, GParamSpec*, WebKitView* self) {
              self->showProgress();
            }));
  }
  // A sign-in has nothing to be kept as a file.
  connect(session_.get(), "download-started",
          G_CALLBACK(+[](WebKitNetworkSession*, WebKitDownload* download, WebKitView* self) {
            webkit_download_cancel(download);
            self->refuseFile(addressOf(webkit_download_get_request(download)));
          }));
}

void WebKitView::notePresses() {
  GtkEventController* events = gtk_event_controller_legacy_new();
  gtk_event_controller_set_propagation_phase(events, GTK_PHASE_CAPTURE);
  g_signal_connect(
      events, "event",
      G_CALLBACK(+[](GtkEventController*, GdkEvent* event, WebKitView* self) -> gboolean {
        const GdkEventType type = gdk_event_get_event_type(event);
        if (type == GDK_BUTTON_PRESS || type == GDK_KEY_PRESS || type == GDK_TOUCH_BEGIN)
          self->pressed_ = true;
        return FALSE;
      }),
      this);
  gtk_widget_add_controller(widget(), events);
}

void WebKitView::load(const std::string& url) {
  dialog_.reset();
  retryUrl_ = url;
  // The page engine must paint what is to be seen through a page: without GL, it would draw each
  // state of a page that has no background over the one before.
  const GdkRGBA beneath = frameBoxBackdrop(box());
  webkit_web_view_set_background_color(page_.get(), &beneath);
  webkit_web_view_load_uri(page_.get(), validUtf8(url).get());
  gtk_widget_grab_focus(GTK_WIDGET(page_.get()));
}

Text WebKitView::currentUrl() const {
  const char* url = webkit_web_view_get_uri(page_.get());
  if (url == nullptr) return std::nullopt;
  return url;
}

gboolean WebKitView::decidePolicy(WebKitPolicyDecision* decision, WebKitPolicyDecisionType type) {
  if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) {
    decideResponse(decision);
    return TRUE;
  }
  WebKitNavigationAction* action = webkit_navigation_policy_decision_get_navigation_action(
      WEBKIT_NAVIGATION_POLICY_DECISION(decision));
  if (type == WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION) {
    webkit_policy_decision_ignore(decision);
    openInPlace(action);
  } else if (mayLoad(action)) {
    webkit_policy_decision_use(decision);
  } else {
    webkit_policy_decision_ignore(decision);
  }
  return TRUE;
}

bool WebKitView::mayLoad(WebKitNavigationAction* action) {
  const std::string url = addressOf(webkit_navigation_action_get_request(action));
  if (delegate_ != nullptr && !delegate_->shouldStartLoad(*this, url)) return false;
  if (isForPage(url) || shownUrl_.empty()) return true;
  // A page may follow many links at one press; one of them is the user's.
  if (webkit_navigation_action_is_user_gesture(action) && std::exchange(pressed_, false)) {
    openOnDesktop(window(), url);
  } else {
    notify("이 페이지가 다른 프로그램을 열려고 합니다: " + std::string(schemeOf(url)), url);
  }
  return false;
}

/// There is one window: what asks for another stays in this one, where it is judged as usual.
void WebKitView::openInPlace(WebKitNavigationAction* action) {
  WebKitURIRequest* request = webkit_navigation_action_get_request(action);
  const std::string url = addressOf(request);
  // An empty window, to be filled by a script: there is nothing to show in place of the page.
  if (url.empty() || url == "about:blank") return;
  if (isForPage(url)) {
    webkit_web_view_load_request(page_.get(), request);
  } else {
    mayLoad(action);
  }
}

void WebKitView::decideResponse(WebKitPolicyDecision* decision) {
  auto* const response = WEBKIT_RESPONSE_POLICY_DECISION(decision);
  WebKitURIResponse* answer = webkit_response_policy_decision_get_response(response);
  // An answer without content (RFC 9110, section 15.3.5) leaves the page as it is.
  const guint status = webkit_uri_response_get_status_code(answer);
  const bool isEmpty = status == 204 || status == 205;
  if (!isEmpty && webkit_response_policy_decision_is_mime_type_supported(response)) {
    webkit_policy_decision_use(decision);
    return;
  }
  webkit_policy_decision_ignore(decision);
  if (!webkit_response_policy_decision_is_main_frame_main_resource(response)) return;
  const std::string url = webkit_uri_response_get_uri(answer);
  if (isEmpty) {
    if (shownUrl_.empty()) report(url, "서버가 빈 답을 보냈습니다.", std::to_string(status));
    return;
  }
  const char* type = webkit_uri_response_get_mime_type(answer);
  report(url, "보여 줄 수 없는 형식입니다.", type == nullptr ? "" : type);
  WebKitURIRequest* request = webkit_response_policy_decision_get_request(response);
  const bool canBeAskedAgain = g_strcmp0(webkit_uri_request_get_http_method(request), "GET") == 0;
  if (!shownUrl_.empty() && canBeAskedAgain) refuseFile(url);
}

/// The browser may take it.
void WebKitView::refuseFile(const std::string& url) {
  notify("여기서는 파일을 받을 수 없습니다.", schemeOf(url).starts_with("http") ? url : "");
}

void WebKitView::loadChanged(WebKitLoadEvent event) {
  if (event == WEBKIT_LOAD_STARTED) {
    failed_ = false;
    hideFailure();
    endNotice();
  } else if (event == WEBKIT_LOAD_COMMITTED) {
    shownUrl_ = currentUrl().value_or("");
    retryUrl_ = shownUrl_;
    webkit_web_view_set_zoom_level(page_.get(), 1);
  } else if (event == WEBKIT_LOAD_FINISHED && !failed_) {
    if (scalesPageToFit_) fitPage();
    if (delegate_ != nullptr) delegate_->didFinishLoad(*this);
  }
}

gboolean WebKitView::loadFailed(const char* url, const GError* error) {
  failed_ = true;
  // The page engine's own error page would finish under the address that failed.
  if (isNoFailure(error)) return TRUE;
  report(url, error->message,
         std::string(g_quark_to_string(error->domain)) + " " + std::to_string(error->code));
  return TRUE;
}

gboolean WebKitView::certificateRefused(const char* url, GTlsCertificate* certificate,
                                        GTlsCertificateFlags flags) {
  failed_ = true;
  if (trust_->vouchesFor(url, certificate)) {
    webkit_network_session_allow_tls_certificate_for_host(session_.get(), certificate,
                                                          hostOf(url).c_str());
    webkit_web_view_load_uri(page_.get(), url);
  } else {
    report(url, describe(flags), "GTlsCertificateFlags " + std::to_string(flags));
  }
  return TRUE;
}

void WebKitView::processTerminated(WebKitWebProcessTerminationReason reason) {
  const Text url = currentUrl();
  shownUrl_.clear();
  dialog_.reset();
  report(url.value_or(""), describe(reason),
         "WebKitWebProcessTerminationReason " + std::to_string(reason));
}

void WebKitView::report(const std::string& url, const std::string& description,
                        const std::string& details) {
  failed_ = true;
  if (shownUrl_.empty()) {
    showFailure(description);
  } else {
    const std::string host = hostOf(url);
    notify(host.empty() ? description : host + ": " + description);
  }
  if (delegate_ != nullptr) delegate_->didFailLoad(*this, {description, details + ", " + url});
}

void WebKitView::showFailure(const std::string& description) {
  endNotice();
  const Chars markup(g_markup_escape_text(validUtf8(description).get(), -1));
  adw_status_page_set_description(ADW_STATUS_PAGE(failure_), markup.get());
  gtk_widget_set_visible(failure_, TRUE);
  if (!coveredPage_) coveredPage_.emplace(GTK_WIDGET(page_.get()), GTK_WIDGET(page_.get()));
  gtk_widget_grab_focus(adw_status_page_get_child(ADW_STATUS_PAGE(failure_)));
}

void WebKitView::hideFailure() {
  coveredPage_.reset();
  gtk_widget_set_visible(failure_, FALSE);
}

void WebKitView::notify(const std::string& text, const std::string& offered) {
  endNotice();
  offered_ = offered;
  notice_ = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
  gtk_widget_add_css_class(notice_, "osd");
  gtk_widget_add_css_class(notice_, "toolbar");
  gtk_widget_set_valign(notice_, GTK_ALIGN_START);

  GtkWidget* label = wrappedText(text);
  gtk_label_set_xalign(GTK_LABEL(label), 0);
  gtk_widget_set_hexpand(label, TRUE);
  gtk_box_append(GTK_BOX(notice_), label);
  const auto addButton = [this](GtkWidget* button, void (*pressed)(WebKitView*)) {
    gtk_widget_set_valign(button, GTK_ALIGN_CENTER);
    g_signal_connect_swapped(button, "clicked", G_CALLBACK(pressed), this);
    gtk_box_append(GTK_BOX(notice_), button);
  };
  if (!offered.empty())
    addButton(gtk_button_new_with_label("열기"),
              [](WebKitView* self) { openOnDesktop(self->window(), self->offered_); });
  GtkWidget* close = gtk_button_new_from_icon_name("window-close-symbolic");
  gtk_accessible_update_property(GTK_ACCESSIBLE(close), GTK_ACCESSIBLE_PROPERTY_LABEL, "알림 닫기",
                                 -1);
  addButton(close, [](WebKitView* self) { self->endNotice(); });
  gtk_overlay_add_overlay(layers_, notice_);
}

void WebKitView::endNotice() {
  if (GtkWidget* const notice = std::exchange(notice_, nullptr))
    gtk_overlay_remove_overlay(layers_, notice);
}

void WebKitView::showDialog(WebKitScriptDialog* dialog) {
  // A page is left without asking: nothing of a sign-in has to be saved.
  if (webkit_script_dialog_get_dialog_type(dialog) == WEBKIT_SCRIPT_DIALOG_BEFORE_UNLOAD_CONFIRM) {
    webkit_script_dialog_confirm_set_confirmed(dialog, TRUE);
    return;
  }
  dialog_.reset();
  // Of the page that is seen: another may be on its way.
  dialog_ =
      std::make_unique<PageDialog>(dialog, hostOf(shownUrl_), layers_, [this] { dialog_.reset(); });
}

GtkWindow* WebKitView::window() const {
  GtkRoot* root = gtk_widget_get_root(widget());
  return GTK_IS_WINDOW(root) ? GTK_WINDOW(root) : nullptr;
}

void WebKitView::showProgress() {
  gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(progress_),
                                webkit_web_view_get_estimated_load_progress(page_.get()));
  gtk_widget_set_visible(progress_, webkit_web_view_is_loading(page_.get()));
}

void WebKitView::fitPage() {
  const auto fit = [](GObject* page, GAsyncResult* result, gpointer) {
    JSCValue* width =
        webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(page), result, nullptr);
    if (width == nullptr) return;
    const double content = jsc_value_to_double(width);
    const double available = gtk_widget_get_width(GTK_WIDGET(page));
    if (content > available && available > 0)
      webkit_web_view_set_zoom_level(WEBKIT_WEB_VIEW(page), std::max(0.25, available / content));
    g_object_unref(width);
  };
  // In a world of its own, where the page's scripts do not reach.
  webkit_web_view_evaluate_javascript(page_.get(), "document.documentElement.scrollWidth", -1,
                                      "quarnet", nullptr, nullptr, fit, nullptr);
}

} // namespace quarnet::platform
