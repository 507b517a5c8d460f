#include "DemoWindow.h"

#include "Indented.h"

#include <quarnet/login/OAuthClient.h>

namespace demo {
namespace {

constexpr const char* kSignInPage = "sign-in";
constexpr const char* kWaitingPage = "waiting";
constexpr const char* kCallsPage = "calls";

quarnet::OAuthInfoManager& session() {
  return quarnet::OAuthInfoManager::sharedInstance();
}

bool hasToken() {
  const std::string token = session().oAuthInfo().accessToken().value_or("");
  // A token answer without a token leaves this text.
  return !token.empty() && token != "(null)";
}

/// The end of a sentence: ": the reason" or ".".
std::string reasonOf(const quarnet::ResultDictionary& result) {
  const auto reason = result.find(std::string(quarnet::VornelAsyncResultMessage));
  return reason == result.end() || reason->second.empty() ? "." : ": " + reason->second;
}

GtkWidget* makeRow(const char* title, const char* subtitle, GtkWidget* button) {
  GtkWidget* row = adw_action_row_new();
  adw_preferences_row_set_title(ADW_PREFERENCES_ROW(row), title);
  adw_action_row_set_subtitle(ADW_ACTION_ROW(row), subtitle);
  gtk_widget_set_valign(button, GTK_ALIGN_CENTER);
  adw_action_row_add_suffix(ADW_ACTION_ROW(row), button);
  adw_action_row_set_activatable_widget(ADW_ACTION_ROW(row), button);
  return row;
}

} // namespace

DemoWindow::DemoWindow(AdwApplication* application)
    : window_(GTK_WINDOW(adw_application_window_new(GTK_APPLICATION(application)))),
      toasts_(adw_toast_overlay_new()), pages_(gtk_stack_new()) {
  gtk_window_set_title(window_, "Quarnet 데모");
  gtk_window_set_default_size(window_, 420, 760);

  gtk_stack_set_transition_type(GTK_STACK(pages_), GTK_STACK_TRANSITION_TYPE_CROSSFADE);
  gtk_stack_add_named(GTK_STACK(pages_), makeSignInPage(), kSignInPage);
  gtk_stack_add_named(GTK_STACK(pages_), makeWaitingPage(), kWaitingPage);
  gtk_stack_add_named(GTK_STACK(pages_), makeCallsPage(), kCallsPage);
  gtk_widget_set_vexpand(pages_, TRUE);

  GtkWidget* logPane = gtk_revealer_new();
  gtk_revealer_set_transition_type(GTK_REVEALER(logPane), GTK_REVEALER_TRANSITION_TYPE_SLIDE_UP);
  gtk_revealer_set_child(GTK_REVEALER(logPane), log_.widget());

  GtkWidget* logButton = gtk_toggle_button_new_with_mnemonic("로그(_L)");
  gtk_widget_set_tooltip_text(logButton, "라이브러리의 로그를 보여 줍니다. 비밀 값은 지워집니다.");
  g_object_bind_property(logButton, "active", logPane, "reveal-child", G_BINDING_DEFAULT);
  GtkWidget* bar = adw_header_bar_new();
  adw_header_bar_pack_start(ADW_HEADER_BAR(bar), logButton);

  GtkWidget* content = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  gtk_box_append(GTK_BOX(content), bar);
  gtk_box_append(GTK_BOX(content), pages_);
  gtk_box_append(GTK_BOX(content), logPane);
  adw_toast_overlay_set_child(ADW_TOAST_OVERLAY(toasts_), content);
  adw_application_window_set_content(ADW_APPLICATION_WINDOW(window_), toasts_);
}

DemoWindow::~DemoWindow() {
  session().set_target(nullptr);
  session().oAuthClient()->set_target(nullptr);
  g_clear_weak_pointer(&toast_);
  g_clear_weak_pointer(&focus_);
}

void DemoWindow::present() {
  session().restoreOAuthInfo();
  showPage(hasToken() ? kWaitingPage : kSignInPage);
  gtk_window_present(window_);
  // The reissue holds the main thread, so the window is to be seen first.
  if (hasToken())
    g_timeout_add_once(
        300, [](gpointer self) { static_cast<DemoWindow*>(self)->signIn(); }, this);
}

// Pages

GtkWidget* DemoWindow::makeSignInPage() {
  signInButton_ = gtk_button_new_with_mnemonic("로그인(_S)");
  gtk_widget_set_halign(signInButton_, GTK_ALIGN_CENTER);
  gtk_widget_add_css_class(signInButton_, "pill");
  gtk_widget_add_css_class(signInButton_, "suggested-action");
  on<&DemoWindow::signIn>(signInButton_, "clicked");

  GtkWidget* page = adw_status_page_new();
  adw_status_page_set_icon_name(ADW_STATUS_PAGE(page), "avatar-default-symbolic");
  adw_status_page_set_title(ADW_STATUS_PAGE(page), "로그인이 필요합니다");
  adw_status_page_set_description(ADW_STATUS_PAGE(page),
                                  "API를 쓰려면 먼저 로그인하세요.\n"
                                  "로그인 화면은 Esc 키로도 닫을 수 있습니다.");
  adw_status_page_set_child(ADW_STATUS_PAGE(page), signInButton_);
  return page;
}

GtkWidget* DemoWindow::makeWaitingPage() {
  GtkWidget* spinner = gtk_spinner_new();
  gtk_widget_set_size_request(spinner, 32, 32);
  gtk_spinner_start(GTK_SPINNER(spinner));

  GtkWidget* page = adw_status_page_new();
  adw_status_page_set_title(ADW_STATUS_PAGE(page), "잠시만 기다려 주세요");
  adw_status_page_set_description(ADW_STATUS_PAGE(page), "지난번 로그인을 이어 갑니다.");
  adw_status_page_set_child(ADW_STATUS_PAGE(page), spinner);
  return page;
}

GtkWidget* DemoWindow::makeCallsPage() {
  GtkWidget* me = gtk_button_new_with_mnemonic("불러오기(_M)");
  on<&DemoWindow::whoAmI>(me, "clicked");
  GtkWidget* picture = gtk_button_new_with_mnemonic("고르기(_P)…");
  on<&DemoWindow::choosePicture>(picture, "clicked");
  GtkWidget* out = gtk_button_new_with_mnemonic("로그아웃(_O)");
  gtk_widget_add_css_class(out, "destructive-action");
  on<&DemoWindow::signOut>(out, "clicked");

  keyword_ = adw_entry_row_new();
  adw_preferences_row_set_title(ADW_PREFERENCES_ROW(keyword_), "사람 찾기");
  adw_entry_row_set_show_apply_button(ADW_ENTRY_ROW(keyword_), TRUE);
  on<&DemoWindow::search>(keyword_, "apply");

  actions_ = adw_preferences_group_new();
  auto* const group = ADW_PREFERENCES_GROUP(actions_);
  adw_preferences_group_add(group, makeRow("내 정보", "GET, 인자 없음", me));
  adw_preferences_group_add(group, keyword_);
  adw_preferences_group_add(group, makeRow("사진 올리기", "POST, 파일 하나", picture));
  adw_preferences_group_add(group, makeRow("세션", "서버에서 토큰을 없앱니다", out));

  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 18);
  gtk_widget_set_margin_top(box, 18);
  gtk_widget_set_margin_bottom(box, 18);
  gtk_widget_set_margin_start(box, 12);
  gtk_widget_set_margin_end(box, 12);
  gtk_box_append(GTK_BOX(box), actions_);
  gtk_box_append(GTK_BOX(box), makeAnswerBox());
  GtkWidget* clamp = adw_clamp_new();
  adw_clamp_set_child(ADW_CLAMP(clamp), box);
  return clamp;
}

