# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""The stand-in for the platform's library: whether a program would load it, and what its log proves."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import json
import os
import re
import struct
import subprocess

LIBRARY = "libvtek.so.0"
MARK = b"SIMULATED platform library"  # only in the stand-in; its log begins with it
DEFAULT_ROOT = "/var/lib/vtek"
LOG_TAIL = 64 * 1024  # bytes
ELF_64, INTERPRETER = 2, 3
ANSWER_TIME = 60  # seconds for the loader; a plan gets the caller's time-out


def is_loaded_by(program):
    """Whether the program would load the stand-in. Asks the program's own loader, and never starts the program."""
    loader = _loader_of(program)
    if loader is None:
        return False
    listed = subprocess.Popen([loader, "--list", program], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    text = listed.communicate(timeout=ANSWER_TIME)[0].decode("utf-8", "replace")
    found = re.search(r"^\s*" + re.escape(LIBRARY) + r" => (\S.*) \(0x", text, re.MULTILINE)
    try:
        with open(found.group(1) if found else os.devnull, "rb") as stream:
            return MARK in stream.read()
    except EnvironmentError:
        return False


def _loader_of(program):
    """The interpreter that a 64-bit little-endian ELF program names; None for anything else."""
    try:
        with open(program, "rb") as stream:
            header = stream.read(64)
            if len(header) < 64 or header[:4] != b"\x7fELF" or header[4] != ELF_64 or header[5] != 1:
                return None
            table, = struct.unpack_from("<Q", header, 32)
            size, count = struct.unpack_from("<HH", header, 54)
            for number in range(count):
                stream.seek(table + number * size)
                entry = stream.read(56)
                if struct.unpack_from("<I", entry)[0] == INTERPRETER:
                    stream.seek(struct.unpack_from("<Q", entry, 8)[0])
                    return stream.read(struct.unpack_from("<Q", entry, 32)[0]).rstrip(b"\0").decode("utf-8")
    except (EnvironmentError, struct.error, UnicodeDecodeError):
        pass
    return None


def holder_seen_by(process):
    """Who held the repository when this process wanted it, in the words of the stand-in's log; empty if it does not say."""
    log = os.path.join(os.environ.get("VTEK_ROOT", DEFAULT_ROOT), "log", "vtek.log")
    try:
        with open(log, "rb") as stream:
            stream.seek(max(0, os.path.getsize(log) - LOG_TAIL))
            lines = stream.read().decode("utf-8", "replace").splitlines()
    except EnvironmentError:
        return ""
    pattern = re.compile(r"^\S+ \[{0}\] StartCopyFile: error 401, .*(the repository is held by [^;]*);".format(process))
    found = [match.group(1) for match in map(pattern.match, lines) if match]
    return found[-1] if found else ""


def plan(vtekctl, folder, timeout):
    """What vtekctl's plan says: an empty text if the update would succeed, else the first step that fails."""
    run = subprocess.Popen([vtekctl, "verify", "--plan", folder, "--json"], stdout=subprocess.PIPE,
                           stderr=subprocess.PIPE)
    try:
        output, errors = run.communicate(timeout=timeout)
    except subprocess.TimeoutExpired:
        run.kill()
        run.communicate()
        return "the plan did not end in time"
    try:
        answer = json.loads(output.decode("utf-8"))
        failed = [step for step in answer["steps"] if step["outcome"] == "failed"]
        if answer["wouldSucceed"] is True and not failed:
            return ""
        return "{0}: {1}".format(failed[0]["step"], failed[0]["finding"])
    except (ValueError, LookupError, TypeError):
        return errors.decode("utf-8", "replace").strip() or "the plan has no answer"
