"""CIM-XML request bodies for the benchmarks that talk to inmem serve."""


def request(method, parameters):
    """One intrinsic method call on root/cimv2 with its parameters' XML."""
    return ('<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" '
            'PROTOCOLVERSION="1.0"><SIMPLEREQ><IMETHODCALL NAME="%s"><LOCALNAMESPACEPATH><NAMESPACE NAME="root"/>'
            '<NAMESPACE NAME="cimv2"/></LOCALNAMESPACEPATH>%s</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>'
            % (method, parameters))


def name(class_name, key, value):
    """The instance name of a class with one string key."""
    return ('<INSTANCENAME CLASSNAME="%s"><KEYBINDING NAME="%s"><KEYVALUE VALUETYPE="string">%s</KEYVALUE>'
            '</KEYBINDING></INSTANCENAME>' % (class_name, key, value))
