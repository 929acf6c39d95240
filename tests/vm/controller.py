"""A management controller for QEMU's external IPMI interface.

A frame is a message with a checksum, in which three byte values are escaped, and an end marker.
"""

import os
import socket
import threading
from dataclasses import dataclass

END_OF_MESSAGE, END_OF_CONTROL, ESCAPE = 0xA0, 0xA1, 0xAA
ESCAPED = 0x10


@dataclass(frozen=True)
class Request:
    """A request, unescaped."""

    sequence: int
    network_function: int
    lun: int
    command: int
    data: bytes


@dataclass(frozen=True)
class Answer:
    """A completion code and the data after it."""

    completion: int
    data: bytes = b""


APPLICATION = 0x06
INVALID_COMMAND = Answer(0xC1)
# The kernel's driver sends these commands before it creates the device. By command: the answers of a controller that
# supports messages only.
START_UP = {
    0x01: Answer(0, bytes([0x20, 0x01, 0x01, 0x00, 0x02, 0x00, 0, 0, 0, 0, 0])),  # get device ID
    0x2E: Answer(0),  # set global enables
    0x2F: Answer(0, bytes([0x00])),  # get global enables
    0x30: Answer(0),  # clear message flags
    0x31: Answer(0, bytes([0x00])),  # get message flags
}
SILENCE = object()  # take the request and never answer
HANG_UP = object()  # take the request and close the connection


def checksum(body):
    """The byte that makes the sum of all bytes zero, modulo 256."""
    return -sum(body) & 0xFF


def encode(request, answer):
    """The frame that answers a request."""
    body = bytes([request.sequence, (request.network_function + 1) << 2 | request.lun, request.command,
                  answer.completion]) + answer.data
    frame = bytearray()
    for byte in body + bytes([checksum(body)]):
        if byte in (END_OF_MESSAGE, END_OF_CONTROL, ESCAPE):
            frame += bytes([ESCAPE, byte | ESCAPED])
        else:
            frame.append(byte)
    frame.append(END_OF_MESSAGE)
    return bytes(frame)


def decode(body):
    """The request in the unescaped bytes of a frame."""
    if sum(body) & 0xFF:
        raise ValueError(f"wrong checksum: {body.hex(' ')}")
    sequence, function_and_lun, command = body[:3]
    return Request(sequence, function_and_lun >> 2, function_and_lun & 3, command, bytes(body[3:-1]))


class FrameReader:
    """Parses requests from a stream of bytes; drops control frames."""

    def __init__(self):
        self._body = bytearray()
        self._escaped = False

    def feed(self, data):
        """Takes further bytes; returns the requests that they complete."""
        requests = []
        for byte in data:
            if byte == END_OF_MESSAGE:
                requests.append(decode(self._body))
                self._body.clear()
            elif byte == END_OF_CONTROL:
                self._body.clear()
            elif byte == ESCAPE:
                self._escaped = True
            else:
                self._body.append(byte & ~ESCAPED if self._escaped else byte)
                self._escaped = False
        return requests


class Controller:
    """Listens on a socket for QEMU, answers the kernel's start-up commands, and records every other request.

    `answer` decides the reaction to the recorded requests: an Answer, SILENCE or HANG_UP.
    """

    def __init__(self, folder):
        self._path = os.path.join(folder, "controller.socket")
        self._listener = None
        self._connection = None
        self.answer = INVALID_COMMAND
        self.requests = []
        self._connected = threading.Event()
        self.open()

    def qemu_arguments(self):
        """The QEMU devices that connect a machine to this controller."""
        return ["-chardev", f"socket,id=controller,path={self._path},reconnect=1",
                "-device", "ipmi-bmc-extern,id=bmc,chardev=controller", "-device", "isa-ipmi-kcs,bmc=bmc"]

    def open(self):
        """Accepts connections from now on."""
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(self._path)
        self._listener.listen()
        threading.Thread(target=self._serve, args=(self._listener,), daemon=True).start()

    def ensure_open(self):
        """Waits for the machine, which tries to connect once a second."""
        if self._listener is None:
            self.open()
        if not self._connected.wait(timeout=30):
            raise TimeoutError("the machine did not connect")

    def close(self):
        """Closes the connection and refuses new ones."""
        os.unlink(self._path)
        self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()
        self._listener = None
        self._hang_up()

    def _serve(self, listener):
        while True:
            try:
                self._connection, _ = listener.accept()
            except OSError:
                return
            self._converse(self._connection)

    def _converse(self, connection):
        reader = FrameReader()
        self._connected.set()
        with connection:
            while data := self._receive(connection):
                for request in reader.feed(data):
                    self._respond(connection, request)
        self._connected.clear()

    @staticmethod
    def _receive(connection):
        try:
            return connection.recv(4096)
        except OSError:
            return b""

    def _respond(self, connection, request):
        if request.network_function == APPLICATION:
            connection.sendall(encode(request, START_UP.get(request.command, INVALID_COMMAND)))
            return
        self.requests.append(request)
        if self.answer is HANG_UP:
            self._hang_up()
        elif self.answer is not SILENCE:
            connection.sendall(encode(request, self.answer))

    def _hang_up(self):
        self._connected.clear()
        if self._connection is not None:
            try:
                self._connection.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass  # the machine has already closed it
