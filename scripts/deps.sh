#!/usr/bin/env bash
# Installs the Debian packages that building and testing VEXILO3D needs (Debian 12).
set -euo pipefail
packages=(
  build-essential cmake pkg-config
  qt6-base-dev
  libtiff-dev libjpeg-dev
  libnifti2-dev libteem-dev zlib1g-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libfftw3-dev
  clang libclang-rt-14-dev
  imagemagick python3-pil python3-tifffile python3-nibabel
  python3-dev pybind11-dev python3-numpy python3-pytest python3-dask python3-distributed
  xvfb xauth
)
missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
