"""The Debian package under test, as made by `make-package`."""

import pathlib
import subprocess
import sys

FOLDER, SOURCE = (pathlib.Path(argument) for argument in sys.argv[1:3])
UNPACKED = FOLDER / "unpacked"
(DEB,) = FOLDER.glob("*.deb")


def output_of(*command):
    """The output of a command, which must succeed."""
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def files():
    """The paths of all files and links that the package installs."""
    return {path.relative_to(UNPACKED).as_posix() for path in UNPACKED.rglob("*")
            if not path.is_dir() and "DEBIAN" not in path.parts}


def field(name):
    """A control field of the package."""
    return output_of("dpkg-deb", "--field", DEB, name).strip()


def programs():
    """The package's ELF files."""
    found = [UNPACKED / path for path in sorted(files()) if not (UNPACKED / path).is_symlink()]
    return [path for path in found if path.read_bytes().startswith(b"\x7fELF")]
