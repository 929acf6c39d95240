#!/usr/bin/python
# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""The module update."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r'''
module: update
short_description: Update the firmware of a chassis controller, and read it back
version_added: 1.0.0
description:
  - Runs C(qrxupdate -i) in the folder of an update package, and C(qrxupdate -u) only if the inventory succeeds and shows
    another version. Then it asks for inventories until one shows the package's version.
  - Succeeds only with the outcomes C(already), C(updated) and, in check mode, C(would_update).
  - Versions are equal if they are equal byte for byte.
  - A started update is never signalled, neither by a time-out nor by a lost connection. It runs in a session of its own.
    After a time-out the outcome is C(running), and the next call on this host waits for that update first.
author:
  - The qrxupdate developers (@qrxupdate)
options:
  package:
    description:
      - The package's folder on the managed host, with C(qrxupdate), C(package.xml) and the payload.
    type: path
    required: true
  timeout:
    description:
      - Seconds to wait for the update, for one that an earlier call started, and for a busy chassis.
    type: int
    default: 1800
  inventory_timeout:
    description:
      - Seconds after which an inventory is ended.
    type: int
    default: 120
  read_back:
    description:
      - Whether to ask for the version in force after a report of success.
      - With C(false) such a report ends as C(unverified), which fails, for callers that read back themselves.
    type: bool
    default: true
  read_back_timeout:
    description:
      - Seconds after the report of success until which an inventory must show the package's version.
    type: int
    default: 300
  settle:
    description:
      - Seconds after which a second inventory must still show the version, in case it goes back.
    type: int
    default: 5
  allow_older:
    description:
      - Whether the package may be older than the version in force, in the order of the stand-in's version floor.
    type: bool
    default: false
  state:
    description:
      - A folder of the managed host that belongs to the user of the module alone. It keeps what the next call must know of
        a started update. All calls on a host must name the same one.
    type: path
    default: /var/lib/qrxupdate-chassis
  vtekctl:
    description:
      - The program for the plan in check mode, a path or a name in C(PATH). It is used only if the package's program would
        load the stand-in, for a plan judges the stand-in's root and not a real chassis.
    type: str
    default: vtekctl
attributes:
  check_mode:
    description: Can run in check mode and says whether it would change something.
    support: full
    details: Asks for an inventory. With a real chassis, it does not know whether the update would be refused.
  diff_mode:
    description: Shows what has changed or would change.
    support: full
  idempotent:
    description: A second run without other changes in between changes nothing.
    support: full
notes:
  - Update a chassis from one server at a time. The stand-in and the real chassis have a lock; a module has none
    between servers.
  - The program finds the platform's library as on the command line. E(environment) of the task reaches it.
seealso:
  - module: qrxupdate.chassis.inventory_info
'''

EXAMPLES = r'''
- name: Update the chassis controller
  qrxupdate.chassis.update:
    package: /opt/firmware/25227-1.40.200

- name: Wait longer for slow controllers
  qrxupdate.chassis.update:
    package: /opt/firmware/25227-1.40.200
    timeout: 3600
    read_back_timeout: 900

- name: Go back to an older version
  qrxupdate.chassis.update:
    package: /opt/firmware/25227-1.30.100
    allow_older: true
'''

RETURN = r'''
outcome:
  description:
    - C(already), the inventory shows the package's version and nothing was started.
    - C(updated), the report says success and a later inventory shows the package's version.
    - C(would_update), in check mode only.
    - C(unverified), the report says success and no inventory showed the version in time.
    - C(refused), the report tells of a failure.
    - C(not_permitted), the chassis's settings forbid it.
    - C(incompatible), the chassis does not have the component.
    - C(running), the update is still at work.
    - C(busy), another update holds the repository, as the stand-in's log proves.
    - C(damaged), there is no report of this update that can be believed.
    - C(no_device), the program found no device at all.
    - C(not_started), the program could not be started, or the package is older.
  returned: always
  type: str
  sample: updated
changed:
  description: Whether the version in force changed; true where that is not known.
  returned: always
  type: bool
  sample: true
changed_known:
  description: Whether RV(changed) is known. It is not while an update runs, or if no inventory tells.
  returned: always
  type: bool
  sample: true
component:
  description: The component that the package is for; null if the package is not readable.
  returned: always
  type: str
  sample: "25227"
version:
  description: The package's version; null if the package is not readable.
  returned: always
  type: str
  sample: 1.40.200
before:
  description: The version in force before the update; null if no inventory showed one.
  returned: always
  type: str
  sample: 1.30.100
