#!/usr/bin/env bash
# inmem listen as people run it: the real binary on loopback port 0, export
# requests sent with curl, what it prints checked line by line, refusals
# that leave it running, the loopback rule, and SIGTERM. Every call is
# bounded in time; the listener stops by itself before the script ends.
#   listen_test.sh TOOL SCHEMA WORKDIR
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tool=$1 schema=$2 work=$3
command -v curl > /dev/null || { echo "curl is missing: scripts/install-deps.sh installs it"; exit 1; }
rm -rf "$work" && mkdir -p "$work" && cd "$work"

pid=
# shellcheck source=../support/serve_process.sh
source "$here/../support/serve_process.sh"
trap stop_server_now EXIT
fail() { echo "FAIL: $*"; echo "--- stdout:"; cat out.txt 2> /dev/null || true; echo "--- stderr:"; cat err.txt 2> /dev/null || true; exit 1; }

# start ARGS...: runs inmem ARGS in the background; sets pid and port.
start() {
  start_inmem err.txt out.txt 's#^inmem listen: listening on http://127\.0\.0\.1:\([0-9]*\)/$#\1#p' "$@"
}
stop() {
  term_server
  local status=0
  wait $pid || status=$?
  pid=
  [ $status -eq 0 ] || fail "the listener ended with status $status on SIGTERM"
  grep -q "^inmem listen: stopping$" err.txt || fail "no stopping line"
}
# wait_lines N: until stdout has N lines (the listener flushes each
# indication at once, so they come without waiting for the end).
wait_lines() {
  for _ in $(seq 50); do
    [ "$(wc -l < out.txt)" -ge "$1" ] && return
    sleep 0.1
  done
  fail "expected $1 lines on stdout"
}
escaped() { sed 's/&/\&amp;/g; s/</\&lt;/g; s/>/\&gt;/g; s/"/\&quot;/g' <<< "$1"; }
prop() { echo "<PROPERTY NAME=\"$1\" TYPE=\"$2\"><VALUE>$3</VALUE></PROPERTY>"; }
disk() { echo "<INSTANCE CLASSNAME=\"Test_Disk\">$(prop Id string sda)$(prop Slot uint16 0)$(prop Size uint64 "$1")$(prop Kind uint16 "$2")</INSTANCE>"; }
# indication CLASS PROPERTIES: an export request document.
indication() {
  echo "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"77\" PROTOCOLVERSION=\"1.0\"><SIMPLEEXPREQ><EXPMETHODCALL NAME=\"ExportIndication\"><EXPPARAMVALUE NAME=\"NewIndication\"><INSTANCE CLASSNAME=\"$1\">$(prop IndicationIdentifier string 5)$2</INSTANCE></EXPPARAMVALUE></EXPMETHODCALL></SIMPLEEXPREQ></MESSAGE></CIM>"
}
# send BODY [CURL ARGS...]: prints the status line, headers and body.
# $cim_export and $cim_method, when set, replace the CIM headers.
send() {
  local body=$1
  shift
  curl -s -i --max-time 20 -H "${cim_export:-CIMExport: MethodRequest}" \
    -H "${cim_method:-CIMExportMethod: ExportIndication}" \
    -H "Content-Type: application/xml; charset=utf-8" "$@" --data-binary "$body" "http://127.0.0.1:$port/"
}
expect() {
  local what=$1 pattern=$2 text=$3
  grep -Eq -- "$pattern" <<< "$text" || fail "$what: expected /$pattern/ in:
$text"
}

creation=$(indication CIM_InstCreation "<PROPERTY NAME=\"SourceInstance\" TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE>$(escaped "$(disk 1000 3)")</VALUE></PROPERTY>")
modification=$(indication CIM_InstModification "<PROPERTY NAME=\"SourceInstance\" TYPE=\"string\" EMBEDDEDOBJECT=\"instance\"><VALUE>$(escaped "$(disk 2000000000 2)")</VALUE></PROPERTY><PROPERTY NAME=\"PreviousInstance\" TYPE=\"string\"><VALUE>$(escaped "$(disk 1000 3)")</VALUE></PROPERTY>")

# --- text, with the schema's display text.
start -m "$schema" listen --listen 127.0.0.1:0 --max-body 8192
answer=$(send "$creation")
expect "creation answered" '^HTTP/1.1 200' "$answer"
expect "export response header" '^CIMExport: MethodResponse' "$answer"
expect "export response" '<MESSAGE ID="77" PROTOCOLVERSION="1.0"><SIMPLEEXPRSP><EXPMETHODRESPONSE NAME="ExportIndication"></EXPMETHODRESPONSE>' "$answer"
wait_lines 7
expect "creation line" '^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:.]{12}Z CIM_InstCreation test_disk\.id="sda",slot=0$' "$(sed -n 1p out.txt)"
expect "display text" '^        Size = 1000 Bytes$' "$(cat out.txt)"
expect "value map" '^        Kind = Solid$' "$(cat out.txt)"
# Refusals answer and leave the listener running.
expect "no CIMExport" '^CIMError: unsupported-operation' "$(cim_export="CIMOperation: MethodCall" send "$creation")"
expect "not XML" '^CIMError: request-not-well-formed' "$(send "<CIM><MESS")"
expect "header mismatch" '^CIMError: header-mismatch' "$(cim_method="CIMExportMethod: ExportOther" send "$creation")"
expect "body too large" '^HTTP/1.1 413' "$(send "$creation$(head -c 9000 /dev/zero | tr '\0' ' ')")"
expect "another method" '<ERROR CODE="7"' "$(cim_method="CIMExportMethod: ExportAlert" send "${creation//ExportIndication/ExportAlert}")"
expect "GET /" 'inmem listen' "$(curl -s --max-time 20 "http://127.0.0.1:$port/")"
answer=$(send "$modification")
expect "modification answered" '^HTTP/1.1 200' "$answer"
wait_lines 14
expect "modification line" ' CIM_InstModification test_disk\.id="sda",slot=0$' "$(sed -n 8p out.txt)"
expect "what changed" '^        Size = 1\.9 Gigabytes \(was 1000 Bytes\)$' "$(cat out.txt)"
expect "what changed" '^        Kind = Rotating \(was Solid\)$' "$(cat out.txt)"
[ "$(wc -l < out.txt)" = 14 ] || fail "refused requests printed something"
stop
expect "access log" 'inmem listen: 127\.0\.0\.1:[0-9]+ ExportIndication CIM_InstModification http=200 cim=0' "$(cat err.txt)"

# --- JSON, without a schema: one object a line.
start --format json listen --listen 127.0.0.1:0
send "$creation" > /dev/null
send "$modification" > /dev/null
wait_lines 2
python3 -c '
import json, sys
lines = open("out.txt").read().splitlines()
assert len(lines) == 2, lines
first, second = (json.loads(line) for line in lines)
assert first["class"] == "CIM_InstCreation", first
assert first["sourceInstance"]["properties"]["Size"] == {"value": 1000, "display": "1000"}, first
assert "previousInstance" not in first, first
assert second["previousInstance"]["properties"]["Kind"]["value"] == 3, second
assert second["sourceInstance"]["properties"]["Kind"]["previous"] == "3", second
' || fail "the JSON lines are not what was sent"
stop

# --- the loopback rule: beyond loopback, users and TLS are needed.
status=0
timeout 20 "$tool" listen --listen 0.0.0.0:0 > out.txt 2> err.txt || status=$?
[ $status = 2 ] || fail "listening beyond loopback without users: status $status"
expect "needs users" 'needs --users' "$(cat err.txt)"
echo "inmem listen: all checks passed"
