#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Goes through the README as somebody does who has nothing but git: a fresh Debian in a folder of its own, a
# clone of what is committed, and every command of the README from top to bottom, as it is written there.
#
#   scripts/newcomer.sh            needs root, and the packages of "scripts/setup.sh newcomer"
#   scripts/newcomer.sh --help     shows this text (also -h)
#
# KEEP_FOLDER=1 leaves the folder where it is. Debian comes from where this machine gets its packages.
set -euo pipefail

case ${1-} in
    -h | --help)
        sed -n '/^# SPDX/d;2,/^set /s/^# \{0,1\}//p' "$0"
        exit 0
        ;;
esac

# In a view of the file system of its own, so that no mount stays behind.
if [ -z "${IN_PRIVATE_VIEW-}" ]; then
    [ "$(id -u)" -eq 0 ] || {
        echo "newcomer.sh: making a Debian takes root" >&2
        exit 1
    }
    "$(dirname -- "$0")/setup.sh" newcomer
    IN_PRIVATE_VIEW=1 exec unshare --mount --pid --fork --kill-child "$0" "$@"
fi

root=$(cd -- "$(dirname -- "$0")/.." && pwd)
work=$(mktemp -d /var/tmp/newcomer.XXXXXX)
debian=$work/debian

# A tmux server of its own, which knows nobody's settings.
terminal() { tmux -S "$work/socket" -f "$work/settings" "$@"; }
leave() {
    terminal kill-server 2>/dev/null || true
    for mounted in dev proc sys tmp; do umount --recursive "$debian/$mounted" 2>/dev/null || true; done
    if [ -n "${KEEP_FOLDER-}" ]; then echo "Left in $work"; else rm -rf --one-file-system "$work"; fi
}
trap leave EXIT
printf 'set -g status off\nset -g remain-on-exit on\nset -g default-shell /bin/bash\n' >"$work/settings"

# ---- The machine ----

make_debian() {
    local source
    source=$(apt-get indextargets --format '$(CODENAME) $(REPO_URI)' 'Created-By: Packages' | head -n 1)
    debootstrap --variant=minbase --include=git "${source% *}" "$debian" "${source#* }" \
        >"$work/debootstrap.log" 2>&1 || {
        tail -n 20 "$work/debootstrap.log" >&2
        exit 1
    }
    cp -a /etc/apt/. "$debian/etc/apt/"
    cp /etc/resolv.conf /etc/hosts "$debian/etc/"
    mkdir -p "$debian/usr/share/keyrings"
    cp -a /usr/share/keyrings/. "$debian/usr/share/keyrings/"
    mount -t proc proc "$debian/proc"
    mount -t sysfs sysfs "$debian/sys"
    mount --rbind /dev "$debian/dev"
    mount -t tmpfs tmpfs "$debian/tmp"
    git clone --quiet --bare "$root" "$debian/srv/vqxclient.git"
}

# The words of a command that runs in there, as env takes them.
inside() {
    chroot "$debian" env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 TERM=xterm \
        sh -c "cd '$1' && exec $2"
}

# ---- The terminal ----

# wait_for TEXT TIMES SECONDS: until the terminal has shown the text that often.
wait_for() {
    local deadline=$((SECONDS + $3))
    while [ "$(terminal capture-pane -p -J -S - | grep -cF -- "$1")" -lt "$2" ]; do
        if [ "$SECONDS" -ge "$deadline" ] || [ "$(terminal display-message -p '#{pane_dead}')" = 1 ]; then
            terminal capture-pane -p -J -S - | grep . >&2
            echo "newcomer.sh: \"$1\" was not shown; what was shown stands above" >&2
            exit 1
        fi
        sleep 0.2
    done
}

type_line() {
    terminal send-keys -l "$1"
    terminal send-keys Enter
}

start_in_terminal() {
    terminal new-session -d -x 100 -y 60 "$(declare -f inside); debian=$debian; inside /root/vqxclient '$1'"
}

# Quits with the key that the README names, and sees that all ends well.
quit_terminal() {
    terminal send-keys 'C-]'
    local deadline=$((SECONDS + 20))
    until [ "$(terminal display-message -p '#{pane_dead}')" = 1 ]; do
        [ "$SECONDS" -lt "$deadline" ] || {
            echo "newcomer.sh: Ctrl-] does not quit" >&2
            exit 1
        }
        sleep 0.2
    done
    terminal capture-pane -p -J -S - | grep -v '^Pane is dead' | grep .
    [ "$(terminal display-message -p '#{pane_dead_status}')" = 0 ]
    terminal kill-server
}

# ---- The walk ----

# take COMMAND: as a person takes it who has read the lines around it.
take() {
    printf '\n$ %s\n' "$1"
    case $1 in
        scripts/run.sh)
            start_in_terminal "$1"
            wait_for 'Type "help" for the commands.' 1 600
            type_line help
            wait_for 'starts the target again' 1 10
            type_line reboot
            wait_for 'Start 2, connection 1.' 1 10
            quit_terminal
            ;;
        'scripts/run.sh -VQXTelnetPort '*)
            start_in_terminal "$1"
            wait_for 'Connecting to M-Bolt VQX Server' 1 60
            quit_terminal
            ;;
        *)
            inside /root/vqxclient "$1" >"$work/output" 2>&1 || {
                cat "$work/output"
                echo "newcomer.sh: failed: $1" >&2
                exit 1
            }
            tail -n 4 "$work/output"
            ;;
    esac
}

# The commands of the README's shell blocks, without the remarks behind them.
commands() { sed -n '/^```sh$/,/^```$/{/^```/d;s/ *#.*//;/./p}' "$root/README.md"; }

make_debian
inside /root 'git clone --quiet /srv/vqxclient.git'
taken=0
while read -r command <&3; do
    take "$command"
    taken=$((taken + 1))
done 3< <(commands)
echo
echo "All $taken commands of the README do what it says."
