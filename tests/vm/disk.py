"""A disk with a volatile write cache. Its writes are recorded, so a power cut at any of them can be replayed later.

QEMU's driver `blklogwrites` records every write and flush of the machine, in the format of the kernel's dm-log-writes.
A power cut keeps what the machine flushed, and loses some or all of what it wrote since. That shows whether a program
waits for the disk.
"""

import pathlib
import random
import struct
from dataclasses import dataclass

SECTOR = 512
# The log begins with a superblock: magic number, version, number of entries, sector size.
SUPERBLOCK = struct.Struct("<QQQI")
MAGIC, VERSION = 0x6A736677736872, 1
# An entry: first sector, number of sectors, flags, and a length that writes and flushes do not use. It is padded to one
# sector of the log; the data follows.
ENTRY = struct.Struct("<QQQQ")
WRITE_FLAGS, FLUSH_FLAGS = 0, 1

FLUSH = "flush"  # in a history, between the writes


@dataclass(frozen=True)
class Write:
    """Bytes that the machine wrote at an offset of the disk."""

    offset: int
    data: bytes


def parse_log(log, end):
    """The writes and flushes in a log, in order: its entries that begin before the byte `end`."""
    magic, version, _, sector = SUPERBLOCK.unpack_from(log)
    if (magic, version, sector) != (MAGIC, VERSION, SECTOR):
        raise ValueError(f"not a log of version {VERSION} with sectors of {SECTOR} bytes: {log[:SECTOR].hex(' ')}")
    history, position = [], SECTOR
    while position < end:
        first, count, flags, _ = ENTRY.unpack_from(log, position)
        position += SECTOR
        if flags == WRITE_FLAGS:
            history.append(Write(first * SECTOR, log[position:position + count * SECTOR]))
            position += count * SECTOR
        elif flags == FLUSH_FLAGS and count == 0:
            history.append(FLUSH)
        else:
            raise ValueError(f"an entry that is neither a write nor a flush: flags {flags:#x}, {count} sectors")
    return history


def apply(content, writes):
    """The content of a disk after these writes."""
    result = bytearray(content)
    for write in writes:
        result[write.offset:write.offset + len(write.data)] = write.data
    return bytes(result)


def after_power_cut(content, history, seed):
    """What a power cut leaves of a disk that held `content`: everything flushed, and a random part of the rest."""
    chance = random.Random(seed)
    last_flush = max((index for index, event in enumerate(history) if event is FLUSH), default=0)
    return apply(content, [event for index, event in enumerate(history)
                           if event is not FLUSH and (index < last_flush or chance.random() < 0.5)])


class Disk:
    """The disk of one boot: two files in a folder. The next disk in that folder overwrites them."""

    def __init__(self, folder, content):
        """A disk that holds these bytes."""
        self._content = content
        self._image = pathlib.Path(folder) / "disk.image"
        self._log = pathlib.Path(folder) / "disk.log"
        self._image.write_bytes(content)
        self._log.write_bytes(b"")

    def qemu_arguments(self):
        """The device that puts this disk into a machine, as /dev/vda."""
        # no-flush: the host keeps its power, and a flush is logged at once, never behind a later write.
        files = ",".join(f"{part}.driver=file,{part}.filename={path},{part}.cache.no-flush=on"
                         for part, path in (("file", self._image), ("log", self._log)))
        return ["-blockdev", f"driver=blklogwrites,node-name=disk,{files}",
                "-device", "virtio-blk-pci,drive=disk,write-cache=on"]

    def log_size(self):
        """The size of the log: it holds everything that the machine knows to be done by now."""
        return self._log.stat().st_size

    def history(self, log_size):
        """The machine's writes and flushes up to the moment when the log had this size. The machine must be off."""
        log = self._log.read_bytes()
        writes = [event for event in parse_log(log, len(log)) if event is not FLUSH]
        if apply(self._content, writes) != self._image.read_bytes():
            raise AssertionError("the log lacks some of the writes to the disk")
        return parse_log(log, log_size)
