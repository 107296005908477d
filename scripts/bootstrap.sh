#!/usr/bin/env bash
# Installs the Debian packages the build needs, only those that are missing.
set -euo pipefail

bash "$(dirname "$0")/install-packages.sh" \
  cmake g++ make flex libfl-dev libicu-dev libgtest-dev libgmock-dev libbenchmark-dev \
  nlohmann-json3-dev libcli11-dev libexpat1-dev libxml2-dev pkg-config media-types help2man \
  libcurl4-openssl-dev nghttp2-server

# The checks of a run's results: a headless browser draws the HTML report, and
# node's har-validator (pinned in tests/har) reads the HAR file. Without a
# browser or without node those tests say so and skip.
bash "$(dirname "$0")/install-packages.sh" --optional --for "the HTML report test" chromium
# The Python package and its Locust user (the build and its tests skip
# them without these).
bash "$(dirname "$0")/install-packages.sh" --optional --for "the Python package and its Locust test" \
  python3-dev pybind11-dev python3-locust
if ! command -v npm >/dev/null 2>&1; then
  bash "$(dirname "$0")/install-packages.sh" --optional --for "the HAR file test" npm
fi
har_dir="$(cd "$(dirname "$0")/.." && pwd)/tests/har"
if command -v npm >/dev/null 2>&1 && [ ! -d "$har_dir/node_modules" ]; then
  (cd "$har_dir" && npm ci --no-audit --no-fund --loglevel=error) ||
    echo "webstep: npm ci in $har_dir failed; the HAR file test will fail" >&2
fi
