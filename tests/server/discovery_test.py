#!/usr/bin/env python3
"""inmem serve as a management tool discovers it, with the pywbem client:
the Interop namespace, the namespaces, the brand, the registered profiles
and their central instances (across namespaces, both ways), namespaces made
and deleted through CIM_Namespace, classes whose methods have reference
parameters written as MOF by the client, and all of it again after a restart
from the snapshot. Talks to loopback only; every call and the server itself
are bounded in time, and the server is stopped whatever happens.

    discovery_test.py TOOL FIXTURE PROFILE MACHINE-ROOT WORKDIR CLASSES

INMEM_PYWBEM names the folder that holds the pywbem package; without it the
test is skipped (exit 77).
"""
import os
import re
import shutil
import signal
import subprocess
import sys
import time

tool, fixture, profile, machine, work, classes = sys.argv[1:7]
pywbem_path = os.environ.get('INMEM_PYWBEM', '')
if not pywbem_path or not os.path.isdir(os.path.join(pywbem_path, 'pywbem')):
    print('INMEM_PYWBEM does not name the pywbem client: skipped')
    sys.exit(77)
sys.path.insert(0, pywbem_path)
import pywbem  # noqa: E402

shutil.rmtree(work, ignore_errors=True)
os.makedirs(work)
snapshot = os.path.join(work, 'snapshot.mof')
server = None


def fail(what):
    print('FAIL: ' + what)
    if server is not None:
        stop()
        with open(os.path.join(work, 'serve.log')) as log:
            print('--- server log:\n' + log.read())
    sys.exit(1)


def start(*args):
    global server
    log = open(os.path.join(work, 'serve.log'), 'w')
    server = subprocess.Popen(['timeout', '120', tool] + list(args), stderr=log, stdout=log,
                              start_new_session=True)
    for _ in range(100):
        with open(os.path.join(work, 'serve.log')) as text:
            found = re.search(r'listening on http://127\.0\.0\.1:(\d+)/cimom', text.read())
        if found:
            return pywbem.WBEMConnection('http://127.0.0.1:' + found.group(1), no_verification=True, timeout=20)
        if server.poll() is not None:
            fail('inmem ' + ' '.join(args) + ' did not start')
        time.sleep(0.1)
    fail('inmem did not say where it listens')


def stop():
    global server
    # One SIGTERM to inmem itself, as a service manager sends it.
    subprocess.run(['pkill', '-TERM', '-P', str(server.pid)])
    try:
        status = server.wait(timeout=20)
    except subprocess.TimeoutExpired:
        os.killpg(server.pid, signal.SIGKILL)
        status = -1
    server = None
    return status


def expect(what, got, wanted):
    if got != wanted:
        fail('%s: expected %r, got %r' % (what, wanted, got))


def profiles(wbem):
    return sorted('%s %s %s' % (p.get('OtherRegisteredOrganization') or p['RegisteredOrganization'],
                                p['RegisteredName'], p['RegisteredVersion']) for p in wbem.profiles)


def discover(conn, namespaces):
    wbem = pywbem.WBEMServer(conn)
    expect('the Interop namespace', wbem.interop_ns, 'interop')
    expect('the namespaces', sorted(wbem.namespaces), namespaces)
    expect('the brand', wbem.brand, 'inmem')
    version = subprocess.run([tool, '--version'], capture_output=True, text=True, timeout=20).stdout.split()[-1]
    expect('the version', wbem.version, version)
    expect('the profiles', profiles(wbem), ['11 Server 1.5.0', '2 Indications 1.2.2', '2 Profile Registration 1.0.0',
                                            '2 WBEM Server 1.0.0', 'inmem Linux Inventory 1.0.0',
                                            'test Fixture 1.0.0'])
    central = {
        ('DMTF', 'WBEM Server'): ('CIM_ObjectManager', 'interop'),
        ('DMTF', 'Indications'): ('CIM_IndicationService', 'interop'),
        ('Other', 'Fixture'): ('Test_System', 'root/cimv2'),
        ('Other', 'Linux Inventory'): ('PELXA_ComputerSystem', 'root/cimv2'),
    }
    for (org, name), (classname, namespace) in central.items():
        found = wbem.get_central_instances(wbem.get_selected_profiles(org, name)[0].path, classname)
        expect('the central instances of ' + name, [(p.classname, p.namespace) for p in found],
               [(classname, namespace)])
    # From the central instance back to its profile, in the other namespace.
    alpha = pywbem.CIMInstanceName('Test_System', {'Name': 'alpha'}, namespace='root/cimv2')
    back = conn.AssociatorNames(alpha, AssocClass='CIM_ElementConformsToProfile')
    expect('the profile of alpha', [(p.classname, p.namespace, p['InstanceID']) for p in back],
           [('CIM_RegisteredProfile', 'interop', 'test:Fixture+1.0.0')])
    return wbem


