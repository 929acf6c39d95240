#!/usr/bin/python
# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""The module inventory_info."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r'''
module: inventory_info
short_description: Ask a chassis which firmware version its controller has
version_added: 1.0.0
description:
  - Runs C(qrxupdate -i) in the folder of an update package, and judges its report.
  - Never fails because the chassis says no; RV(outcome) says it. Fails when the question got no answer.
  - Changes nothing, also not outside of check mode.
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
      - Seconds after which the inventory is ended.
    type: int
    default: 120
attributes:
  check_mode:
    description: Can run in check mode and says then what it says otherwise.
    support: full
  diff_mode:
    description: Shows what has changed or would change.
    support: none
    details: There is no change to show.
  idempotent:
    description: A second run without other changes in between changes nothing.
    support: full
notes:
  - The program finds the platform's library as on the command line. E(environment) of the task reaches it.
seealso:
  - module: qrxupdate.chassis.update
'''

EXAMPLES = r'''
- name: Ask for the version in force
  qrxupdate.chassis.inventory_info:
    package: /opt/firmware/25227-1.40.200
  register: chassis

- name: Show it
  ansible.builtin.debug:
    msg: "{{ chassis.outcome }}: {{ chassis.version }}"
'''

RETURN = r'''
outcome:
  description:
    - C(found), or why there is no version.
    - C(not_permitted), C(incompatible), C(refused) and C(no_device) are answers of the chassis.
    - With C(damaged) (no readable report of this component) and C(not_started) the module fails.
  returned: always
  type: str
  sample: found
component:
  description: The component that the package is for; null if the package is not readable.
  returned: always
  type: str
  sample: "25227"
version:
  description: The version in force; null unless RV(outcome) is C(found).
  returned: always
  type: str
  sample: 1.30.100
message:
  description: The report's message, word for word, or why there is none.
  returned: always
  type: str
  sample: Update not compatable to this system
report:
  description: The report; bytes that are not UTF-8 are replaced.
  returned: always
  type: str
  sample: <?xml version="1.0" encoding="UTF-8"?><SVMInventory lang="en">...</SVMInventory>
report_sha256:
  description: The SHA-256 of the report's bytes; null without a report.
  returned: always
  type: str
  sample: 0d5a1b7fb36e7b8e5c8c93d7fd1f8f0a8a3c8a8c8d9a9d3e2b5b1f0e6a7c4d21
'''

from ansible.module_utils.basic import AnsibleModule

from ansible_collections.qrxupdate.chassis.plugins.module_utils.answer import Answer
from ansible_collections.qrxupdate.chassis.plugins.module_utils.asking import UNANSWERED, inventory
from ansible_collections.qrxupdate.chassis.plugins.module_utils.package import NotAPackage, Package

ARGUMENTS = {
    "package": {"type": "path", "required": True},
    "timeout": {"type": "int", "default": 120},
}


def main():
    """Asks, and hands back the answer."""
    module = AnsibleModule(argument_spec=ARGUMENTS, supports_check_mode=True)
    component = None
    try:
        package = Package(module.params["package"])
        component = package.component
        answer = inventory(package, module.params["timeout"], module.tmpdir)
    except NotAPackage as error:
        answer = Answer("not_started", str(error))
    result = {"changed": False, "outcome": answer.outcome, "component": component, "version": answer.version,
              "message": answer.message, "report": answer.text(), "report_sha256": answer.sha256()}
    if answer.outcome in UNANSWERED:
        module.fail_json(msg="{0}: {1}".format(answer.outcome, answer.message), **result)
    module.exit_json(**result)


if __name__ == "__main__":
    main()
