#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, once.
set -euo pipefail
pkgs=(cmake g++ make googletest libgtest-dev libgmock-dev nlohmann-json3-dev libcli11-dev valgrind python3-prometheus-client clang libclang-rt-14-dev clang-format clang-tidy libbenchmark-dev time)
# Packaging and its tests: the .deb's dependencies (dpkg-shlibdeps), the man
# page check (man, groff) and the zsh completion test.
pkgs+=(dpkg-dev man-db groff-base zsh)
# The JSON schema test (tests/cli/schema_check.py).
pkgs+=(python3-jsonschema)
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "kvictl: installing Debian packages: ${missing[*]}" >&2
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${missing[@]}" >/dev/null
fi
