#include "DemoWindow.h"

#include "ApiCalls.h"
#include "Indented.h"

#include <glib/gi18n.h>
#include <quarnet/platform/gtk/GtkToolkit.h>

namespace demo {
namespace {

constexpr const char* kSignInPage = "sign-in";
constexpr const char* kWaitingPage = "waiting";
constexpr const char* kCallsPage = "calls";

const char* noAnswer() {
  return _("No answer yet.");
}

/// Whether there is a session of the last time to continue.
bool hasSession() {
  auto& session = quarnet::OAuthInfoManager::sharedInstance();
  session.restoreOAuthInfo();
  return !session.oAuthInfo().accessToken().value_or("").empty();
}

/// The start of a long text: a label that is asked for more makes the window stand still.
std::string start(std::string text) {
  constexpr std::size_t kMost = 10'000;
  if (text.size() <= kMost) return text;
  std::size_t end = kMost;
  while ((text[end] & 0xc0) == 0x80) // within a character
    --end;
  return text.replace(end, std::string::npos, " …");
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

DemoWindow& DemoWindow::open(AdwApplication* application) {
  auto* const self = new DemoWindow(application);
  g_signal_connect_swapped(self->window_, "destroy",
                           G_CALLBACK(+[](DemoWindow* closed) { delete closed; }), self);
  return *self;
}

DemoWindow::DemoWindow(AdwApplication* application)
    : window_(GTK_WINDOW(adw_application_window_new(GTK_APPLICATION(application)))),
      toasts_(adw_toast_overlay_new()), pages_(gtk_stack_new()) {
  gtk_window_set_title(window_, _("Quarnet Demo"));
  gtk_window_set_default_size(window_, 420, 760);

  gtk_stack_set_transition_type(GTK_STACK(pages_), GTK_STACK_TRANSITION_TYPE_CROSSFADE);
  gtk_stack_add_named(GTK_STACK(pages_), makeSignInPage(), kSignInPage);
  gtk_stack_add_named(GTK_STACK(pages_), makeWaitingPage(), kWaitingPage);
  gtk_stack_add_named(GTK_STACK(pages_), makeCallsPage(), kCallsPage);
  gtk_widget_set_vexpand(pages_, TRUE);

  GtkWidget* logPane = gtk_revealer_new();
  gtk_revealer_set_transition_type(GTK_REVEALER(logPane), GTK_REVEALER_TRANSITION_TYPE_SLIDE_UP);
  gtk_revealer_set_child(GTK_REVEALER(logPane), log_.widget());

  GtkWidget* logButton = gtk_toggle_button_new_with_mnemonic(_("_Log"));
  gtk_widget_set_tooltip_text(logButton, _("Shows the library's log. Secret values are blanked."));
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
  if (pulse_ != 0) g_source_remove(pulse_);
  if (chooser_ != nullptr) gtk_native_dialog_destroy(GTK_NATIVE_DIALOG(chooser_));
  g_clear_object(&chooser_);
  g_clear_weak_pointer(&toast_);
  g_clear_weak_pointer(&focus_);
}

void DemoWindow::present() {
  const bool continues = hasSession();
  showPage(continues ? kWaitingPage : kSignInPage);
  gtk_window_present(window_);
  if (continues) signIn();
}

// Pages

GtkWidget* DemoWindow::makeSignInPage() {
  signInButton_ = gtk_button_new_with_mnemonic(_("_Sign In"));
  gtk_widget_set_halign(signInButton_, GTK_ALIGN_CENTER);
  gtk_widget_add_css_class(signInButton_, "pill");
  gtk_widget_add_css_class(signInButton_, "suggested-action");
  on<&DemoWindow::signIn>(signInButton_, "clicked");

  GtkWidget* page = adw_status_page_new();
  adw_status_page_set_icon_name(ADW_STATUS_PAGE(page), "avatar-default-symbolic");
  adw_status_page_set_title(ADW_STATUS_PAGE(page), _("Please Sign In"));
  adw_status_page_set_description(ADW_STATUS_PAGE(page), _("To use the API, sign in first.\n"
                                                           "Esc also closes the login screen."));
  adw_status_page_set_child(ADW_STATUS_PAGE(page), signInButton_);
  return page;
}

GtkWidget* DemoWindow::makeWaitingPage() {
  GtkWidget* spinner = gtk_spinner_new();
  gtk_widget_set_size_request(spinner, 32, 32);
  gtk_spinner_start(GTK_SPINNER(spinner));

  GtkWidget* page = adw_status_page_new();
  adw_status_page_set_title(ADW_STATUS_PAGE(page), _("One Moment"));
  adw_status_page_set_description(ADW_STATUS_PAGE(page), _("The last session is taken up again."));
  adw_status_page_set_child(ADW_STATUS_PAGE(page), spinner);
  return page;
}

GtkWidget* DemoWindow::makeCallsPage() {
  GtkWidget* me = gtk_button_new_with_mnemonic(_("_Fetch"));
  on<&DemoWindow::whoAmI>(me, "clicked");
  GtkWidget* picture = gtk_button_new_with_mnemonic(_("_Choose…"));
  on<&DemoWindow::choosePicture>(picture, "clicked");
  GtkWidget* out = gtk_button_new_with_mnemonic(_("Sign _Out"));
  gtk_widget_add_css_class(out, "destructive-action");
  on<&DemoWindow::signOut>(out, "clicked");

  keyword_ = adw_entry_row_new();
  adw_preferences_row_set_title(ADW_PREFERENCES_ROW(keyword_), _("Find people"));
  adw_entry_row_set_show_apply_button(ADW_ENTRY_ROW(keyword_), TRUE);
  on<&DemoWindow::search>(keyword_, "apply");

  actions_ = adw_preferences_group_new();
  auto* const group = ADW_PREFERENCES_GROUP(actions_);
  adw_preferences_group_add(group, makeRow(_("My details"), _("GET, no parameters"), me));
  adw_preferences_group_add(group, keyword_);
  adw_preferences_group_add(group, makeRow(_("Upload a picture"), _("POST, one file"), picture));
  adw_preferences_group_add(group,
                            makeRow(_("Session"), _("Removes the tokens from the server"), out));

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

  answer_ = gtk_label_new(noAnswer());
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

void DemoWindow::tell(const Message& message) {
  if (message.text.empty()) return;
  if (message.why.empty()) return toast(message.text);
  // As long as a server likes, and to be read as long as that takes.
  quarnet::platform::GtkToolkit().showAlert(message.text, message.why, _("_Close"), nullptr);
}

void DemoWindow::toast(const std::string& text) {
  // The newest matters; the one before does not keep it waiting.
  if (toast_ != nullptr) adw_toast_dismiss(toast_);
  // A toast that is wider than the window is cut off, and a window may be as narrow as this.
  GtkWidget* label = gtk_label_new(text.c_str());
  gtk_label_set_wrap(GTK_LABEL(label), TRUE);
  gtk_label_set_max_width_chars(GTK_LABEL(label), 24);
  gtk_widget_add_css_class(label, "heading");
  AdwToast* toast = adw_toast_new("");
  adw_toast_set_custom_title(toast, label);
  adw_toast_set_timeout(toast, 3);
  g_set_weak_pointer(&toast_, toast);
  adw_toast_overlay_add_toast(ADW_TOAST_OVERLAY(toasts_), toast);
}

// Session

void DemoWindow::signIn() {
  // Its screen is open.
  if (std::exchange(isSigningIn_, true)) return;
  signIn_ = client_.signIn().then(
      [this](const quarnet::Result<quarnet::SignIn>& result) { signInEnded(result); });
}

void DemoWindow::signInEnded(const quarnet::Result<quarnet::SignIn>& result) {
  isSigningIn_ = false;
  showPage(result && *result ? kCallsPage : kSignInPage);
  tell(result ? messageOf(*result) : messageOf(result.error()));
}

void DemoWindow::signOut() {
  work(client_.signOut(), &DemoWindow::signOutEnded);
}

void DemoWindow::signOutEnded(const quarnet::Result<quarnet::SignOut>& result) {
  if (!result) return tell(messageOf(result.error()));
  gtk_label_set_label(GTK_LABEL(answer_), noAnswer());
  gtk_editable_set_text(GTK_EDITABLE(keyword_), "");
  showPage(kSignInPage);
  tell(messageOf(*result));
}

// Calls

void DemoWindow::whoAmI() {
  send(demo::whoAmI());
}

void DemoWindow::search() {
  send(demo::search(gtk_editable_get_text(GTK_EDITABLE(keyword_))));
}

void DemoWindow::choosePicture() {
  if (chooser_ != nullptr) return;
  chooser_ = gtk_file_chooser_native_new(_("Picture to Upload"), window_,
                                         GTK_FILE_CHOOSER_ACTION_OPEN, _("_Upload"), _("_Cancel"));
  GtkFileFilter* pictures = gtk_file_filter_new();
  gtk_file_filter_set_name(pictures, _("Pictures"));
  gtk_file_filter_add_pixbuf_formats(pictures);
  gtk_file_chooser_add_filter(GTK_FILE_CHOOSER(chooser_), pictures);
  g_object_unref(pictures);
  const auto chosen = +[](DemoWindow* self, int response) { self->pictureChosen(response); };
  g_signal_connect_swapped(chooser_, "response", G_CALLBACK(chosen), this);
  gtk_native_dialog_set_modal(GTK_NATIVE_DIALOG(chooser_), TRUE);
  gtk_native_dialog_show(GTK_NATIVE_DIALOG(chooser_));
}

void DemoWindow::pictureChosen(int response) {
  GtkFileChooser* const chooser = GTK_FILE_CHOOSER(chooser_);
  GFile* file = response == GTK_RESPONSE_ACCEPT ? gtk_file_chooser_get_file(chooser) : nullptr;
  g_clear_object(&chooser_);
  if (file == nullptr) return;
  char* path = g_file_get_path(file);
  if (path != nullptr) send(upload(path));
  g_free(path);
  g_object_unref(file);
}

void DemoWindow::send(quarnet::Call call) {
  work(client_.send(std::move(call)), &DemoWindow::answered);
}

void DemoWindow::answered(const quarnet::Result<quarnet::Answer>& answer) {
  if (answer) {
    gtk_label_set_label(GTK_LABEL(answer_), start(indented(answer->body)).c_str());
    return;
  }
  tell(messageOf(answer.error()));
  if (answer.error().kind == quarnet::ApiErrorKind::SignedOut) signIn();
}

void DemoWindow::startWorking() {
  // Who works with the keyboard continues where he was.
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

void DemoWindow::stopWorking() {
  g_source_remove(std::exchange(pulse_, 0));
  gtk_widget_set_opacity(working_, 0);
  gtk_widget_set_sensitive(actions_, TRUE);
  if (focus_ != nullptr) gtk_widget_grab_focus(focus_);
}

} // namespace demo
