#include "quarnet/platform/gtk/PageDialog.h"

#include "quarnet/platform/gtk/FrameBox.h"
#include "quarnet/platform/gtk/Ref.h"
#include "quarnet/platform/gtk/WrappedText.h"

#include <utility>

namespace quarnet::platform {
namespace {

constexpr Color kDimmed{0, 0, 0, 0.4};
constexpr int kSpacing = 12;
constexpr int kMostHeight = 1000;
constexpr int kLongestAnswer = 10'000;

void setMargins(GtkWidget* widget) {
  gtk_widget_set_margin_start(widget, kSpacing);
  gtk_widget_set_margin_end(widget, kSpacing);
  gtk_widget_set_margin_top(widget, kSpacing);
  gtk_widget_set_margin_bottom(widget, kSpacing);
}

GtkWidget* makeHeading(const std::string& host) {
  const std::string text = host.empty() ? "이 페이지의 메시지" : host + "의 메시지";
  GtkWidget* heading = wrappedText(text);
  gtk_label_set_justify(GTK_LABEL(heading), GTK_JUSTIFY_CENTER);
  gtk_widget_add_css_class(heading, "heading");
  return heading;
}

} // namespace

PageDialog::PageDialog(WebKitScriptDialog* dialog, const std::string& host, GtkOverlay* over,
                       std::function<void()> answered)
    : dialog_(webkit_script_dialog_ref(dialog)), over_(over), answered_(std::move(answered)),
      page_(gtk_overlay_get_child(over), gtk_overlay_get_child(over)) {
  FrameBox* cover = frameBoxNew();
  cover_ = widgetOf(cover);
  frameBoxSetBackground(cover, kDimmed);
  gtk_widget_set_parent(makeCard(host), cover_);
  gtk_overlay_add_overlay(over_, cover_);
  gtk_widget_grab_focus(entry_ == nullptr ? agree_ : entry_);
}

PageDialog::~PageDialog() {
  webkit_script_dialog_close(dialog_);
  webkit_script_dialog_unref(dialog_);
  gtk_overlay_remove_overlay(over_, cover_);
}

GtkWidget* PageDialog::makeCard(const std::string& host) {
  const char* message = webkit_script_dialog_get_message(dialog_);
  GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, kSpacing);
  setMargins(column);
  gtk_box_append(GTK_BOX(column), makeHeading(host));
  gtk_box_append(GTK_BOX(column), scrollingText(message, kMostHeight));
  if (webkit_script_dialog_get_dialog_type(dialog_) == WEBKIT_SCRIPT_DIALOG_PROMPT)
    addEntry(GTK_BOX(column));
  addButtons(GTK_BOX(column));

  GtkWidget* card = gtk_frame_new(nullptr);
  gtk_widget_add_css_class(card, "background");
  gtk_widget_set_halign(card, GTK_ALIGN_CENTER);
  gtk_widget_set_valign(card, GTK_ALIGN_CENTER);
  setMargins(card);
  gtk_frame_set_child(GTK_FRAME(card), column);
  return card;
}

void PageDialog::addEntry(GtkBox* column) {
  const char* text = webkit_script_dialog_prompt_get_default_text(dialog_);
  entry_ = gtk_entry_new();
  gtk_entry_set_max_length(GTK_ENTRY(entry_), kLongestAnswer);
  gtk_editable_set_text(GTK_EDITABLE(entry_), text == nullptr ? "" : text);
  gtk_accessible_update_property(GTK_ACCESSIBLE(entry_), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                 webkit_script_dialog_get_message(dialog_), -1);
  g_signal_connect_swapped(entry_, "activate",
                           G_CALLBACK(+[](PageDialog* self) { self->answer(true); }), this);
  gtk_box_append(column, entry_);
}

void PageDialog::addButtons(GtkBox* column) {
  GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, kSpacing);
  gtk_box_set_homogeneous(GTK_BOX(buttons), TRUE);
  gtk_box_append(column, buttons);
  const auto add = [&](const char* label, void (*pressed)(PageDialog*)) {
    GtkWidget* button = gtk_button_new_with_label(label);
    g_signal_connect_swapped(button, "clicked", G_CALLBACK(pressed), this);
    gtk_box_append(GTK_BOX(buttons), button);
    return button;
  };
  if (webkit_script_dialog_get_dialog_type(dialog_) != WEBKIT_SCRIPT_DIALOG_ALERT)
    add("취소", [](PageDialog* self) { self->answer(false); });
  agree_ = add("확인", [](PageDialog* self) { self->answer(true); });
  gtk_widget_add_css_class(agree_, "suggested-action");
}

void PageDialog::answer(bool agreed) {
  if (entry_ != nullptr) {
    if (agreed)
      webkit_script_dialog_prompt_set_text(dialog_, gtk_editable_get_text(GTK_EDITABLE(entry_)));
  } else if (webkit_script_dialog_get_dialog_type(dialog_) == WEBKIT_SCRIPT_DIALOG_CONFIRM) {
    webkit_script_dialog_confirm_set_confirmed(dialog_, agreed);
  }
  // A copy: the dialog may end inside.
  const auto answered = answered_;
  answered();
}

} // namespace quarnet::platform
