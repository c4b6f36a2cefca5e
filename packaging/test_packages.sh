#!/usr/bin/env bash
# test_packages.sh FOLDER: installs the packages of FOLDER on a clean Debian 12
# and uses what they bring. The Debian is made with debootstrap in a temporary
# folder, as root; DEBIAN_MIRROR names where from.
set -euo pipefail
packages=$(realpath "$1")
examples=$(realpath "$(dirname "$0")/../examples")
root=$(mktemp -d)

inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin "$@"; }

# expect STATUS COMMAND...: runs it inside, and tells what it printed when it
# ends otherwise.
expect() {
  local wanted=$1 status=0
  shift
  inside "$@" >"$root/printed" 2>&1 || status=$?
  [ "$status" -eq "$wanted" ] && return
  echo "$*: status $status, not $wanted" >&2
  cat "$root/printed" >&2
  exit 1
}

# has TEXT: what the last command printed.
has() {
  grep -qF -- "$1" "$root/printed" && return
  echo "not printed: $1" >&2
  cat "$root/printed" >&2
  exit 1
}

finish() {
  umount "$root/proc" 2>/dev/null || true
  rm -rf --one-file-system "$root"
}
trap finish EXIT

debootstrap --variant=minbase bookworm "$root" ${DEBIAN_MIRROR:+"$DEBIAN_MIRROR"} \
  >"$packages/debootstrap.log" 2>&1 || { tail "$packages/debootstrap.log"; exit 1; }
# Nothing here must survive a power failure: packages install in half the time.
echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/unsafe-io"
mount -t proc proc "$root/proc"
mkdir "$root/packages"
cp "$packages"/*.deb "$root/packages"
cp -r "$examples" "$root/examples"
cp /etc/resolv.conf "$root/etc/resolv.conf"
cp -r /etc/apt/apt.conf.d/. "$root/etc/apt/apt.conf.d/"

# 1. They install, with what they depend on and nothing else by hand.
install='apt-get install -qq -y --no-install-recommends'
expect 0 sh -c "apt-get update -qq && $install /packages/*.deb"

# 2. ipav accepts, refuses and finds what belongs to it.
branch=/examples/branch-router
expect 0 ipav --version
expect 0 ipav check --running $branch/running.xml $branch/ra-timers-tuned.xml
has "ra-timers-tuned.xml: accepted"
expect 1 ipav check --running $branch/running.xml \
  $branch/address-is-network.xml
has "l3 printers ipv4 address 10.12.50.0/24 cannot be configured as network"
expect 0 ipav points
has "point: ip_app_validation"
expect 0 ipav explain overlap
has "overlaps with"
expect 0 sh -c 'ipav new >/new.xml && ipav convert /new.xml --output /new.json'
expect 0 ipav check --report /page.html /new.json
expect 0 test -s /page.html
expect 0 ipav diff $branch/running.xml $branch/ra-timers-tuned.xml
has "validate_ipv6_nd_ra_interval"
expect 0 sh -c 'ipavd --state /state --once 2>/serve.log &
  until grep -q listening /serve.log; do sleep 0.1; done
  ipav commit --to /state/netconf.sock /new.xml && wait'
has "/new.xml: accepted"

# 3. The Python package finds ipav, and pytest finds its plug-in.
expect 0 python3 -c 'import ipav; assert ipav.check("/new.xml")'
expect 0 sh -c "$install python3-pytest && mkdir -p /devices/a &&
  cp /new.xml /devices/a/candidate.xml && cd /devices && pytest-3 --ipav ."
has "1 passed"

# 4. A host of somebody's own builds against the headers.
expect 0 sh -c "$install g++ cmake make pkg-config"
mkdir "$root/host"
cat >"$root/host/host.cc" <<'CC'
#include <confd_lib.h>
#include <hostd/hostd.h>
#include <unistd.h>

int main() {
  confd_value_t value{};
  value.type = C_UINT8;
  return value.type == C_UINT8 && access(PLUGIN, R_OK) == 0 ? 0 : 1;
}
CC
cat >"$root/host/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES CXX)
find_package(ip_app_validation 0.1 REQUIRED)
add_executable(host host.cc)
target_link_libraries(host PRIVATE ip_app_validation::platform)
target_compile_definitions(host PRIVATE PLUGIN="${ip_app_validation_PLUGIN}")
CMAKE
expect 0 sh -c "cmake -S /host -B /host/build && cmake --build /host/build &&
  /host/build/host"
expect 0 sh -c 'g++ -std=c++17 $(pkg-config --cflags ip_app_validation) \
  -DPLUGIN=\"$(pkg-config --variable=plugin ip_app_validation)\" \
  -fsyntax-only /host/host.cc && test -f \
  "$(pkg-config --variable=plugin ip_app_validation)"'

# 5. bash completes, the others find their scripts, and man(1) the manuals.
expect 0 bash -c 'source /usr/share/bash-completion/completions/ipav &&
  COMP_WORDS=(ipav ex) COMP_CWORD=1 && _ipav && echo "${COMPREPLY[@]}"'
has "explain"
for script in bash-completion/completions/ipavd zsh/vendor-completions/_ipav{,d} \
  fish/vendor_completions.d/ipav{,d}.fish \
  man/man{1/ipav.1,8/ipavd.8,7/ip_app_validation.7}.gz; do
  expect 0 test -s /usr/share/$script
done

# 6. They leave nothing behind.
expect 0 apt-get purge -qq -y python3-ipav ipav ipavd libip-app-validation libip-app-validation-dev
expect 1 sh -c "find /usr -name '*ip_app_validation*' -o -name '*ipav*' | grep ."

echo "packages: installed, used and removed on a clean Debian 12"
