"""Twelve ways to lie about an update: the module is green for none, and each check of the module is needed.

    lies_test.py COLLECTION QRXUPDATE VTEKCTL
"""

import re
import shutil
import tempfile
import unittest

from local_modules import ModuleCase, collections_with, main

# What an honest program does, for the lies to change: the inventory shows what the update has put in force.
HONEST = """
done = pathlib.Path("done")
def ask(new=NEW):
    pathlib.Path(report).write_text(INVENTORY.replace(INSTALLED, new) if done.exists() else INVENTORY)
    sys.exit(0)
"""
ASK = HONEST + 'if option == "-i":\n    ask()\n'
TELL = "pathlib.Path(report).write_text(UPDATE)\n"
ACT = "done.touch()\n"
FAILURE = ('<?xml version="1.0" encoding="UTF-8"?><SVMExecution lang="en"><SPStatus result = "false" ><Message id="1">'
           "Complete Copy File failed</Message></SPStatus></SVMExecution>")

# Each lie: the program, the outcome, what the message says, and the check that sees through it.
LIES = {
    "no effect": (ASK + TELL, "unverified", "the inventory shows 1.30.100", "return self.after == self.package.version"),
    "an effect that reverts": (
        HONEST + 'seen = pathlib.Path("seen")\nif option == "-i":\n    if done.exists() and seen.exists():\n'
        "        done.unlink()\n    elif done.exists():\n        seen.touch()\n    ask()\n" + ACT + TELL,
        "unverified", "the inventory shows 1.30.100", " and self._still_shows_version()"),
    "a stale report": (ASK + ACT + "pathlib.Path(report).write_text(UPDATE.replace(NEW, INSTALLED))", "damaged",
                       "about version 1.30.100", "of_this_version"),
    "a truncated report": (ASK + ACT + "pathlib.Path(report).write_text(UPDATE[:-20])", "damaged", "half a report",
                           "readable"),
    "a forged report": (ASK + ACT + 'pathlib.Path("forged").write_text(UPDATE)\nos.rename("forged", report)', "damaged",
                        "another one was put in its place", "same_file"),
    "swapped reports": (HONEST + "pathlib.Path(report).write_text(UPDATE if option == '-i' else INVENTORY)", "damaged",
                        "no document for the inventory", "of_this_operation"),
    "a missing update document": (ASK + ACT + "pathlib.Path(report).write_text(INVENTORY.replace(INSTALLED, NEW))",
                                  "damaged", "no document for the update", "of_this_operation"),
    "a report of the wrong package": (ASK + ACT + 'pathlib.Path(report).write_text(UPDATE.replace("25227", "25228"))',
                                      "damaged", "about component 25228", "of_this_component"),
    "a failure in the second document": (ASK + ACT + f"pathlib.Path(report).write_text(UPDATE + {FAILURE!r})", "refused",
                                         "^Complete Copy File failed$", "return failed[0] if failed else \"\""),
    "a version that only looks equal": (HONEST + 'if option == "-i":\n    ask(NEW.replace("4", "\\uff14"))\n' + ACT + TELL,
                                        "unverified", "the inventory shows 1.\uff140.200",
                                        "return self.after == self.package.version"),
    "an empty report with exit status 0": (ASK + ACT, "damaged", "^no report$", "not_empty"),
    "a report from before the run": (ASK + ACT + TELL + "os.utime(report, (1, 1))", "damaged", "written before the run",
                                     "written_by_this_run"),
}
# Beyond the twelve: what else a report of success may not be.
MORE_LIES = {
    "an exit status of a failure": (ASK + ACT + TELL + "sys.exit(3)", "damaged", "the exit status is 3", "exit_status"),
    "two documents": (ASK + ACT + "pathlib.Path(report).write_text(UPDATE + UPDATE)", "damaged", "has 2 documents",
                      "one_document"),
    "two devices": (ASK + ACT + 'start, end = UPDATE.index("<Device"), UPDATE.index("<Reboot")\n'
                    "pathlib.Path(report).write_text(UPDATE[:end] + UPDATE[start:])", "damaged", "one device", "one_device"),
    "words of another success": (ASK + ACT + 'pathlib.Path(report).write_text(UPDATE.replace("is succ", "was succ"))',
                                 "damaged", "not the message of a success", "in_the_words_of_success"),
}
# What is put in a check's place: nothing, or what always agrees.
BLINDED = {"return self.after == self.package.version": "return True",
           " and self._still_shows_version()": "",
           "return failed[0] if failed else \"\"": "return \"\""}


class Lies(ModuleCase):
    """Every program here claims an update that did not happen as the report says."""

    def test_sees_through_twelve_of_twelve(self):
        self.assertEqual(len(LIES), 12)
        for lie in {**LIES, **MORE_LIES}:
            with self.subTest(lie):
                self.assertTrue(self.is_caught(lie))

    def test_needs_every_check(self):
        for lie, (_, _, _, check) in {**LIES, **MORE_LIES}.items():
            with self.subTest(lie), tempfile.TemporaryDirectory() as blind:
                self.without(check, blind)
                self.assertFalse(self.is_caught(lie), "the lie is caught without its check, too")

    def test_believes_an_honest_program(self):
        self.script_package(ASK + ACT + TELL)
        self.assert_answer(self.run_module(), "updated", True, False)

    def is_caught(self, lie):
        """Whether the module says exactly what is wrong."""
        program, outcome, message, _ = {**LIES, **MORE_LIES}[lie]
        shutil.rmtree(self.package, ignore_errors=True)
        self.script_package(program)
        answer = self.run_module(read_back_timeout=1)
        self.assertEqual(answer.get("failed", False), answer["outcome"] not in ("updated", "already"))
        return answer["outcome"] == outcome and re.search(message, answer["message"]) is not None

    def without(self, check, folder):
        """Makes a copy of the collection without one check, which the next runs use."""
        copy = f"{folder}/copy"
        shutil.copytree(self.collection, copy, ignore=shutil.ignore_patterns("__pycache__"))
        name = "updating" if "self." in check else "answer"
        file = f"{copy}/plugins/module_utils/{name}.py"
        with open(file, encoding="utf-8") as source:
            text = source.read()
        old = check if check in BLINDED else f"\n    {check},\n"
        self.assertEqual(text.count(old), 1, check)
        with open(file, "w", encoding="utf-8") as source:
            source.write(text.replace(old, BLINDED.get(check, "\n")))
        self.collections = collections_with(copy, f"{folder}/collections")


if __name__ == "__main__":
    unittest.TestCase.maxDiff = None
    main()
