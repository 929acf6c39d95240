"""Loads module_utils of the collection that the command line names first, without Ansible."""

import importlib
import pathlib
import sys
import types

PREFIX = "ansible_collections.qrxupdate.chassis"


def module_util(name, collection=None):
    """Imports a file of plugins/module_utils under the name that Ansible gives it."""
    folder = pathlib.Path(collection or sys.argv[1]).resolve()
    parts = PREFIX.split(".") + ["plugins", "module_utils"]
    for count in range(1, len(parts) + 1):
        package = types.ModuleType(".".join(parts[:count]))
        package.__path__ = [str(folder / "plugins" / "module_utils")] if count == len(parts) else []
        sys.modules.setdefault(package.__name__, package)
    return importlib.import_module(f"{PREFIX}.plugins.module_utils.{name}")
