#include "quarnet/platform/gtk/AlertDialog.h"

#include "quarnet/platform/gtk/Ref.h"
#include "quarnet/platform/gtk/WrappedText.h"

#include <adwaita.h>
#include <algorithm>
#include <utility>
#include <vector>

namespace quarnet::platform {
namespace {

/// A title is one that fits on a few lines; a longer one begins the message.
constexpr std::size_t kLongestTitle = 60;

/// A message's one answer: given once, whichever way the message goes.
struct Answer {
  std::function<void()> pressed;

  void give() {
    if (const auto once = std::exchange(pressed, nullptr)) once();
  }
};

constexpr char kIsAlert[] = "quarnet-alert";

/// The messages over the window of `pressed`, but for that one.
std::vector<Ref<GtkWindow>> othersThan(GtkWindow* pressed) {
  std::vector<Ref<GtkWindow>> others;
  GList* const windows = gtk_window_list_toplevels();
  for (const GList* entry = windows; entry != nullptr; entry = entry->next) {
    auto* const one = GTK_WINDOW(entry->data);
    if (one != pressed && g_object_get_data(G_OBJECT(one), kIsAlert) != nullptr &&
        gtk_window_get_transient_for(one) == gtk_window_get_transient_for(pressed)) {
      others.push_back(retain(one));
    }
  }
  g_list_free(windows);
  return others;
}

/// The height that a message may take beside its title and its button.
int roomForMessage(GtkWindow* window) {
  const int height = window == nullptr ? 0 : gtk_widget_get_height(GTK_WIDGET(window));
  return std::max(120, height / 2);
}

} // namespace

GtkWindow* showAlertDialog(GtkWindow* window, const std::string& title, const std::string& message,
                           const std::string& button, std::function<void()> pressed) {
  adw_init();
  const bool isTitle = title.size() <= kLongestTitle;
  const Chars heading = isTitle ? validUtf8(title) : nullptr;
  auto* const dialog = ADW_MESSAGE_DIALOG(adw_message_dialog_new(window, heading.get(), nullptr));
  adw_message_dialog_set_extra_child(
      dialog, scrollingText(isTitle ? message : title + "\n\n" + message, roomForMessage(window)));
  adw_message_dialog_add_response(dialog, "close", validUtf8(button).get());
  adw_message_dialog_set_default_response(dialog, "close");
  gtk_window_set_destroy_with_parent(GTK_WINDOW(dialog), TRUE);

  const auto give = +[](Answer* answer) { answer->give(); };
  auto* answer = new Answer{std::move(pressed)};
  g_object_set_data(G_OBJECT(dialog), kIsAlert, dialog);
  g_signal_connect_data(
      dialog, "response", G_CALLBACK(+[](GtkWindow* given, const char*, Answer* its) {
        its->give();
        for (const auto& other : othersThan(given))
          gtk_window_destroy(other.get());
      }),
      answer, [](gpointer data, GClosure*) { delete static_cast<Answer*>(data); }, GConnectFlags{});
  g_signal_connect_swapped(dialog, "destroy", G_CALLBACK(give), answer);
  gtk_window_present(GTK_WINDOW(dialog));
  return GTK_WINDOW(dialog);
}

} // namespace quarnet::platform
