"""The judge of reports, text by text.

    report_test.py COLLECTION
"""

import sys
import unittest

from chassis import inventory_report, update_report
from collections_folder import module_util

report = module_util("report")
versions = module_util("versions")
packagexml = module_util("packagexml")

DECLARATION = b'<?xml version="1.0" encoding="UTF-8"?>'
INVENTORY, UPDATE = inventory_report("1.30.100").encode(), update_report("1.40.200").encode()
FAILURE = (DECLARATION + b'<SVMExecution lang="en"><SPStatus result = "false" ><Message id="1">Signing the Payload failed'
           b'</Message></SPStatus></SVMExecution>')


def outcomes(data):
    """Operation and outcome of each document."""
    return [(document.operation, document.outcome) for document in report.judge(data)]


class Judge(unittest.TestCase):
    """What each text is taken for."""

    def test_reads_an_inventory(self):
        document, = report.judge(INVENTORY)
        device, = document.devices
        self.assertEqual((document.operation, document.outcome), ("inventory", "success"))
        self.assertEqual((device.id, device.name, device.type, device.version), ("25227", "QRX", "FRMW", "1.30.100"))

    def test_reads_an_update(self):
        document, = report.judge(UPDATE)
        device, = document.devices
        self.assertEqual((document.operation, document.outcome), ("update", "success"))
        self.assertEqual((device.version, device.package_version, device.message),
                         ("1.40.200", "1.40.200", "Update is successful"))

    def test_reads_a_failure(self):
        document, = report.judge(FAILURE)
        self.assertEqual((document.outcome, document.message()), ("failure", "Signing the Payload failed"))

    def test_splits_two_documents(self):
        self.assertEqual(outcomes(INVENTORY + UPDATE), [("inventory", "success"), ("update", "success")])
        self.assertEqual(outcomes(INVENTORY + UPDATE[:100]), [("inventory", "success"), ("update", "damaged")])

    def test_takes_no_device_for_a_failure(self):
        for body in (b"<SVMInventory/>", b"<SVMExecution/>", b'<SVMExecution><SPStatus result="true"/></SVMExecution>'):
            document, = report.judge(body)
            self.assertEqual((document.outcome, document.problem), ("failure", "no device"))

    def test_takes_a_device_without_a_status_for_a_failure(self):
        self.assertEqual(outcomes(b'<SVMExecution><Device componentID="1"/></SVMExecution>'), [("update", "failure")])

    def test_finds_a_failure_anywhere(self):
        failed = b'<SPStatus result="FALSE"><Message>no</Message></SPStatus>'
        for body in (b'<SVMInventory><Device componentID="1"><Application version="2"/></Device>%s</SVMInventory>',
                     b'<SVMInventory><Device componentID="1"><a><b>%s</b></a></Device></SVMInventory>',
                     b'<SVMExecution><Device componentID="1"><Application><SPStatus result="true"/>%s</Application>'
                     b'</Device></SVMExecution>',
                     b'<SVMExecution><Device componentID="1"><SPStatus result="true"/></Device><a>%s</a></SVMExecution>'):
            document, = report.judge(body % failed)
            self.assertEqual((document.outcome, document.message()), ("failure", "no"), body)

    def test_refuses_what_two_parsers_may_read_differently(self):
        body = UPDATE[len(DECLARATION):]
        for text, problem in (
                (b"", "is empty"),
                (DECLARATION + b"<!DOCTYPE SVMExecution>" + body, "a document type declaration"),
                (b'<!DOCTYPE a [<!ENTITY b "c">]>' + body, "a document type declaration"),
                (DECLARATION + b"<!-- c -->" + body, "a comment or a CDATA section"),
                (body.replace(b"Update is", b"<![CDATA[Update is]]>"), "a comment or a CDATA section"),
                (body + b"<?end?>", "a processing instruction"),
                (body.replace(b"<SVMExecution", b'<SVMExecution xmlns="a"'), "a namespace"),
                (body.replace(b"lang=", b"xml:lang="), "a name that no report has"),
                (body.replace(b"lang=", "länge=".encode()), "a name that no report has"),
                (body.replace(b"QRX", b"QR\xfc"), "is not UTF-8"),
                (body.replace(b"QRX", b"\xed\xa0\x80"), "is not UTF-8"),
                (body.decode().encode("utf-16"), "is not UTF-8"),
                (b"<?xml version='1.1'?>" + body, "version 1.0 and UTF-8"),
                (b"<?xml version='1.0' encoding='ISO-8859-1'?>" + body, "version 1.0 and UTF-8"),
                (b"<a>" * 64 + b"<a/>" + b"</a>" * 64, "nested too deeply"),
                (body.replace(b"QRX", b"Q" * report.SIZE_LIMIT), "larger than 1 MiB"),
                (body[:-1], "not well-formed"),
                (body.replace(b"QRX", b"Q&R"), "not well-formed"),
                (body.replace(b"QRX", b'Q"R'), "not well-formed")):
            document, = report.judge(text)
            self.assertIn(document.outcome, ("damaged", "unreadable"), text[:80])
            self.assertIn(problem, document.problem)
            self.assertEqual(document.devices, [])

    def test_reads_up_to_the_bounds(self):
        deep = b"<SVMExecution>" + b"<a>" * 63 + b"</a>" * 63 + b"</SVMExecution>"
        self.assertEqual(outcomes(deep), [("update", "failure")])
        room = report.SIZE_LIMIT - len(UPDATE)
        self.assertEqual(outcomes(UPDATE.replace(b'display="QRX">', b'display="QRX' + b"Q" * room + b'">', 1)),
                         [("update", "success")])

    def test_takes_other_documents_for_no_report(self):
        self.assertEqual(outcomes(b"<html/>"), [("", "unreadable")])
        self.assertEqual(outcomes(b"error while loading"), [("", "unreadable")])


