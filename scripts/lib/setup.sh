# Functions that bring a Debian 12 machine to where the project builds. To be sourced; expects `set -euo pipefail`.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
source "$root/scripts/lib/packages.sh"

sample_photo=$root/build/sample/astronaut.png
sample_sha256=88431cd9653ccd539741b555fb0a46b61558b301d4110412b5bc28b5e3ea6cb5

# A compiler cache saves time where it is installed; it is not required.
if command -v ccache >/dev/null; then
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi

say() { printf '==> %s\n' "$*"; }

fail() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

apt() {
  local sudo=()
  ((EUID == 0)) || sudo=(sudo)
  "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 -q "$@" </dev/null
}

# quietly LOG WHAT COMMAND...: runs the command with its output in the file; when it fails, shows the end and stops.
quietly() {
  local log=$1 what=$2
  mkdir -p "${log%/*}"
  "${@:3}" >"$log" 2>&1 || {
    tail -n 40 "$log" >&2
    fail "$what failed; all of its output is in $log"
  }
}

# install_packages PACKAGE...: installs those that are missing; does nothing, and needs no network, when none is.
install_packages() {
  command -v dpkg-query >/dev/null || fail "this is not a Debian system; packages needed: $*"
  local missing=() package
  for package in "$@"; do
    [[ $(dpkg-query -W -f '${db:Status-Abbrev}' "$package" 2>/dev/null) == ii* ]] || missing+=("$package")
  done
  ((${#missing[@]})) || return 0
  ((EUID == 0)) || command -v sudo >/dev/null || fail "root rights or sudo are needed to install: ${missing[*]}"
  say "Installing Debian packages: ${missing[*]}"
  quietly "$root/build/logs/apt_update.log" "apt-get update" apt update
  quietly "$root/build/logs/apt_install.log" "apt-get install" apt install -y --no-install-recommends "${missing[@]}"
}

# have_npm_packages FOLDER: npm writes this file last, so it is newer than the lock file exactly when the pinned versions
# are all there.
have_npm_packages() { [[ $root/$1/node_modules/.package-lock.json -nt $root/$1/package-lock.json ]]; }

# fetch_npm_packages FOLDER WHAT: no script of any package has to run.
fetch_npm_packages() {
  have_npm_packages "$1" && return
  say "Fetching $2"
  quietly "$root/build/logs/npm_$1.log" "npm ci" npm --prefix "$root/$1" ci --ignore-scripts --no-audit --no-fund </dev/null
  # Dates may come out of a package's archive.
  touch "$root/$1/node_modules/.package-lock.json"
}

# prepare PACKAGE...: installs the packages and fetches the networks and what the page is built with.
prepare() {
  local packages=("$@")
  command -v node >/dev/null || packages+=(nodejs)
  command -v npm >/dev/null || packages+=(npm)
  install_packages "${packages[@]}"
  fetch_npm_packages models "the networks"
  fetch_npm_packages web "what the page is built with"
}

have_sample() { echo "$sample_sha256  $sample_photo" | sha256sum --check --status 2>/dev/null; }

# Takes the sample photograph, a public-domain portrait by NASA, out of a Debian package that ships it.
fetch_sample() {
  have_sample && return
  say "Fetching the sample photograph"
  local folder=$root/build/sample
  rm -rf "$folder" && mkdir -p "$folder"
  # As root, apt's sandbox user might not be allowed to write here.
  local download=(apt-get -o APT::Sandbox::User=root -qq download python3-skimage)
  (cd "$folder" && { "${download[@]}" 2>/dev/null || { apt update && "${download[@]}"; }; }) ||
    fail "the package python3-skimage could not be fetched; is the network up?"
  dpkg-deb -x "$folder"/python3-skimage_*.deb "$folder/unpacked"
  mv "$folder/unpacked/usr/lib/python3/dist-packages/skimage/data/astronaut.png" "$sample_photo"
  rm -rf "$folder/unpacked" "$folder"/*.deb
  have_sample || fail "$sample_photo is not the photograph that was expected"
}

# configure PRESET [OPTION...] and build PRESET [OPTION...]: the CMake presets, from any folder.
configure() { (cd "$root" && cmake --preset "$1" -DQX_SAMPLE_PHOTO="$sample_photo" "${@:2}"); }
build() { cmake --build "$root/build/$1" "${@:2}"; }
