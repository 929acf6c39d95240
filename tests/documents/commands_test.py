"""Runs every command of a document and compares its output with the document.

Usage: commands_test.py SOURCE DOCUMENT QRXUPDATE VTEKCTL QRXINSPECT [PREVIOUS]

After another document, PREVIOUS, it goes on in the same folder, in a shell that finds the simulated library.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

import console

SOURCE, DOCUMENT = pathlib.Path(sys.argv[1]), sys.argv[2]
QRXUPDATE, VTEKCTL, QRXINSPECT = (pathlib.Path(argument) for argument in sys.argv[3:6])
PREVIOUS = sys.argv[6] if len(sys.argv) > 6 else None

DECLARATION = '<?xml version="1.0" encoding="UTF-8"?>'
INVENTORY = (DECLARATION + '<SVMInventory lang="en"><Device  componentID="25227" display="QRX"><Application '
             'componentType="FRMW" version="1.30.100" display="QRX"/></Device></SVMInventory>')
UPDATE = (DECLARATION + '<SVMExecution lang="en"><Device  componentID="25227" display="QRX"><Application '
          'componentType="FRMW" version="1.40.200" display="QRX" packageVersion="1.40.200"><SPStatus result = "true" >'
          '<Message id="0">Update is successful</Message></SPStatus></Application></Device>'
          '<RebootRequired>0</RebootRequired></SVMExecution>')


def failed_update(message):
    return (DECLARATION + '<SVMExecution lang="en"><SPStatus result = "false" >'
            f'<Message id="1">{message}</Message></SPStatus></SVMExecution>')


def write_reports(folder):
    """Writes reports of other chassis."""
    (folder / "report.xml").write_text(INVENTORY + UPDATE)
    (folder / "damaged.xml").write_text(failed_update("R&D"))
    (folder / "chassis-1.xml").write_text(INVENTORY)
    (folder / "chassis-2.xml").write_text(failed_update("Signing the Payload failed"))


def write_both_reports(folder):
    """Writes the reports of an inventory and of a refused update to one file."""
    (folder / "both.xml").write_text(INVENTORY.replace("1.30.100", "1.40.200")
                                     + failed_update("Signing the Payload failed"))


def write_suspicious_package(folder):
    """Writes reports, and a package.xml with mistakes."""
    write_reports(folder)
    (folder / "package.xml").write_text("""\
<SoftwareComponent vendorVersion="1">
<ComponentType value="FRMW"/>
<SupportedDevices>
<Device><Display>A</Display></Device>
<Device componentID="1"><Display>B</Display></Device>
<Device componentID="1"><Display>C</Display></Device>
</SupportedDevices></SoftwareComponent>
""")


def make_chassis_and_package(folder):
    """Makes a chassis and an update package for it."""
    def vtekctl(*arguments):
        subprocess.run([VTEKCTL, "--root", folder / "chassis", *arguments], check=True, capture_output=True)

    package = folder / "package"
    make_firmware(folder)
    package.mkdir()
    shutil.copy(SOURCE / "package/package.xml", package)
    shutil.copy(QRXUPDATE, package)
    vtekctl("init")
    vtekctl("inventory", "add", "25227", "1.30.100", "--display", "Chassis controller")
    vtekctl("keygen", folder / "keys")
    vtekctl("trust", "add", folder / "keys/authority.pem")
    vtekctl("sign", folder / "firmware", "--output", package / "firmware.fwp", "--package", package / "package.xml",
            "--component", "25227", "--package-version", "1.40.200", "--chassis", "LAB-CHASSIS",
            "--certificate", folder / "keys/signer.pem", "--key", folder / "keys/signer.key")


def make_firmware(folder):
    """Makes a folder of firmware."""
    (folder / "firmware").mkdir()
    (folder / "firmware/main.bin").write_bytes(bytes(range(256)) * 64)


def link_the_source(folder):
    """Links to the source, where a developer's commands run."""
    for path in SOURCE.iterdir():
        (folder / path.name).symlink_to(path)


def make_firmware_and_description(folder):
    """Makes the input of a package."""
    make_firmware(folder)
    shutil.copy(SOURCE / "package/package.xml", folder)


# Prepares the folder in which a document's commands run.
PREPARE = {
    "README": write_both_reports,
    "docs/administrator": make_chassis_and_package,
    "docs/developer": link_the_source,
    "docs/integrator": write_reports,
    "docs/package-maker": make_firmware,
    "docs/stand-in": make_firmware_and_description,
    "docs/qrxinspect": write_suspicious_package,
}


def environment(folder):
    """Puts the tools on the path and points the simulated platform library to a chassis in the folder."""
    tools = [str(program.parent) for program in (VTEKCTL, QRXINSPECT)]
    path = os.pathsep.join([*tools, os.environ["PATH"]])
    return {**os.environ, "PATH": path, "HOME": str(folder), "LC_ALL": "C.UTF-8", "TZ": "UTC",
            "VTEK_ROOT": str(folder / "chassis")}


def check(document, folder, shell=()):
    """Runs a document's commands in the folder; ends the program if one of them is missing or prints something else."""
    blocks = console.blocks_of((SOURCE / f"{document}.md").read_text(encoding="utf-8"))
    expected = [block.text for block in blocks if not block.file]
    if not expected:
        sys.exit(f"{document} contains no command")
    shown = console.shown_by(blocks, folder, environment(folder), shell)
    if len(shown) != len(expected):
        sys.exit(f"only {len(shown)} of {len(expected)} consoles of {document} ran to the end")
    differing = [(text, real) for text, real in zip(expected, shown) if not console.fits(text, real)]
    for text, real in differing:
        print(f"--- document\n{text}--- actual output\n{real}")
    print(f"{document}: {len(expected)} consoles, {len(differing)} of them differ")
    if differing:
        sys.exit(1)


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        PREPARE[PREVIOUS or DOCUMENT](folder)
        if PREVIOUS:
            check(PREVIOUS, folder)
            check(DOCUMENT, folder, (VTEKCTL, "run"))
        else:
            check(DOCUMENT, folder)


main()
