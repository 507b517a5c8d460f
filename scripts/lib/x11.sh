# Functions for scripts that drive a window on an X11 desktop; to be sourced after screen.sh. A window
# manager tells which window is in front. The script sets `demo_pid` to the window's process, and
# stops `desktop_pid` in the end.

start_desktop() {
  openbox --sm-disable >"$folder/desktop.log" 2>&1 &
  desktop_pid=$!
}
front() { xdotool getactivewindow 2>/dev/null || true; }
has_front() {
  window=$(front)
  [[ -n "$window" && "$(xdotool getwindowpid "$window" 2>/dev/null)" == "$demo_pid" ]]
}
dialog_is_open() { [[ -n "$(front)" && "$(front)" != "$window" ]]; }
dialog_is_gone() { [[ "$(front)" == "$window" ]]; }
# click X Y: at a point of the window.
click() { xdotool mousemove --window "$window" "$1" "$2" click 1; }
close_window() { key alt+F4; }
# start_demo_at WIDTH HEIGHT: with a window of that size.
start_demo_at() {
  start_demo
  xdotool windowsize --sync "$window" "$1" "$2" windowmove --sync "$window" 0 0
}
