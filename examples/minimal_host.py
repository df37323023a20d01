#!/usr/bin/env python3
"""The smallest host in Python: waits for a panel, asks for its version words, lists its top folder.

    minimal_host.py MODULE ADDRESS
    minimal_host.py "$(pkg-config --variable=module brenholt)" 192.168.0.1

Exit codes: 0 done, 1 the link cannot run, the panel was not heard or did not answer.
"""
import ctypes
import os
import sys
import time
from ctypes import CFUNCTYPE, POINTER, c_char, c_char_p, c_int32, c_uint16, c_uint32, c_void_p

ATTEMPTS, TIMEOUT_MS, DIRECT = 3, 1000, 0
MAX_ENTRIES = 1000
FOLDER = 0x10


class DirEntry(ctypes.Structure):
    _fields_ = [("size", c_uint32), ("time_low", c_uint32), ("time_high", c_uint32),
                ("attributes", c_uint32), ("name", c_char * 260)]


if len(sys.argv) != 3:
    sys.exit("usage: minimal_host.py MODULE ADDRESS")
module = ctypes.CDLL(sys.argv[1])
table = (c_void_p * 36).in_dll(module, "FuncTable")


def slot(number, result, *arguments):
    return CFUNCTYPE(result, *arguments)(table[number])


def wide(text):
    return (text + "\0").encode("utf-16-le")


start = slot(0, c_int32, c_int32, c_int32, c_int32)
version_words = slot(2, c_int32, *[POINTER(c_uint16)] * 3)
list_folder = slot(11, c_int32, c_char_p, c_int32, POINTER(DirEntry))
stop = slot(15, None)
use_unit = slot(20, c_int32, c_char_p)


def wait_for_panel(address):
    """Panels announce themselves about once a second."""
    deadline = time.monotonic() + 5
    while not use_unit(wide(address)):
        if time.monotonic() > deadline:
            sys.exit(f"{address} was not heard; does another host run on this machine?")
        time.sleep(0.1)


def talk(address):
    wait_for_panel(address)
    words = (c_uint16(), c_uint16(), c_uint16())
    if not version_words(*words):
        sys.exit(f"{address} does not answer")
    print(f"{address}:", *(f"{word.value:04x}" for word in words))
    entries = (DirEntry * MAX_ENTRIES)()
    for entry in entries[:list_folder(wide(""), MAX_ENTRIES, entries)]:
        print(f"{entry.size:10}  {os.fsdecode(entry.name)}{'/' if entry.attributes & FOLDER else ''}")


if not start(ATTEMPTS, TIMEOUT_MS, DIRECT):
    sys.exit("the link cannot run")
try:
    talk(sys.argv[2])
finally:
    stop()
