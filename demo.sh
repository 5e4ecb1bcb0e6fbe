#!/usr/bin/env bash
# Builds the provider and the host runner into build/, starts the simulated two-socket server
# and prints three events that the provider sampled from it, one JSON line each.
set -euo pipefail
cd "$(dirname "$0")"
scripts/build "$@"

work=$(mktemp -d "${TMPDIR:-/tmp}/vtr-demo.XXXXXX")
sim_pid=
cleanup() {
  if [ -n "$sim_pid" ]; then sim/stop-sim "$sim_pid"; fi
  rm -rf "$work"
}
trap cleanup EXIT

echo "demo: starting the simulated two-socket server"
sim/start-sim --profile two-socket --work-dir "$work" --info "$work/sim.info" >/dev/null
# Sets pid, port and shim.
. "$work/sim.info"
sim_pid=$pid
echo "demo: ipmi_sim pid $pid on 127.0.0.1:$port; its ipmitool shim is first in PATH"

echo "demo: three samples, one second apart"
PATH="$shim:$PATH" build/vtr-host \
  --option ipmitool-include-discrete-sensors=true \
  --option ipmitool-sample-interval-sec=1 \
  --samples 3
