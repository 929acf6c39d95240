"""The controller's frames, byte by byte."""

import socket
import tempfile
import unittest

from controller import Answer, Controller, FrameReader, HANG_UP, Request, SILENCE, encode

REQUEST_FRAME = bytes.fromhex("0f c0 d0 01 02 03 5b a0")
REQUEST = Request(sequence=0x0F, network_function=0x30, lun=0, command=0xD0, data=b"\1\2\3")


class FrameTest(unittest.TestCase):
    def test_reads_a_request(self):
        self.assertEqual(FrameReader().feed(REQUEST_FRAME), [REQUEST])

    def test_reads_a_request_that_arrives_in_pieces(self):
        reader = FrameReader()
        self.assertEqual(reader.feed(REQUEST_FRAME[:3]), [])
        self.assertEqual(reader.feed(REQUEST_FRAME[3:]), [REQUEST])

    def test_reads_escaped_bytes(self):
        frame = bytes.fromhex("01 c0 d0 aa b0 aa b1 aa ba 84 a0")
        self.assertEqual(FrameReader().feed(frame)[0].data, bytes([0xA0, 0xA1, 0xAA]))

    def test_drops_control_frames(self):
        self.assertEqual(FrameReader().feed(bytes.fromhex("ff 01 a1") + REQUEST_FRAME), [REQUEST])

    def test_refuses_a_wrong_checksum(self):
        with self.assertRaises(ValueError):
            FrameReader().feed(bytes.fromhex("0f c0 d0 01 02 03 5c a0"))

    def test_writes_an_answer(self):
        self.assertEqual(encode(REQUEST, Answer(0, b"\2\1")), bytes.fromhex("0f c4 d0 00 02 01 5a a0"))

    def test_escapes_what_would_end_a_frame(self):
        self.assertEqual(encode(REQUEST, Answer(0, bytes([0xA0, 0xA1, 0xAA]))),
                         bytes.fromhex("0f c4 d0 00 aa b0 aa b1 aa ba 72 a0"))


class ControllerTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.controller = Controller(folder.name)
        self.addCleanup(self.controller.close)
        self.machine = socket.socket(socket.AF_UNIX)
        self.addCleanup(self.machine.close)
        self.machine.settimeout(0.2)
        self.machine.connect(f"{folder.name}/controller.socket")

    def test_answers_and_keeps_a_request(self):
        self.controller.answer = Answer(0, b"\2\1")
        self.machine.sendall(REQUEST_FRAME)
        self.assertEqual(self.machine.recv(100), bytes.fromhex("0f c4 d0 00 02 01 5a a0"))
        self.assertEqual(self.controller.requests, [REQUEST])

    def test_does_not_keep_what_the_kernel_asks_at_start(self):
        self.machine.sendall(bytes.fromhex("01 18 01 e6 a0"))
        self.assertEqual(self.machine.recv(100)[1:4], bytes.fromhex("1c 01 00"))
        self.assertEqual(self.controller.requests, [])

    def test_stays_silent(self):
        self.controller.answer = SILENCE
        self.machine.sendall(REQUEST_FRAME)
        with self.assertRaises(TimeoutError):
            self.machine.recv(100)
        self.assertEqual(self.controller.requests, [REQUEST])

    def test_hangs_up(self):
        self.controller.answer = HANG_UP
        self.machine.sendall(REQUEST_FRAME)
        self.assertEqual(self.machine.recv(100), b"")


if __name__ == "__main__":
    unittest.main()
