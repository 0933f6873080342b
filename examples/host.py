#!/usr/bin/env python3
"""The host of host.c in Python: python3 host.py PLUGIN PORT

The comments of host.c explain the steps. The comments here concern only Python."""

import ctypes as c
import json
import signal
import struct
import subprocess
import sys
import threading
import time
from xml.sax.saxutils import quoteattr

RUN, APPLY = 1, 2
SIGNALS = [signal.SIGINT, signal.SIGTERM]


@c.CFUNCTYPE(None, c.c_void_p, c.c_void_p)  # global: ctypes must not free it before the end
def on_record(request, reply):
    length, data = struct.unpack("8xI4xQ", c.string_at(request, 24))
    print(ascii(c.string_at(data, length - 1).decode(errors="replace")), flush=True)


def call(function, layout="", *fields):
    """Calls an entry point. `layout` is that of its request in pelorin/plugin.h. During the call
    ctypes releases the interpreter's lock, so the callback can run on other threads."""
    function(struct.pack(layout, *fields), c.create_string_buffer(112))  # size of the longest reply


def adapters():
    """Yields the two elements of each address. `ifname` is the device, not the address's label."""
    listed = subprocess.run(["ip", "-json", "address"], check=True, stdout=subprocess.PIPE).stdout
    for device in json.loads(listed):
        mac = quoteattr(device.get("address", "00:00:00:00:00:00"))
        connected = {"UP", "LOWER_UP"} <= set(device["flags"])
        for entry in device["addr_info"]:
            if entry["family"] == "inet" and connected and device["link_type"] != "loopback":
                yield (f"<Adapter MACAddress={mac} Handle={quoteattr(device['ifname'])}"
                       f" IPAddress='{entry['local']}' Connected='1'/><Adapter MACAddress='-'"
                       f" Handle='{device['ifindex']}' IPAddress='0.0.0.0' Connected='1'/>")


signal.pthread_sigmask(signal.SIG_BLOCK, SIGNALS)
plugin = c.CDLL(sys.argv[1])
call(plugin.Load, "16xQ", c.cast(on_record, c.c_void_p).value)
call(plugin.Open)
lent = threading.Thread(target=call, args=(plugin.IOCTL, "8xI28x", RUN))
lent.start()
try:
    while True:
        text = c.create_string_buffer(
            (f"<Qorm Delta='0'><Servers><Server Port='{sys.argv[2]}'><Network>"
             f"{''.join(adapters())}</Network></Server></Servers></Qorm>").encode())
        call(plugin.IOCTL, "8xI12xi4xQ", APPLY, -1, c.addressof(text))
        time.sleep(0.5)  # sigtimedwait() of Python 3.11 would report a false signal after SIGCONT
        if signal.sigpending() & set(SIGNALS):
            break
finally:  # also after an error, such as a missing "ip": Python's exit waits for the lent thread
    while lent.is_alive():
        call(plugin.Close)
        lent.join(0.01)
    call(plugin.Unload)
