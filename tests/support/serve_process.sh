# Sourced by the tests that start inmem serve: `stop_server_now` ends the
# server in $pid (a `timeout` wrapping inmem) whatever state the test is in.
# SIGTERM reaches inmem through timeout; past two seconds both are killed.
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
