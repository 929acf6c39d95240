"""The system calls of a program: counted, made to fail, or made the last one, with strace."""

import collections
import re
import shutil
import signal
import subprocess
from dataclasses import dataclass

# By system call: the errors that fit it. Calls that are not here do not fail for any such reason.
FITTING = {
    **dict.fromkeys(["openat", "openat2"], ("EIO", "ENOSPC", "EINTR", "EACCES")),
    **dict.fromkeys(["read", "pread64", "getdents64", "fstatfs"], ("EIO", "EINTR")),
    **dict.fromkeys(["write", "pwrite64", "fsync", "fdatasync", "sync_file_range", "ftruncate", "fallocate"],
                    ("EIO", "ENOSPC", "EINTR")),
    **dict.fromkeys(["mkdirat", "renameat", "renameat2"], ("EIO", "ENOSPC", "EACCES")),
    **dict.fromkeys(["unlink", "unlinkat", "newfstatat", "fchown", "fchmod", "fchmodat"], ("EIO", "EACCES")),
    **dict.fromkeys(["flock", "close"], ("EIO", "EINTR")),
    "fcntl": ("EACCES", "EINTR"),
    **dict.fromkeys(["access", "getcwd", "socket", "connect"], ("EACCES",)),
    "lseek": ("EIO",),
    **dict.fromkeys(["mmap", "brk", "mprotect"], ("ENOMEM",)),
}

KILL = "KILL"

# The program goes on without the threads that it cannot start, and its calls have the same order each time.
STARTS_THREAD = ("clone", "clone3")
WITHOUT_THREADS = ("-e", f"inject={','.join(STARTS_THREAD)}:error=EAGAIN")

# The loader's last act before the program's own code.
LOADER_READS_CACHE = re.compile(r'openat\(AT_FDCWD, "/etc/ld\.so\.cache"')
CALL = re.compile(r"^(?:\d+ +)?([a-z]\w*)\(")


@dataclass(frozen=True)
class Point:
    """One system call of a run, and what happens at it: an error, or a signal."""

    call: str
    number: int
    fault: str

    def __str__(self):
        return f"{self.call} no. {self.number}: {self.fault}"

    def command(self, program, trace, threads=False):
        """The command that runs a program with this fault."""
        effect = f"error={self.fault}" if self._signal() is None else f"signal={self.fault}"
        # strace injects into traced calls only.
        calls = ",".join((self.call, *STARTS_THREAD))
        return ["strace", *(() if threads else WITHOUT_THREADS), "-f", "-o", trace, "-e", f"trace={calls}",
                "-e", f"inject={self.call}:{effect}:when={self.number}", *program]

    def is_met(self, trace, status):
        """Whether the run came to this point, by its trace and exit status."""
        if self._signal() is not None:
            return status == -self._signal()
        return re.search(rf"^(\d+ +)?{self.call}\(.*\(INJECTED\)", trace, re.MULTILINE) is not None

    def _signal(self):
        return getattr(signal, f"SIG{self.fault}", None)


def reason_not_possible():
    """Why system calls cannot be injected here; empty when they can."""
    if shutil.which("strace") is None:
        return "strace is not installed"
    tried = subprocess.run(["strace", "-o", "/dev/null", "true"], capture_output=True, text=True)
    return f"strace cannot trace here: {tried.stderr.strip()}" if tried.returncode else ""


def traced(program, trace):
    """The command that runs a program and traces the calls that points takes."""
    return ["strace", *WITHOUT_THREADS, "-f", "-o", trace, *program]


def points(trace):
    """Every point of a traced run after its loader: each call once as the last one, and once as a failure if one fits.

    Calls of one name fail in turn with the errors that fit it.
    """
    seen = collections.Counter()
    is_loaded = reads_cache = False
    for line in trace.splitlines():
        match = CALL.match(line)
        if match is None:
            continue
        call = match.group(1)
        if call in STARTS_THREAD:
            continue
        seen[call] += 1
        if is_loaded:
            yield Point(call, seen[call], KILL)
            if call in FITTING:
                yield Point(call, seen[call], FITTING[call][seen[call] % len(FITTING[call])])
        reads_cache = reads_cache or LOADER_READS_CACHE.search(line) is not None
        is_loaded = is_loaded or (reads_cache and call == "munmap")


def spread(every, count):
    """That many of a list's elements, evenly over all of it."""
    if count is None or count >= len(every):
        return every
    return [every[(2 * i + 1) * len(every) // (2 * count)] for i in range(count)]
