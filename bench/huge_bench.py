#!/usr/bin/python3
"""The systems model from a thousand to tens of millions of instances.

    huge_bench.py HUGE_BENCH INMEM [SIZES]

HUGE_BENCH is bench/inmem_huge_bench, INMEM the inmem tool, SIZES a comma
list of instance counts (default 10^3 to 10^7 and 2.1 x 10^7). For each
size, in a process of its own: entering (instances/s), heap and RSS per
instance, random GetInstance, associators and references at degree 10, and
the MOF snapshot: written (when it fits what a snapshot may hold), parsed
and loaded in that process (when it fits the limit of MOF a user loads).
Then inmem serve --snapshot, started on the smallest snapshot written and
on each from 10^6 instances on: seconds until it answers (the snapshot loaded), its RSS,
and GetInstance and Associators
per second under wrk (8 connections, median of three 5 s runs) on
loopback.

Before each size the script compares the memory it will take with
MemAvailable and stops, saying so, when the machine cannot hold it. Every
process runs under timeout(1) and the run stops by itself.
"""

import http.client
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

from cimxml_request import name, request

if len(sys.argv) < 3:
    raise SystemExit(__doc__)
huge = os.path.abspath(sys.argv[1])
tool = os.path.abspath(sys.argv[2])
SIZES = [int(float(s)) for s in (sys.argv[3] if len(sys.argv) > 3 else
                                 '1e3,1e4,1e5,1e6,1e7,2.1e7').split(',')]
LUA = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'server_bench.lua')
# Memory a size takes, per instance: the model, and beside it the snapshot
# loaded again (only where the MOF fits the limit of MOF a user loads, about
# 3 x 10^6); inmem serve on a snapshot: the model and the file's text.
BYTES_PER_INSTANCE = 900
MOF_LIMIT_INSTANCES = 3000000
BYTES_PER_LOADED_INSTANCE = 1200
BYTES_PER_SERVED_INSTANCE = 800
work = tempfile.mkdtemp(prefix='huge_bench.')
processes = []


def fail(message):
    raise SystemExit('huge_bench: %s (files in %s)' % (message, work))


def available_bytes():
    with open('/proc/meminfo') as f:
        for line in f:
            if line.startswith('MemAvailable:'):
                return int(line.split()[1]) * 1024
    fail('/proc/meminfo has no MemAvailable')


def needed_bytes(size):
    loaded = BYTES_PER_LOADED_INSTANCE * size if size <= MOF_LIMIT_INSTANCES else 0
    return BYTES_PER_INSTANCE * size + loaded + (512 << 20)


def run_size(size):
    folder = os.path.join(work, 'size-%d' % size)
    os.mkdir(folder)
    started = time.time()
    done = subprocess.run(['timeout', '3600', huge, str(size), folder], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True)
    if done.returncode != 0:
        fail('inmem_huge_bench %d failed (exit %d): %s' % (size, done.returncode, done.stdout))
    figures = {}
    for line in done.stdout.splitlines():
        name, value = line.split()
        figures[name] = float(value)
    figures['wall_s'] = time.time() - started
    figures['mof'] = os.path.join(folder, 'huge.mof')
    return figures


# ---- inmem serve on a snapshot -------------------------------------------------

def rss_bytes(pid):
    with open('/proc/%d/status' % pid) as f:
        found = re.search(r'VmRSS:\s+(\d+) kB', f.read())
    return int(found.group(1)) * 1024 if found else 0


def server_pid(process):
    """The inmem process under timeout(1)."""
    for entry in os.listdir('/proc'):
        if entry.isdigit():
            try:
                with open('/proc/%s/stat' % entry) as f:
                    stat = f.read()
            except OSError:
                continue
            fields = stat[stat.rindex(')') + 2:].split()
            if int(fields[1]) == process.pid:
                return int(entry)
    fail('no inmem process under timeout %d' % process.pid)


def stop(process):
    if process.poll() is None:
        os.killpg(process.pid, signal.SIGTERM)
        try:
            process.wait(timeout=30)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait(timeout=30)


def post(port, method, body):
    connection = http.client.HTTPConnection('127.0.0.1', port, timeout=60)
    try:
        connection.request('POST', '/cimom', body.encode(), {
            'Content-Type': 'application/xml; charset="utf-8"', 'CIMOperation': 'MethodCall',
            'CIMMethod': method, 'CIMObject': 'root/cimv2'})
        answer = connection.getresponse()
        return answer.status, answer.read()
    finally:
        connection.close()


