#!/bin/sh
# SPDX-License-Identifier: MIT
#
# Makes what is published of a version, in build/release/packages:
#
#   vqxclient-VERSION.tar.gz                 the sources, as last committed
#   vqxclient-VERSION-linux-x86_64.tar.gz    everything built
#   vqxclient_VERSION_amd64.deb              the same for Debian: the programs,
#   libtarven-dev_VERSION_amd64.deb          and the libraries with their headers
#   vqxclient.rb                             the Homebrew formula, which builds the sources
#   SHA256SUMS
#
#   scripts/package.sh           makes them and tests them
#   scripts/package.sh --lint    also lets lintian look at the .deb files; errors fail
#
# The same commit gives the same bytes: every time in them is SOURCE_DATE_EPOCH, which is the commit's
# unless it is set. BUILD_DIR names another folder than build/release.
set -eu

root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
cd "$root"
export SOURCE_DATE_EPOCH="${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}"
folder=${BUILD_DIR:-build/release}
packages=$folder/packages

scripts/setup.sh package
rm -rf "$packages"
# The client shows when it was built, and an earlier build may have had another time.
touch util/build_stamp.cpp
scripts/build.sh release
log=$folder/package.log
cpack --config "$folder/CPackConfig.cmake" >"$log" 2>&1 || {
    cat "$log" >&2
    exit 1
}
rm -rf "$packages/_CPack_Packages"
scripts/sort_archive.py "$packages"/*.tar.gz

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$folder/CMakeCache.txt")
sources=$packages/vqxclient-$version.tar.gz
git -c tar.umask=0022 archive --prefix="vqxclient-$version/" HEAD | gzip -9n >"$sources"
sha256=$(cmake -E sha256sum "$sources" | cut -d ' ' -f 1)
sed -e "s/@version@/$version/" -e "s/@sha256@/$sha256/" packaging/vqxclient.rb.in \
    >"$packages/vqxclient.rb"
(cd "$packages" && cmake -E sha256sum * >../SHA256SUMS && mv ../SHA256SUMS .)

tests/package/packages_test.py "$packages"
if [ "${1-}" = --lint ]; then
    scripts/setup.sh lint
    lintian --allow-root --fail-on error "$packages"/*.deb
fi
cat "$packages/SHA256SUMS"
