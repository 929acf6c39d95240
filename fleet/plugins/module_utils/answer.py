# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""What a run's report means: one of the outcomes that the modules return."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import hashlib

from ansible_collections.qrxupdate.chassis.plugins.module_utils import report as reports

NOT_PERMITTED = ("The shared components could not be updated through operating system because QRX and/or Vexa is not "
                 "configured to enable this behavior. For enabling this set \"Chassis Management at Server\" attribute "
                 "on QRX to \"Monitor and Manage\" and \"Enable Shared Components Update through OS/PFW\" on Vexa to "
                 "true.")
INCOMPATIBLE = "Update not compatable to this system"
BUSY = "Start copying file failed"
SUCCESSFUL = "Update is successful"
LOADER_FAILED = (126, 127)  # exit statuses: the program was found and did not start
USAGE_MARK = "usage"  # begins the usage text, in any case
CLOCK_STEP = 2  # seconds; some file systems keep times no finer


class Answer(object):
    """The outcome of one run, with the report that it rests on."""

    def __init__(self, outcome, message, raw=b"", version=None):
        self.outcome = outcome
        self.message = message
        self.raw = raw
        self.version = version

    def text(self):
        """The report as text, for people and logs."""
        return self.raw.decode("utf-8", "replace")

    def sha256(self):
        """The digest of the report's bytes; None without a report."""
        return hashlib.sha256(self.raw).hexdigest() if self.raw else None


class Evidence(object):
    """All that a run left behind, and what was asked for."""

    def __init__(self, run, made, package, operation):
        self.status = run.status()
        self.raw, self.file = run.collect()
        self.made = made
        self.package = package
        self.operation = operation
        self.documents = reports.judge(self.raw)

    def device(self):
        """The device of a report with exactly one."""
        return self.documents[0].devices[0]


def answer_of(run, made, package, operation):
    """Judges a run that has ended. The outcome of a good one is found (an inventory) or success (an update).

    made is what Run.start returned; operation is inventory or update.
    """
    evidence = Evidence(run, made, package, operation)
    silent = _without_report(evidence, run.said())
    if silent:
        return silent
    fault = _first_fault(OF_THE_FILE, evidence)
    if fault:
        return Answer("damaged", fault, evidence.raw)
    failure = _told_failure(evidence)
    if failure:
        return Answer(_outcome_of_failure(failure), failure, evidence.raw)
    fault = _first_fault(OF_THE_REPORT, evidence)
    if fault:
        return Answer("damaged", fault, evidence.raw)
    device = evidence.device()
    return Answer("found" if operation == "inventory" else "success", device.message, evidence.raw, device.version)


def _first_fault(checks, evidence):
    """What the first check that finds something says; None if none does."""
    return next((fault for fault in (check(evidence) for check in checks) if fault), None)


def _without_report(evidence, said):
    """A program that wrote nothing and did not end with 0: it was not started, or found no device at all."""
    if evidence.raw or evidence.status not in (1,) + LOADER_FAILED:
        return None
    usage = said.lower().startswith(USAGE_MARK)
    outcome = "no_device" if evidence.status == 1 and not usage else "not_started"
    return Answer(outcome, said or "exit status {0}, and no report".format(evidence.status))


def _told_failure(evidence):
    """The message of the first failure that the report tells of; empty without one.

    A report without a document for the operation tells nothing about it.
    """
    if evidence.operation not in [document.operation for document in evidence.documents]:
        return ""
    failed = [device.message for document in evidence.documents for device in document.devices if not device.succeeded]
    return failed[0] if failed else ""


def _outcome_of_failure(message):
    return {NOT_PERMITTED: "not_permitted", INCOMPATIBLE: "incompatible"}.get(message, "refused")


# Each check returns why the report proves nothing, or an empty text.


def same_file(evidence):
    """The program writes into the file that was made for it."""
    same = evidence.file and all(evidence.file[key] == evidence.made[key] for key in ("device", "inode"))
    return "" if same else "the report's file is gone, or another one was put in its place"


def written_by_this_run(evidence):
    """A report from before the start tells of another run."""
    early = evidence.file and evidence.file["written"] < evidence.made["started"] - CLOCK_STEP
    return "the report was written before the run" if early else ""


def not_empty(evidence):
    """Exit status 0 promises a report."""
    return "" if evidence.raw else "no report"


def readable(evidence):
    """No part of the report is damaged, or anything but a report."""
    problems = [document.problem for document in evidence.documents if document.outcome in ("damaged", "unreadable")]
    return "half a report, or none: {0}".format(problems[0]) if problems else ""


def one_document(evidence):
    """One operation writes one document."""
    return "" if len(evidence.documents) == 1 else "the report has {0} documents".format(len(evidence.documents))


def of_this_operation(evidence):
    """An inventory says nothing about an update, nor the other way round."""
    found = evidence.documents[0].operation
    return "" if found == evidence.operation else "no document for the {0}".format(evidence.operation)


def one_device(evidence):
    """A package is for one component; a failure without a message is no success either."""
    devices = evidence.documents[0].devices
    return "" if len(devices) == 1 and devices[0].succeeded else "the report does not show one device that succeeded"


def of_this_component(evidence):
    """The report is about the package's component."""
    found = evidence.device().id
    return "" if found == evidence.package.component else "the report is about component {0}".format(found)


def of_this_version(evidence):
    """An update's report names the package's version twice; an inventory's names the one in force."""
    device = evidence.device()
    if evidence.operation == "inventory":
        return "" if device.version else "the inventory shows no version"
    if device.version == device.package_version == evidence.package.version:
        return ""
    return "the report is about version {0}".format(device.package_version or device.version)


def in_the_words_of_success(evidence):
    """There is one text for a successful update."""
    told = evidence.device().message
    if evidence.operation == "inventory" or told == SUCCESSFUL:
        return ""
    return "not the message of a success: {0}".format(told)


def exit_status(evidence):
    """A run that reports success ends with 0. None: another call started it, and its status is not known."""
    return "" if evidence.status in (0, None) else "a success is reported, but the exit status is {0}".format(
        evidence.status)


OF_THE_FILE = (
    same_file,
    written_by_this_run,
)
OF_THE_REPORT = (
    not_empty,
    readable,
    one_document,
    of_this_operation,
    one_device,
    of_this_component,
    of_this_version,
    in_the_words_of_success,
    exit_status,
)
