"""The collection's judge and qrxinspect read every report alike: the fuzz corpus, the golden cases, generated reports.

    judges_test.py COLLECTION TESTS_FOLDER QRXINSPECT COUNT
"""

import json
import pathlib
import random
import subprocess
import sys
import tempfile
import unittest

from chassis import inventory_report, update_report
from collections_folder import module_util

report = module_util("report")
SEED = 19
BATCH = 500  # reports that one run of qrxinspect reads
VALUES = ("1.40.200", "", "QRX", "é", "a&amp;b", "&#65;", "&lt;", "&#x1F;", "&#xFFFE;", "&undefined;", "a&b", '"', "<", "\x01",
          "\x7f", "\t", "\r\n", "\ufffe", "\u2028", "\U0001f600", " ", "xmlns", "]]>", "--", "?>", ":", "&#0;", "true", "FALSE")
NAMES = ("Device", "Application", "SPStatus", "Message", "RebootRequired", "SVMInventory", "SVMExecution", "Other", "device",
         "x:Device", "xml:Device", "é", ":a", "a:", "a:b:c", "_", "a.b-c")
ATTRIBUTES = ("componentID", "version", "result", "display", "componentType", "vendorID", "deviceID", "packageVersion", "id",
              "lang", "xml:lang", "xmlns", "xmlns:x", "x:y", "é")
DECLARATIONS = ('<?xml version="1.0" encoding="UTF-8"?>', "<?xml version='1.0'?>", "<?xml version='1.1'?>", "<?xml  version='1.0'?>",
                "<?xml version='1.0' encoding='utf-8' standalone='yes'?>", "<?xml version='1.0' encoding='ISO-8859-1'?>",
                "<?xml version='1.0' standalone='no' encoding='UTF-8'?>", "<?xml version='1.0'" + " " * 120 + "?>", " <?xml?>",
                "\ufeff", "<?XML version='1.0'?>", "<?xml-a?>", "", "", "")
EXTRAS = ("<!-- c -->", "<!---->", "<![CDATA[x]]>", "<?p i?>", "<!DOCTYPE a>", '<!DOCTYPE a [<!ENTITY e "v">]>', " ", "\n", "x",
          "<?xml ", "\x00")


class Generator:
    """Reports that are well-formed, damaged or hostile."""

    def __init__(self, seed):
        self.chance = random.Random(seed)

    def element(self, depth):
        """An element with what is below it."""
        chance = self.chance
        name = chance.choice(NAMES[:8] if chance.random() < 0.95 else NAMES)
        attributes = "".join(f" {chance.choice(ATTRIBUTES[:10] if chance.random() < 0.97 else ATTRIBUTES)}{chance.choice(('=', ' = '))}"
                             f'"{self.value()}"' for _ in range(chance.choice((0, 1, 1, 2, 3))))
        if name == "SPStatus" and "result" not in attributes:
            attributes += f' result="{chance.choice(("true", "false", "True", "FALSE", "", "maybe"))}"'
        if depth > 5 or chance.random() < 0.2:
            return f"<{name}{attributes}/>"
        return f"<{name}{attributes}>{self.content(depth)}</{name}>"

    def value(self):
        """A text, mostly a harmless one."""
        return self.chance.choice(VALUES[:7] if self.chance.random() < 0.98 else VALUES)

    def content(self, depth):
        """Elements and texts."""
        parts = []
        for _ in range(self.chance.choice((0, 1, 1, 2, 3))):
            kind = self.chance.random()
            parts.append(self.element(depth + 1) if kind < 0.7 else self.value() if kind < 0.98 else self.chance.choice(EXTRAS))
        return "".join(parts)

    def document(self):
        """One document, from the program's own to any tree, sometimes with bytes changed."""
        chance = self.chance
        kind = chance.random()
        if kind < 0.15:
            text = chance.choice((inventory_report, update_report))(self.value())
        else:
            root = chance.choice(("SVMInventory", "SVMExecution", "SVMExecution", "Other"))
            text = f"{chance.choice(DECLARATIONS)}<{root} lang=\"en\">{self.content(0)}{self.content(0)}</{root}>"
        if kind > 0.995:
            deep = chance.choice((60, 62, 63, 64, 70, 300))
            text = "<SVMExecution>" + "<a>" * deep + "</a>" * deep + "</SVMExecution>"
        return text.encode("utf-8", "surrogatepass")

    def report(self):
        """One document or two, sometimes truncated or with another byte in it."""
        data = b"".join(self.document() for _ in range(self.chance.choice((1, 1, 1, 2))))
        harm = self.chance.random()
        if harm < 0.05:
            return data[:self.chance.randrange(len(data) + 1)]
        if harm < 0.1:
            place = self.chance.randrange(len(data))
            return data[:place] + bytes([self.chance.randrange(256)]) + data[place + 1:]
        return data


