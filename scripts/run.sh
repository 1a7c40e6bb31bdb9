#!/bin/sh
# SPDX-License-Identifier: MIT
# Builds the client and starts it in this terminal. Ctrl-] quits.
#
#   scripts/run.sh                   on a demo server with a simulated target; "help" lists its commands
#   scripts/run.sh [--port N] [--echo]
#                                    the same, with the demo server on that port instead of a free
#                                    one, and with the target echoing what is typed instead of the
#                                    client
#   scripts/run.sh ARGUMENT...       with exactly these arguments, e.g. on a real probe's server:
#                                    scripts/run.sh -VQXTelnetPort 19021
#   scripts/run.sh --help            shows this text (also -h); the client's own help is -?
#
# BUILD_DIR names another folder to build in than build/release.
set -eu

show_help() { sed -n '/^# SPDX/d;2,/^set /s/^# \{0,1\}//p' "$0"; }

fail() {
    printf 'run.sh: %s\n' "$2" >&2
    exit "$1"
}

demo_port=0
echo_option=
if [ $# -eq 0 ]; then is_demo=yes; else is_demo=; fi
while [ $# -gt 0 ]; do
    case $1 in
        -h | --help)
            show_help
            exit 0
            ;;
        --port)
            [ $# -gt 1 ] || fail 2 "--port takes a number; --help shows the options"
            demo_port=$2
            shift
            ;;
        --echo) echo_option=--echo ;;
        *) break ;;
    esac
    is_demo=yes
    shift
done
[ -z "$is_demo" ] || [ $# -eq 0 ] || fail 2 "$1 does not go with the demo server's options; --help shows them"

root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
"$root/scripts/setup.sh" run
"$root/scripts/build.sh" release
case ${BUILD_DIR-} in
    /*) programs=$BUILD_DIR/bin ;;
    *) programs=$root/${BUILD_DIR:-build/release}/bin ;;
esac

[ -n "$is_demo" ] || exec "$programs/vqx" "$@"

folder=$(mktemp -d 2>/dev/null) ||
    fail 1 "cannot make a folder in ${TMPDIR:-/tmp}; let TMPDIR name one that can be written"
server=
end_server() {
    [ -z "$server" ] || kill "$server" 2>/dev/null || true
    rm -rf "$folder"
}
trap end_server EXIT
# The client ends first: the shell acts on a signal once the client it waits for has ended.
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM

# The background command makes the file when it gets round to it, which may be after the first look.
: >"$folder/server.txt"
"$programs/vqx-terminal-server" --port "$demo_port" $echo_option >"$folder/server.txt" &
server=$!
port=
while [ -z "$port" ]; do
    if ! kill -0 "$server" 2>/dev/null; then
        # It has said why.
        wait "$server" || exit
        exit 1
    fi
    port=$(sed -n 's/^Listening on 127\.0\.0\.1:\([0-9]*\)$/\1/p' "$folder/server.txt")
    [ -n "$port" ] || sleep 0.1
done

# The key that quits interrupts this script too; the client's status is the one that counts.
trap : INT
status=0
if [ -n "$echo_option" ]; then set -- -LocalEcho Off; fi
"$programs/vqx" -VQXTelnetPort "$port" "$@" || status=$?
exit "$status"
