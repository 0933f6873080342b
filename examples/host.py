#!/usr/bin/env python3
"""The host of host.c in Python: python3 host.py PLUGIN PORT

The comments of host.c say why each step is there; here are those that concern Python."""

import ctypes as c
import json
import signal
import subprocess
import sys
import threading
from xml.sax.saxutils import quoteattr

RUN, APPLY = 1, 2
NO_MAC = "00:00:00:00:00:00"


class HostRequest(c.Structure):  # as far as it is read here
    _fields_ = [("size", c.c_uint32), ("fixed4", c.c_uint32), ("dataLength", c.c_uint32),
                ("unused12", c.c_uint32), ("data", c.c_void_p)]


class IoctlRequest(c.Structure):
    _fields_ = [("unused0", c.c_uint8 * 8), ("code", c.c_uint32), ("unused12", c.c_uint8 * 12),
                ("dataLength", c.c_int32), ("unused28", c.c_uint8 * 4), ("data", c.c_char_p)]


Callback = c.CFUNCTYPE(None, c.POINTER(HostRequest), c.c_void_p)


class LoadRequest(c.Structure):
    _fields_ = [("unused0", c.c_uint8 * 16), ("callback", Callback)]


@Callback  # a name of the module, so that it is not collected while the plug-in has its address
def on_record(request, reply):
    record = c.string_at(request[0].data, request[0].dataLength - 1)  # without its NUL
    print(ascii(record.decode(errors="replace")), flush=True)


def call(function, request=None):
    function(None if request is None else c.byref(request), c.create_string_buffer(112))


def adapters():
    """Yields the element for each adapter. ifname is the device, not the label of an address."""
    listed = subprocess.run(["ip", "-json", "address"], check=True, stdout=subprocess.PIPE).stdout
    for device in json.loads(listed):
        if device["link_type"] == "loopback":
            continue
        connected = int({"UP", "LOWER_UP"} <= set(device["flags"]))
        for entry in device["addr_info"]:
            if entry["family"] == "inet":
                yield (f"<Adapter MACAddress={quoteattr(device.get('address', NO_MAC))}"
                       f" Handle={quoteattr(device['ifname'])} IPAddress='{entry['local']}'"
                       f" Connected='{connected}'/>")


signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGINT, signal.SIGTERM])
plugin = c.CDLL(sys.argv[1])
call(plugin.Load, LoadRequest(callback=on_record))
call(plugin.Open)
lent = threading.Thread(target=call, args=(plugin.IOCTL, IoctlRequest(code=RUN)))
lent.start()
while True:
    text = (f"<Qorm Delta='0'><Servers><Server Port='{sys.argv[2]}'><Network>"
            f"{''.join(adapters())}</Network></Server></Servers></Qorm>").encode()
    call(plugin.IOCTL, IoctlRequest(code=APPLY, dataLength=len(text), data=text))
    if signal.sigtimedwait([signal.SIGINT, signal.SIGTERM], 0.5):
        break
while lent.is_alive():
    call(plugin.Close)
    lent.join(0.01)
call(plugin.Unload)