def of_the_module(data):
    """What the collection's judge says of each document."""
    return [(document.operation, document.outcome,
             [(device.id, device.name, device.type, device.version, "success" if device.succeeded else "failure", device.message)
              for device in document.devices]) for document in report.judge(data)]


def of_qrxinspect(entries):
    """The same of qrxinspect's documents of one file."""
    return [(entry["operation"], entry["outcome"],
             [(device["id"], device["name"], device["type"], device["version"], device["outcome"], device["message"])
              for device in entry["devices"]]) for entry in entries]


class Judges(unittest.TestCase):
    """No report is read in two ways."""

    tests = qrxinspect = None
    count = 0

    def assert_agreement(self, reports):
        """Both judges say the same of all of these."""
        outcomes = set()
        for start in range(0, len(reports), BATCH):
            outcomes |= self.compare(reports[start:start + BATCH])
        return outcomes

    def compare(self, reports):
        """Compares one batch; returns the outcomes that it had."""
        with tempfile.TemporaryDirectory() as folder:
            paths = [pathlib.Path(folder) / str(number) for number in range(len(reports))]
            for path, data in zip(paths, reports):
                path.write_bytes(data)
            ended = subprocess.run([self.qrxinspect, "report", "--json", *paths], check=False, stdout=subprocess.PIPE,
                                   stderr=subprocess.DEVNULL)
            by_file = {}
            for entry in json.loads(ended.stdout)["reports"]:
                by_file.setdefault(entry["file"], []).append(entry)
        outcomes = set()
        for path, data in zip(paths, reports):
            ours = of_the_module(data)
            self.assertEqual(ours, of_qrxinspect(by_file[str(path)]), data)
            outcomes |= {outcome for _, outcome, _ in ours}
        return outcomes

    def test_agree_on_the_fuzz_corpus(self):
        files = [path for path in sorted((self.tests / "fuzz/corpus").rglob("*")) if path.is_file()]
        self.assertGreater(len(files), 400)
        self.assert_agreement([path.read_bytes() for path in files])

    def test_agree_on_the_golden_cases(self):
        reports = []
        for path in sorted((self.tests / "system/cases").glob("*.txt")):
            lines = path.read_bytes().split(b"\n")
            reports += [b"<?xml" + part for line in lines for part in line.split(b"<?xml")[1:]] + lines
        self.assertEqual(self.assert_agreement(reports), {"success", "failure", "damaged", "unreadable"})

    def test_agree_on_generated_reports(self):
        generator = Generator(SEED)
        outcomes = self.assert_agreement([generator.report() for _ in range(self.count)])
        self.assertEqual(outcomes, {"success", "failure", "damaged", "unreadable"})

    def test_agree_on_truncations(self):
        whole = (inventory_report("1") + update_report("2")).encode()
        self.assert_agreement([whole[:length] for length in range(len(whole) + 1)])

    def test_agree_at_the_bounds(self):
        for size in (report.SIZE_LIMIT, report.SIZE_LIMIT + 1):
            start, end = b"<SVMExecution>", b"</SVMExecution>"
            self.assert_agreement([start + b"x" * (size - len(start) - len(end)) + end])
        for depth in (report.DEPTH_LIMIT, report.DEPTH_LIMIT + 1):
            inner = depth - 1
            self.assert_agreement([b"<SVMExecution>" + b"<a>" * inner + b"</a>" * inner + b"</SVMExecution>"])


if __name__ == "__main__":
    Judges.count = int(sys.argv.pop())
    Judges.qrxinspect = pathlib.Path(sys.argv.pop()).resolve()
    Judges.tests = pathlib.Path(sys.argv.pop()).resolve()
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=2)
