#!/usr/bin/env bash
# Installs what is needed, builds, and shows the sample volume.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
bash scripts/build.sh build -DCMAKE_BUILD_TYPE=Release -DVEXILO3D_SANITIZE=OFF
sample=build/samples/phantom_64x128x128_uc.raw
if [ -x build/vexilo3d ]; then
  exec build/vexilo3d --size 64x128x128 --type uc "$sample"
fi
build/v3d help
build/v3d minmax --in "$sample" --size 64x128x128
build/v3d count --in "$sample" --size 64x128x128
