#!/usr/bin/env bash
# usage: scripts/release.sh
# What a release has to pass beyond scripts/test.sh, which comes first: what takes too long for every change, or needs a
# Debian of its own. As root; an hour on two cores. Its last line says which steps passed; logs are in build/logs.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/setup.sh"
((EUID == 0)) || fail "root rights are needed, to make the container's Debian"

all_tests() { FUZZ_SECONDS=${FUZZ_SECONDS:-300} "$root/scripts/test.sh"; }
# Only here: it makes a Debian and builds an image, some five minutes.
container() { "$root/packaging/container.sh" --try; }
# Only here: under sanitizers each picture takes ten times as long.
sanitized_page() {
  IDPHOTO=$root/build/asan+ubsan/bin/idphoto SAMPLE_PHOTO=$sample_photo node "$root/web/test/run.mjs" browser
}
# Only here: its daemons are many packages that nothing else needs.
slurm() {
  install_packages "${cluster_packages[@]}"
  "$root/tests/cluster/slurm_test.sh" "$root/build/release/bin/idphoto" "$sample_photo" "$root/docs/fleet.md" \
    "$root/build/slurm_test"
}
# Only here: three servers in networks of their own, of which one is killed and one cut off, some three minutes.
cluster() {
  python3 -B "$root/tests/queue/amqp_test.py" "$root/build/release/bin/queue_driver" ThreeServers
}
pictures() { "$root/scripts/docs.sh"; }

logs=$root/build/logs passed=() failed=()
mkdir -p "$logs"
for step in all_tests slurm cluster container sanitized_page pictures; do
  start=$SECONDS
  if "$step" >"$logs/release_$step.log" 2>&1; then
    passed+=("$step") outcome=passed
  else
    failed+=("$step") outcome=FAILED
    tail -n 40 "$logs/release_$step.log"
  fi
  printf '%-24s %s  %3d s\n' "$step" "$outcome" $((SECONDS - start))
done
echo "passed: ${passed[*]:-none}; failed: ${failed[*]:-none}"
((${#failed[@]} == 0))
