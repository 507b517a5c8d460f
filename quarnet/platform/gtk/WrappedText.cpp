#include "quarnet/platform/gtk/WrappedText.h"

#include "quarnet/platform/gtk/Ref.h"

#include <cstring>

namespace quarnet::platform {
namespace {

/// Laying out a text of megabytes would stop the main loop for minutes.
constexpr glong kMostCharacters = 10'000;

Chars shortened(const std::string& text) {
  Chars whole = validUtf8(text);
  if (g_utf8_strlen(whole.get(), -1) <= kMostCharacters) return whole;
  const Chars start(g_utf8_substring(whole.get(), 0, kMostCharacters));
  return Chars(g_strconcat(start.get(), "…", nullptr));
}

/// A single word is broken anywhere; so long a word is broken in no time only if all are.
bool hasVeryLongWord(const char* text) {
  constexpr std::size_t kVeryLong = 200;
  for (const char* word = text; *word != '\0'; word += std::strspn(word, " \n")) {
    const std::size_t length = std::strcspn(word, " \n");
    if (length > kVeryLong) return true;
    word += length;
  }
  return false;
}

} // namespace

GtkWidget* wrappedText(const std::string& text) {
  const Chars shown = shortened(text);
  GtkLabel* label = GTK_LABEL(gtk_label_new(shown.get()));
  gtk_label_set_wrap(label, TRUE);
  gtk_label_set_wrap_mode(label,
                          hasVeryLongWord(shown.get()) ? PANGO_WRAP_CHAR : PANGO_WRAP_WORD_CHAR);
  // A hyphen at a line's end would be taken for one of the host's or the code's.
  PangoAttrList* attributes = pango_attr_list_new();
  pango_attr_list_insert(attributes, pango_attr_insert_hyphens_new(FALSE));
  gtk_label_set_attributes(label, attributes);
  pango_attr_list_unref(attributes);
  return GTK_WIDGET(label);
}

GtkWidget* scrollingText(const std::string& text, int maxHeight) {
  GtkWidget* label = wrappedText(text);
  gtk_label_set_max_width_chars(GTK_LABEL(label), 40);
  gtk_label_set_justify(GTK_LABEL(label), GTK_JUSTIFY_CENTER);

  GtkScrolledWindow* scrolled = GTK_SCROLLED_WINDOW(gtk_scrolled_window_new());
  gtk_scrolled_window_set_child(scrolled, label);
  gtk_scrolled_window_set_policy(scrolled, GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
  gtk_scrolled_window_set_overlay_scrolling(scrolled, FALSE);
  gtk_scrolled_window_set_propagate_natural_width(scrolled, TRUE);
  gtk_scrolled_window_set_propagate_natural_height(scrolled, TRUE);
  gtk_scrolled_window_set_max_content_height(scrolled, maxHeight);
  // In reach of who scrolls with keys.
  gtk_widget_set_focusable(GTK_WIDGET(scrolled), TRUE);
  return GTK_WIDGET(scrolled);
}

} // namespace quarnet::platform
