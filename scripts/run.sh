#!/bin/sh
# Builds the client and starts it in this terminal.
#
#   scripts/run.sh                   on a demo server with a simulated target
#   scripts/run.sh ARGUMENT...       with exactly these arguments, e.g. on a real probe's server:
#                                    scripts/run.sh -VQXTelnetPort 19021
set -eu

root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
"$root/scripts/setup.sh" run
"$root/scripts/build.sh" release
programs=$root/build/release/bin

if [ $# -gt 0 ]; then
    exec "$programs/vqx" "$@"
fi

folder=$(mktemp -d)
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

"$programs/vqx-terminal-server" --port 0 >"$folder/server.txt" &
server=$!
port=
while [ -z "$port" ]; do
    kill -0 "$server" 2>/dev/null || exit 1
    port=$(sed -n 's/^Listening on 127\.0\.0\.1:\([0-9]*\)$/\1/p' "$folder/server.txt")
    [ -n "$port" ] || sleep 0.1
done

status=0
"$programs/vqx" -VQXTelnetPort "$port" || status=$?
exit "$status"
