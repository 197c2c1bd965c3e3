#!/usr/bin/env bash
# Installs what is needed, builds, and shows the sample volume. The workstation starts in the
# build folder, where the modules it loads (save3d, render) lie next to it.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
bash scripts/build.sh build -DCMAKE_BUILD_TYPE=Release -DVEXILO3D_SANITIZE=OFF
sample=samples/phantom_64x128x128_uc.raw
if [ -x build/vexilo3d ]; then
  cd build
  exec ./vexilo3d --size 64x128x128 --type uc "$sample"
fi
build/v3d help
build/v3d minmax --in "build/$sample" --size 64x128x128
build/v3d count --in "build/$sample" --size 64x128x128
