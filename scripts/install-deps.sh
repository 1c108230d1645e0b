#!/usr/bin/env bash
# Installs the Debian packages one of the Makefile's jobs needs, and only
# those that are missing, so that a machine that has them all is not touched.
#
#   install-deps.sh run        building the tool and running the main job (make run)
#   install-deps.sh test       that, and what the tests need (make test, make sanitize)
#   install-deps.sh bench      that of run, the benchmark library, and wrk and nginx (make bench)
#   install-deps.sh deb        that of run, and what makes the Debian package (make deb)
#   install-deps.sh fuzz       that of run, and clang with its fuzzer runtime (make fuzz)
#   install-deps.sh --list SET the packages of SET, one a line, installing nothing
#
# Every set holds the main job's, since each of those jobs builds it too.
set -euo pipefail

list=false
if [ "${1:-}" = --list ]; then
  list=true
  shift
fi
set_name="${1:-test}"

# Building the libraries and the tool, and running `inmem inventory`.
run=(
  g++ cmake make
  libboost-dev        # shared_ptr, weak_ptr, function
  libcli11-dev        # command lines of the host tools
  libedit-dev         # line editing and history in the tool's shell
  libabsl-dev         # flat hash table of the instances by path
  libexpat1-dev       # reads the XML of CIM requests (inmem serve, built into the tool)
  libssl-dev          # TLS and password hashes of inmem serve
)
# The tests, beyond the main job.
test=(
  libgtest-dev libgmock-dev
  sblim-wbemcli       # a real CIM client, for the server's tests
  libxml2-utils       # xmllint: the server's answers checked against the CIM-XML DTD
  openssl             # certificates for the HTTPS tests
  curl                # raw requests in the server's tests
  procps              # pkill: the server's tests stop inmem serve with it
  python3 python3-requests python3-ply python3-yaml python3-urllib3 python3-certifi
  python3-idna python3-typing-extensions  # what the pywbem client of the discovery and indication tests needs
  graphviz            # dot: the pictures of inmem graph and of the browser's pages
  chromium            # the browser test of the pages (headless)
  pkg-config          # the install test builds a host with it
  man-db              # the install test reads the manual page
)
bench=(
  libbenchmark-dev
  python3 procps      # bench/indication_bench.py runs inmem serve and listen, stops them with pkill
  wrk                 # bench/server_bench.py: the HTTP load generator (with LuaJIT scripting)
  nginx-light         # bench/server_bench.py: the floor, one worker answering the same bytes
)
deb=(
  dpkg-dev            # dpkg-shlibdeps: the library dependencies of make deb
)
fuzz=(
  clang               # libFuzzer comes with clang
  libclang-rt-14-dev  # the fuzzer and sanitizer runtimes of Debian 12's clang
)

case "$set_name" in
  run) packages=("${run[@]}") ;;
  test) packages=("${run[@]}" "${test[@]}") ;;
  bench) packages=("${run[@]}" "${bench[@]}") ;;
  deb) packages=("${run[@]}" "${deb[@]}") ;;
  fuzz) packages=("${run[@]}" "${fuzz[@]}") ;;
  *)
    echo "install-deps.sh: no set '$set_name' (run, test, bench, deb or fuzz)" >&2
    exit 2
    ;;
esac

if $list; then
  printf '%s\n' "${packages[@]}"
  exit 0
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
