"""A disk with a volatile write cache, served to QEMU over NBD.

What the machine wrote but did not flush is lost, or lost in part, when the power goes; what it flushed stays. Only so
does a test see whether the program waits for the disk.
"""

import os
import random
import socket
import struct
import threading

READ, WRITE, FLUSH = 0, 1, 3
GREETING = struct.pack(">8s8sH", b"NBDMAGIC", b"IHAVEOPT", 0b11)
OPTION = struct.Struct(">8sII")
OPTION_REPLY = struct.Struct(">QIII")
OPTION_REPLY_MAGIC = 0x3E889045565A9
OPTION_GO, REPLY_ACK, REPLY_INFO, REPLY_UNKNOWN = 7, 1, 3, 0x80000001
COMMAND = struct.Struct(">IHHQQI")
REPLY = struct.Struct(">IIQ")
REPLY_MAGIC = 0x67446698
HAS_FLAGS_AND_FLUSH = 0b101


def option_reply(option, kind, data=b""):
    """One answer in the negotiation."""
    return OPTION_REPLY.pack(OPTION_REPLY_MAGIC, option, kind, len(data)) + data


class Cache:
    """The bytes of a disk: the platter, and what was written to it but not flushed."""

    def __init__(self, content):
        self._platter = bytearray(content)
        self._view = bytearray(content)  # what a reader sees
        self._unflushed = []  # (offset, data), in the order of writing

    def __len__(self):
        return len(self._view)

    def read(self, offset, length):
        """What was written last, flushed or not."""
        return bytes(self._view[offset:offset + length])

    def write(self, offset, data):
        """Takes data that is not safe yet."""
        self._view[offset:offset + len(data)] = data
        self._unflushed.append((offset, data))

    def flush(self):
        """Makes everything safe."""
        for offset, data in self._unflushed:
            self._platter[offset:offset + len(data)] = data
        self._unflushed.clear()

    def remains(self, seed):
        """What is left after a power cut: all that was flushed, and of the rest what chance saved."""
        chance = random.Random(seed)
        platter = bytearray(self._platter)
        for offset, data in self._unflushed:
            if chance.random() < 0.5:
                platter[offset:offset + len(data)] = data
        return bytes(platter)


class Disk:
    """The disk of one boot.

    `writes` counts what the machine wrote; `is_cut` is true from the write on that was named to `at_write`.
    """

    def __init__(self, folder, content):
        """A disk of these bytes; it listens in the folder."""
        self._path = os.path.join(folder, "disk.socket")
        self._cache = Cache(content)
        self._last_write = None
        self._at_last_write = None
        self.writes = 0
        self.is_cut = False
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(self._path)
        self._listener.listen()
        self._server = threading.Thread(target=self._serve, daemon=True)
        self._server.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._listener.close()
        os.unlink(self._path)

    def qemu_arguments(self):
        """The device that puts this disk into a machine, as /dev/vda."""
        return ["-blockdev", f"driver=nbd,node-name=disk,server.type=unix,server.path={self._path}",
                "-device", "virtio-blk-pci,drive=disk,write-cache=on"]

    def at_write(self, write, cut_power):
        """Calls back at the given write from now, counted from 1: it is the last that the disk takes."""
        self._last_write = self.writes + write
        self._at_last_write = cut_power

    def remains(self, seed):
        """The disk's bytes when the machine has lost its power; the seed decides what of the cache was saved."""
        self._server.join()
        return self._cache.remains(seed)

    def _serve(self):
        connection, _ = self._listener.accept()
        with connection, connection.makefile("rb") as requests:
            self._negotiate(connection, requests)
            while self._carry_out(connection, requests):
                pass

    def _negotiate(self, connection, requests):
        connection.sendall(GREETING)
        requests.read(4)  # the client's flags
        option = None
        while option != OPTION_GO:
            _, option, length = OPTION.unpack(requests.read(OPTION.size))
            requests.read(length)
            if option == OPTION_GO:
                export = struct.pack(">HQH", 0, len(self._cache), HAS_FLAGS_AND_FLUSH)
                connection.sendall(option_reply(option, REPLY_INFO, export) + option_reply(option, REPLY_ACK))
            else:
                connection.sendall(option_reply(option, REPLY_UNKNOWN))

    def _carry_out(self, connection, requests):
        header = requests.read(COMMAND.size)
        if len(header) < COMMAND.size:
            return False
        _, _, command, handle, offset, length = COMMAND.unpack(header)
        data = b""
        if command == READ:
            data = self._cache.read(offset, length)
        elif command == WRITE:
            self._cache.write(offset, requests.read(length))
            self.writes += 1
            if self.writes == self._last_write:
                self.is_cut = True
                self._at_last_write()
                return False
        elif command == FLUSH:
            self._cache.flush()
        else:
            return False
        connection.sendall(REPLY.pack(REPLY_MAGIC, 0, handle) + data)
        return True
