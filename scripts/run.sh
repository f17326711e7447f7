#!/usr/bin/env bash
# Builds drvctl and the driver plug-in (release, build/run) and runs a short
# session against the simulated servo line that drvctl starts when no device is
# given. Needs nothing but a Debian 12 machine (run as root, or with sudo).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install_deps.sh

cmake -S . -B build/run -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF -DDRIVERS_BUILD_BENCH=OFF > /dev/null
cmake --build build/run -j"$(nproc)" --target drvctl teco_servo

drvctl=build/run/bin/drvctl
run() {
  echo "\$ drvctl $*"
  "$drvctl" "$@"
  echo
}

# Each drvctl command starts its own simulated line of servos 1, 2 and 3.
run --version
run info
run read HR100 --count 10
run scan --ids 1-5
run poll HR1300 HR1301 --motion --count 3 --interval 300

# One driver and one simulated line for a whole session, so that written values
# and the driver's station list (HR60000..HR60010) carry from line to line.
echo "\$ drvctl shell < session"
"$drvctl" shell <<'SESSION'
write HR100 1234
read HR100
write HR200SW 0x12345678     # double word, high word first
read HR200SW --hex
read HR200 --count 2 --hex   # the two registers as the servo holds them
write DO5 1                  # coil
read DO1 --count 8
write HR100.3 1              # bit 3 of HR100, read-modify-write
read HR100.3
read HR100
write HR60000 3 1 2 3        # station list: three servos, ids 1, 2 and 3
write HR60009 2              # HR60010 is read back from servo 2
write HR60010 777            # fan-out to HR1300 of every listed servo
read HR1300 --station 1
read HR1300 --station 2
read HR1300 --station 3
read HR60010
SESSION
