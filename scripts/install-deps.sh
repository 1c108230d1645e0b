#!/usr/bin/env bash
# Installs the Debian packages that building and testing need, and only
# those that are missing, so that a machine that has them all is not touched.
# With the argument "fuzz", also what the fuzz build needs (make fuzz).
set -euo pipefail

packages=(
  g++ cmake make
  libboost-dev        # shared_ptr, weak_ptr, function
  libgtest-dev libgmock-dev
  libbenchmark-dev
  libcli11-dev        # command lines of the host tools
  libedit-dev         # line editing and history in the tool's shell
  libabsl-dev         # flat hash table of the instances by path
  libexpat1-dev       # reads the XML of CIM requests (inmem serve)
  libssl-dev          # TLS and password hashes of inmem serve
  sblim-wbemcli       # a real CIM client, for the server's tests
  libxml2-utils       # xmllint: the server's answers checked against the CIM-XML DTD
  openssl             # certificates for the HTTPS tests
  curl                # raw requests in the server's tests
  procps              # pkill: the server's tests stop inmem serve with it
  python3 python3-requests python3-ply python3-yaml python3-urllib3 python3-certifi
  python3-idna python3-typing-extensions  # what the pywbem client of the discovery test needs
  graphviz            # dot: the pictures of inmem graph and of the browser's pages
  chromium            # the browser test of the pages (headless)
  pkg-config          # the install test builds a host with it
  dpkg-dev            # dpkg-shlibdeps: the library dependencies of make deb
  man-db              # the install test reads the manual page
)
if [ "${1:-}" = fuzz ]; then
  packages+=(
    clang               # libFuzzer comes with clang
    libclang-rt-14-dev  # the fuzzer and sanitizer runtimes of Debian 12's clang
  )
fi

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$package")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
