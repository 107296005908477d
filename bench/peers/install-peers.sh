#!/usr/bin/env bash
# Installs the Debian packages of the parsers that the benchmark compares
# webstep with, and the server and clients of the load benchmark
# (bench/load), only those that are missing. Used by `make bench` alone; when
# they cannot be installed the comparison is built without them (the table
# leaves them out).
set -euo pipefail

exec bash "$(dirname "$0")/../../scripts/install-packages.sh" --optional \
  --for "for the benchmark's peers" \
  libgumbo-dev libxml2-dev libcurl4-openssl-dev liburiparser-dev libboost-url1.81-dev \
  nginx-light wrk python3-locust
