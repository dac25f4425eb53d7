#!/usr/bin/env bash
# usage: scripts/test.sh
# Builds and runs all tests and ends with one line that says which steps passed. Installs what is missing first.
# Logs of the steps: build/logs.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/setup.sh"
source "$root/scripts/lib/steps.sh"

fuzz_seconds=${FUZZ_SECONDS:-15} # for each target; FUZZ_SEED chooses another sequence of inputs
# For releases: under the sanitizers too all tests, with those that take long there and go ways that others go.
everything=${QX_EVERYTHING:-}

# run_tests PRESET [OPTION...]: fails also when no test answers the description. Some tests wait more than they compute.
run_tests() {
  local launcher=()
  # Sanitizers need their fixed address ranges free, which strong address randomisation does not grant.
  [[ $1 == *san* ]] && setarch -R true 2>/dev/null && launcher=(setarch -R)
  "${launcher[@]}" ctest --test-dir "$root/build/$1" --output-on-failure --no-tests=error -j $(($(nproc) + 1)) "${@:2}"
}

gcc_build() { configure release -DQX_BUILD_TESTS=ON -DQX_BUILD_BENCH=ON && build release; }
unit_tests() { run_tests release -LE 'exports|install' -E '^page_'; }
# Most of it is what a browser shows.
page() {
  run_tests release -R '^page_' || return
  ! grep -q 'Skipped' "$logs/page.log" || { echo "skipped: no browser or no packages of npm" && return 77; }
}
exports() { run_tests release -L exports; }
installed() { run_tests release -L install; }
debian_package() {
  "$root/tests/install/package_test.sh" "$root/build/release" "$sample_photo" "$root/build/package_test"
}
# By Clang, the other compiler, with everything in it: its warnings are looked at here too.
clang_build() { configure asan+ubsan -DQX_BUILD_BENCH=ON && build asan+ubsan; }
address_undefined() {
  local long='^(bench|cli\.Sample|photo\.Straighten|queue\.rabbitmq|worker\.(work|desk)$)'
  if [[ $everything ]]; then run_tests asan+ubsan; else run_tests asan+ubsan -E "$long"; fi
}
# The tests that start threads say so in their names, but for the connections to servers of queues. Only what holds them
# is built; the program, whose pool of threads is that of jobs_test, takes as long as all the rest.
threads() {
  local targets=(nn_test engine_test codec_test jobs_test play_server queue_driver)
  local left_out=(-E '^cli\.') # one from an earlier run may be there
  [[ ! $everything ]] || { targets+=(cli_test) && left_out=(); }
  if grep -rlE '^TEST.*Thread' "$root/tests" | grep -vE '/tests/(nn|engine|codec|jobs|cli)/'; then
    echo "tests of threads in a folder that is not built here" && return 1
  fi
  configure tsan && build tsan --target "${targets[@]}" && run_tests tsan -R '[Tt]hread|rabbitmq' "${left_out[@]}"
}

# run_fuzzer TARGET: lets it run for a while from its seeds and from what earlier runs found; its log and findings
# have its name.
run_fuzzer() {
  local name=${1##*/}
  local corpus=$fuzz_dir/corpus/$name seeds=$fuzz_dir/fuzz/${name%_fuzz}_seeds
  mkdir -p "$corpus" "$seeds" "$fuzz_dir/findings"
  "$1" -seed="${FUZZ_SEED:-1}" -max_total_time="$fuzz_seconds" -timeout=20 -print_final_stats=1 \
    -artifact_prefix="$fuzz_dir/findings/$name-" "$corpus" "$seeds" >"$logs/fuzzing_$name.log" 2>&1 && return
  echo "$name:" && tail -n 40 "$logs/fuzzing_$name.log"
  return 1
}

fuzzing() {
  export fuzz_dir=$root/build/asan+ubsan fuzz_seconds logs
  export -f run_fuzzer
  local targets=("$fuzz_dir"/bin/*_fuzz)
  [[ -x ${targets[0]} ]] && printf '%s\0' "${targets[@]}" | xargs -0 -P "$(nproc)" -I{} bash -c 'run_fuzzer "$1"' - {}
}

prepare "${build_packages[@]}" "${test_packages[@]}"
fetch_sample
say "Testing"
step "GCC build" gcc_build
step "unit tests" unit_tests
step "page" page
step "exports" exports
step "installed package" installed
step "Debian package" debian_package
step "Clang build" clang_build
step "address and UB" address_undefined
step "fuzzing" fuzzing
step "threads" threads
verdict
