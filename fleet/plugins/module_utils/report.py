# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""The judge of a report: what a run of qrxupdate wrote, read as strictly as qrxinspect reads it."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import re
from xml.parsers import expat

SIZE_LIMIT = 1024 * 1024  # bytes of one document; the program writes less than 2 KiB
DEPTH_LIMIT = 64  # elements inside each other; the program nests five
DECLARATION_LIMIT = 128  # bytes
OPERATIONS = (("SVMInventory", "inventory"), ("SVMExecution", "update"))
DECLARATION = re.compile(br'''<\?xml[ \t\r\n]+version[ \t\r\n]*=[ \t\r\n]*("1\.0"|'1\.0')'''
                         br'''([ \t\r\n]+encoding[ \t\r\n]*=[ \t\r\n]*("[Uu][Tt][Ff]-8"|'[Uu][Tt][Ff]-8'))?'''
                         br'''([ \t\r\n]+standalone[ \t\r\n]*=[ \t\r\n]*("(yes|no)"|'(yes|no)'))?[ \t\r\n]*\?>''')


class NotAReport(Exception):
    """Why a text is not a report that both judges read alike."""


class Element(object):
    """An element with its attributes; its children are elements and texts."""

    def __init__(self, name, attributes):
        self.name = name
        self.attributes = attributes
        self.children = []

    def elements(self):
        """The child elements."""
        return [child for child in self.children if isinstance(child, Element)]

    def named(self, name):
        """The elements of this name at and below this one, in document order."""
        found = [self] if self.name == name else []
        for child in self.elements():
            found += child.named(name)
        return found

    def get(self, name):
        """An attribute's text; empty if it is absent."""
        return self.attributes.get(name, "")

    def text(self):
        """The whole text of this element."""
        return "".join(child.text() if isinstance(child, Element) else child for child in self.children)


class Device(object):
    """One device of a report, or a failure without a device: then all but the message is empty."""

    def __init__(self, identity="", name=""):
        self.id = identity
        self.name = name
        self.type = ""
        self.version = ""
        self.package_version = ""
        self.succeeded = False
        self.message = ""


class Document(object):
    """One document of a report.

    outcome is success, failure, damaged (a report, but not readable) or unreadable (no report at all).
    """

    def __init__(self, operation, outcome, devices=(), problem=""):
        self.operation = operation
        self.outcome = outcome
        self.devices = list(devices)
        self.problem = problem

    def message(self):
        """The message of the first failure, or else of the first device."""
        ordered = sorted(self.devices, key=lambda device: device.succeeded)
        return ordered[0].message if ordered else self.problem


def split(data):
    """The documents of one file: the second one starts at the second XML declaration."""
    second = data.find(b"<?xml ", 1)
    return [data] if second < 0 else [data[:second], data[second:]]


def judge(data):
    """Reads a report. Returns its documents, at least one; never fails."""
    return [_judge_document(document) for document in split(data)]


def parse(data):
    """Parses one document. Raises NotAReport for anything but elements, attributes and text in UTF-8."""
    _refuse_before_parsing(data)
    builder = _Builder()
    parser = expat.ParserCreate("UTF-8")
    parser.buffer_text = True
    parser.StartElementHandler = builder.start
    parser.EndElementHandler = builder.end
    parser.CharacterDataHandler = builder.characters
    try:
        parser.Parse(data, True)
    except expat.ExpatError as error:
        raise NotAReport("not well-formed XML: {0}".format(error))
    return builder.root


