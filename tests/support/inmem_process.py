"""An inmem command (serve, listen) run by a test: started in a session of
its own under `timeout`, its log in a file, the address it says it listens
on read from that log, and stopped with one SIGTERM to inmem itself, as a
service manager stops it."""
import os
import re
import signal
import subprocess
import time


class InmemProcess:
    def __init__(self, tool, log_path):
        self.tool = tool
        self.log_path = log_path
        self.process = None
        self.out = None

    def start(self, args, ready=r'listening on http://127\.0\.0\.1:(\d+)', limit=120, stdout=None):
        """Starts `inmem ARGS`; returns the port its log names, or None when
        it stopped or said nothing within ten seconds."""
        self.out = open(self.log_path, 'w')
        self.process = subprocess.Popen(['timeout', str(limit), self.tool] + list(args), stderr=self.out,
                                        stdout=stdout if stdout is not None else self.out, start_new_session=True)
        for _ in range(100):
            found = re.search(ready, self.log())
            if found:
                return int(found.group(1))
            if self.process.poll() is not None:
                return None
            time.sleep(0.1)
        return None

    def log(self):
        with open(self.log_path) as text:
            return text.read()

    def running(self):
        return self.process is not None and self.process.poll() is None

    def stop(self):
        """One SIGTERM to inmem; its exit status (-1 when it had to be
        killed)."""
        if self.process is None:
            return None
        subprocess.run(['pkill', '-TERM', '-P', str(self.process.pid)])
        try:
            status = self.process.wait(timeout=20)
        except subprocess.TimeoutExpired:
            os.killpg(self.process.pid, signal.SIGKILL)
            status = -1
        self.process = None
        self.out.close()
        return status
