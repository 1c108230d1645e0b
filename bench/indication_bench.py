#!/usr/bin/env python3
"""Indications, measured end to end on loopback with the real parts: inmem
serve, clients writing over CIM-XML (keep-alive HTTP, one request at a time)
and inmem listen printing what it receives.

  latency   from a CreateInstance answered to the line inmem listen prints
            for its indication (read from the listener's output as it is
            flushed): median and 99th percentile over N creations;
  rate      how fast the server delivers to one listener and to ten: the
            indications of 2N creations queued while the listeners are down,
            then delivered once they are up, from the first received to the
            last (so the clients' speed does not count); to inmem listen,
            and to listeners that only answer;
  writes    CreateInstance per second with no subscription and with ten
            (ten listeners), one client; the median of three runs;
  memory    the server's resident memory grown while one listener is down
            and its queue fills (--indication-queue indications).

    indication_bench.py TOOL FIXTURE SINK [N [QUEUE]]

SINK is bench/export_sink (listeners that only answer).

Prints a table; exits 0. Loopback only; every process is stopped at the end.
"""
import http.client
import os
import re
import signal
import socket
import statistics
import subprocess
import sys
import tempfile
import threading
import time

tool, fixture, sink_tool = sys.argv[1:4]
N = int(sys.argv[4]) if len(sys.argv) > 4 else 10000
QUEUE = int(sys.argv[5]) if len(sys.argv) > 5 else 100000
work = tempfile.mkdtemp(prefix='inmem-indication-bench-')
processes = []


def free_port():
    with socket.socket() as s:
        s.bind(('127.0.0.1', 0))
        return s.getsockname()[1]


def start(args, log_name, stdout=None):
    log = open(os.path.join(work, log_name), 'w')
    process = subprocess.Popen(['timeout', '900', tool] + args, stderr=log,
                               stdout=stdout if stdout is not None else log, start_new_session=True)
    processes.append(process)
    for _ in range(200):
        with open(os.path.join(work, log_name)) as text:
            found = re.search(r'listening on http://127\.0\.0\.1:(\d+)', text.read())
        if found:
            return process, int(found.group(1))
        time.sleep(0.05)
    sys.exit('inmem %s did not start' % args)


def stop(process):
    subprocess.run(['pkill', '-TERM', '-P', str(process.pid)])
    try:
        process.wait(timeout=30)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)


class Client:
    """CIM-XML over one keep-alive connection."""

    def __init__(self, port):
        self.connection = http.client.HTTPConnection('127.0.0.1', port, timeout=30)
        self.id = 0

    def call(self, namespace, method, parameters):
        self.id += 1
        steps = ''.join('<NAMESPACE NAME="%s"/>' % step for step in namespace.split('/'))
        body = ('<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="%d" '
                'PROTOCOLVERSION="1.0"><SIMPLEREQ><IMETHODCALL NAME="%s"><LOCALNAMESPACEPATH>%s</LOCALNAMESPACEPATH>'
                '%s</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>' % (self.id, method, steps, parameters))
        self.connection.request('POST', '/cimom', body.encode(), {
            'Content-Type': 'application/xml; charset="utf-8"', 'CIMOperation': 'MethodCall', 'CIMMethod': method,
            'CIMObject': namespace})
        answer = self.connection.getresponse().read().decode()
        if '<ERROR' in answer:
            sys.exit('%s failed: %s' % (method, answer))
        return answer

    def create(self, namespace, instance):
        answer = self.call(namespace, 'CreateInstance', '<IPARAMVALUE NAME="NewInstance">%s</IPARAMVALUE>' % instance)
        return answer[answer.find('<INSTANCENAME'):answer.rfind('</INSTANCENAME>') + 15]


def prop(name, type_, value):
    return '<PROPERTY NAME="%s" TYPE="%s"><VALUE>%s</VALUE></PROPERTY>' % (name, type_, value)


def disk(n):
    return '<INSTANCE CLASSNAME="Test_Disk">%s%s%s</INSTANCE>' % (
        prop('Id', 'string', 'd%d' % n), prop('Slot', 'uint16', n % 65536), prop('Caption', 'string', 'x' * 64))


