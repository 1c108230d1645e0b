#!/usr/bin/env python3
"""inmem serve over HTTP against the machine's floor, on loopback.

The workload is the systems model of the in-process suite, as MOF: systems
with ten components each and one association instance per component
linking it to its system; 100 systems (2,100 instances, "1x") and 1,000
systems (21,000 instances, "10x"), each served by Release inmem serve with
--threads 1 and, beside it, with --threads 2. wrk sends one CIM-XML
request over and over (bench/server_bench.lua):

  GetInstance          one component, by key;
  Associators          of one system: its ten components;
  EnumerateInstances   of the component class: 1,000 (1x) or 10,000 (10x).

Each at 1 connection (wrk -t1 -c1) and at 8 (wrk -t2 -c8); --threads 2 at
8 connections only, where a second thread has work. The floor is
nginx with one worker process answering the same bytes with status 200:
each answer is taken from inmem serve first (one request), and nginx sends
it back from `return 200 '...'` when it is small, from a file when it is
not. wrk and its script are the same for both; only the URL's path differs.

Per run: requests per second; latency p50 and p99 (wrk); the server's CPU
per request (user and system time of its processes, from /proc/PID/stat
before and after the run, over the requests wrk completed); wrk's own CPU
per request (its rusage); the server's resident memory after the run. The
table has the median of the runs (the runs of all cases alternate, inmem
then nginx, so that a slow spell of the machine touches every case), the
range of the request rates, and inmem's figures over the floor's.

Every answer is checked: status 200 and the bytes expected. Answers after
which the server closed the connection are counted (wrk then opens a new
one), as are the socket errors wrk reports.

Last, memory under load: GetInstance 1x at 8 connections for RSS_SECONDS
(60, or SERVER_BENCH_RSS_SECONDS) on the --threads 2 server, its RSS taken
after the first 10 s (warmed up) and at the end; growth between the two is
reported.

    server_bench.py TOOL [SECONDS [RUNS]]      (defaults: 10 s, 3 runs)

Prints the table; exits 1 when any answer was wrong (after the table), 0
otherwise. Loopback only; every process runs under timeout(1) and is stopped
at the end, also on error.
"""
import grp
import http.client
import os
import re
import shutil
import signal
import socket
import statistics
import subprocess
import sys
import tempfile
import time

from cimxml_request import name, request

tool = os.path.abspath(sys.argv[1])
SECONDS = int(sys.argv[2]) if len(sys.argv) > 2 else 10
RUNS = int(sys.argv[3]) if len(sys.argv) > 3 else 3
LUA = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'server_bench.lua')
COMPONENTS_PER_SYSTEM = 10
SCALES = (1, 10)                     # 100 and 1,000 systems
CONNECTIONS = (1, 8)
THREADS = (1, 2)
RSS_SECONDS = int(os.environ.get('SERVER_BENCH_RSS_SECONDS', '60'))
RSS_WARM_UP = 10
# nginx reads its configuration in 4 KB pieces, and a `return` text must fit
# in one; larger answers are served from a file.
RETURN_LIMIT = 3500
CLK_TCK = os.sysconf('SC_CLK_TCK')

began = time.time()
work = tempfile.mkdtemp(prefix='inmem-server-bench-')
# nginx's worker runs as nobody when started as root: it must read the files.
os.chmod(work, 0o755)
processes = []
# Generous bounds: every run of every case, twice, plus loading and setting up.
BUDGET = len(SCALES) * 3 * (len(CONNECTIONS) * 2 + 1) * RUNS * (SECONDS + 15) + RSS_SECONDS + 600


def fail(message):
    raise SystemExit('server_bench: %s (files in %s)' % (message, work))


def free_port():
    with socket.socket() as s:
        s.bind(('127.0.0.1', 0))
        return s.getsockname()[1]


def start(args, log_name):
    """A process under timeout(1), in a process group of its own."""
    log = open(os.path.join(work, log_name), 'a')
    process = subprocess.Popen(['timeout', str(BUDGET)] + args, stdin=subprocess.DEVNULL, stdout=log,
                               stderr=log, start_new_session=True)
    processes.append(process)
    return process, log


