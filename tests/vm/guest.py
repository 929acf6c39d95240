"""A virtual machine under QEMU that boots a real kernel and runs command lines."""

import base64
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
from dataclasses import dataclass

SKIPPED = 77  # the exit status that ctest counts as skipped


class GuestEnded(Exception):
    """The machine stopped, or was stopped, before it answered."""


@dataclass(frozen=True)
class Outcome:
    """A command's exit status and outputs."""

    status: int
    output: str
    errors: str


@dataclass(frozen=True)
class Image:
    """A kernel and the file system that make-initramfs made for it."""

    kernel: pathlib.Path
    initramfs: pathlib.Path


def skip_unless_possible(image):
    """Ends the test as skipped, with the reason, if this machine cannot run a guest."""
    if shutil.which("qemu-system-x86_64") is None:
        skip("qemu-system-x86_64 is not installed")
    for part in (image.kernel, image.initramfs):
        if not part.exists():
            skip(f"{part} is missing; the test vm.image says why")


def skip(reason):
    """Ends the test as skipped."""
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)


def differences(*expectations):
    """Describes each (name, actual, expected) whose values differ."""
    return [f"{what}: {actual!r}, expected {expected!r}" for what, actual, expected in expectations
            if actual != expected]


class Guest:
    """One boot, from power-on to `kill` or the end of the block. It ends with this process, or at its deadline."""

    _BOARD = ["-accel", "tcg", "-M", "pc", "-cpu", "max", "-m", "512", "-nodefaults", "-no-user-config",
              "-display", "none", "-no-reboot"]
    # no_timer_check: on a busy host the kernel would take the emulated timer for a broken one.
    _KERNEL = "console=ttyS0 quiet panic=-1 no_timer_check"

    def __init__(self, image, devices=(), deadline=600):
        """Powers on, with these QEMU arguments for devices; kills the guest after `deadline` seconds."""
        self._folder = tempfile.TemporaryDirectory(prefix="guest-")
        self._console = pathlib.Path(self._folder.name) / "console"
        self._wire, far_end = socket.socketpair()
        self._answers = self._wire.makefile("rb")
        self._qemu = subprocess.Popen(
            ["setpriv", "--pdeathsig", "KILL", "qemu-system-x86_64", *self._BOARD,
             "-kernel", str(image.kernel), "-initrd", str(image.initramfs), "-append", self._KERNEL,
             "-serial", f"file:{self._console}",
             "-chardev", f"socket,id=wire,fd={far_end.fileno()}",
             "-device", "virtio-serial-pci", "-device", "virtserialport,chardev=wire",
             *devices],
            pass_fds=[far_end.fileno()], stdin=subprocess.DEVNULL)
        far_end.close()
        self._is_late = False
        self._deadline = threading.Timer(deadline, self._stop_late)
        self._deadline.daemon = True
        self._deadline.start()

    def __enter__(self):
        try:
            self._line()  # "ready", from init
        except GuestEnded:
            self.kill()
            raise
        return self

    def __exit__(self, *_):
        self.kill()

    def run(self, command):
        """Runs a shell command line and returns its outcome."""
        self.begin(command)
        return self.finish()

    def expect(self, command):
        """Runs a shell command line that must succeed."""
        outcome = self.run(command)
        if outcome.status != 0:
            raise AssertionError(f"{command}: {outcome}")
        return outcome

    def write(self, path, text):
        """Writes a small file."""
        self.expect(f"echo {base64.b64encode(text.encode()).decode()} | base64 -d >{path}")

    def begin(self, command):
        """Starts a shell command line without waiting for it."""
        self._wire.sendall(command.encode() + b"\n")

    def finish(self):
        """Waits for the command that was begun."""
        status, output_length, errors_length = map(int, self._line().split())
        return Outcome(status, self._bytes(output_length).decode(), self._bytes(errors_length).decode())

    def kill(self):
        """Powers off at once: the guest cannot finish anything, but QEMU completes the files of its disk."""
        self._deadline.cancel()
        self._qemu.terminate()
        self._qemu.wait()
        self._answers.close()
        self._wire.close()
        self._folder.cleanup()

    def _line(self):
        line = self._answers.readline()
        if not line.endswith(b"\n"):
            raise self._ended()
        return line.decode().rstrip("\n")

    def _bytes(self, length):
        data = self._answers.read(length)
        if len(data) < length:
            raise self._ended()
        return data

    def _stop_late(self):
        self._is_late = True
        self._qemu.kill()

    def _ended(self):
        console = self._console.read_text(errors="replace") if self._console.exists() else ""
        reason = "reached its deadline" if self._is_late else "ended"
        return GuestEnded(f"the guest {reason} before it answered; its console:\n{console}")
