#!/usr/bin/env bash
# Installs what is missing, builds tagvera, and runs the `tagvera` command on the bundled samples.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup-debian.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target tagvera tagvera_cli
build/cli/tagvera components
echo
build/cli/tagvera info samples/*
echo
build/cli/tagvera km samples/05-sample-clip.km