def stop(process):
    if process.poll() is not None:
        return
    try:
        os.killpg(process.pid, signal.SIGTERM)
        process.wait(timeout=15)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        process.wait(timeout=15)
    except ProcessLookupError:
        pass


def group_members(process):
    """The processes of a started process's group, timeout(1) left out."""
    members = []
    for entry in os.listdir('/proc'):
        if not entry.isdigit():
            continue
        try:
            with open('/proc/%s/stat' % entry) as f:
                stat = f.read()
        except OSError:
            continue
        name = stat[stat.index('(') + 1:stat.rindex(')')]
        fields = stat[stat.rindex(')') + 2:].split()
        if int(fields[2]) == process.pid and name != 'timeout':
            members.append(int(entry))
    if not members:
        fail('process group %d has no server in it' % process.pid)
    return members


def cpu_seconds(pids):
    total = 0
    for pid in pids:
        with open('/proc/%d/stat' % pid) as f:
            fields = f.read().rsplit(')', 1)[1].split()
        total += int(fields[11]) + int(fields[12])   # utime, stime
    return total / CLK_TCK


def rss_mib(pids):
    total = 0
    for pid in pids:
        with open('/proc/%d/status' % pid) as f:
            total += int(re.search(r'VmRSS:\s+(\d+)', f.read()).group(1))
    return total / 1024


# ---- the workload -----------------------------------------------------------

SCHEMA = '''
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
Qualifier Description : string = null, Scope(any), Flavor(Translatable);
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Units : string = null, Scope(property, method, parameter);
Qualifier ValueMap : string[], Scope(property, method, parameter);
Qualifier Values : string[], Scope(property, method, parameter), Flavor(Translatable);

[Description("A computer")]
class Bench_System {
   [Key] string Name;
   string Caption;
   uint32 Cores;
};

[Description("A part of a computer")]
class Bench_Component {
   [Key] string Id;
   string Caption;
   [Units("Bytes")] uint64 Size;
   [ValueMap{"0", "2", "3"}, Values{"Unknown", "OK", "Degraded"}] uint16 State;
   boolean Enabled;
};

[Association, Description("A computer and one of its parts")]
class Bench_SystemComponent {
   [Key] Bench_System REF GroupComponent;
   [Key] Bench_Component REF PartComponent;
};
'''


def write_mof(scale):
    systems = 100 * scale
    parts = []
    for s in range(systems):
        parts.append('instance of Bench_System { Name = "sys%d"; Caption = "System %d"; Cores = %d; };\n'
                     % (s, s, 2 + s % 7))
    for s in range(systems):
        for c in range(COMPONENTS_PER_SYSTEM):
            parts.append('instance of Bench_Component { Id = "sys%d-part%d"; Caption = "Part %d of system %d"; '
                         'Size = %d; State = %d; Enabled = %s; };\n'
                         % (s, c, c, s, (s * COMPONENTS_PER_SYSTEM + c) << 20, 2 + c % 2,
                            'TRUE' if c % 3 else 'FALSE'))
    for s in range(systems):
        for c in range(COMPONENTS_PER_SYSTEM):
            parts.append('instance of Bench_SystemComponent { GroupComponent = "Bench_System.Name=\\"sys%d\\""; '
                         'PartComponent = "Bench_Component.Id=\\"sys%d-part%d\\""; };\n' % (s, s, c))
    path = os.path.join(work, 'systems-%dx.mof' % scale)
    with open(path, 'w') as f:
        f.write(SCHEMA + ''.join(parts))
    return path, systems * (1 + 2 * COMPONENTS_PER_SYSTEM)