class Versions(unittest.TestCase):
    """The examples of the published order."""

    def test_orders_as_the_version_floor_does(self):
        for ascending in (("2.0", "2.01", "2.10"), ("2.0~rc1", "2.0"), ("2", "2-1", "2^1", "2.1"), ("2.a", "2.0"),
                          ("", "0", "1"), ("1.40.200", "1.40.1000"), ("a", "ab"), ("~", "")):
            for left, right in zip(ascending, ascending[1:]):
                self.assertEqual((versions.compare(left, right), versions.compare(right, left)), (-1, 1), (left, right))

    def test_knows_equal_ones(self):
        for left, right in (("2.01", "2.1"), ("1", "1"), ("1 _", "1"), ("", "")):
            self.assertEqual(versions.compare(left, right), 0, (left, right))


class Description(unittest.TestCase):
    """What a package.xml is for."""

    def read(self, body):
        return packagexml.read_description(body)

    def test_reads_component_and_version(self):
        self.assertEqual(self.read(b'<SoftwareComponent vendorVersion="1.2"><SupportedDevices><Device componentID="8"/>'
                                   b'<Device componentID="9"/></SupportedDevices></SoftwareComponent>'), ("8", "1.2"))

    def test_refuses_what_names_none_or_several(self):
        device = b'<Device componentID="8"/>'
        for body in (b"<SoftwareComponent>%s</SoftwareComponent>", b"<SoftwareComponent vendorVersion=''>%s",
                     b'<a><SoftwareComponent vendorVersion="1"/><SoftwareComponent vendorVersion="2"/>%s</a>',
                     b'<!DOCTYPE a><SoftwareComponent vendorVersion="1">%s</SoftwareComponent>'):
            with self.assertRaises(packagexml.NoVersion):
                self.read(body % device)
        with self.assertRaises(packagexml.NoVersion):
            self.read(b'<SoftwareComponent vendorVersion="1"><Device/></SoftwareComponent>')


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=2)
