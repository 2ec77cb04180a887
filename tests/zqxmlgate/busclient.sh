#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

# Usage: busclient.sh NATS-SERVER ZQXML-SERVE CLIENT-FOLDER
# Runs the client in JavaScript against a server of the sample, and compares what it prints with what is kept.

set -euo pipefail
folder=$(mktemp -d)
processes=()
trap 'kill "${processes[@]}"; wait; rm -rf "$folder"' EXIT

cp "$3"/*.json "$3"/client.mjs "$folder/"
(cd "$folder" && npm ci --ignore-scripts --no-audit --no-fund >npm.log 2>&1) || { cat "$folder/npm.log"; exit 1; }
"$1" -a 127.0.0.1 -p -1 --ports_file_dir "$folder" >/dev/null 2>&1 &
processes+=($!)
until url=$(grep -ohsE 'nats://127[^"]*' "$folder"/*.ports); do sleep 0.1; done
"$2" --bus "$url" >"$folder/serve" &
processes+=($!)
timeout 60 node "$folder/client.mjs" "$url" | diff -u "$3/bus-client.expected" -