def cases_of(scale):
    """(label, CIM method, request body, instances the answer must hold, keys it must name)."""
    middle = 50 * scale
    return [
        ('GetInstance', 'GetInstance',
         request('GetInstance', '<IPARAMVALUE NAME="InstanceName">%s</IPARAMVALUE>'
                 % name('Bench_Component', 'Id', 'sys%d-part5' % middle)), 1, ['>sys%d-part5<' % middle]),
        ('Associators', 'Associators',
         request('Associators', '<IPARAMVALUE NAME="ObjectName">%s</IPARAMVALUE>'
                 % name('Bench_System', 'Name', 'sys%d' % middle)), COMPONENTS_PER_SYSTEM,
         ['>sys%d-part%d<' % (middle, c) for c in range(COMPONENTS_PER_SYSTEM)]),
        ('EnumerateInstances', 'EnumerateInstances',
         request('EnumerateInstances', '<IPARAMVALUE NAME="ClassName"><CLASSNAME NAME="Bench_Component"/>'
                 '</IPARAMVALUE>'), 100 * scale * COMPONENTS_PER_SYSTEM,
         ['>sys0-part0<', '>sys%d-part9<' % (100 * scale - 1)]),
    ]


def post(port, path, method, body):
    connection = http.client.HTTPConnection('127.0.0.1', port, timeout=60)
    try:
        connection.request('POST', path, body.encode(), {
            'Content-Type': 'application/xml; charset="utf-8"', 'CIMOperation': 'MethodCall',
            'CIMMethod': method, 'CIMObject': 'root/cimv2'})
        answer = connection.getresponse()
        return answer.status, answer.read(), answer
    finally:
        connection.close()


def serve(mof, label, threads):
    process, log = start([tool, '-m', mof, 'serve', '--listen', '127.0.0.1:0', '--threads', str(threads)],
                         label + '.log')
    for _ in range(1200):                     # up to a minute to load the MOF
        with open(log.name) as text:
            found = re.search(r'listening on http://127\.0\.0\.1:(\d+)', text.read())
        if found:
            return process, log, int(found.group(1))
        if process.poll() is not None:
            fail('inmem serve -m %s stopped at start' % mof)
        time.sleep(0.05)
    fail('inmem serve -m %s did not start' % mof)


# ---- the floor ----------------------------------------------------------------

def nginx_text(body):
    """A body as an nginx single-quoted string, or None when it cannot be one."""
    text = body.decode('utf-8')
    if len(body) > RETURN_LIMIT or '$' in text:   # `return` text takes $variables
        return None
    return "'" + text.replace('\\', '\\\\').replace("'", "\\'") + "'"


def start_nginx(cases):
    port = free_port()
    site = os.path.join(work, 'www')
    temp = os.path.join(work, 'nginx-temp')
    os.makedirs(site, exist_ok=True)
    os.makedirs(temp, exist_ok=True)
    locations = []
    for case in cases:
        text = nginx_text(case['answer'])
        if text is not None:
            case['floor'] = 'return 200'
            locations.append('    location = /%s { return 200 %s; }' % (case['key'], text))
        else:
            # The static handler refuses POST with 405; the error page sends
            # the file as GET would, with status 200, the request body read
            # and dropped, the connection kept.
            case['floor'] = 'file'
            with open(os.path.join(site, case['key']), 'wb') as f:
                f.write(case['answer'])
            locations.append('    location = /%s { error_page 405 =200 $uri; }' % case['key'])
    # As root, nginx's master hands the work to a worker running as `user`
    # (nobody unless told); it refuses the directive when not root.
    user = ''
    if os.geteuid() == 0:
        group = 'nogroup'
        try:
            grp.getgrnam(group)
        except KeyError:
            group = 'nobody'
        user = 'user nobody %s;' % group
    config = '''%(user)s
worker_processes 1;
daemon off;
master_process on;
pid %(work)s/nginx.pid;
error_log %(work)s/nginx-error.log warn;
events { worker_connections 256; }
http {
  access_log off;
  client_body_temp_path %(temp)s/body;
  proxy_temp_path %(temp)s/proxy;
  fastcgi_temp_path %(temp)s/fastcgi;
  uwsgi_temp_path %(temp)s/uwsgi;
  scgi_temp_path %(temp)s/scgi;
  default_type 'application/xml; charset="utf-8"';
  sendfile on;
  keepalive_timeout 60s;
  keepalive_requests 100000000;
  server {
    listen 127.0.0.1:%(port)d;
    root %(site)s;
    add_header CIMOperation MethodResponse always;
%(locations)s
  }
}
''' % {'user': user, 'work': work, 'temp': temp, 'port': port, 'site': site, 'locations': '\n'.join(locations)}
    path = os.path.join(work, 'nginx.conf')
    with open(path, 'w') as f:
        f.write(config)
    process, _ = start(['nginx', '-p', work, '-e', os.path.join(work, 'nginx-error.log'), '-c', path], 'nginx.log')
    for _ in range(200):
        try:
            with socket.create_connection(('127.0.0.1', port), timeout=1):
                return process, port
        except OSError:
            if process.poll() is not None:
                break
            time.sleep(0.05)
    with open(os.path.join(work, 'nginx.log')) as f:
        fail('nginx did not start: %s' % f.read().strip())


