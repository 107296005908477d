#!/usr/bin/env bash
# Installs the Debian packages the build needs, only those that are missing.
set -euo pipefail

exec bash "$(dirname "$0")/install-packages.sh" \
  cmake g++ make flex libfl-dev libicu-dev libgtest-dev libgmock-dev libbenchmark-dev \
  nlohmann-json3-dev libcli11-dev libexpat1-dev libxml2-dev pkg-config media-types help2man \
  libcurl4-openssl-dev nghttp2-server