def subscribe(client, url, query='SELECT * FROM CIM_InstCreation'):
    filter_ = client.create('interop', '<INSTANCE CLASSNAME="CIM_IndicationFilter">%s%s'
                            '<PROPERTY.ARRAY NAME="SourceNamespaces" TYPE="string"><VALUE.ARRAY><VALUE>root/cimv2'
                            '</VALUE></VALUE.ARRAY></PROPERTY.ARRAY></INSTANCE>'
                            % (prop('Query', 'string', query), prop('QueryLanguage', 'string', 'WQL')))
    destination = client.create('interop', '<INSTANCE CLASSNAME="CIM_ListenerDestinationCIMXML">%s</INSTANCE>'
                                % prop('Destination', 'string', url))
    ref = '<PROPERTY.REFERENCE NAME="%s"><VALUE.REFERENCE>%s</VALUE.REFERENCE></PROPERTY.REFERENCE>'
    client.create('interop', '<INSTANCE CLASSNAME="CIM_IndicationSubscription">%s%s</INSTANCE>'
                  % (ref % ('Filter', filter_), ref % ('Handler', destination)))


class Listener:
    """inmem listen, its printed lines timed as they arrive."""

    def __init__(self, port, name):
        self.times = []
        self.process, _ = start(['-m', fixture, '--format', 'json', 'listen', '--listen', '127.0.0.1:%d' % port],
                                name + '.log', stdout=subprocess.PIPE)
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        for _ in self.process.stdout:
            self.times.append(time.perf_counter())

    def wait(self, count, seconds=300):
        deadline = time.time() + seconds
        while len(self.times) < count and time.time() < deadline:
            time.sleep(0.01)
        return len(self.times) >= count


def serve(name):
    return start(['-m', fixture, 'serve', '--listen', '127.0.0.1:0', '--indication-queue', str(QUEUE),
                  '--delivery-interval', '1', '--delivery-retries', '1000'], name + '.log')


def rss_kib(process):
    child = subprocess.run(['pgrep', '-P', str(process.pid)], capture_output=True, text=True).stdout.split()
    with open('/proc/%s/status' % (child[0] if child else process.pid)) as status:
        return int(re.search(r'VmRSS:\s+(\d+)', status.read()).group(1))


rows = []

# Latency: one listener, one creation at a time.
server, port = serve('latency')
client = Client(port)
listen_port = free_port()
listener = Listener(listen_port, 'latency-listen')
subscribe(client, 'http://127.0.0.1:%d' % listen_port)
latencies = []
for n in range(N):
    client.create('root/cimv2', disk(n))
    answered = time.perf_counter()
    if not listener.wait(n + 1, 10):
        sys.exit('indication %d did not arrive' % n)
    latencies.append((listener.times[n] - answered) * 1000)
latencies.sort()
rows.append(('latency, CreateInstance answered to printed (ms)', 'median %.3f, p99 %.3f, max %.3f over %d' % (
    statistics.median(latencies), latencies[int(len(latencies) * 0.99) - 1], latencies[-1], N)))
stop(server)
stop(listener.process)

# Rate: the queues fill while the listeners are down, then drain; to
# inmem listen, and to listeners that only answer (export_sink), which show
# what the server does when the listener is not the slower side.
for count in (1, 10):
    total = N * 2
    server, port = serve('rate%d' % count)
    client = Client(port)
    ports = [free_port() for _ in range(count)]
    for p in ports:
        subscribe(client, 'http://127.0.0.1:%d' % p)
    for n in range(total):
        client.create('root/cimv2', disk(n))
    listeners = [Listener(p, 'rate%d-%d' % (count, i)) for i, p in enumerate(ports)]
    for one in listeners:
        if not one.wait(total):
            sys.exit('the listeners did not get every indication')
    first = min(one.times[0] for one in listeners)
    last = max(one.times[-1] for one in listeners)
    rows.append(('rate to %d inmem listen (indications/s)' % count,
                 '%.0f (%d indications in %.2f s)' % (count * total / (last - first), count * total, last - first)))
    stop(server)
    for one in listeners:
        stop(one.process)

    server, port = serve('sink%d' % count)
    client = Client(port)
    sink = subprocess.Popen(['timeout', '300', sink_tool, str(count), str(total)], stdin=subprocess.PIPE,
                            stdout=subprocess.PIPE, text=True)
    for p in sink.stdout.readline().split()[1:]:
        subscribe(client, 'http://127.0.0.1:%s' % p)
    for n in range(total):
        client.create('root/cimv2', disk(n))
    sink.stdin.write('up\n')
    sink.stdin.flush()
    rows.append(('rate to %d answering listener%s (indications/s)' % (count, '' if count == 1 else 's'),
                 sink.stdout.readline().strip()))
    sink.wait()
    stop(server)

