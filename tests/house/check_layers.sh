#!/usr/bin/env bash
# usage: check_layers.sh SOURCE_DIR
# Who may include whom. A library that reaches up would bring what it should do without: files, terminals, libvips.
set -euo pipefail
cd "$1"
failed=0

# refuse FILE INCLUDED WHY
refuse() { echo "$1: includes $2: $3" && failed=1; }

# includes FOLDER: lines "FILE INCLUDED" of all includes in quotes.
includes() { grep -rHoE '^ *# *include "[^"]+"' --include='*.h' --include='*.cpp' --exclude-dir=node_modules "$1" | sed -E 's/:.*"([^"]+)"/ \1/'; }

declare -A floor=([base]=0 [document]=1 [face]=2 [person]=3 [foreground]=4 [place]=4 [render]=5 [sheet]=5 [drawing]=5 [check]=5)
# floor_of PATH: the floor of what lies in photo/.
floor_of() {
  local room=${1#photo/}
  [[ $room == */* ]] && echo "${floor[${room%%/*}]:-none}" || echo 6
}

count=0
while read -r file included; do
  count=$((count + 1))
  case $included in
    codec/* | orders/* | cli/* | jobs/* | server/* | worker/* | queue/*) refuse "$file" "$included" "photo/ stands below it" ;;
    photo/*)
      from=$(floor_of "$file") to=$(floor_of "$included")
      [[ $from != none && $to != none ]] || refuse "$file" "$included" "a room without a floor"
      [[ $from == none || $to == none ]] || ((to <= from)) || refuse "$file" "$included" "a floor above its own"
      ;;
  esac
done < <(includes photo)

while read -r file included; do
  count=$((count + 1))
  case $included in
    codec/* | photo/base/* | photo/document/*) ;;
    *) refuse "$file" "$included" "codec/ may use photo/base and photo/document only" ;;
  esac
done < <(includes codec)

while read -r file included; do
  count=$((count + 1))
  [[ $included == jobs/* ]] || refuse "$file" "$included" "jobs/ uses the standard library only"
done < <(includes jobs)

while read -r file included; do
  count=$((count + 1))
  case $included in
    orders/options/* | codec/* | photo/*) ;;
    orders/*)
      [[ $file != orders/options/* ]] || refuse "$file" "$included" "options know no order"
      ;;
    qx_idp.h) ;;
    *) refuse "$file" "$included" "orders/ may use codec/ and photo/ only" ;;
  esac
done < <(includes orders)

while read -r file included; do
  count=$((count + 1))
  case $included in
    python/* | orders/* | codec/codec.h | photo/*) ;;
    *) refuse "$file" "$included" "python/ may use orders/, codec/ and photo/ only" ;;
  esac
done < <(includes python)

if grep -rnE '#include <(filesystem|fstream|iostream|cstdio|thread|vips|unistd|sys/|netinet)' orders; then
  echo "orders/ knows no files, terminal, threads or sockets" && failed=1
fi
# What photographs are is for whoever works on the jobs.
while read -r file included; do
  count=$((count + 1))
  [[ $included == queue/* || $included == photo/base/* ]] || refuse "$file" "$included" "queue/ may use photo/base only"
done < <(includes queue)
# Who works on jobs asks the processes that read photographs, as the server does, and what the orders' options are.
while read -r file included; do
  count=$((count + 1))
  case $included in
    worker/* | queue/* | server/children/* | server/http/* | orders/order.h | photo/base/* | photo/document/*) ;;
    *) refuse "$file" "$included" "worker/ may use queue, server/children, server/http and photo/base only" ;;
  esac
done < <(includes worker)
# The server itself reads no photograph: that is for its children, which alone know what can. Outside them orders are
# known by their names and options. What the interface offers must be there for every program: nothing of one program's
# words or files.
while read -r file included; do
  count=$((count + 1))
  case $included in
    server/* | photo/base/* | photo/document/*) ;;
    orders/order.h | orders/describe.h | orders/presets.h) ;;
    orders/* | codec/* | jobs/* | photo/*)
      [[ $file == server/children/* ]] || refuse "$file" "$included" "only server/children may read photographs"
      ;;
    *) refuse "$file" "$included" "server/ may use photo, codec, jobs and orders only" ;;
  esac
done < <(includes server)
while read -r file included; do
  count=$((count + 1))
  [[ $included == web/* || $included == page_table.inc ]] || refuse "$file" "$included" "web/ is the page, which knows the service by its addresses alone"
done < <(includes web)
# The browser has what the server's children have, with a codec of its own.
while read -r file included; do
  count=$((count + 1))
  case $included in
    wasm/codec/* | codec/* | photo/base/* | photo/document/*) ;;
    orders/describe.h | server/children/message.h | server/children/photo_worker.h)
      [[ $file != wasm/codec/* ]] || refuse "$file" "$included" "wasm/codec/ may use codec, photo/base and photo/document only"
      ;;
    *) refuse "$file" "$included" "wasm/ may use codec, orders/describe and the work of server/children only" ;;
  esac
done < <(includes wasm)
# Each file that includes it takes half a minute to compile.
if grep -rlE '#include <boost/beast' server | grep -v '^server/http/connection.cpp$'; then
  echo "Beast is for server/http/connection.cpp alone" && failed=1
fi

if grep -rnE '#include <(vips|CLI|glib)' photo jobs server worker queue; then echo "photo/, jobs/, server/, worker/ and queue/ know no image or option library" && failed=1; fi
# What options can do about a failure is said by those who have some.
if grep -rnE '"[^"]*(--[a-z]|idphoto )[^"]*"' --include='*.h' --include='*.cpp' photo codec jobs server worker queue; then
  echo "texts that name options or commands" && failed=1
fi
# Packages come from wherever the machine fetches packages; their hashes say which they are.
if grep -nE '"resolved": *"https?:' models/package-lock.json web/package-lock.json; then
  echo "lock files with addresses: npm's omit-lockfile-registry-resolved leaves them out" && failed=1
fi
((count > 100)) || { echo "only $count includes seen" && failed=1; }
exit $failed
