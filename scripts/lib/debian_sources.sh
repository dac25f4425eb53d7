# Sources of Debian packages, for builds of libraries that the machine's own packages do not hold for the target. To be
# sourced after setup.sh; expects `folder`, an absolute path, where everything goes.

# Debian 12 keeps no source of the XNNPACK that it ships; the release after it does. The indexes go into lists of their
# own, from the mirror that the machine uses.
apt_with_sources() {
  local apt=$folder/apt mirror
  mkdir -p "$apt/lists/partial"
  if [[ ! -e $apt/sources.list ]]; then
    # shellcheck disable=SC2016 # apt's own variables
    mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' 'Label: Debian' | head -n 1)
    [[ $mirror ]] || fail "apt knows no mirror of Debian"
    local signed='[signed-by=/usr/share/keyrings/debian-archive-keyring.gpg]'
    printf "deb-src $signed %s %s main\n" "$mirror" bookworm "$mirror" trixie >"$apt/sources.list"
  fi
  # As root, apt's sandbox user might not be allowed to write here.
  apt-get -o Dir::Etc::SourceList="$apt/sources.list" -o Dir::Etc::SourceParts=/dev/null \
    -o Dir::State::Lists="$apt/lists" -o APT::Sandbox::User=root -qq "$@"
}

# download NAME PACKAGE/RELEASE OPTION...: into download/NAME.
download() {
  rm -rf "$folder/download/$1" && mkdir -p "$folder/download/$1"
  [[ -e $folder/apt/updated ]] || { apt_with_sources update && touch "$folder/apt/updated"; }
  (cd "$folder/download/$1" && apt_with_sources "${@:3}" source "$2") || fail "the source of $2 could not be fetched"
}

# fetch NAME PACKAGE RELEASE: the package's original source, as sources/NAME.
fetch() {
  local target=$folder/sources/$1
  [[ -e $target ]] && return
  say "Fetching the source of $2"
  rm -rf "$target.part" "$target.whole" && mkdir -p "$target.part"
  download "$1" "$2/$3" --tar-only
  tar -C "$target.part" -xf "$folder/download/$1"/*.orig.tar.*
  # Some archives hold one folder, some the files themselves.
  local inside=("$target.part"/*)
  ((${#inside[@]} > 1)) || { mv "${inside[0]}" "$target.whole" && rm -rf "$target.part" && mv "$target.whole" "$target.part"; }
  mv "$target.part" "$target"
}

# fetch_mended NAME PACKAGE: that of Debian 12 with Debian's own changes, those for security among them.
fetch_mended() {
  local target=$folder/sources/$1
  [[ -e $target ]] && return
  say "Fetching the source of $2"
  download "$1" "$2/bookworm" >"$folder/download.log" 2>&1
  local unpacked=("$folder/download/$1"/*/)
  mkdir -p "$folder/sources" && mv "${unpacked[0]%/}" "$target"
}
