"""The program asks for permission through the kernel's IPMI driver; the test plays the management controller.

    ipmi_test.py KERNEL INITRAMFS PACKAGE.XML
"""

import itertools
import pathlib
import sys
import tempfile
from dataclasses import dataclass

from controller import Answer, Controller, HANG_UP, SILENCE
from guest import Guest, Image, differences, skip_unless_possible

INVENTORY = """<?xml version="1.0" encoding="UTF-8"?>
<SVMInventory lang="en">
  <Device componentID="25227" display="QRX">
    <Application componentType="FRMW" version="1.30.100" display="QRX"/>
  </Device>
</SVMInventory>
"""
ALLOWED = (
    '<?xml version="1.0" encoding="UTF-8"?><SVMInventory lang="en"><Device  componentID="25227" display="QRX">'
    '<Application componentType="FRMW" version="1.30.100" display="QRX"/></Device></SVMInventory>')
REFUSED = (
    '<?xml version="1.0" encoding="UTF-8"?><SVMInventory lang="en"><SPStatus result = "false" ><Message id="1">'
    'The shared components could not be updated through operating system because QRX and/or Vexa is not configured to '
    'enable this behavior. For enabling this set "Chassis Management at Server" attribute on QRX to "Monitor and '
    'Manage" and "Enable Shared Components Update through OS/PFW" on Vexa to true.</Message></SPStatus></SVMInventory>')

NETWORK_FUNCTION, COMMAND, DATA = 0x30, 0xD0, bytes.fromhex("00 00 00 17 04 00 00 00 04 00")
FAILED = "isQRXResetAllowed()::IPMI command does not return succes"
SUCCEEDED = "isQRXResetAllowed()::IPMI command returns succes"
LOG = "/var/lib/vtek/log/vtek.log"


def settings(mode, flag):
    """The settings in an answer: the mode at byte 10, the flag at byte 11."""
    return bytes(10) + bytes([mode, flag])


def received(data):
    """The line that the program logs for the first twelve bytes of an answer."""
    return " isQRXResetAllowed()::IPMIRequest[" + "".join(f" 0x{byte:02x}" for byte in data) + "]"


@dataclass(frozen=True)
class Scenario:
    """What the controller does, and the expected result."""

    name: str
    answer: object  # an Answer, SILENCE, HANG_UP, or None for a disconnected controller
    report: str
    logged: tuple
    device: str = "/dev/ipmi0"

    @property
    def wire(self):
        """The requests that the controller must receive."""
        is_reachable = self.answer is not None and self.device == "/dev/ipmi0"
        return [(NETWORK_FUNCTION, COMMAND, DATA)] if is_reachable else []


ENABLED = Answer(0, settings(mode=2, flag=1))
SCENARIOS = [
    Scenario("allowed", ENABLED, ALLOWED, (SUCCEEDED, received(settings(2, 1)))),
    Scenario("refused: the flag is not 1", Answer(0, settings(2, 0)), REFUSED, (SUCCEEDED, received(settings(2, 0)))),
    Scenario("refused: the mode is not 2", Answer(0, settings(0, 1)), REFUSED, (SUCCEEDED, received(settings(0, 1)))),
    Scenario("completion C0", Answer(0xC0), ALLOWED, (FAILED,)),
    Scenario("completion C1", Answer(0xC1), ALLOWED, (FAILED,)),
    Scenario("completion D4", Answer(0xD4), ALLOWED, (FAILED,)),
    Scenario("completion C1 with data that would refuse", Answer(0xC1, settings(0, 0)), ALLOWED, (FAILED,)),
    Scenario("short: no data", Answer(0), REFUSED, (SUCCEEDED, received(settings(0, 0)))),
    Scenario("short: the flag is missing", Answer(0, settings(2, 1)[:11]), REFUSED,
             (SUCCEEDED, received(settings(2, 0)))),
    Scenario("long: one byte more", Answer(0, settings(2, 1) + b"\7"), ALLOWED, (SUCCEEDED, received(settings(2, 1)))),
    Scenario("long: 253 bytes", Answer(0, settings(2, 1) + bytes(241)), ALLOWED,
             (SUCCEEDED, received(settings(2, 1)))),
    Scenario("bytes that the protocol escapes", Answer(0, bytes([0xA0, 0xA1, 0xAA]) + settings(2, 1)[3:]), ALLOWED,
             (SUCCEEDED, received(bytes([0xA0, 0xA1, 0xAA]) + settings(2, 1)[3:]))),
    Scenario("silent", SILENCE, ALLOWED, (FAILED,)),
    Scenario("no such device", ENABLED, ALLOWED, (FAILED,), device="/dev/ipmi1"),
    Scenario("closed in the middle", HANG_UP, ALLOWED, (FAILED,)),
    Scenario("allowed after that", ENABLED, ALLOWED, (SUCCEEDED, received(settings(2, 1)))),
    Scenario("closed", None, ALLOWED, (FAILED,)),
    Scenario("refused after that", Answer(0, settings(2, 0)), REFUSED, (SUCCEEDED, received(settings(2, 0)))),
]


def prepare(guest, package):
    """Makes a chassis whose inventory lists the package's component."""
    guest.write("/tmp/package.xml", package)
    guest.write("/tmp/inventory.xml", INVENTORY)
    guest.expect("mkdir -p /var/lib && vtekctl init && vtekctl inventory import /tmp/inventory.xml")


def faults_of(scenario, guest, controller):
    """Runs one scenario; returns everything that differs from the expectation."""
    if scenario.answer is None:
        controller.close()
    else:
        controller.ensure_open()
        controller.answer = scenario.answer
    controller.requests.clear()
    guest.expect(f"rm -f {LOG}")

    outcome = guest.run("qrxupdate -i")
    log = guest.expect(f"cat {LOG}").output
    wire = [(request.network_function, request.command, request.data) for request in controller.requests]

    found = differences(("exit status", outcome.status, 0), ("report", outcome.output, scenario.report),
                        ("standard error", outcome.errors, ""), ("wire", wire, scenario.wire))
    return found + [f"log: {text!r} is missing in\n{log}" for text in scenario.logged if text not in log]


def run_all(guest, controller):
    """Runs every scenario and prints its result; returns the number of failures."""
    failures = 0
    for device, scenarios in itertools.groupby(SCENARIOS, lambda scenario: scenario.device):
        guest.expect(f"vtekctl set ipmi-transport {device}")
        for scenario in scenarios:
            found = faults_of(scenario, guest, controller)
            print("FAILED" if found else "passed", "\n       ".join([scenario.name, *found]), flush=True)
            failures += bool(found)
    print(f"{len(SCENARIOS)} scenarios, {failures} failed")
    return failures


def main():
    kernel, initramfs, package = map(pathlib.Path, sys.argv[1:])
    image = Image(kernel, initramfs)
    skip_unless_possible(image)
    with tempfile.TemporaryDirectory() as folder:
        controller = Controller(folder)
        with Guest(image, controller.qemu_arguments()) as guest:
            prepare(guest, package.read_text())
            failures = run_all(guest, controller)
    sys.exit(failures > 0)


if __name__ == "__main__":
    main()
