# Sourced by the tests that start inmem serve, as $pid: a `timeout` wrapping
# inmem.
#
# `term_server` asks inmem to stop, as a service manager does: one SIGTERM
# to inmem itself. Through timeout it would get two (timeout passes the
# signal on to its child and then to its whole process group), and the
# second, when it comes late on a loaded machine, finds inmem done with its
# orderly stop and ends it by the signal's default action.
term_server() {
  pkill -TERM -P "$pid" 2> /dev/null || true
}

# `stop_server_now` ends the server whatever state the test is in: SIGTERM
# to both; past two seconds both are killed.
stop_server_now() {
  [ -n "${pid:-}" ] || return 0
  kill -TERM "$pid" 2> /dev/null || true
  for _ in $(seq 20); do
    kill -0 "$pid" 2> /dev/null || break
    sleep 0.1
  done
  pkill -9 -P "$pid" 2> /dev/null || true
  kill -9 "$pid" 2> /dev/null || true
  pid=
}

# `start_inmem LOG OUT PATTERN ARGS...` starts `inmem ARGS` (as $tool)
# under timeout, stderr to LOG and stdout to OUT (the same file may be
# both), and sets $pid and $port: the port PATTERN (a sed expression that
# prints it) finds in LOG. Calls `fail` when inmem stops or says nothing.
start_inmem() {
  local log=$1 out=$2 pattern=$3
  shift 3
  : > "$log"
  : > "$out"
  if [ "$log" = "$out" ]; then
    timeout 300 "$tool" "$@" > "$log" 2>&1 &
  else
    timeout 300 "$tool" "$@" > "$out" 2> "$log" &
  fi
  pid=$!
  port=
  for _ in $(seq 100); do
    port=$(sed -n "$pattern" "$log" | head -1)
    [ -n "$port" ] && return
    kill -0 $pid 2> /dev/null || fail "inmem $* did not start"
    sleep 0.1
  done
  fail "inmem $* did not say where it listens"
}
