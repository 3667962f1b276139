#!/usr/bin/env python3
"""The store from Python, through ctypes: shows the items of a codeplug, writes one and takes the flash contents out.

Usage: script.py LIBVOK_C PSDT CODEPLUG RESULT
"""

import ctypes
import pathlib
import sys
from ctypes import POINTER, byref, c_char, c_uint8, c_uint16, c_uint32

PSDT_ADDRESS = 0xE000
CODEPLUG_ADDRESS = 0x20000
NEW_ID = 65535


class Item(ctypes.Structure):
    """vok_item"""

    _fields_ = [
        ("section", c_char * 8),
        ("partition", c_uint16),
        ("type", c_uint16),
        ("id", c_uint16),
        ("reserved", c_uint16),
        ("length", c_uint32),
    ]


class StoreError(Exception):
    """A code of the store, with its text."""


class Store:
    """The functions that this script needs; each failure is a StoreError."""

    def __init__(self, path):
        self.library = ctypes.CDLL(path)
        self.library.vok_error_text.argtypes = [c_uint16]
        self.library.vok_error_text.restype = ctypes.c_char_p
        self._declare("vok_load_psdt", ctypes.c_char_p, c_uint32, c_uint32)
        self._declare("vok_load_codeplug", ctypes.c_char_p, c_uint32, c_uint32, c_uint16)
        self._declare("vok_mount", ctypes.c_void_p, c_uint32, POINTER(c_uint32))
        self._declare("vok_list", ctypes.c_char_p, POINTER(Item), c_uint32, POINTER(c_uint32))
        self._declare("vok_read", c_uint16, c_uint16, ctypes.c_char_p, POINTER(c_uint32))
        self._declare("vok_write", c_uint16, POINTER(c_uint16), ctypes.c_char_p, c_uint32)
        self._declare("vok_flash_read", c_uint32, c_uint32, ctypes.c_char_p)
        self._declare("vok_close")

    def _declare(self, name, *arguments):
        function = getattr(self.library, name)
        function.argtypes = arguments
        function.restype = c_uint16
        function.errcheck = self._check

    def _check(self, code, function, _):
        if code != 0:
            raise StoreError(f"{function.__name__}: {code} {self.library.vok_error_text(code).decode()}")

    def load(self, psdt, codeplug):
        self.library.vok_load_psdt(psdt, len(psdt), PSDT_ADDRESS)
        self.library.vok_load_codeplug(codeplug, len(codeplug), CODEPLUG_ADDRESS, 0)
        self.library.vok_mount(None, 0, None)

    def items(self):
        count = c_uint32()
        self.library.vok_list(None, None, 0, byref(count))
        items = (Item * count.value)()
        self.library.vok_list(None, items, count.value, byref(count))
        return list(items)

    def read(self, item):
        buffer = ctypes.create_string_buffer(item.length)
        length = c_uint32(item.length)
        self.library.vok_read(item.type, item.id, buffer, byref(length))
        return buffer.raw

    def write(self, item_type, data):
        item_id = c_uint16(NEW_ID)
        self.library.vok_write(item_type, byref(item_id), data, len(data))
        return item_id.value

    def take_out(self, length):
        buffer = ctypes.create_string_buffer(length)
        self.library.vok_flash_read(CODEPLUG_ADDRESS, CODEPLUG_ADDRESS + length, buffer)
        self.library.vok_close()
        return buffer.raw


def main(library, psdt, codeplug, result):
    store = Store(library)
    codeplug = pathlib.Path(codeplug).read_bytes()
    store.load(pathlib.Path(psdt).read_bytes(), codeplug)
    items = store.items()
    for item in items:
        print(f"{item.section.decode()}: type {item.type} ID {item.id}, {len(store.read(item))} bytes")
    added = store.write(items[0].type, b"written from Python")
    print(f"added type {items[0].type} ID {added}")
    pathlib.Path(result).write_bytes(store.take_out(len(codeplug)))


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    try:
        main(*sys.argv[1:])
    except (OSError, StoreError) as error:
        sys.exit(f"script.py: {error}")
