#!/usr/bin/env bash
# The repository browser in a real browser: headless Chromium (Debian's)
# loads the overview, the class tree (searched), a class, an instance, a
# filtered list of instances, a picture and a page of the Interop namespace
# from an inmem serve started here on a loopback port, the rendered
# DOM of each is checked, and each is photographed for a person to look at
# (the PNG files stay in WORKDIR). Skipped (exit 77) where Chromium cannot
# run; scripts/install-deps.sh installs it so that CI runs it.
#   browser_test.sh TOOL FIXTURE WORKDIR
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tool=$1 fixture=$2 work=$3
rm -rf "$work" && mkdir -p "$work" && cd "$work"
if ! command -v chromium > /dev/null; then
  echo "SKIPPED: chromium is not installed (scripts/install-deps.sh installs it)"
  exit 77
fi
browser=(timeout 60 chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run
         --disable-background-networking --disable-component-update --disable-sync
         --user-data-dir="$work/profile" --hide-scrollbars --window-size=1280,900)
if ! "${browser[@]}" --dump-dom about:blank > /dev/null 2> chromium-probe.log; then
  echo "SKIPPED: chromium does not run here:"
  cat chromium-probe.log
  exit 77
fi

pid=
# shellcheck source=../support/serve_process.sh
source "$here/../support/serve_process.sh"
trap stop_server_now EXIT
fail() { echo "FAIL: $*"; cat serve.log; exit 1; }
timeout 120 "$tool" -m "$fixture" serve --listen 127.0.0.1:0 > serve.log 2>&1 &
pid=$!
port=
for _ in $(seq 100); do
  port=$(sed -n 's#.*listening on http://127\.0\.0\.1:\([0-9]*\)/cimom.*#\1#p' serve.log | head -1)
  [ -n "$port" ] && break
  sleep 0.1
done
[ -n "$port" ] || fail "the server did not start"
site=http://127.0.0.1:$port

# page NAME PATH PATTERN...: the DOM Chromium renders for PATH holds every
# extended regular expression PATTERN; a screenshot goes to NAME.png.
page() {
  local name=$1 path=$2
  shift 2
  "${browser[@]}" --dump-dom "$site$path" > $name.html 2> $name.log || fail "$name: chromium failed"
  for pattern in "$@"; do
    grep -Eq -- "$pattern" $name.html || fail "$name: /$pattern/ not in the rendered page"
  done
  "${browser[@]}" --screenshot="$work/$name.png" "$site$path" > /dev/null 2>&1 || fail "$name: no screenshot"
  [ -s $name.png ] || fail "$name: empty screenshot"
}

# The overview names its namespace, lists every namespace served (the
# Interop one too) with a link to switch to it, and says what was loaded.
page overview / '<h1>Namespace <code>root/cimv2</code></h1>' '<b>5</b>instances' 'MOF .*fixture.mof' \
  '<a href="/ns/interop/"[^>]*>interop</a>' '<summary[^>]*><span class="namespace">root/cimv2</span></summary>'
# The search (the page's script) ran: the classes whose names start with
# the text are marked, the branch above them stays open, the rest is hidden.
page classes '/classes?q=TEST_S' '2 classes match, 2 by their start' \
  'data-name="test_system" class="leaf match prefix"' 'data-name="test_systemdisk" class="leaf match prefix"' \
  'data-name="test_disk" class="leaf hidden"' '<li data-name="test_element"><details open=""'
page class /class/Test_Disk '<h1>Test_Disk</h1>' '<img src="/graph/class/Test_Disk.svg"' 'class Test_Disk : Test_Element'
page instance '/instance?path=test_disk.id%3D%22sdb%22%2Cslot%3D1' '&lt;script&gt;alert\(1\)&lt;/script&gt;' \
  'Test_SystemDisk</a> <span class="muted">as System'
grep -q '<script>alert' instance.html && fail "instance: a string from the repository became markup"
# The filter form round-trips: the list keeps what the FQL condition keeps,
# the form shows the condition, the pages' links carry it.
page filtered '/class/Test_Disk/instances?filter=Slot%20%3E%200' '1 instance kept by the filter' \
  'value="Slot &gt; 0"' 'Id=sdb, Slot=1'
grep -q 'Id=sda' filtered.html && fail "filtered: an instance the filter drops is listed"
page badfilter '/class/Test_Disk/instances?filter=Slot%20%3E' 'The filter is not one this class takes'
# Another namespace's pages live below /ns/NAME, and link within it.
page interop '/ns/interop/class/CIM_RegisteredProfile/instances' 'Instances of' \
  'href="/ns/interop/instance\?path=' 'Profile Registration'
page picture /graph/class/Test_Disk.svg '<svg' 'Test_SystemDisk'
page missing /class/Nope 'There is no class named Nope'

term_server
wait $pid || fail "the server did not stop cleanly"
pid=
echo "browser test: passed; screenshots in $work"
