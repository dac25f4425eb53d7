#!/usr/bin/env bash
# usage: package_test.sh BUILD_DIR PHOTO WORK_DIR
# Makes the Debian packages of a build, installs them with apt-get into a bare Debian in a folder, so that what they say
# they depend on is all there is, and lets the installed program make a photograph: it must be the one that the build's
# own program makes. Then an example is built there, with what the package for developers recommends, and must make the
# same one. The bare Debian and the packages that apt-get fetched stay in WORK_DIR for the next run.
# Exit status 77: not possible here; the reason is said.
set -euo pipefail
build=$1 photo=$2 work=$3
release=bookworm
unset LD_LIBRARY_PATH
export LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive

skip() {
  echo "skipped: $*"
  exit 77
}

# With /proc, where the program learns of the processor; the mount ends with the command.
# shellcheck disable=SC2016 # expands in the inner shell
in_debian=(unshare --mount sh -c 'mount --rbind /proc "$1/proc" && exec chroot "$@" </dev/null' - "$work/root")
in_debian() { "${in_debian[@]}" "$@"; }

# Makes WORK_DIR/base, with this machine's settings of apt.
make_base() {
  local mirror proxy=''
  mirror=$(apt-get indextargets --format "\$(CODENAME) \$(REPO_URI)" 'Created-By: Packages' |
    awk -v release=$release '$1 == release && !mirror { mirror = $2 } END { print mirror }')
  eval "$(apt-config shell proxy Acquire::http::Proxy)"
  [[ -z $proxy ]] || export http_proxy=$proxy
  rm -rf "$work/base" "$work/new"
  debootstrap --variant=minbase $release "$work/new" "$mirror" || skip "debootstrap cannot make a bare Debian here"
  rm -rf "$work/new/etc/apt"
  cp -a /etc/apt "$work/new/etc/apt"
  rm -f "$work"/new/etc/apt/apt.conf.d/docker-* # would throw away what was fetched
  cp -a /usr/share/keyrings/. "$work/new/usr/share/keyrings/"
  [[ ! -d /etc/ssl/certs ]] || { mkdir -p "$work/new/etc/ssl" && cp -rL /etc/ssl/certs "$work/new/etc/ssl/certs"; }
  cp -L /etc/resolv.conf /etc/hosts "$work/new/etc/"
  echo force-unsafe-io >"$work/new/etc/dpkg/dpkg.cfg.d/quick" # no waiting for the disk
  printf '#!/bin/sh\nexit 101\n' >"$work/new/usr/sbin/policy-rc.d" # no service is to start
  chmod +x "$work/new/usr/sbin/policy-rc.d"
  chroot "$work/new" apt-get -qq update </dev/null
  mv "$work/new" "$work/base"
}

((EUID == 0)) || skip "root rights are needed for chroot"
command -v debootstrap >/dev/null || skip "debootstrap is not installed"
unshare --mount true 2>/dev/null || skip "this machine does not let root mount anything"
mkdir -p "$work"
[[ -d $work/base ]] || make_base

rm -rf "$work/root" "$work/packages"
cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/packages"
rm -rf "$work/packages/_CPack_Packages"
cp -a "$work/base" "$work/root"
cp "$work"/packages/*.deb "$photo" "$work/root/tmp/"
cp "${BASH_SOURCE[0]%/*}/../../examples/make.cpp" "$work/root/tmp/"
packages=("$work"/packages/*.deb)
# install PACKAGE...
install() {
  local command=(in_debian apt-get install -q -y --no-install-recommends
    -o APT::Keep-Downloaded-Packages=true -o APT::Sandbox::User=root "$@")
  # The lists of packages age: once more with new ones.
  "${command[@]}" || { in_debian apt-get -qq update && "${command[@]}"; }
  cp -u "$work"/root/var/cache/apt/archives/*.deb "$work/base/var/cache/apt/archives/"
}
install "${packages[@]/#*\//\/tmp\/}"

echo "The installed program:"
[[ $(in_debian idphoto --version) == "$("$build/bin/idphoto" --version)" ]]
[[ $(in_debian idphoto presets) == "$("$build/bin/idphoto" presets)" ]]
make=(make --preset schengen-visa --beauty light --force --compare -o)
in_debian idphoto "${make[@]}" /tmp/made.png "/tmp/${photo##*/}"
"$build/bin/idphoto" "${make[@]}" "$work/made.png" "$photo" >/dev/null
cmp "$work/made.png" "$work/root/tmp/made.png"

echo "The installed server:"
exec {out}< <(exec "${in_debian[@]}" idphoto serve --listen 127.0.0.1:0 2>"$work/serve.log")
server=$!
trap 'kill "$server" 2>/dev/null' EXIT
read -r -t 60 address <&"$out" || { cat "$work/serve.log" && exit 1; }
python3 "${BASH_SOURCE[0]%/*}/visit.py" "$address" "$photo" "$work/served.jpg"
kill "$server"
wait "$server"
trap - EXIT
"$build/bin/idphoto" make --preset schengen-visa -o "$work/served_expected.jpg" "$photo" >/dev/null
cmp "$work/served.jpg" "$work/served_expected.jpg"

for file in bin/idphoto lib/libqx_idp.so include/qx_idp.h include/qx_photo/photo/studio.h lib/libqx_photo.a \
  lib/libqx_codec.a lib/libqx_jobs.a lib/cmake/qx_idp/qx_idp-photo-targets.cmake lib/pkgconfig/qx_codec.pc \
  share/man/man1/idphoto-make.1.gz share/bash-completion/completions/idphoto share/zsh/vendor-completions/_idphoto \
  share/idphoto/schema/check.schema.json share/idphoto/schema/queue.schema.json lib/systemd/system/idphoto.service share/doc/idphoto/deploy.md share/doc/qx_idp/LICENSE share/doc/idphoto/copyright; do
  [[ -s $work/root/usr/$file ]] || { echo "missing: /usr/$file" && exit 1; }
done

echo "Programs built there:"
# build_there PACKAGE SOURCE PROGRAM
build_there() { in_debian sh -c 'g++ -std=c++17 "$2" $(pkg-config --cflags --libs "$1") -o "$3"' - "$@"; }
install g++ pkgconf
printf '#include "photo/studio.h"\nint main() { qx::photo::Studio studio; }\n' >"$work/root/tmp/photo.cpp"
build_there qx_photo /tmp/photo.cpp /tmp/photo
in_debian /tmp/photo
recommended=$(in_debian dpkg-query -W -f '${Recommends}' libqx-idp-dev)
install "${recommended%% *}"
build_there qx_codec /tmp/make.cpp /tmp/make
in_debian /tmp/make "/tmp/${photo##*/}" schengen-visa /tmp/example.png
"$build/bin/idphoto" make --preset schengen-visa -o "$work/example.png" "$photo" >/dev/null
cmp "$work/example.png" "$work/root/tmp/example.png"

in_debian apt-get purge -q -y idphoto libqx-idp0 libqx-idp-dev
left=$(find "$work/root/usr" "$work/root/etc" -iname '*idphoto*' -o -iname '*qx[_-]*')
[[ -z $left ]] || { printf 'left behind:\n%s\n' "$left" && exit 1; }
rm -rf "$work/root"
echo "The packages install, work and go."