# ---- one run --------------------------------------------------------------------

RESULT = re.compile(r'server_bench: (.*)')


def run_wrk(target, case, connections, seconds=SECONDS, during=None):
    """One wrk run; `during`, when given, is called while wrk runs."""
    threads = 1 if connections == 1 else 2
    output = os.path.join(work, 'wrk-%s-%s-%d.txt' % (target['name'], case['key'], connections))
    members = group_members(target['process'])
    if target['log'] is not None:
        target['log'].truncate(0)             # the access log of the last run only
    cpu_before = cpu_seconds(members)
    with open(output, 'w') as out:
        wrk = subprocess.Popen(
            ['timeout', str(seconds + 60), 'wrk', '-t%d' % threads, '-c%d' % connections, '-d%ds' % seconds,
             '--timeout', '20s', '--latency', '-s', LUA,
             'http://127.0.0.1:%d%s' % (target['port'], target['path'](case)),
             '--', case['request_file'], case['method'], case['answer_file']],
            stdin=subprocess.DEVNULL, stdout=out, stderr=subprocess.STDOUT, start_new_session=True)
        processes.append(wrk)
        if during is not None:
            during(members)
        _, status, usage = os.wait4(wrk.pid, 0)
        wrk.returncode = os.waitstatus_to_exitcode(status)
    cpu_after = cpu_seconds(members)
    with open(output) as f:
        text = f.read()
    found = RESULT.search(text)
    if wrk.returncode != 0 or not found:
        fail('wrk on %s %s did not finish (exit %d): %s' % (target['name'], case['key'], wrk.returncode, text))
    figures = {k: int(v) for k, v in (pair.split('=') for pair in found.group(1).split())}
    requests = figures['requests']
    if requests == 0:
        fail('wrk on %s %s completed no request: %s' % (target['name'], case['key'], text))
    figures['rate'] = requests / (figures['duration_us'] / 1e6)
    figures['server_us'] = (cpu_after - cpu_before) * 1e6 / requests
    figures['wrk_us'] = (usage.ru_utime + usage.ru_stime) * 1e6 / requests
    figures['rss'] = rss_mib(members)
    return figures


# ---- the benchmark ---------------------------------------------------------------

def median(runs, key):
    return statistics.median(run[key] for run in runs)