GtkWidget* DemoWindow::makeAnswerBox() {
  working_ = gtk_progress_bar_new();
  gtk_widget_add_css_class(working_, "osd");
  gtk_widget_set_opacity(working_, 0);

  answer_ = gtk_label_new("아직 답이 없습니다.");
  gtk_label_set_wrap(GTK_LABEL(answer_), TRUE);
  gtk_label_set_wrap_mode(GTK_LABEL(answer_), PANGO_WRAP_WORD_CHAR);
  gtk_label_set_selectable(GTK_LABEL(answer_), TRUE);
  PangoAttrList* asSent = pango_attr_list_new();
  pango_attr_list_insert(asSent, pango_attr_family_new("monospace"));
  pango_attr_list_insert(asSent, pango_attr_insert_hyphens_new(FALSE));
  gtk_label_set_attributes(GTK_LABEL(answer_), asSent);
  pango_attr_list_unref(asSent);
  gtk_label_set_xalign(GTK_LABEL(answer_), 0);
  gtk_label_set_yalign(GTK_LABEL(answer_), 0);
  for (const auto margin : {gtk_widget_set_margin_start, gtk_widget_set_margin_end,
                            gtk_widget_set_margin_top, gtk_widget_set_margin_bottom})
    margin(answer_, 12);
  GtkWidget* scroller = gtk_scrolled_window_new();
  gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), answer_);
  gtk_widget_add_css_class(scroller, "card");
  gtk_widget_set_vexpand(scroller, TRUE);

  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
  gtk_box_append(GTK_BOX(box), working_);
  gtk_box_append(GTK_BOX(box), scroller);
  return box;
}

void DemoWindow::showPage(const char* name) {
  gtk_stack_set_visible_child_name(GTK_STACK(pages_), name);
  const bool signIn = name == std::string(kSignInPage);
  gtk_window_set_default_widget(window_, signIn ? signInButton_ : nullptr);
  if (signIn) gtk_widget_grab_focus(signInButton_);
  if (name == std::string(kCallsPage)) gtk_widget_child_focus(actions_, GTK_DIR_TAB_FORWARD);
}

void DemoWindow::tell(const std::string& text) {
  // The newest matters; the one before does not keep it waiting.
  if (toast_ != nullptr) adw_toast_dismiss(toast_);
  char* markup = g_markup_escape_text(text.c_str(), -1);
  AdwToast* toast = adw_toast_new(markup);
  adw_toast_set_timeout(toast, 3);
  g_set_weak_pointer(&toast_, toast);
  adw_toast_overlay_add_toast(ADW_TOAST_OVERLAY(toasts_), toast);
  g_free(markup);
}

