#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the demo need, and only
# those that are missing, so a second run takes a moment. Extra package names
# given as arguments are added (the benchmark asks for tintin++ and tmux).
set -euo pipefail

packages=(cmake g++ clang ninja-build pkg-config make
          qt6-base-dev qt6-base-dev-tools liblua5.4-dev zlib1g-dev
          zip unzip fonts-dejavu-core xvfb xauth tinymux "$@")

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$p")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
if [[ $(id -u) -ne 0 ]]; then
  command -v sudo >/dev/null || { echo "Need root or sudo to install: ${missing[*]}" >&2; exit 1; }
  sudo="sudo"
fi
# apt and dpkg print hundreds of lines even when asked to be quiet; they go to
# a log that is shown only when something fails.
log=$(mktemp "${TMPDIR:-/tmp}/olvex-install-deps.XXXXXX")
trap 'rm -f "$log"' EXIT
export DEBIAN_FRONTEND=noninteractive
if ! { $sudo apt-get update -qq && $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"; } \
    >"$log" 2>&1; then
  cat "$log" >&2
  echo "Installing the packages above failed." >&2
  exit 1
fi
echo "Installed ${#missing[@]} package(s)."
