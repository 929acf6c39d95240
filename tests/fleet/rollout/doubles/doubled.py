"""A local connection to servers of which some are dead."""
DOCUMENTATION = """
name: doubled
short_description: a local connection to servers of which some are dead
description: see above
author: none
"""
from ansible.plugins.connection.local import Connection as Local
from ansible_collections.qrxupdate.chassis.plugins.plugin_utils import chassis_double as double


class Connection(Local):
    transport = "doubled"

    def exec_command(self, cmd, in_data=None, sudoable=True):
        double.fail_if_dead(self._play_context.remote_addr)
        return 0, b"", b""
