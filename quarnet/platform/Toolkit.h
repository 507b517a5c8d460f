#pragma once

#include "quarnet/core/Export.h"
#include "quarnet/core/Types.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace quarnet::platform {

/// A rectangle in points, from the upper left corner of what holds it.
struct Rect {
  /// The left edge.
  double x = 0;
  /// The upper edge; grows downwards.
  double y = 0;
  /// From the left edge to the right.
  double width = 0;
  /// From the upper edge to the lower.
  double height = 0;

  /// Whether all four are the same.
  bool operator==(const Rect&) const = default;
};

/// A colour; each number is from 0 to 1.
struct Color {
  /// How much red there is.
  double red = 0;
  /// How much green there is.
  double green = 0;
  /// How much blue there is.
  double blue = 0;
  /// How opaque it is.
  double alpha = 1;

  /// Whether all four are the same.
  bool operator==(const Color&) const = default;
};

/// A rectangle on the screen that may hold others. To be used on the user-interface thread only, as
/// everything in this header.
class QUARNET_EXPORT View {
public:
  virtual ~View() = default;

  /// The view's place in its parent; kept exactly, also where it reaches beyond the parent.
  virtual Rect frame() const = 0;
  virtual void setFrame(const Rect& frame) = 0;

  /// What is seen where no child is.
  virtual void setBackgroundColor(const Color& color) = 0;
  /// Whether children are cut off at the view's edges.
  virtual void setClipsToBounds(bool clips) = 0;
  /// How opaque the view is with all that it holds, from 0 to 1.
  virtual void setAlpha(double alpha) = 0;

  /// Puts `child` on top of the view's other children and keeps it alive.
  virtual void addSubview(std::shared_ptr<View> child) = 0;
  /// Takes the view out of its parent, which no longer keeps it alive; nothing when it has none.
  virtual void removeFromSuperview() = 0;
};

/// A bar with a title in its middle and one button at its right.
class QUARNET_EXPORT TitleBar : public View {
public:
  /// The text in the middle.
  virtual void setTitle(const std::string& title) = 0;
  /// The button's text; `pressed` is called for each press.
  virtual void setRightButton(const std::string& label, std::function<void()> pressed) = 0;
};

/// A page that did not load.
struct WebLoadError {
  /// The reason, for a person to read.
  std::string description;
  /// What else is known of it, as one text.
  std::string userInfo;
};

class WebView;

/// Receives the events of a web view. Not owned by the view; outlives it.
class QUARNET_EXPORT WebViewDelegate {
public:
  virtual ~WebViewDelegate() = default;

  /// Before every navigation, redirects included: whether the view may load the address.
  virtual bool shouldStartLoad(WebView& view, const std::string& url) = 0;
  /// A page that was on its way has not arrived.
  virtual void didFailLoad(WebView& view, const WebLoadError& error) = 0;
  /// The page has arrived with all that belongs to it.
  virtual void didFinishLoad(WebView& view) = 0;
};

/// A view that shows web pages.
class QUARNET_EXPORT WebView : public View {
public:
  /// Who receives the events; null for nobody.
  virtual void setDelegate(WebViewDelegate* delegate) = 0;
  /// Whether a page that is wider than the view is made smaller.
  virtual void setScalesPageToFit(bool scales) = 0;
  /// Whether a page may be scrolled beyond its edges and springs back.
  virtual void setBounces(bool bounces) = 0;
  /// Begins to load an address, after the delegate was asked.
  virtual void load(const std::string& url) = 0;
  /// The address of the page that is shown or on its way; absent before the first load.
  virtual Text currentUrl() const = 0;
};

/// The screen: the application's window and what can be laid over it.
class QUARNET_EXPORT Toolkit {
public:
  virtual ~Toolkit() = default;

  /// The application's window as a view; its frame holds the bounds. Null when there is none.
  virtual std::shared_ptr<View> keyWindow() = 0;

  /// An empty view without a parent.
  virtual std::shared_ptr<View> makeView() = 0;
  /// A title bar without a parent.
  virtual std::shared_ptr<TitleBar> makeTitleBar() = 0;
  /// A web view without a page and without a parent.
  virtual std::shared_ptr<WebView> makeWebView() = 0;

  /// Runs `changes` and shows the frames they set as a movement that starts and ends slowly.
  /// `completion` is called when it is over; `finished` is false when it was cut short.
  virtual void animate(std::chrono::milliseconds duration, std::function<void()> changes,
                       std::function<void(bool finished)> completion) = 0;

  /// A modal message with one button; `pressed` runs once, however the message is closed.
  virtual void showAlert(const std::string& title, const std::string& message,
                         const std::string& button, std::function<void()> pressed) = 0;

  /// Hands an address to the system's browser; tells the user when there is none.
  virtual void openExternally(const std::string& url) = 0;

  /// The operating system's version, for example "12" or "10.3.1".
  virtual std::string systemVersion() = 0;
};

} // namespace quarnet::platform
