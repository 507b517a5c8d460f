# The same functions as in x11.sh for a Wayland desktop, on a screen of 900x800. Its compositor runs
# on the display in memory and has the keyboard and the mouse of that; it offers no others. Nobody
# can ask it which window is in front: what the screen shows must do.

# start_desktop [WIDTH HEIGHT]
start_desktop() {
  # Every window as large as the screen and nothing else on it.
  weston --backend=x11-backend.so --use-pixman --shell=kiosk-shell.so --no-config --idle-time=0 \
    --width="${1:-900}" --height="${2:-800}" --socket=quarnet --log="$folder/desktop.log" 2>/dev/null &
  desktop_pid=$!
  until_true "the compositor starts" [ -S "$XDG_RUNTIME_DIR/quarnet" ]
  export WAYLAND_DISPLAY=quarnet GDK_BACKEND=wayland
}
has_front() { at_rest ''; }
dialog_is_open() { at_rest ''; }
# When a dialog has closed, this shell puts no window in front before a click.
dialog_is_gone() { at_rest '' && click 210 10; }
# click X Y: at a point of the content, which is 420 points wide and in the middle.
click() { xdotool mousemove $((240 + $1)) "$2" click 1; }
# By the window's own button.
close_window() { xdotool mousemove 876 24 click 1; }
# start_demo_at WIDTH HEIGHT: on a screen of that size, which its window fills.
start_demo_at() {
  stop "$desktop_pid"
  xdotool mousemove 160 100 # the compositor has the keyboard where it has the mouse
  start_desktop "$@"
  start_demo
}
