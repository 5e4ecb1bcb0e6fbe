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
# Sets pid, port, user and password_file.
. "$work/sim.info"
sim_pid=$pid
echo "demo: ipmi_sim pid $pid on 127.0.0.1:$port, reached through the remote BMC options"

echo "demo: three samples, one second apart"
build/vtr-host \
  --bmc "127.0.0.1:$port" --bmc-user "$user" --bmc-password-file "$password_file" --bmc-cipher-suite 3 \
  --option ipmitool-include-discrete-sensors=true \
  --option ipmitool-sample-interval-sec=1 \
  --samples 3
