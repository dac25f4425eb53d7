#!/usr/bin/env bash
# usage: scripts/docs.sh
# Makes the README's pictures from the sample photograph and puts them into build/docs; that of the page is what its
# test in a browser sees. Installs and builds what is missing first.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/setup.sh"

prepare "${build_packages[@]}" "${browser_packages[@]}"
fetch_sample
say "Building"
build_program() { configure release -DQX_BUILD_TESTS=OFF && build release --target idphoto; }
quietly "$root/build/logs/docs_build.log" "the build" build_program

folder=$root/build/docs
idphoto() { "$root/build/release/bin/idphoto" "$@"; }
mkdir -p "$folder"
say "Making the pictures"
idphoto crop "$sample_photo" -o "$folder"
mv "$folder/astronaut_face1.png" "$folder/crop.png"
idphoto make "$sample_photo" -o "$folder/make.png" --preset schengen-visa
idphoto make "$sample_photo" -o "$folder/natural.png" --size 400x500px --beauty natural --compare
idphoto sheet "$folder/make.png" -o "$folder/sheet.png" --paper 4x6
idphoto check "$folder/make.png" --preset schengen-visa --draw "$folder/check.png" || true # it tells what fails, too

# A test that also keeps what it looks at, as studio.png.
show_page() {
  IDPHOTO=$root/build/release/bin/idphoto CHROMIUM=$(command -v chromium) SAMPLE_PHOTO=$sample_photo SCREENSHOTS=$folder \
    node --test --test-name-pattern='the picture of the page for its papers' "$root/web/test/browser/looks.test.mjs" &&
    [[ $folder/studio.png -nt $folder/make.png ]]
}
quietly "$root/build/logs/docs_page.log" "the page's test" show_page
say "The pictures are in $folder"
