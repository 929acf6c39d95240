# -*- coding: utf-8 -*-
"""Where the ledger of this command is: in check mode a scratch copy, for check mode touches nothing."""
from __future__ import absolute_import, division, print_function

__metaclass__ = type

import os

from ansible import constants


def ledger_path(path, check_mode):
    """The file to open for the ledger at `path`; Ansible removes the scratch copy when the command ends."""
    if check_mode:
        return os.path.join(constants.DEFAULT_LOCAL_TMP, "qrxupdate-rollout.sqlite")
    return os.path.abspath(os.path.expanduser(path))
