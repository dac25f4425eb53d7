#!/usr/bin/env bash
# usage: scripts/release.sh
# What a release has to pass beyond scripts/test.sh, which comes first: what takes too long for every change, or needs a
# Debian of its own. As root; two hours on two cores. Its last line says which steps passed; logs are in build/logs.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib/setup.sh"
source "$root/scripts/lib/steps.sh"
((EUID == 0)) || fail "root rights are needed, to make the container's Debian"

all_tests() { QX_EVERYTHING=1 FUZZ_SECONDS=${FUZZ_SECONDS:-300} "$root/scripts/test.sh"; }
# Only here: whole programs for other machines, an hour.
other_targets() { "$root/scripts/targets.sh"; }
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

step "tests" all_tests release_all_tests
step "other targets" other_targets release_targets
step "Slurm" slurm release_slurm
step "cluster of queues" cluster release_cluster
step "container" container release_container
step "page, sanitized" sanitized_page release_sanitized_page
step "pictures" pictures release_pictures
verdict