// Session

void DemoWindow::signIn() {
  session().loginFinishedFailed(this, &DemoWindow::signedIn, &DemoWindow::signInFailed);
  // Nobody is called back when the stored session could be continued: then no login screen has
  // opened, and the record holds a new token. Nor when the user closes the login screen, so what
  // lies under it is the page to sign in.
  const bool screenOpened = session().oAuthClient()->loginView() != nullptr;
  const bool continued = !screenOpened && hasToken();
  showPage(continued ? kCallsPage : kSignInPage);
  if (continued) tell("지난번 로그인을 이어 갑니다.");
}

void DemoWindow::signedIn(const quarnet::ResultDictionary& result) {
  // A refusal of the server comes as an answer, too.
  if (!hasToken()) return signInFailed(result);
  showPage(kCallsPage);
  tell("로그인했습니다.");
}

void DemoWindow::signInFailed(const quarnet::ResultDictionary& result) {
  // After a transport error the screen is still there, and would hide what is told.
  session().oAuthClient()->closeLoginView();
  tell("로그인하지 못했습니다" + reasonOf(result));
}

void DemoWindow::signOut() {
  session().logoutFinishedFailed(this, &DemoWindow::signedOut, &DemoWindow::signOutFailed);
}

void DemoWindow::signedOut(const quarnet::ResultDictionary&) {
  gtk_label_set_label(GTK_LABEL(answer_), "아직 답이 없습니다.");
  gtk_editable_set_text(GTK_EDITABLE(keyword_), "");
  showPage(kSignInPage);
  tell("로그아웃했습니다.");
}

void DemoWindow::signOutFailed(const quarnet::ResultDictionary& result) {
  // Whatever the server answered, the tokens are gone here; without an answer they are not.
  if (!hasToken()) return signedOut(result);
  tell("로그아웃하지 못했습니다" + reasonOf(result));
}

// Calls

void DemoWindow::whoAmI() {
  startedCall();
  calls_.whoAmI([this](const Answer& answer) { answered(answer); });
}

void DemoWindow::search() {
  startedCall();
  calls_.search(gtk_editable_get_text(GTK_EDITABLE(keyword_)),
                [this](const Answer& answer) { answered(answer); });
}

void DemoWindow::choosePicture() {
  GtkFileChooserNative* chooser = gtk_file_chooser_native_new(
      "올릴 사진", window_, GTK_FILE_CHOOSER_ACTION_OPEN, "올리기", "취소");
  GtkFileFilter* pictures = gtk_file_filter_new();
  gtk_file_filter_set_name(pictures, "사진");
  gtk_file_filter_add_pixbuf_formats(pictures);
  gtk_file_chooser_add_filter(GTK_FILE_CHOOSER(chooser), pictures);
  g_object_unref(pictures);
  const auto chosen = +[](GtkFileChooserNative* shown, int response, DemoWindow* self) {
    GFile* file = response == GTK_RESPONSE_ACCEPT
                      ? gtk_file_chooser_get_file(GTK_FILE_CHOOSER(shown))
                      : nullptr;
    g_object_unref(shown);
    if (file == nullptr) return;
    char* path = g_file_get_path(file);
    if (path != nullptr) self->upload(path);
    g_free(path);
    g_object_unref(file);
  };
  g_signal_connect(chooser, "response", G_CALLBACK(chosen), this);
  gtk_native_dialog_set_modal(GTK_NATIVE_DIALOG(chooser), TRUE);
  gtk_native_dialog_show(GTK_NATIVE_DIALOG(chooser));
}

void DemoWindow::upload(const std::string& file) {
  startedCall();
  calls_.upload(file, [this](const Answer& answer) { answered(answer); });
}

void DemoWindow::startedCall() {
  // One call at a time; who works with the keyboard goes on where he was.
  g_set_weak_pointer(&focus_, gtk_window_get_focus(window_));
  gtk_widget_set_sensitive(actions_, FALSE);
  gtk_widget_set_opacity(working_, 1);
  pulse_ = g_timeout_add(
      100,
      [](gpointer bar) -> gboolean {
        gtk_progress_bar_pulse(GTK_PROGRESS_BAR(bar));
        return G_SOURCE_CONTINUE;
      },
      working_);
}

void DemoWindow::answered(const Answer& answer) {
  g_source_remove(pulse_);
  gtk_widget_set_opacity(working_, 0);
  gtk_widget_set_sensitive(actions_, TRUE);
  if (focus_ != nullptr) gtk_widget_grab_focus(focus_);
  if (answer.ok) {
    gtk_label_set_label(GTK_LABEL(answer_), indented(answer.text).c_str());
  } else if (answer.signedOut) {
    tell("로그인이 만료되었습니다. 다시 로그인합니다.");
    signIn();
  } else {
    tell(answer.text);
  }
}

} // namespace demo
