# Steps of a command, each with a log and a verdict. To be sourced after setup.sh.

logs=$root/build/logs
passed=() failed=() skipped=()
mkdir -p "$logs"

# step TITLE FUNCTION [LOG]: runs the function, notes whether it passed, and shows the end of its log when it did not.
# Status 77 says that the step is not possible on this machine; the last line of its log says why. The log has the
# function's name or another.
step() {
  local log=$logs/${3:-$2}.log start=$SECONDS outcome=passed status=0
  "$2" >"$log" 2>&1 || status=$?
  case $status in
    0) passed+=("$1") ;;
    77) skipped+=("$1") outcome=$(tail -n 1 "$log") ;;
    *) failed+=("$1") outcome=FAILED ;;
  esac
  printf '%-24s %s  %3d s\n' "$1" "$outcome" $((SECONDS - start))
  if [[ $outcome == FAILED ]]; then
    # Without the lines of the tests that passed.
    sed -E '/^ +Start |   Passed /d; s/^/    /' "$log" | tail -n 60
  fi
}

# verdict: the last line, and whether every step passed.
verdict() {
  list() { (($#)) && printf '%s, ' "$@" | sed 's/, $//' || printf none; }
  local word=PASSED line
  ((${#failed[@]} == 0)) || word=FAILED
  line="$word in $SECONDS s; passed: $(list "${passed[@]}"); failed: $(list "${failed[@]}")"
  ((${#skipped[@]} == 0)) || line+="; skipped: $(list "${skipped[@]}")"
  echo "$line"
  [[ $word == PASSED ]]
}
