#!/bin/sh
# SPDX-License-Identifier: MIT
# Makes docs/session.svg, the picture of a session: what scripts/run.sh shows in a terminal of a fixed
# size while somebody types, up to the reconnect after a reboot.
#
#   scripts/picture.sh           makes it anew; takes port 19021
#   scripts/picture.sh --help    shows this text (also -h)
#
# BUILD_DIR names another folder to build in than build/release.
set -eu

case ${1-} in
    -h | --help)
        sed -n '/^# SPDX/d;2,/^set /s/^# \{0,1\}//p' "$0"
        exit 0
        ;;
esac

columns=80
rows=37
patience_ms=30000
root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
"$root/scripts/setup.sh" picture
"$root/scripts/setup.sh" run
"$root/scripts/build.sh" release

# A tmux server of its own, which knows nobody's settings.
folder=$(mktemp -d)
terminal() { tmux -S "$folder/socket" -f "$folder/settings" "$@"; }
trap 'terminal kill-server 2>/dev/null || true; rm -rf "$folder"' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
printf 'set -g status off\nset -g remain-on-exit on\n' >"$folder/settings"
terminal -u new-session -d -x "$columns" -y "$rows" "'$root/scripts/run.sh' --port 19021"

# wait_for TEXT TIMES: until the screen, with all that has left it, shows the text that often.
wait_for() {
    waited_ms=0
    while [ "$(terminal capture-pane -p -J -S - | grep -cF -- "$1")" -lt "$2" ]; do
        if [ "$(terminal display-message -p '#{pane_dead}')" = 1 ] ||
            [ "$waited_ms" -ge "$patience_ms" ]; then
            terminal capture-pane -p -J -S - | grep . >&2
            echo "picture.sh: \"$1\" was not shown; what was shown stands above" >&2
            exit 1
        fi
        sleep 0.05
        waited_ms=$((waited_ms + 50))
    done
}

# enter LINE ANSWER TIMES: types the line, then waits for the answer.
enter() {
    terminal send-keys -l "$1"
    wait_for "> $1" 1
    terminal send-keys Enter
    wait_for "$2" "$3"
}

wait_for 'Type "help" for the commands.' 1
enter 'log color on' 'Log colours are on.' 1
enter 'log debug' 'Log is on from debug on.' 1
enter 'led on' 'LED is on.' 1
enter drop 'Type "help" for the commands.' 2
enter reboot 'Type "help" for the commands.' 3

terminal capture-pane -e -p >"$folder/screen"
terminal display-message -p '#{cursor_x} #{cursor_y}' >"$folder/cursor"
read -r cursor_column cursor_row <"$folder/cursor"
"$root/scripts/render_screen.py" "$columns" "$rows" "$cursor_column" "$cursor_row" \
    'vqx: a demo target behind the VQX Client' <"$folder/screen" >"$folder/session.svg"
cp "$folder/session.svg" "$root/docs/session.svg"
terminal send-keys 'C-]'
echo "docs/session.svg is made anew."
