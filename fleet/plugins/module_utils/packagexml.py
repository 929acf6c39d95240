# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""Reads component and version of a package.xml."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

from xml.parsers import expat


class NoVersion(Exception):
    """Why a package.xml names no component and version."""


class _Reader(object):
    def __init__(self):
        self.versions = []
        self.components = []

    def start(self, name, attributes):
        if name == "SoftwareComponent":
            self.versions.append(attributes.get("vendorVersion", ""))
        elif name == "Device":
            self.components.append(attributes.get("componentID", ""))

    def refuse(self, *dummy):
        raise NoVersion("has a document type declaration")


def read_description(data):
    """Returns component and version.

    The program takes the first device, and the last of several versions. A description that needs this rule is refused.
    """
    reader = _Reader()
    parser = expat.ParserCreate()
    parser.StartElementHandler = reader.start
    parser.StartDoctypeDeclHandler = reader.refuse
    try:
        parser.Parse(data, True)
    except (expat.ExpatError, LookupError) as error:
        raise NoVersion("not well-formed XML: {0}".format(error))
    versions = set(reader.versions)
    if len(versions) != 1 or not reader.versions[0]:
        raise NoVersion("names no version, or several")
    if not reader.components or not reader.components[0]:
        raise NoVersion("the first device has no component id")
    return reader.components[0], reader.versions[0]
