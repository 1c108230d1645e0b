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