def measure():
    cases = []
    servers = {}
    for scale in SCALES:
        mof, instances = write_mof(scale)
        servers[scale] = {}
        for threads in THREADS:
            process, log, port = serve(mof, 'serve-%dx-t%d' % (scale, threads), threads)
            servers[scale][threads] = {'name': 'inmem-%dx-t%d' % (scale, threads), 'process': process, 'log': log,
                                       'port': port, 'path': lambda case: '/cimom', 'instances': instances,
                                       'threads': threads}
        port = servers[scale][1]['port']
        for label, method, body, count, keys in cases_of(scale):
            key = '%s-%dx' % (method.lower(), scale)
            request_file = os.path.join(work, 'request-%s.xml' % key)
            with open(request_file, 'w') as f:
                f.write(body)
            status, answer, response = post(port, '/cimom', method, body)
            if status != 200 or b'<ERROR' in answer:
                fail('%s answered %d: %s' % (key, status, answer[:2000]))
            found = answer.count(b'<INSTANCE CLASSNAME="Bench_Component"')
            if found != count:
                fail('%s answered %d Bench_Component instances, not %d' % (key, found, count))
            for wanted in keys:
                if wanted.encode() not in answer:
                    fail('%s answered without %s' % (key, wanted))
            for server in servers[scale].values():
                again = post(server['port'], '/cimom', method, body)[1]
                if again != answer:
                    fail('%s answered different bytes the second time (%s)' % (key, server['name']))
            answer_file = os.path.join(work, 'answer-%s.xml' % key)
            with open(answer_file, 'wb') as f:
                f.write(answer)
            cases.append({'key': key, 'label': label, 'method': method, 'scale': scale, 'answer': answer,
                          'request_file': request_file, 'answer_file': answer_file, 'count': count,
                          'servers': servers[scale],
                          'framing': 'Content-Length' if response.getheader('Content-Length') else
                          'chunked' if response.getheader('Transfer-Encoding') else 'to the close'})

    nginx, nginx_port = start_nginx(cases)
    floor = {'name': 'nginx', 'process': nginx, 'log': None, 'port': nginx_port,
             'path': lambda case: '/' + case['key']}
    for case in cases:
        status, answer, _ = post(nginx_port, '/' + case['key'], case['method'],
                                 open(case['request_file']).read())
        if status != 200 or answer != case['answer']:
            fail('nginx does not answer %s as inmem serve did (status %d, %d bytes for %d)'
                 % (case['key'], status, len(answer), len(case['answer'])))

    runs = {}
    for round_ in range(RUNS):
        for case in cases:
            for connections in CONNECTIONS:
                for target in [case['servers'][t] for t in THREADS] + [floor]:
                    kind = target_kind(target)
                    if connections == 1 and target.get('threads', 1) > 1:
                        continue
                    figures = run_wrk(target, case, connections)
                    runs.setdefault((case['key'], connections, kind), []).append(figures)
                    print('run %d/%d %-26s %d conn %-9s %9.0f req/s' % (
                        round_ + 1, RUNS, case['key'], connections, kind, figures['rate']),
                        file=sys.stderr, flush=True)

    return cases, servers, runs, rss_growth(cases[0])


def target_kind(target):
    return 'nginx' if target['name'] == 'nginx' else 'inmem-t%d' % target['threads']


def rss_growth(case):
    """RSS of the busiest server after warm-up and at the end of a long run."""
    target = case['servers'][THREADS[-1]]
    samples = {}

    def sample(members):
        time.sleep(RSS_WARM_UP)
        samples['warm'] = rss_mib(members)

    figures = run_wrk(target, case, CONNECTIONS[-1], RSS_SECONDS, sample)
    return {'case': case, 'target': target, 'warm': samples['warm'], 'end': figures['rss'],
            'requests': figures['requests'], 'wrong': figures['not200'] + figures['cimerror'] + figures['otherbody']}


def load_average():
    with open('/proc/loadavg') as f:
        return ' '.join(f.read().split()[:3])


def latency_text(us):
    ms = us / 1000
    return '%.3f' % ms if ms < 1 else '%.2f' % ms if ms < 100 else '%.1f' % ms


def cpu_text(us):
    return '%.1f' % us if us < 1000 else format(round(us), ',')