# Writes with no subscription, and with ten whose listeners take every
# indication: listeners that only answer, and ten inmem listen processes
# (which, on a small machine, take the cores the server needs). Each case
# runs three times, alternating, on a fresh server: the median and the
# range are reported, as a small machine's rates vary from run to run.
WRITE_CASES = ((0, ''), (10, 'listeners down, queues full'), (10, 'answering listeners'), (10, 'inmem listen'))


def write_rate(count, kind):
    # With the listeners down, the queues fill once and then drop: what
    # is left is the operations' own share, making and queueing.
    server, port = start(['-m', fixture, 'serve', '--listen', '127.0.0.1:0', '--indication-queue', '1000'],
                         'writes%d%s.log' % (count, kind[:1])) if kind.startswith('listeners down') \
        else serve('writes%d%s' % (count, kind[:1]))
    client = Client(port)
    listeners, sink = [], None
    if kind.startswith('listeners down'):
        ports = [free_port() for _ in range(count)]
    elif kind == 'answering listeners':
        sink = subprocess.Popen(['timeout', '300', sink_tool, str(count), str(N)], stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, text=True)
        ports = sink.stdout.readline().split()[1:]
        sink.stdin.write('up\n')
        sink.stdin.flush()
    else:
        ports = [free_port() for _ in range(count)]
        listeners = [Listener(int(p), 'writes-%d' % i) for i, p in enumerate(ports)]
    for p in ports:
        subscribe(client, 'http://127.0.0.1:%s' % p)
    began = time.perf_counter()
    for n in range(N):
        client.create('root/cimv2', disk(n))
    took = time.perf_counter() - began
    if sink is not None:
        sink.wait()
    stop(server)
    for one in listeners:
        stop(one.process)
    return N / took


rates = {case: [] for case in WRITE_CASES}
for _ in range(3):
    for case in WRITE_CASES:
        rates[case].append(write_rate(*case))
unsubscribed = statistics.median(rates[WRITE_CASES[0]])
for count, kind in WRITE_CASES:
    median = statistics.median(rates[(count, kind)])
    change = '' if count == 0 else ', %+.0f%%' % (100 * (median / unsubscribed - 1))
    rows.append(('CreateInstance, %d subscriptions%s (per second)' % (count, ', ' + kind if kind else ''),
                 '%.0f (runs %.0f to %.0f%s)' % (median, min(rates[(count, kind)]), max(rates[(count, kind)]), change)))

# Memory: a listener down, its queue filling; beside a server that makes
# the same instances with nobody subscribed.
grown = {}
for subscribed in (False, True):
    server, port = serve('memory%d' % subscribed)
    client = Client(port)
    if subscribed:
        subscribe(client, 'http://127.0.0.1:%d' % free_port())
    before = rss_kib(server)
    for n in range(QUEUE + 1000):
        client.create('root/cimv2', disk(n))
    grown[subscribed] = rss_kib(server) - before
    stop(server)
rows.append(('memory of a full queue, listener down (MiB)',
             '%.1f for %d queued indications (%.0f bytes each); the %d instances took %.1f' % (
                 (grown[True] - grown[False]) / 1024, QUEUE, (grown[True] - grown[False]) * 1024 / QUEUE,
                 QUEUE + 1000, grown[False] / 1024)))

width = max(len(r[0]) for r in rows)
for name, value in rows:
    print('%s  %s' % (name.ljust(width), value))
