#!/usr/bin/env bash
# Builds the provider and the host runner into build/, starts the simulated two-socket server
# and prints three events that the provider sampled from it, one JSON line each.
#
#   ./demo.sh --serve   keeps sampling every 2 s instead, with the landing page and /metrics on
#                       http://127.0.0.1:9290/ (DEMO_LISTEN=[ADDR:]PORT to change), until Ctrl-C.
#                       It serves the degraded server (the two-socket one with a failed power
#                       supply, a slow fan, a low 12V and lost redundancy), so the page has
#                       something to lead with.
# Other arguments go to the CMake configure step.
set -euo pipefail
cd "$(dirname "$0")"
serve=
profile=two-socket
build_args=()
for arg in "$@"; do
  if [ "$arg" = --serve ]; then serve=1 profile=degraded; else build_args+=("$arg"); fi
done
scripts/build ${build_args[@]+"${build_args[@]}"}

work=$(mktemp -d "${TMPDIR:-/tmp}/vtr-demo.XXXXXX")
sim_pid=
cleanup() {
  if [ -n "$sim_pid" ]; then sim/stop-sim "$sim_pid"; fi
  rm -rf "$work"
}
trap cleanup EXIT

echo "demo: starting the simulated $profile server"
sim/start-sim --profile "$profile" --work-dir "$work" --info "$work/sim.info" >/dev/null
# Sets pid, port, user and password_file.
. "$work/sim.info"
sim_pid=$pid
echo "demo: ipmi_sim pid $pid on 127.0.0.1:$port, reached through the remote BMC options"
host=(build/vtr-host
  --bmc "127.0.0.1:$port" --bmc-user "$user" --bmc-password-file "$password_file" --bmc-cipher-suite 3
  --option ipmitool-include-discrete-sensors=true)

if [ -n "$serve" ]; then
  echo "demo: sampling every 2 s until Ctrl-C; event lines go to $work/events.jsonl"
  # The host prints the page's URL on stderr once it samples; Ctrl-C stops it cleanly.
  status=0
  "${host[@]}" --option ipmitool-sample-interval-sec=2 --listen "${DEMO_LISTEN:-9290}" > "$work/events.jsonl" || status=$?
  exit "$status"
fi

echo "demo: three samples, one second apart"
"${host[@]}" --option ipmitool-sample-interval-sec=1 --samples 3