def _refuse_before_parsing(data):
    """Two parsers agree on what is left: no types, entities, comments, sections, instructions or namespaces."""
    if not data:
        raise NotAReport("is empty")
    if len(data) > SIZE_LIMIT:
        raise NotAReport("is larger than 1 MiB")
    try:
        data.decode("utf-8")
    except UnicodeDecodeError:
        raise NotAReport("is not UTF-8")
    body = data
    if data.startswith(b"<?xml"):
        declaration = DECLARATION.match(data[:DECLARATION_LIMIT])
        if declaration is None:
            raise NotAReport("has an XML declaration other than version 1.0 and UTF-8")
        body = data[declaration.end():]
    for text, problem in ((b"<!DOCTYPE", "a document type declaration"), (b"<!", "a comment or a CDATA section"),
                          (b"<?", "a processing instruction"), (b"xmlns", "a namespace")):
        if text in body:
            raise NotAReport("has " + problem)


class _Builder(object):
    """Builds the tree from the parser's events."""

    def __init__(self):
        self.root = None
        self.open = []

    def start(self, name, attributes):
        for each in [name] + list(attributes):
            if ":" in each or any(ord(character) > 127 for character in each):
                raise NotAReport("has a name that no report has")
        if len(self.open) >= DEPTH_LIMIT:
            raise NotAReport("is nested too deeply")
        element = Element(name, attributes)
        if self.open:
            self.open[-1].children.append(element)
        else:
            self.root = element
        self.open.append(element)

    def end(self, name):
        self.open.pop()

    def characters(self, text):
        self.open[-1].children.append(text)


def _judge_document(data):
    try:
        root = parse(data)
    except NotAReport as error:
        return _damaged_or_unreadable(data, str(error))
    operation = dict(OPERATIONS).get(root.name)
    if operation is None:
        return Document("", "unreadable", problem='the root element is "{0}", not that of a report'.format(root.name))
    devices = _inventory(root) if operation == "inventory" else _update(root)
    succeeded = devices and all(device.succeeded for device in devices)
    return Document(operation, "success" if succeeded else "failure", devices, "" if devices else "no device")


def _damaged_or_unreadable(data, problem):
    """A text that names a report's root element was meant to be one."""
    for name, operation in OPERATIONS:
        if b"<" + name.encode("ascii") in data:
            return Document(operation, "damaged", problem=problem)
    return Document("", "unreadable", problem=problem)


def _identity(element):
    if element.get("componentID"):
        return element.get("componentID")
    return ":".join(element.get(name) for name in ("vendorID", "deviceID", "subVendorID", "subDeviceID"))


def _message(status):
    """The text of the status's first element, such as Message, or else its own."""
    elements = status.elements()
    return (elements[0] if elements else status).text()


def _inventory(root):
    """A failure anywhere in the document is one of all its devices: the format cannot say which one failed."""
    failures = [_message(status) for status in root.named("SPStatus") if status.get("result").lower() == "false"]
    devices = []
    for element in root.named("Device"):
        device = Device(_identity(element), element.get("display"))
        children = element.elements()
        if children:
            device.type = children[0].get("componentType")
            device.version = children[0].get("version")
        devices.append(device)
    if failures and not devices:
        devices.append(Device())
    for device in devices:
        device.succeeded = not failures
        device.message = failures[0] if failures else ""
    return devices


def _update(root):
    devices = []
    for element in root.elements():
        if element.name == "Device":
            devices.append(_updated_device(element))
        elif element.name != "RebootRequired":
            for status in element.named("SPStatus"):
                failure = Device()
                # A success that belongs to no device says nothing.
                if not _take_status(status, failure):
                    devices.append(failure)
    return devices


def _updated_device(element):
    """A device without a status is a failure; the first failure inside it counts."""
    device = Device(_identity(element), element.get("display"))
    for application in element.elements():
        if application.name == "Application":
            device.type = application.get("componentType")
            device.version = application.get("version")
            device.package_version = application.get("packageVersion")
            if not _take_statuses(application, device):
                return device
    _take_statuses(element, device)
    return device


def _take_statuses(element, device):
    """Takes all statuses at and below an element, up to the first failure. Returns whether there is none."""
    return all(_take_status(status, device) for status in element.named("SPStatus"))


def _take_status(status, device):
    device.succeeded = status.get("result").lower() == "true"
    device.message = _message(status)
    return device.succeeded
