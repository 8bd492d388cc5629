#!/usr/bin/env bash
# Installs the Debian packages the game needs to build, run and test, when they are missing.
# Sourced by ./run and ./test.
bm_packages=(cmake g++ make pkg-config qt6-base-dev qt6-multimedia-dev libgl-dev libgtest-dev
             fonts-dejavu-core fonts-liberation2)
bm_missing=()
for p in "${bm_packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || bm_missing+=("$p")
done
if [ ${#bm_missing[@]} -gt 0 ]; then
    echo "Installing: ${bm_missing[*]}"
    bm_sudo=""
    [ "$(id -u)" -ne 0 ] && bm_sudo="sudo"
    $bm_sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $bm_sudo apt-get install -y -qq --no-install-recommends "${bm_missing[@]}"
fi
bm_jobs=$(nproc 2>/dev/null || echo 2)
[ "$bm_jobs" -gt 2 ] && bm_jobs=2
export bm_jobs
