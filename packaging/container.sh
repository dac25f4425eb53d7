#!/usr/bin/env bash
# usage: packaging/container.sh [--try]
# Builds the container image "idphoto" from the release build with buildah, as root, on a Debian that mmdebstrap makes: no
# registry of images is asked. The base stays in build/container for the next time; remove it to have a newer one.
# --try: starts the image as its user, with a read-only root and no capabilities, and compares the photograph that it
# makes with the build's own.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../scripts/lib/setup.sh"

case ${1:-} in
  '' | --try) ;;
  *) sed -n '2,6s/^# //p' "${BASH_SOURCE[0]}" && exit 2 ;;
esac
((EUID == 0)) || fail "root rights are needed to make a Debian in a folder"

work=$root/build/container
logs=$root/build/logs
program=$root/build/release/bin/idphoto
mkdir -p "$work"

# buildah of Debian comes without a policy; what is built here is trusted.
echo '{"default": [{"type": "insecureAcceptAnything"}]}' >"$work/policy.json"
buildah_here() { buildah --storage-driver vfs "$@"; }

make_packages() {
  configure release && build release
  rm -rf "$work/packages"
  (cd "$work" && cpack -G DEB --config "$root/build/release/CPackConfig.cmake" -B "$work/packages" \
    -D "CPACK_COMPONENTS_ALL=runtime;program")
  rm -rf "$work/packages/_CPack_Packages"
}

# What the packages depend on, without versions and each other.
dependencies() {
  local package
  for package in "$work"/packages/*.deb; do dpkg-deb -f "$package" Depends; done | tr ',' '\n' |
    sed -E 's/\|.*//; s/\(.*//; s/ //g; /^(libqx-idp0)?$/d' | sort -u | paste -sd,
}

make_base() {
  mmdebstrap --variant=minbase --include="$(dependencies)" --dpkgopt='path-exclude=/usr/share/man/*' \
    --dpkgopt='path-exclude=/usr/share/locale/*' bookworm "$work/base.tar"
  local container
  container=$(buildah_here from --signature-policy "$work/policy.json" scratch)
  buildah_here add "$container" "$work/base.tar" /
  buildah_here config --cmd bash "$container"
  buildah_here commit --rm --signature-policy "$work/policy.json" "$container" idphoto-base
  rm "$work/base.tar"
}

make_image() {
  buildah_here bud --isolation chroot --format docker --signature-policy "$work/policy.json" \
    --build-arg BASE=localhost/idphoto-base --tag idphoto --file "$root/packaging/Containerfile" "$work/packages"
}

# of_image TEMPLATE: a part of the image's description.
of_image() { buildah_here inspect --type image --format "$1" idphoto; }

try_image() {
  local container user command health within server address=http://127.0.0.1:8080
  ! (: >/dev/tcp/127.0.0.1/8080) 2>/dev/null || { echo "port 8080, on which the image listens, is taken" && return 1; }
  user=$(of_image '{{.Docker.Config.User}}')
  mapfile -t command < <(of_image '{{range .Docker.Config.Entrypoint}}{{println .}}{{end}}{{range .Docker.Config.Cmd}}{{println .}}{{end}}' | sed '/^$/d')
  mapfile -t health < <(of_image '{{range .Docker.Config.Healthcheck.Test}}{{println .}}{{end}}' | sed '1d; /^$/d')
  container=$(buildah_here from --signature-policy "$work/policy.json" idphoto)
  # The image, mounted read-only, as its user; the mounts end with the command.
  # shellcheck disable=SC2016 # expands in the inner shell
  within=(unshare --mount bash -c '
    mount --bind "$1" "$1" && mount -o remount,bind,ro "$1" && mount -t proc proc "$1/proc" || exit
    mount -t tmpfs tmpfs "$1/run" && mkdir "$1/run/secrets" && cp "$2" "$1/run/secrets/idphoto-token" || exit
    mount --bind /dev "$1/dev" && chmod a+r "$1/run/secrets/idphoto-token" || exit
    exec chroot --userspec="$3" "$1" setpriv --no-new-privs "${@:4}"
    ' - "$(buildah_here mount "$container")" "$work/token" "$user")
  (umask 077 && head -c 24 /dev/urandom | base64 >"$work/token")
  rm -f "$work/made.jpg"
  "${within[@]}" "${command[@]}" >"$logs/container_serve.log" 2>&1 &
  server=$!
  until "${within[@]}" "${health[@]}"; do
    kill -0 $server || break
    sleep 0.2
  done
  curl --silent --show-error --fail --header "Authorization: Bearer $(cat "$work/token")" \
    --data-binary "@$sample_photo" --output "$work/made.jpg" "$address/v1/make?preset=schengen-visa" || true
  kill $server && wait $server || { echo "the server did not end well" && return 1; }
  buildah_here rm "$container" >/dev/null
  "$program" make "$sample_photo" --preset schengen-visa -o "$work/expected.jpg" >/dev/null
  cmp "$work/made.jpg" "$work/expected.jpg"
}

prepare "${build_packages[@]}" "${container_packages[@]}"
say "Building the packages"
quietly "$logs/container_packages.log" "the build of the packages" make_packages
if ! buildah_here images --quiet idphoto-base >/dev/null 2>&1; then
  say "Making a Debian"
  quietly "$logs/container_base.log" "mmdebstrap" make_base
fi
say "Building the image"
quietly "$logs/container_image.log" "buildah" make_image
say "The image idphoto is in the store of buildah --storage-driver vfs"
if [[ ${1:-} == --try ]]; then
  fetch_sample
  say "Trying it"
  quietly "$logs/container_try.log" "the try" try_image
  say "The container made the same photograph as the build"
fi