def report(cases, servers, runs, rss, load_at_start):
    """The table; the number of wrong answers."""
    wrong = 0
    lines = [
        '`inmem serve` (Release; --threads 1, and --threads 2 at 8 connections) and the floor (nginx, one '
        'worker, answering the same bytes) under wrk on 127.0.0.1, access log on (to a file), %d s a run, '
        'medians of %d runs; 1 connection: wrk -t1 -c1, 8: wrk -t2 -c8. Instances: 1x %s, 10x %s. Server '
        'CPU: user+system time of its processes over the requests wrk completed; wrk CPU: its own. RSS: the '
        'server\'s processes after the last run. "closed": answers after which the server closed the '
        'connection; socket errors (wrk\'s connect/read/write/timeout) and wrong answers (not 200, or not '
        'the bytes expected) summed over the runs. %d cores, load average %s at the start, %s at the end.'
        % (SECONDS, RUNS, format(servers[1][1]['instances'], ','), format(servers[10][1]['instances'], ','),
           os.cpu_count(), load_at_start, load_average()),
        '',
        '| workload | conn | server | sent as | req/s (range) | p50 ms | p99 ms | server CPU us/req '
        '| wrk CPU us/req | RSS MiB | closed | socket errors | wrong | inmem/floor req/s | inmem/floor CPU '
        '| 2 threads/1 req/s |',
        '|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|---|',
    ]
    kinds = ['inmem-t%d' % t for t in THREADS] + ['nginx']
    for case in cases:
        workload = '%s %dx: %s instance%s, %s B' % (
            case['label'], case['scale'], format(case['count'], ','), '' if case['count'] == 1 else 's',
            format(len(case['answer']), ','))
        for connections in CONNECTIONS:
            medians = {}
            for kind in kinds:
                these = runs.get((case['key'], connections, kind))
                if these:
                    medians[kind] = {k: median(these, k)
                                     for k in ('rate', 'p50_us', 'p99_us', 'server_us', 'wrk_us')}
            first = True
            for kind in kinds:
                if kind not in medians:
                    continue
                these = runs[(case['key'], connections, kind)]
                m = medians[kind]
                floor = kind == 'nginx'
                rates = [r['rate'] for r in these]
                requests = sum(r['requests'] for r in these)
                not200, cimerror, otherbody = (sum(r[k] for r in these) for k in ('not200', 'cimerror', 'otherbody'))
                wrong += not200 + cimerror + otherbody
                closed = sum(r['closed'] for r in these)
                lines.append('| %s | %d | %s | %s | %s (%s-%s) | %s | %s | %s | %s | %.1f | %s | %s | %s | %s | %s | %s |' % (
                    workload if first else '', connections,
                    'nginx' if floor else 'inmem, %s thread%s' % (kind[-1], '' if kind[-1] == '1' else 's'),
                    case['floor'] if floor else case['framing'],
                    format(round(m['rate']), ','), format(round(min(rates)), ','), format(round(max(rates)), ','),
                    latency_text(m['p50_us']), latency_text(m['p99_us']), cpu_text(m['server_us']),
                    cpu_text(m['wrk_us']), these[-1]['rss'],
                    '%s of %s' % (format(closed, ','), format(requests, ',')) if closed else '0',
                    '/'.join(format(sum(r[k] for r in these), ',') for k in ('connect', 'read', 'write', 'timeout')),
                    '0' if not (not200 or cimerror or otherbody) else
                    '%d (not 200: %d, CIM error: %d, other bytes: %d)' % (
                        not200 + cimerror + otherbody, not200, cimerror, otherbody),
                    '' if floor else '%.2f' % (m['rate'] / medians['nginx']['rate']),
                    '' if floor else '%.1f' % (m['server_us'] / medians['nginx']['server_us']),
                    '%.2f' % (m['rate'] / medians['inmem-t1']['rate']) if kind == 'inmem-t2' else ''))
                first = False
    wrong += rss['wrong']
    lines += ['', '"sent as": how inmem serve framed its answer (Content-Length, chunked, or to the close); '
              'how nginx sent it (`return 200 \'...\'`, or a file).',
              '',
              'Memory under load: %s at %d connections for %d s on inmem serve --threads %d, %s requests '
              '(%s wrong): RSS %.1f MiB after %d s, %.1f MiB at the end (%+.1f MiB). Took %.0f s.'
              % (rss['case']['label'] + ' %dx' % rss['case']['scale'], CONNECTIONS[-1], RSS_SECONDS,
                 rss['target']['threads'], format(rss['requests'], ','), rss['wrong'], rss['warm'], RSS_WARM_UP,
                 rss['end'], rss['end'] - rss['warm'], time.time() - began)]
    print('\n'.join(lines))
    return wrong


def main():
    load_at_start = load_average()
    wrong = report(*measure(), load_at_start)
    if wrong:
        print('server_bench: %d wrong answers (files in %s)' % (wrong, work), file=sys.stderr)
        return 1
    return 0


def interrupted(number, frame):
    fail('stopped by signal %d' % number)


if __name__ == '__main__':
    # A stop from outside goes through the cleanup below too, also when the
    # shell that started the script ignores SIGINT (as for `&`).
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, interrupted)
    status = 1
    try:
        status = main()
    finally:
        for process in reversed(processes):
            stop(process)
        if status == 0:
            shutil.rmtree(work, ignore_errors=True)
    sys.exit(status)
