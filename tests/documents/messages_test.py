"""The administrator's guide explains every message that the program writes to a report.

Usage: messages_test.py SOURCE
"""

import pathlib
import re
import sys
import unittest

SOURCE = pathlib.Path(sys.argv[1])
CALL = re.compile(r"\bsetMsgStatus\(\s*\w+,\s*(?P<text>\"(?:[^\"\\]|\\.)*\"|k\w+)", re.DOTALL)
CONSTANT = r"\bchar\* {name} =\s*(?P<text>(?:\"(?:[^\"\\]|\\.)*\"\s*)+);"
LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')


def text_of(literals):
    """The text of one string literal, or of several adjacent ones."""
    return "".join(LITERAL.findall(literals)).replace('\\"', '"')


def messages():
    """The messages in the sources."""
    for path in sorted((SOURCE / "src").glob("*.cpp")):
        source = path.read_text(encoding="utf-8")
        for call in CALL.finditer(source):
            text = call["text"]
            yield text_of(text if text.startswith('"') else re.search(CONSTANT.format(name=text), source)["text"])


class Messages(unittest.TestCase):
    def test_finds_the_message_of_every_call(self):
        sources = "".join(path.read_text(encoding="utf-8") for path in (SOURCE / "src").glob("*.cpp"))
        definitions = len(re.findall(r"::setMsgStatus\(", sources))
        self.assertEqual(len(list(messages())), sources.count("setMsgStatus(") - definitions)
        self.assertEqual(sources.count("setErrorMsg("), definitions)

    def test_explains_exactly_these_messages(self):
        document = (SOURCE / "docs/administrator.md").read_text(encoding="utf-8")
        table = re.search(r"^\| Message \| Cause \| Cure \|\n(.+\n)+", document, re.MULTILINE)[0]
        rows = re.findall(r"^\| `(.+?)` \| (.+?) \| (.+?) \|$", table, re.MULTILINE)
        self.assertEqual([message for message, _, _ in rows if message not in set(messages())], [])
        self.assertEqual(set(messages()) - {message for message, _, _ in rows}, set())


if __name__ == "__main__":
    unittest.main(argv=["messages_test"])
