#!/usr/bin/env bash
# Prints the Debian 12 (bookworm) repository this machine's apt configuration
# names, for the roots the scripts make with mmdebstrap; never written down here.
set -euo pipefail
mirror=$(apt-get indextargets --format '$(RELEASE) $(REPO_URI)' | awk '$1 == "bookworm" { print $2; exit }')
if [ -z "$mirror" ]; then
  echo "debian_mirror: no bookworm repository in this machine's apt configuration" >&2
  exit 1
fi
echo "$mirror"