def wrk(port, label, method, body, must_hold):
    """Requests per second: the median of three 5 s runs (one run alone
    varies by a quarter on this machine)."""
    status, answer = post(port, method, body)
    if status != 200 or any(text.encode() not in answer for text in must_hold):
        fail('%s answered %d: %s' % (label, status, answer[:300]))
    request_file = os.path.join(work, label + '.request')
    answer_file = os.path.join(work, label + '.answer')
    with open(request_file, 'w') as f:
        f.write(body)
    with open(answer_file, 'wb') as f:
        f.write(answer)
    rates = []
    for _ in range(3):
        done = subprocess.run(['timeout', '120', 'wrk', '-t2', '-c8', '-d5s', '--timeout', '20s', '-s', LUA,
                               'http://127.0.0.1:%d/cimom' % port, '--', request_file, method, answer_file],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        found = re.search(r'server_bench: (.*)', done.stdout)
        if done.returncode != 0 or not found:
            fail('wrk %s: %s' % (label, done.stdout))
        figures = {k: int(v) for k, v in (pair.split('=') for pair in found.group(1).split())}
        wrong = sum(figures[k] for k in ('not200', 'cimerror', 'otherbody', 'connect', 'read', 'write', 'timeout'))
        if wrong:
            fail('wrk %s: %d wrong answers or socket errors: %s' % (label, wrong, found.group(1)))
        rates.append(figures['requests'] / (figures['duration_us'] / 1e6))
    return sorted(rates)[1]


def serve(figures):
    """Starts inmem serve on the size's snapshot and measures it."""
    size = int(figures['instances'])
    log = open(os.path.join(work, 'serve-%d.log' % size), 'w')
    started = time.time()
    process = subprocess.Popen(['timeout', '1800', tool, 'serve', '--snapshot', figures['mof'], '--listen',
                                '127.0.0.1:0', '--threads', '2'], stdin=subprocess.DEVNULL, stdout=log,
                               stderr=log, start_new_session=True)
    processes.append(process)
    port = None
    while port is None:
        with open(log.name) as text:
            found = re.search(r'listening on http://127\.0\.0\.1:(\d+)', text.read())
        if found:
            port = int(found.group(1))
        elif process.poll() is not None or time.time() - started > 1700:
            fail('inmem serve on %d instances did not start' % size)
        else:
            time.sleep(0.05)
    served = {'ready_s': time.time() - started, 'rss': rss_bytes(server_pid(process))}
    associations = (size * 10 // 21) // 10 * 10
    middle = associations // 2
    served['get_instance'] = wrk(port, 'get-%d' % size, 'GetInstance', request(
        'GetInstance', '<IPARAMVALUE NAME="InstanceName">%s</IPARAMVALUE>' % name('Part', 'Id', 'part%d' % middle)),
        ['>part%d<' % middle])
    system = middle // 10
    served['associators'] = wrk(port, 'assoc-%d' % size, 'Associators', request(
        'Associators', '<IPARAMVALUE NAME="ObjectName">%s</IPARAMVALUE>' % name('Sys', 'Name', 'sys%d' % system)),
        ['>part%d<' % (system * 10 + c) for c in range(10)])
    stop(process)
    return served


# ---- the run ----------------------------------------------------------------------

def main():
    results = []
    for size in SIZES:
        need, have = needed_bytes(size), available_bytes()
        if need > have:
            print('%d instances: not run, needs about %.1f GiB and MemAvailable is %.1f GiB'
                  % (size, need / 2**30, have / 2**30))
            break
        results.append(run_size(size))
        print('%d instances measured in %.0f s' % (results[-1]['instances'], results[-1]['wall_s']), flush=True)
    if not results:
        fail('no size could run')

    print()
    print('| instances | enter /s | heap B/inst | heap B/system, component, association | RSS B/inst '
          '| GetInstance ns | associators us | references us | MOF MB | MOF write s | MOF parse s | MOF load s '
          '| load RSS B/inst |')
    print('|---|---|---|---|---|---|---|---|---|---|---|---|---|')
    for r in results:
        written = 'mof_parse_s' in r
        print('| %d | %.0fk | %.0f | %.0f, %.0f, %.0f | %.0f | %.0f | %.2f | %.2f | %.1f | %.1f | %s | %s | %s |' % (
            r['instances'], r['enter_per_s'] / 1000, r['heap_per_instance'], r['heap_per_system'],
            r['heap_per_component'], r['heap_per_association'], r['rss_per_instance'],
            r['get_instance_ns'], r['associators_us'], r['references_us'], r['mof_bytes'] / 1e6,
            r['mof_write_s'], '%.2f' % r['mof_parse_s'] if written else 'in inmem serve',
            '%.2f' % r['mof_load_s'] if written else '-',
            '%.0f' % r['mof_load_rss_per_instance'] if written else '-'))

    loadable = [r for r in results if 'mof_over_limit' not in r]
    if loadable:
        print()
        print('| inmem serve --snapshot of | ready s | RSS MiB | GetInstance /s | Associators /s |')
        print('|---|---|---|---|---|')
        for r in [r for i, r in enumerate(loadable) if i == 0 or r['instances'] >= 0.99e6]:
            need = BYTES_PER_SERVED_INSTANCE * r['instances'] + r['mof_bytes'] + (512 << 20)
            if need > available_bytes():
                print('| %d instances | not run: needs about %.1f GiB | | | |' % (r['instances'], need / 2**30))
                continue
            s = serve(r)
            print('| %d instances | %.1f | %.0f | %.0f | %.0f |' % (
                r['instances'], s['ready_s'], s['rss'] / 2**20, s['get_instance'], s['associators']), flush=True)
    if len(loadable) < len(results):
        print()
        print('Snapshots over what a snapshot may hold were not written: from %d instances on.'
              % results[len(loadable)]['instances'])


finished = False
try:
    main()
    finished = True
finally:
    for p in processes:
        stop(p)
    if finished:                               # a failure leaves its files to look at
        shutil.rmtree(work, ignore_errors=True)