def methods_as_declared(conn):
    # The client prints a class as MOF only when each reference parameter
    # names its class; the parameters come in the order the MOF gave them.
    cls = conn.GetClass('Test_EnabledElement', namespace='root/classes', LocalOnly=False)
    method = cls.methods['RequestStateChange']
    expect('the parameters', list(method.parameters), ['RequestedState', 'Job', 'TimeoutPeriod'])
    expect("Job's class", method.parameters['Job'].reference_class, 'Test_ConcreteJob')
    mof = cls.tomof()
    if 'Test_ConcreteJob REF Job' not in mof:
        fail('the class as MOF lacks the reference parameter:\n' + mof)


conn = start('-m', fixture, 'serve', '--listen', '127.0.0.1:0', '--inventory', '--root', machine, '--refresh', '1',
             '--load', 'interop=' + profile, '--load', 'root/classes=' + classes, '--snapshot', snapshot)
discover(conn, ['interop', 'root/cimv2', 'root/classes'])
methods_as_declared(conn)

# A namespace made and deleted the standard way.
made = conn.CreateInstance(pywbem.CIMInstance('CIM_Namespace', properties={'Name': 'root/made'}),
                           namespace='interop')
expect('the new namespace', made['Name'], 'root/made')
expect('the namespaces after the create', sorted(pywbem.WBEMServer(conn).namespaces),
       ['interop', 'root/cimv2', 'root/classes', 'root/made'])
expect('an empty namespace', conn.EnumerateClassNames(namespace='root/made'), [])
conn.CreateInstance(pywbem.CIMInstance('CIM_Namespace', properties={'Name': 'root/kept'}), namespace='interop')
conn.DeleteInstance(made)
try:
    conn.EnumerateClassNames(namespace='root/made')
    fail('a deleted namespace still answers')
except pywbem.CIMError as e:
    expect('a deleted namespace', e.status_code, pywbem.CIM_ERR_INVALID_NAMESPACE)
# A class of the inventory changed: the namespace is built again, and the
# collections that follow feed the new one (a disk deleted comes back).
disk_class = conn.GetClass('PELXA_DiskDrive', namespace='root/cimv2', LocalOnly=True, IncludeQualifiers=True)
disk_class.properties['Shelf'] = pywbem.CIMProperty('Shelf', None, type='string')
conn.ModifyClass(disk_class, namespace='root/cimv2')
sda = pywbem.CIMInstanceName('PELXA_DiskDrive', {'DeviceID': 'sda'}, namespace='root/cimv2')
conn.DeleteInstance(sda)
for _ in range(50):
    try:
        back = conn.GetInstance(sda)
        break
    except pywbem.CIMError as e:
        expect('a deleted disk before the next collection', e.status_code, pywbem.CIM_ERR_NOT_FOUND)
        time.sleep(0.1)
else:
    fail('the collections after the class change did not reach the served namespace')
expect('the changed class of the disk collected again', 'Shelf' in back.properties, True)
om = conn.EnumerateInstanceNames('CIM_ObjectManager', namespace='interop')[0]
try:
    conn.DeleteInstance(om)
    fail('the object manager could be deleted')
except pywbem.CIMError as e:
    expect('deleting the object manager', e.status_code, pywbem.CIM_ERR_ACCESS_DENIED)
expect('the server stopped', stop(), 0)

# Restarted from the snapshot alone, its options from a file: the same
# namespaces and profiles.
conf = os.path.join(work, 'serve.conf')
with open(conf, 'w') as out:
    out.write('[serve]\nlisten = ["127.0.0.1:0"]\ninventory = true\nroot = "%s"\nsnapshot = "%s"\n' % (machine, snapshot))
conn = start('--config', conf, 'serve')
discover(conn, ['interop', 'root/cimv2', 'root/classes', 'root/kept'])
methods_as_declared(conn)
expect('the server stopped', stop(), 0)
print('discovery test: passed')
