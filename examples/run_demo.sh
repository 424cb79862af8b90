#!/usr/bin/env bash
# Renders the example scene from end to end: a worker starts a host, which loads corrivane.dlx and renders the frames.
# usage: run_demo.sh BIN_DIR
set -euo pipefail
bin=$(cd "$1" && pwd)
cd "$(dirname "$0")/.."

mkdir -p demo-output
"$bin/corrivane-worker" render "$bin/../examples/carousel.gltf" --drive C=demo-output --frames 0-23
echo "images: demo-output/out"
ls demo-output/out | head -n 5