after:
  description: The version that the last inventory showed, in check mode the expected one; null if it showed none.
  returned: always
  type: str
  sample: 1.40.200
message:
  description: The report's message, word for word, or what led to the outcome.
  returned: always
  type: str
  sample: Update is successful
inventory_report:
  description: The report of the last inventory; bytes that are not UTF-8 are replaced.
  returned: always
  type: str
  sample: <?xml version="1.0" encoding="UTF-8"?><SVMInventory lang="en">...</SVMInventory>
update_report:
  description: The report of the update; empty without one.
  returned: always
  type: str
  sample: <?xml version="1.0" encoding="UTF-8"?><SVMExecution lang="en">...</SVMExecution>
report_sha256:
  description: The SHA-256 of the update report's bytes, or without one of the inventory report's; null without either.
  returned: always
  type: str
  sample: 0d5a1b7fb36e7b8e5c8c93d7fd1f8f0a8a3c8a8c8d9a9d3e2b5b1f0e6a7c4d21
payload_sha256:
  description: The SHA-256 of the package's payload; null unless there is exactly one.
  returned: always
  type: str
  sample: 5f70bf18a086007016e948b04aed3b82103a36bea41755b6cddfaf10ace3c6ef
started:
  description: When the update was started, in UTC; null if none was.
  returned: always
  type: str
  sample: "2026-11-22T21:11:13Z"
finished:
  description: When the update was seen to have ended, in UTC; null if none has.
  returned: always
  type: str
  sample: "2026-11-22T21:11:15Z"
'''

from ansible.module_utils.basic import AnsibleModule

from ansible_collections.qrxupdate.chassis.plugins.module_utils.package import NotAPackage, Package
from ansible_collections.qrxupdate.chassis.plugins.module_utils.state import NoState, State
from ansible_collections.qrxupdate.chassis.plugins.module_utils.updating import Update

ARGUMENTS = {
    "package": {"type": "path", "required": True},
    "timeout": {"type": "int", "default": 1800},
    "inventory_timeout": {"type": "int", "default": 120},
    "read_back": {"type": "bool", "default": True},
    "read_back_timeout": {"type": "int", "default": 300},
    "settle": {"type": "int", "default": 5},
    "allow_older": {"type": "bool", "default": False},
    "state": {"type": "path", "default": "/var/lib/qrxupdate-chassis"},
    "vtekctl": {"type": "str", "default": "vtekctl"},
}
GREEN = ("already", "updated", "would_update")
NOTHING = {"component": None, "version": None, "before": None, "after": None, "inventory_report": "",
           "update_report": "", "report_sha256": None, "payload_sha256": None, "started": None, "finished": None,
           "changed": False, "changed_known": True}


def main():
    """Updates, and hands back what came of it."""
    module = AnsibleModule(argument_spec=ARGUMENTS, supports_check_mode=True)
    try:
        package = Package(module.params["package"])
        state = None if module.check_mode else State(module.params["state"])
    except (NotAPackage, NoState) as error:
        leave(module, dict(NOTHING, outcome="not_started", message=str(error)))
    settings = dict(module.params, vtekctl=module.get_bin_path(module.params["vtekctl"]))
    update = Update(package, state, settings, module.tmpdir)
    outcome = update.predict() if module.check_mode else update.run()
    leave(module, result_of(update, outcome))


def result_of(update, outcome):
    """The keys that are documented above."""
    reports = [answer for answer in (update.told, update.asked) if answer is not None and answer.raw]
    result = {
        "outcome": outcome,
        "changed": update.changed,
        "changed_known": update.changed_known,
        "component": update.package.component,
        "version": update.package.version,
        "before": update.before,
        "after": update.after,
        "message": update.message,
        "inventory_report": update.asked.text() if update.asked else "",
        "update_report": update.told.text() if update.told else "",
        "report_sha256": reports[0].sha256() if reports else None,
        "payload_sha256": update.package.payload_sha256(),
        "started": update.started,
        "finished": update.finished,
    }
    if update.after is not None:
        shown = "component {0} version {1}\n"
        result["diff"] = {"before": shown.format(update.package.component, update.before),
                          "after": shown.format(update.package.component, update.after)}
    return result


def leave(module, result):
    """Ends the module, green only where the package's version is or would be in force."""
    if result["outcome"] in GREEN:
        module.exit_json(**result)
    module.fail_json(msg="{0}: {1}".format(result["outcome"], result["message"]), **result)


if __name__ == "__main__":
    main()
